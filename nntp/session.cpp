#include "session.h"

#include <stdlib.h>
#include <string.h>

#include "nntp/article_download.h"
#include "nntp/connection.h"
#include "resources/resource.h"
#include "text/byte_error.h"
#include "text/widestr.h"

namespace {

/* The reply line as the text of a message (line end included). */
void SetReplyText(RunResult *result, const wchar_t *title, const char *reply)
{
    wchar_t *text = ToWide(reply);
    RunResultSet(result, title, text, kSeverityError);
    free(text);
}

/* Sends `command` + `argument` and reads the one-line reply. On failure the
 * result holds the send or receive text under `title`. */
int Exchange(NntpConnection *c, const char *command, const char *argument, char *reply, const wchar_t *title,
             RunResult *result)
{
    size_t length = strlen(command) + strlen(argument);
    char *line = (char *)malloc(length + 1);
    if (!line) {
        RunResultSetError(result, title, IDS_SEND_FAILED, kErrorNotEnoughMemory, kSeverityError);
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    strcpy(line, command);
    strcat(line, argument);
    int sent = NntpSendLine(c, line);
    DWORD error = GetLastError();
    free(line);
    if (!sent) {
        RunResultSetError(result, title, IDS_SEND_FAILED, error, kSeverityError);
        SetLastError(error);
        return 0;
    }
    if (!NntpReadLine(c, reply, kNntpLineCapacity, 0)) {
        error = GetLastError();
        RunResultSetError(result, title, IDS_RECV_FAILED, error, kSeverityError);
        SetLastError(error);
        return 0;
    }
    return 1;
}

/* The error a failure without a system error of its own is recorded with. */
DWORD ErrorOr(DWORD error, DWORD fallback)
{
    return error != 0 ? error : fallback;
}

} // namespace

int RunSession(const SessionParams *params, RunResult *result)
{
    NntpConnection *c = (NntpConnection *)malloc(sizeof(NntpConnection));
    wchar_t caption_pelnor[64], caption_socket[64];
    LoadResText(IDS_CAPTION_PELNOR, caption_pelnor, 64);
    LoadResText(IDS_CAPTION_SOCKET, caption_socket, 64);
    if (!c) {
        RunResultSetRes(result, caption_pelnor, IDS_NO_MEMORY, kSeverityError);
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    NntpInit(c);

    char reply[kNntpLineBufferSize];
    DWORD error = kErrorInvalidData;
    char *server = ToNarrow(params->server);
    if (!server) {
        RunResultSetRes(result, caption_pelnor, IDS_NO_MEMORY, kSeverityError);
        error = kErrorNotEnoughMemory;
        goto finish;
    }
    if (!NntpConnect(c, server, (unsigned short)params->port)) {
        error = ErrorOr(GetLastError(), kErrorInvalidData);
        RunResultSetRes(result, params->server, IDS_CONNECT_FAILED, kSeverityError);
        goto finish;
    }
    if (!NntpReadLine(c, reply, kNntpLineCapacity, 0)) {
        error = ErrorOr(GetLastError(), kErrorInvalidData);
        RunResultSetRes(result, params->server, IDS_NO_GREETING, kSeverityError);
        goto finish;
    }
    if (reply[0] != '2') {
        /* 200 and 201 alike: posting permission does not matter here. */
        wchar_t title[kRunResultChars];
        LoadResText(IDS_CONNECTION_REFUSED, title, kRunResultChars);
        SetReplyText(result, title, reply);
        error = kErrorInvalidData;
        goto finish;
    }

    if (params->user && params->password) {
        if (!Exchange(c, "authinfo user ", params->user, reply, caption_pelnor, result)) {
            error = ErrorOr(GetLastError(), kErrorInvalidData);
            goto finish;
        }
        if (reply[0] != '3') {
            /* Only a request for the password lets the exchange go on: a
             * server that accepts the user alone is refused too. */
            wchar_t title[kRunResultChars];
            LoadResText(IDS_BAD_USER, title, kRunResultChars);
            SetReplyText(result, title, reply);
            goto finish;
        }
        if (!Exchange(c, "authinfo pass ", params->password, reply, caption_socket, result)) {
            error = ErrorOr(GetLastError(), kErrorInvalidData);
            goto finish;
        }
        if (reply[0] != '2') {
            wchar_t title[kRunResultChars];
            LoadResText(IDS_BAD_PASSWORD, title, kRunResultChars);
            SetReplyText(result, title, reply);
            goto finish;
        }
    }

    GroupCursorReset(params->cursor);
    while (!ProgressStopRequested(params->progress) && GroupCursorFetch(params->cursor)) {
        result->severity = kSeverityInformation;
        DownloadGroup(c, params->cursor->name, params->data_path, params->limit, params->progress, result);
        if (result->severity == kSeverityError)
            break;
        GroupCursorAdvance(params->cursor);
    }
    if (result->severity == kSeverityError)
        error = ErrorOr(GetLastError(), kErrorInvalidData);
    else
        error = 0;

finish:
    if (c->socket != INVALID_SOCKET) {
        NntpSendLine(c, "QUIT");
        NntpClose(c);
    }
    free(server);
    free(c);
    if (error != 0) {
        SetLastError(error);
        return 0;
    }
    return 1;
}
