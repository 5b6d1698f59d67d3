#include "session.h"

#include <stdlib.h>
#include <string.h>

#include "nntp/article_download.h"
#include "nntp/connection.h"
#include "nntp/exchange.h"
#include "resources/resource.h"
#include "text/byte_error.h"
#include "text/widestr.h"

namespace {

/* String `title_id` over the reply line (line end included) as the text. */
void SetReplyText(RunResult *result, UINT title_id, const char *reply)
{
    wchar_t title[kRunResultChars];
    LoadResText(title_id, title, kRunResultChars);
    wchar_t *text = ToWide(reply);
    RunResultSet(result, title, text, kSeverityError);
    free(text);
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
        ProgressFinished(params->progress);
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
    NntpStep failed;
    if (!NntpGreet(c, server, (unsigned short)params->port, reply, &failed)) {
        error = ErrorOr(GetLastError(), kErrorInvalidData);
        if (failed == kNntpStepConnect) {
            RunResultSetRes(result, params->server, IDS_CONNECT_FAILED, kSeverityError);
        } else if (failed == kNntpStepReceive) {
            RunResultSetRes(result, params->server, IDS_NO_GREETING, kSeverityError);
        } else {
            SetReplyText(result, IDS_CONNECTION_REFUSED, reply);
            error = kErrorInvalidData;
        }
        goto finish;
    }

    int password_step;
    if (params->user && params->password &&
        !NntpLogin(c, params->user, params->password, "", reply, &failed, &password_step)) {
        if (failed == kNntpStepRefused) {
            SetReplyText(result, password_step ? IDS_BAD_PASSWORD : IDS_BAD_USER, reply);
        } else {
            error = ErrorOr(GetLastError(), kErrorInvalidData);
            RunResultSetError(result, password_step ? caption_socket : caption_pelnor,
                              failed == kNntpStepSend ? IDS_SEND_FAILED : IDS_RECV_FAILED, error, kSeverityError);
        }
        goto finish;
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
    /* Told last: from here on the run's records may be freed. */
    ProgressFinished(params->progress);
    if (error != 0) {
        SetLastError(error);
        return 0;
    }
    return 1;
}
