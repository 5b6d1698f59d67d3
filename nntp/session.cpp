#include "session.h"

#include <stdlib.h>

#include "nntp/article_download.h"
#include "nntp/connection.h"
#include "nntp/conversation.h"
#include "nntp/post.h"
#include "text/byte_error.h"

namespace {

/* The error a failure without a system error of its own is recorded with. */
DWORD ErrorOr(DWORD error, DWORD fallback)
{
    return error != 0 ? error : fallback;
}

void Report(const SessionParams *params, NntpOutcomeKind kind, NntpOutcomeStep step, DWORD error, const char *reply,
            RunResult *result)
{
    NntpOutcome outcome = MakeOutcome(kind, step, kSeverityError, error);
    outcome.reply = reply;
    outcome.decode_reply = params->decode_charsets;
    TellOutcome(params->events, &outcome, result);
}

/* The failure of opening the conversation, as the run reports it; the
 * error the run ends with. */
DWORD ReportOpenFailure(const SessionParams *params, const NntpOpenFailure *failed, const char *reply,
                        RunResult *result)
{
    DWORD error = ErrorOr(GetLastError(), kErrorInvalidData);
    NntpOutcomeStep step = failed->step == kNntpOpenUser       ? kOutcomeAtUser
                           : failed->step == kNntpOpenPassword ? kOutcomeAtPassword
                                                               : kOutcomeAtSession;
    NntpOutcomeKind kind;
    switch (failed->failure) {
    case kNntpFailedConnect:
        kind = kOutcomeConnectFailed;
        break;
    case kNntpFailedSend:
        kind = kOutcomeSendFailed;
        break;
    case kNntpFailedReceive:
        kind = step == kOutcomeAtSession ? kOutcomeNoGreeting : kOutcomeReceiveFailed;
        break;
    case kNntpFailedTls:
        kind = kOutcomeTlsFailed;
        break;
    case kNntpFailedCaFile:
        kind = kOutcomeCaFileFailed;
        break;
    case kNntpCertificateRefused:
        kind = kOutcomeCertificateRefused;
        break;
    case kNntpNeedsEncryption:
        kind = kOutcomeEncryptionRequired;
        error = kErrorInvalidData;
        break;
    default:
        kind = failed->step == kNntpOpenStartTls ? kOutcomeStartTlsRefused : kOutcomeRefused;
        error = kErrorInvalidData;
        break;
    }
    bool with_reply = kind == kOutcomeRefused || kind == kOutcomeStartTlsRefused || kind == kOutcomeEncryptionRequired;
    Report(params, kind, step, error, with_reply ? reply : nullptr, result);
    return error;
}

} // namespace

int RunSession(const SessionParams *params, RunResult *result)
{
    NntpConnection *c = (NntpConnection *)malloc(sizeof(NntpConnection));
    if (!c) {
        Report(params, kOutcomeNoMemory, kOutcomeAtSession, kErrorNotEnoughMemory, nullptr, result);
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    NntpInit(c, params->server, params->cancel);
    c->trust = params->trust;

    char reply[kNntpLineBufferSize];
    DWORD error = 0;
    NntpOpenFailure failed;
    if (!NntpOpen(c, "", reply, &failed)) {
        error = ReportOpenFailure(params, &failed, reply, result);
    } else if (params->posting && !PostWaitingDrafts(c, params, result)) {
        error = GetLastError();
    } else if (!params->send_only) {
        GroupCursorReset(params->cursor);
        while (!JobCancelRequested(params->cancel) && GroupCursorFetch(params->cursor)) {
            result->severity = kSeverityInformation;
            if (params->gate)
                params->gate->wait(params->gate->context, params->cursor->row, params->cursor->name);
            DownloadGroup(c, params->cursor->name, params, result);
            if (result->severity == kSeverityError)
                break;
            GroupCursorAdvance(params->cursor);
        }
        if (result->severity == kSeverityError)
            error = ErrorOr(GetLastError(), kErrorInvalidData);
    }
    /* A stop ends the run wherever it came: what failed because of it is
     * no failure of the server's. */
    if (JobCancelRequested(params->cancel)) {
        result->severity = kSeverityInformation;
        error = 0;
    }

    if (NntpConnected(c)) {
        NntpSendLine(c, "QUIT");
        NntpClose(c);
    }
    free(c);
    if (error != 0) {
        SetLastError(error);
        return 0;
    }
    return 1;
}
