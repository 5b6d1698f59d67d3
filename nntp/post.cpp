#include "post.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/path.h"
#include "base/res_text.h"
#include "base/scoped_win.h"
#include "nntp/conversation.h"
#include "resources/resource.h"
#include "store/draft_file.h"
#include "text/byte_error.h"
#include "text/outgoing_article.h"
#include "text/widestr.h"

namespace {

/* The waiting drafts' file names, each ended by a NUL, the list by an
 * empty name, in name order (the order they were queued in when the
 * program named them). Null with the last error, or for none. */
wchar_t *WaitingDraftNames(const wchar_t *draft_path, DWORD *count)
{
    *count = 0;
    wchar_t *pattern = JoinPath(draft_path, L"o*.txt");
    if (!pattern)
        return nullptr;
    WIN32_FIND_DATAW entry;
    ScopedFindFile find(FindFirstFileW(pattern, &entry));
    free(pattern);
    if (!find.valid())
        return nullptr;
    wchar_t **names = nullptr;
    DWORD capacity = 0;
    bool ok = true;
    do {
        /* The folder is chosen by the exact letter; the file system's
         * pattern matches either case. */
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) || DraftRootOf(entry.cFileName) != kDraftsWaiting)
            continue;
        if (*count == capacity) {
            capacity = capacity ? capacity * 2 : 8;
            wchar_t **larger = (wchar_t **)realloc(names, capacity * sizeof(wchar_t *));
            ok = larger != nullptr;
            if (!ok)
                break;
            names = larger;
        }
        names[*count] = _wcsdup(entry.cFileName);
        ok = names[*count] != nullptr;
        if (ok)
            ++*count;
    } while (ok && FindNextFileW(find.get(), &entry));
    qsort(names, *count, sizeof(wchar_t *), [](const void *a, const void *b) {
        return wcscmp(*(wchar_t *const *)a, *(wchar_t *const *)b);
    });
    size_t chars = 1;
    for (DWORD i = 0; i < *count; i++)
        chars += wcslen(names[i]) + 1;
    wchar_t *list = ok ? (wchar_t *)malloc(chars * sizeof(wchar_t)) : nullptr;
    size_t used = 0;
    for (DWORD i = 0; i < *count; i++) {
        if (list) {
            wcscpy(list + used, names[i]);
            used += wcslen(names[i]) + 1;
        }
        free(names[i]);
    }
    free(names);
    if (!list) {
        *count = 0;
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    list[used] = L'\0';
    return list;
}

/* "Thu, 26 Nov 2026 01:02:03 +0000" for now. */
void DateNow(char *out, size_t size)
{
    static const char *const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char *const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    SYSTEMTIME now;
    GetSystemTime(&now);
    _snprintf(out, size - 1, "%s, %d %s %04d %02d:%02d:%02d +0000", kDays[now.wDayOfWeek % 7], now.wDay,
              kMonths[(now.wMonth + 11) % 12], now.wYear, now.wHour, now.wMinute, now.wSecond);
    out[size - 1] = '\0';
}

/* "Pelnor/" and the version the about box shows. */
void UserAgent(char *out, size_t size)
{
    wchar_t version[64];
    LoadResText(IDS_VERSION, version, 64);
    const wchar_t *number = wcsrchr(version, L' ');
    _snprintf(out, size - 1, "Pelnor/%ls", number ? number + 1 : version);
    out[size - 1] = '\0';
}

/* The article as it goes on the wire: a '.' opening a line doubled, and
 * the closing "." line. */
int DotStuffed(const StoredBuffer *article, StoredBuffer *wire)
{
    const char *p = article->data, *end = article->data + article->used;
    while (p < end) {
        const char *lf = (const char *)memchr(p, '\n', (size_t)(end - p));
        const char *next = lf ? lf + 1 : end;
        if ((*p == '.' && !StoredBufferAppend(wire, ".", 1)) || !StoredBufferAppend(wire, p, (size_t)(next - p)))
            return 0;
        p = next;
    }
    return StoredBufferAppend(wire, ".\r\n", 3);
}

