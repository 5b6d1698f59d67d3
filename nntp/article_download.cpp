#include "article_download.h"

#include <stdlib.h>
#include <string.h>

#include "nntp/reply_parse.h"
#include "resources/resource.h"
#include "text/byte_error.h"
#include "text/widestr.h"

namespace {

/* Sends `command` + `argument`. On failure the result holds the send text
 * under `title` with severity 2. */
int SendCommand(NntpConnection *c, const char *command, const char *argument, const wchar_t *title,
                RunResult *result)
{
    char line[kNntpMaxSendLine + 1];
    size_t command_length = strlen(command);
    size_t argument_length = strlen(argument);
    int sent;
    if (command_length + argument_length >= sizeof(line)) {
        SetLastError(kErrorMoreData);
        sent = 0;
    } else {
        memcpy(line, command, command_length);
        memcpy(line + command_length, argument, argument_length + 1);
        sent = NntpSendLine(c, line);
    }
    if (!sent) {
        DWORD error = GetLastError();
        RunResultSetError(result, title, IDS_SEND_FAILED, error, kSeverityError);
        SetLastError(error);
    }
    return sent;
}

/* Reads a status line; on failure the receive text under `title`. */
int ReadStatus(NntpConnection *c, char *reply, const wchar_t *title, RunResult *result)
{
    if (NntpReadLine(c, reply, kNntpLineCapacity, 0))
        return 1;
    DWORD error = GetLastError();
    RunResultSetError(result, title, IDS_RECV_FAILED, error, kSeverityError);
    SetLastError(error);
    return 0;
}

/* The reply line as 16-bit text without its line end. */
void ReplyWithoutLineEnd(const char *reply, wchar_t *out, int out_chars)
{
    wchar_t *wide = ToWide(reply);
    lstrcpynW(out, wide ? wide : L"", out_chars);
    free(wide);
    size_t length = wcslen(out);
    while (length > 0 && (out[length - 1] == L'\r' || out[length - 1] == L'\n'))
        out[--length] = L'\0';
}

} // namespace

int SelectGroup(NntpConnection *c, const wchar_t *group, DWORD *count, DWORD *first, DWORD *last,
                RunResult *result)
{
    wchar_t socket_error[64], socket_error_uc[64];
    LoadResText(IDS_CAPTION_SOCKET, socket_error, 64);
    LoadResText(IDS_CAPTION_SOCKET_UC, socket_error_uc, 64);

    char *name = ToNarrow(group);
    if (!name) {
        RunResultSetError(result, socket_error, IDS_SEND_FAILED, kErrorNotEnoughMemory, kSeverityError);
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    int sent = SendCommand(c, "GROUP ", name, socket_error, result);
    free(name);
    if (!sent)
        return 0;
    char reply[kNntpLineBufferSize];
    if (!ReadStatus(c, reply, socket_error_uc, result))
        return 0;

    if (reply[0] != '2') {
        wchar_t *wide = ToWide(reply);
        wchar_t text[kRunResultChars];
        FormatResText(IDS_GROUP_FAILED, wide ? wide : L"??\r\n", text, kRunResultChars);
        free(wide);
        size_t length = wcslen(text);
        text[length >= 2 ? length - 2 : 0] = L'\0';
        RunResultSet(result, group, text, kSeverityWarning);
        SetLastError(kErrorInvalidData);
        return 0;
    }

    const char *cursor = reply;
    DWORD fields[4];
    for (int i = 0; i < 4; i++) {
        fields[i] = cursor ? (DWORD)ParseReplyNumber(&cursor) : 0xFFFFFFFFu;
        if (!cursor) {
            wchar_t line[kRunResultChars], text[kRunResultChars];
            ReplyWithoutLineEnd(reply, line, kRunResultChars);
            FormatResText(IDS_UNEXPECTED_REPLY, line, text, kRunResultChars);
            RunResultSet(result, group, text, kSeverityWarning);
            SetLastError(kErrorInvalidData);
            return 0;
        }
    }
    *count = fields[1];
    *first = fields[2];
    *last = fields[3];
    return 1;
}

void DownloadGroup(NntpConnection *c, const wchar_t *group, const wchar_t *data_path, DWORD limit,
                   ProgressDialog *progress, RunResult *result)
{
    (void)data_path;
    (void)limit;
    (void)progress;
    DWORD count, first, last;
    if (!SelectGroup(c, group, &count, &first, &last, result))
        return;
}
