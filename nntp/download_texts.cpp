#include "download_texts.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/res_text.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

/* The server's line as 16-bit text: `fallback` when it cannot be
 * converted; without its line end unless `keep_line_end`. */
void ReplyText(const char *reply, bool decode, const wchar_t *fallback, bool keep_line_end, wchar_t *out,
               int out_chars)
{
    wchar_t *wide = reply ? ServerTextToWide(reply, decode) : nullptr;
    CopyWideText(out, wide ? wide : fallback, out_chars);
    free(wide);
    if (keep_line_end)
        return;
    size_t length = wcslen(out);
    while (length > 0 && (out[length - 1] == L'\r' || out[length - 1] == L'\n'))
        out[--length] = L'\0';
}

/* The caption of a send or receive failure: the session's steps and the
 * GROUP exchange have captions of their own, an article's is its group. */
void ExchangeCaption(const NntpOutcome *o, wchar_t *caption, int chars)
{
    UINT id = o->step == kOutcomeAtUser                                         ? IDS_CAPTION_PELNOR
              : o->step == kOutcomeAtPassword                                   ? IDS_CAPTION_SOCKET
              : o->step == kOutcomeAtGroup && o->kind == kOutcomeReceiveFailed ? IDS_CAPTION_SOCKET_UC
              : o->step == kOutcomeAtGroup                                      ? IDS_CAPTION_SOCKET
              : o->step == kOutcomeAtPost                                       ? IDS_CAPTION_POSTING
                                                                                : 0;
    if (id)
        LoadResText(id, caption, chars);
    else
        CopyWideText(caption, o->group ? o->group : L"", (size_t)chars);
}

/* The string of a failure that is told with its system error. */
UINT ErrorTextId(NntpOutcomeKind kind)
{
    switch (kind) {
    case kOutcomeSendFailed:
        return IDS_SEND_FAILED;
    case kOutcomeReceiveFailed:
        return IDS_RECV_FAILED;
    case kOutcomeIncomplete:
        return IDS_RECV_INCOMPLETE;
    case kOutcomeIndexInitFailed:
        return IDS_INDEX_INIT_FAILED;
    case kOutcomeLogOpenFailed:
        return IDS_FILE_OPEN_FAILED;
    case kOutcomeIndexOpenFailed:
        return IDS_INDEX_OPEN_FAILED;
    case kOutcomeLogWriteFailed:
        return IDS_LOG_WRITE_FAILED;
    default:
        return IDS_INDEX_WRITE_FAILED;
    }
}

} // namespace

void DescribeDownloadOutcome(const NntpServer *server, const NntpOutcome *o, RunResult *result)
{
    wchar_t title[kRunResultChars] = L"", text[kRunResultChars] = L"", line[kRunResultChars];
    const wchar_t *group = o->group ? o->group : L"";
    switch (o->kind) {
    case kOutcomeFetched:
        FormatResError(o->limited ? IDS_FETCHED_LIMIT : IDS_FETCHED_COUNT, o->limited ? o->limit : o->count, text,
                       kRunResultChars);
        break;
    case kOutcomeNoNewArticles:
        LoadResText(IDS_NO_NEW_ARTICLES, text, kRunResultChars);
        break;
    case kOutcomeNoMemory:
        LoadResText(IDS_CAPTION_PELNOR, title, kRunResultChars);
        LoadResText(IDS_NO_MEMORY, text, kRunResultChars);
        break;
    case kOutcomeConnectFailed:
    case kOutcomeNoGreeting:
        CopyWideText(title, server->name, kRunResultChars);
        LoadResText(o->kind == kOutcomeConnectFailed ? IDS_CONNECT_FAILED : IDS_NO_GREETING, text, kRunResultChars);
        break;
    case kOutcomeRefused:
        if (o->step == kOutcomeAtGroup) {
            /* The reply goes in with its line end, which is then cut off the
             * whole text. */
            ReplyText(o->reply, o->decode_reply != 0, L"??\r\n", true, line, kRunResultChars);
            FormatResText(IDS_GROUP_FAILED, line, text, kRunResultChars);
            size_t length = wcslen(text);
            text[length >= 2 ? length - 2 : 0] = L'\0';
            CopyWideText(title, group, kRunResultChars);
        } else {
            LoadResText(o->step == kOutcomeAtUser       ? IDS_BAD_USER
                        : o->step == kOutcomeAtPassword ? IDS_BAD_PASSWORD
                                                        : IDS_CONNECTION_REFUSED,
                        title, kRunResultChars);
            ReplyText(o->reply, o->decode_reply != 0, L"", true, text, kRunResultChars);
        }
        break;
    case kOutcomeTlsFailed:
    case kOutcomeCaFileFailed:
        CopyWideText(title, server->name, kRunResultChars);
        FormatResFailure(o->kind == kOutcomeTlsFailed ? IDS_TLS_FAILED : IDS_TLS_CA_FILE, o->error, text,
                         kRunResultChars);
        break;
    case kOutcomeCertificateRefused:
        CopyWideText(title, server->name, kRunResultChars);
        LoadResText(IDS_TLS_CERT_REFUSED, text, kRunResultChars);
        break;
    case kOutcomeStartTlsRefused:
    case kOutcomeEncryptionRequired:
        CopyWideText(title, server->name, kRunResultChars);
        ReplyText(o->reply, o->decode_reply != 0, L"", false, line, kRunResultChars);
        FormatResText(o->kind == kOutcomeStartTlsRefused ? IDS_TLS_STARTTLS_REFUSED : IDS_TLS_REQUIRED, line, text,
                      kRunResultChars);
        break;
    case kOutcomePostRefused:
        CopyWideText(title, o->draft ? o->draft : L"", kRunResultChars);
        ReplyText(o->reply, o->decode_reply != 0, L"", false, line, kRunResultChars);
        FormatResText(IDS_POST_REFUSED, line, text, kRunResultChars);
        break;
    case kOutcomeDraftIncomplete:
        CopyWideText(title, o->draft ? o->draft : L"", kRunResultChars);
        LoadResText(IDS_DRAFT_INCOMPLETE, text, kRunResultChars);
        break;
    case kOutcomeDraftUnreadable:
        CopyWideText(title, o->draft ? o->draft : L"", kRunResultChars);
        FormatResFailure(IDS_DRAFT_UNREADABLE, o->error, text, kRunResultChars);
        break;
    case kOutcomeUnexpectedReply:
        ReplyText(o->reply, o->decode_reply != 0, L"", false, line, kRunResultChars);
        FormatResText(IDS_UNEXPECTED_REPLY, line, text, kRunResultChars);
        CopyWideText(title, group, kRunResultChars);
        break;
    default:
        ExchangeCaption(o, title, kRunResultChars);
        FormatResFailure(ErrorTextId(o->kind), o->error, text, kRunResultChars);
        break;
    }
    RunResultSet(result, title, text, o->severity);
}