/* Whether a refusal after the article says the server has it already. */
bool SaysDuplicate(const char *reply)
{
    if (strncmp(reply, "435", 3) == 0 || strstr(reply, " 435") != nullptr)
        return true;
    for (const char *p = reply; *p; p++)
        if (_strnicmp(p, "duplicate", 9) == 0)
            return true;
    return false;
}

struct DraftInHand {
    wchar_t *path;
    Draft draft;
    wchar_t *subject; /* for the user: the Subject, or the file name */
};

/* How one draft went. */
enum PostResult { kPostSent, kPostKept, kPostLinkFailed };

/* Tells the events that the draft stays waiting, and why. */
void Keep(const SessionParams *params, const DraftInHand *hand, NntpOutcomeKind kind, DWORD error, const char *reply)
{
    if (!params->events->draft_kept)
        return;
    NntpOutcome outcome = MakeOutcome(kind, kOutcomeAtPost, kSeverityWarning, error);
    outcome.reply = reply;
    outcome.decode_reply = params->decode_charsets;
    outcome.draft = hand->subject;
    params->events->draft_kept(params->events->context, &outcome);
}

/* A failure of the link while the draft was going out. */
PostResult LinkFailed(const SessionParams *params, NntpFailure failure, RunResult *result)
{
    DWORD error = GetLastError();
    NntpOutcome outcome = MakeOutcome(failure == kNntpFailedSend ? kOutcomeSendFailed : kOutcomeReceiveFailed,
                                      kOutcomeAtPost, kSeverityError, error ? error : kErrorInvalidData);
    TellOutcome(params->events, &outcome, result);
    SetLastError(outcome.error);
    return kPostLinkFailed;
}

/* Gives the draft a Message-ID unless it has one, and writes it to its
 * file before anything goes out. *retry is set when it had one. */
int EnsureMessageId(DraftInHand *hand, const PostingParams *posting, char *message_id, bool *retry)
{
    char *held = DraftHeaderValue(&hand->draft, "Message-ID");
    *retry = held != nullptr;
    if (held) {
        _snprintf(message_id, kMessageIdChars - 1, "%s", held);
        message_id[kMessageIdChars - 1] = '\0';
        free(held);
        return 1;
    }
    MakeMessageId(posting->mail_address, message_id);
    return DraftSetHeader(&hand->draft, "Message-ID", message_id) && WriteDraft(hand->path, &hand->draft);
}

PostResult PostDraft(NntpConnection *c, const SessionParams *params, DraftInHand *hand, RunResult *result)
{
    const PostingParams *posting = params->posting;
    char *newsgroups = DraftHeaderValue(&hand->draft, "Newsgroups");
    char *subject = DraftHeaderValue(&hand->draft, "Subject");
    bool complete = newsgroups && subject;
    free(newsgroups);
    free(subject);
    if (!complete) {
        Keep(params, hand, kOutcomeDraftIncomplete, 0, nullptr);
        return kPostKept;
    }
    char message_id[kMessageIdChars];
    bool retry;
    if (!EnsureMessageId(hand, posting, message_id, &retry)) {
        Keep(params, hand, kOutcomeDraftUnreadable, GetLastError(), nullptr);
        return kPostKept;
    }
    char reply[kNntpLineBufferSize];
    NntpFailure failure;
    if (retry) {
        /* An earlier attempt may have reached the server before the link
         * broke: then the article is there already. */
        if (!NntpExchange(c, "STAT ", message_id, reply, &failure))
            return LinkFailed(params, failure, result);
        if (strncmp(reply, "223", 3) == 0)
            return kPostSent;
    }
    StoredBuffer article, wire;
    StoredBufferInit(&article);
    StoredBufferInit(&wire);
    char date[64], agent[64];
    DateNow(date, sizeof date);
    UserAgent(agent, sizeof agent);
    OutgoingHeaders headers = {posting->user_name, posting->mail_address, posting->organization, message_id, date,
                               agent};
    int built = BuildOutgoingArticle(hand->draft.head, hand->draft.head_length, hand->draft.body,
                                     hand->draft.body_length, &headers, &article) &&
                DotStuffed(&article, &wire);
    StoredBufferRelease(&article);
    if (!built) {
        StoredBufferRelease(&wire);
        Keep(params, hand, kOutcomeDraftUnreadable, kErrorNotEnoughMemory, nullptr);
        return kPostKept;
    }
    PostResult outcome = kPostKept;
    if (!NntpExchange(c, "POST", "", reply, &failure)) {
        outcome = LinkFailed(params, failure, result);
    } else if (strncmp(reply, "340", 3) != 0) {
        Keep(params, hand, kOutcomePostRefused, 0, reply);
    } else {
        NntpSendBytes(c, wire.data, (int)wire.used);
        if (!NntpReadLine(c, reply, kNntpLineCapacity, 0))
            outcome = LinkFailed(params, kNntpFailedReceive, result);
        else if (strncmp(reply, "240", 3) == 0 || (reply[0] == '4' && SaysDuplicate(reply)))
            outcome = kPostSent;
        else
            Keep(params, hand, kOutcomePostRefused, 0, reply);
    }
    StoredBufferRelease(&wire);
    return outcome;
}

} // namespace

void MakeMessageId(const char *mail_address, char *out)
{
    unsigned char random[8] = {};
    HCRYPTPROV provider;
    bool got = false;
    if (CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT)) {
        got = CryptGenRandom(provider, sizeof random, random) != 0;
        CryptReleaseContext(provider, 0);
    }
    if (!got) {
        /* Still unique in practice: the clock, the process and a count. */
        static LONG count;
        DWORD mix[2] = {GetTickCount() ^ (DWORD)InterlockedIncrement(&count), GetCurrentProcessId()};
        memcpy(random, mix, sizeof random);
    }
    /* The domain of the poster's address when it is a plain one. */
    const char *at = mail_address ? strrchr(mail_address, '@') : nullptr;
    const char *domain = "pelnor.invalid";
    if (at && at[1] && strspn(at + 1, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-") ==
                           strlen(at + 1) && strlen(at + 1) < 64)
        domain = at + 1;
    SYSTEMTIME now;
    GetSystemTime(&now);
    _snprintf(out, kMessageIdChars - 1, "<%04d%02d%02d%02d%02d%02d.%02x%02x%02x%02x%02x%02x%02x%02x@%s>",
              now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, random[0], random[1], random[2],
              random[3], random[4], random[5], random[6], random[7], domain);
    out[kMessageIdChars - 1] = '\0';
}

DWORD CountWaitingDrafts(const wchar_t *draft_path)
{
    DWORD count;
    free(WaitingDraftNames(draft_path, &count));
    return count;
}

int PostWaitingDrafts(NntpConnection *c, const SessionParams *params, RunResult *result)
{
    DWORD count;
    wchar_t *names = WaitingDraftNames(params->posting->draft_path, &count);
    const wchar_t *name = names;
    int ok = 1;
    for (DWORD index = 0; ok && index < count && !JobCancelRequested(params->cancel); index++) {
        DraftInHand hand = {};
        DraftInit(&hand.draft);
        hand.path = JoinPath(params->posting->draft_path, name);
        int read = hand.path && ReadDraft(hand.path, &hand.draft);
        DWORD read_error = GetLastError();
        char *subject = read ? DraftHeaderValue(&hand.draft, "Subject") : nullptr;
        hand.subject = subject ? ToWide(subject) : nullptr;
        free(subject);
        if (!hand.subject)
            hand.subject = _wcsdup(name);
        if (params->events->draft_posting)
            params->events->draft_posting(params->events->context, hand.subject ? hand.subject : name, index, count);
        if (!read) {
            Keep(params, &hand, kOutcomeDraftUnreadable, read_error, nullptr);
        } else {
            PostResult posted = PostDraft(c, params, &hand, result);
            if (posted == kPostLinkFailed) {
                ok = 0;
            } else if (posted == kPostSent) {
                /* A draft that stays waiting after all is recognised by
                 * its Message-ID next time. */
                free(MoveDraft(hand.path, kDraftsSent));
            }
        }
        DraftFree(&hand.draft);
        free(hand.path);
        free(hand.subject);
        name += wcslen(name) + 1;
    }
    free(names);
    return ok;
}
