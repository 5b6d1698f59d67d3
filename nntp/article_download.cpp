#include "article_download.h"

#include <stdlib.h>
#include <stdio.h>
#include <string.h>

#include "nntp/pipeline.h"
#include "nntp/reply_parse.h"
#include "resources/resource.h"
#include "store/article_writer.h"
#include "store/group_store.h"
#include "store/index_file.h"
#include "text/byte_error.h"
#include "text/codeconv.h"
#include "text/mime.h"
#include "text/widestr.h"

namespace {

/* Sends `command` + `argument`. On failure the result holds the send text
 * under `title` with severity 2. */
int SendCommand(NntpConnection *c, const char *command, const char *argument, const wchar_t *title,
                RunResult *result)
{
    int sent = NntpSendCommand(c, command, argument, "");
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

/* Sends `command` + `argument` and reads its status line into `reply`. A
 * server that wants "MODE READER" first (401, as INN's innd answers the
 * hosts it feeds) gets it once on the link, and the command is sent again.
 * On failure the result holds the send or receive text under the titles. */
int Exchange(NntpConnection *c, const char *command, const char *argument, const wchar_t *send_title,
             const wchar_t *receive_title, char *reply, RunResult *result)
{
    for (;;) {
        if (!SendCommand(c, command, argument, send_title, result) || !ReadStatus(c, reply, receive_title, result))
            return 0;
        if (c->mode_reader_sent || strncmp(reply, "401", 3) != 0)
            return 1;
        c->mode_reader_sent = 1;
        if (!SendCommand(c, "MODE READER", "", send_title, result) || !ReadStatus(c, reply, receive_title, result))
            return 0;
    }
}

/* The reply line as 16-bit text without its line end. */
void ReplyWithoutLineEnd(const char *reply, wchar_t *out, int out_chars)
{
    wchar_t *wide = ToWide(reply);
    CopyWideText(out, wide ? wide : L"", out_chars);
    free(wide);
    size_t length = wcslen(out);
    while (length > 0 && (out[length - 1] == L'\r' || out[length - 1] == L'\n'))
        out[--length] = L'\0';
}

/* Sets the result to "unexpected reply" with the line that came back. */
void SetUnexpectedReply(RunResult *result, const wchar_t *title, const char *reply, int severity)
{
    wchar_t line[kRunResultChars], text[kRunResultChars];
    ReplyWithoutLineEnd(reply, line, kRunResultChars);
    FormatResText(IDS_UNEXPECTED_REPLY, line, text, kRunResultChars);
    RunResultSet(result, title, text, severity);
    SetLastError(kErrorInvalidData);
}

/* Stored articles between two saves of the group's header during a run:
 * a program killed in a run fetches at most these again. A save is one
 * 100-byte write. */
const DWORD kHeaderSaveEvery = 20;

/* More article numbers missing from a group's range than this is no range
 * to probe one number at a time. */
const unsigned long long kMostMissingNumbers = 1000000;

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
    char reply[kNntpLineBufferSize];
    int exchanged = Exchange(c, "GROUP ", name, socket_error, socket_error_uc, reply, result);
    free(name);
    if (!exchanged)
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

    /* 211 and three numbers that fit; an empty group may give its last as
     * one below its first. A range that cannot be the group's is shown in
     * the group's status, never probed. */
    const char *cursor = reply;
    DWORD fields[4];
    for (int i = 0; i < 4 && cursor; i++)
        fields[i] = (DWORD)ParseReplyNumberStrict(&cursor);
    bool sane = cursor && fields[0] == 211 && fields[3] != 0xFFFFFFFFu;
    if (sane && fields[1] != 0 && fields[3] + 1ull != fields[2])
        sane = fields[3] >= fields[2] && fields[3] - fields[2] + 1ull <= fields[1] + kMostMissingNumbers;
    if (!sane) {
        SetUnexpectedReply(result, group, reply, kSeverityWarning);
        return 0;
    }
    *count = fields[1];
    *last = fields[3];
    /* An empty group has nothing to fetch whatever range it gives. */
    *first = *count == 0 ? *last + 1 : fields[2];
    return 1;
}

namespace {

/* The header names kept, tested in this order, case-sensitively. */
const char *const kKeptHeaders[] = {"From:", "Subject:", "Newsgroups:", "Date:", "Message-ID:", "References:"};

int IsKeptHeader(const char *line)
{
    for (const char *name : kKeptHeaders)
        if (strncmp(line, name, strlen(name)) == 0)
            return 1;
    return 0;
}

/* A received header line: encoded words decoded, then ISO-2022-JP to
 * Shift_JIS. Neither step makes the line longer. */
void DecodeHeaderLine(const char *line, char *decoded, char *converted)
{
    DecodeEncodedWords(decoded, line);
    JisLineToSjis(decoded, converted);
}

enum FetchOutcome { kFetchFailed = 0, kFetchSkipped = 1, kFetchStored = 2 };

struct GroupDownload {
    NntpConnection *c;
    const wchar_t *group;
    GroupStore store;
    ArticleWriter writer;
    NntpPipeline pipeline;
    int head_refused; /* the article skipped was refused at its HEAD */
    RunResult *result;
    char line[kNntpLineBufferSize];
    char decoded[kNntpLineBufferSize];
    char converted[kNntpLineBufferSize];
};

void Fail(GroupDownload *d, UINT text_id)
{
    DWORD error = GetLastError();
    RunResultSetError(d->result, d->group, text_id, error, kSeverityError);
    SetLastError(error);
}

/* The status line of "HEAD n" or "BODY n", sent ahead through the
 * pipeline. 1 when the article follows (`expected` and the number asked
 * for), 0 with kFetchSkipped when the server has no such article (4xx), 0
 * with kFetchFailed (and the result set) on a send or receive failure or
 * any other reply, which would pair every later reply with the wrong
 * command. */
int RequestArticlePart(GroupDownload *d, NntpPart part, DWORD expected, DWORD number, FetchOutcome *outcome)
{
    *outcome = kFetchFailed;
    NntpStep failed;
    if (!PipelineReadStatus(&d->pipeline, number, part, d->line, &failed)) {
        Fail(d, failed == kNntpStepSend ? IDS_SEND_FAILED : IDS_RECV_FAILED);
        return 0;
    }
    if (d->line[0] == '4') {
        *outcome = kFetchSkipped;
        d->head_refused = part == kNntpHead;
        return 0;
    }
    const char *cursor = d->line;
    DWORD code = (DWORD)ParseReplyNumberStrict(&cursor);
    DWORD replied = cursor ? (DWORD)ParseReplyNumberStrict(&cursor) : 0;
    if (!cursor || code != expected || replied != number) {
        SetUnexpectedReply(d->result, d->group, d->line, kSeverityError);
        return 0;
    }
    return 1;
}

/* Reads the rest of a reply up to its terminating "." line, keeping
 * nothing: a body cut short by a NUL byte leaves its remaining lines. */
int DrainReply(GroupDownload *d)
{
    for (;;) {
        SetLastError(0);
        if (!NntpReadLine(d->c, d->line, kNntpLineCapacity, 0)) {
            if (GetLastError() == 0)
                continue;
            return 0;
        }
        if (strcmp(d->line, ".\r\n") == 0)
            return 1;
    }
}

/* Reads the head up to its '.' line into the writer. */
int ReadHead(GroupDownload *d)
{
    int previous_kept = 0;
    for (;;) {
        if (!NntpReadLine(d->c, d->line, kNntpLineCapacity, 0))
            return 0;
        if (d->line[0] == '.')
            return 1;
        if (d->line[0] == ' ' || d->line[0] == '\t') {
            /* A continuation belongs to the line before it. */
            if (!previous_kept)
                continue;
            DecodeHeaderLine(d->line, d->decoded, d->converted);
            if (!ArticleWriterAddContinuation(&d->writer, d->converted))
                return 0;
            continue;
        }
        previous_kept = IsKeptHeader(d->line);
        if (!previous_kept)
            continue;
        DecodeHeaderLine(d->line, d->decoded, d->converted);
        if (!ArticleWriterAddHeaderLine(&d->writer, d->converted))
            return 0;
    }
}

/* The article's status lines, head and body into the writer. kFetchFailed
 * leaves the result set; what was written of the article is for the
 * caller to cut off. */
FetchOutcome FetchArticleParts(GroupDownload *d, DWORD number)
{
    FetchOutcome outcome;
    if (!RequestArticlePart(d, kNntpHead, 221, number, &outcome))
        return outcome; /* nothing of the article is in the log yet */
    if (!ReadHead(d)) {
        Fail(d, IDS_RECV_INCOMPLETE);
        return kFetchFailed;
    }
    if (!ArticleWriterFinishHead(&d->writer)) {
        Fail(d, IDS_INDEX_WRITE_FAILED);
        return kFetchFailed;
    }
    if (!RequestArticlePart(d, kNntpBody, 222, number, &outcome))
        return outcome;
    for (;;) {
        /* A read that ends without an error (a NUL byte) ends the body; the
         * rest of the reply is read and dropped so that the next status
         * line is the next command's. */
        SetLastError(0);
        if (!NntpReadLine(d->c, d->line, kNntpLineCapacity, 0)) {
            if (GetLastError() == 0 && DrainReply(d))
                break;
            Fail(d, IDS_RECV_INCOMPLETE);
            return kFetchFailed;
        }
        const char *text = d->line;
        if (text[0] == '.') {
            if (text[1] == '\r' && text[2] == '\n' && text[3] == '\0')
                break;
            text++; /* dot-stuffed */
        }
        JisLineToSjis(text, d->converted);
        if (!ArticleWriterBodyLine(&d->writer, d->converted)) {
            Fail(d, IDS_LOG_WRITE_FAILED);
            return kFetchFailed;
        }
    }
    if (!ArticleWriterFinishArticle(&d->writer)) {
        Fail(d, IDS_INDEX_WRITE_FAILED);
        return kFetchFailed;
    }
    return kFetchStored;
}

FetchOutcome FetchArticle(GroupDownload *d, DWORD number)
{
    if (!ArticleWriterBegin(&d->writer, number)) {
        Fail(d, IDS_LOG_WRITE_FAILED);
        return kFetchFailed;
    }
    FetchOutcome outcome = FetchArticleParts(d, number);
    if (outcome != kFetchStored) {
        /* A refused body, or a failure inside the article: whatever was
         * written of it is cut back out of the log, as if it had never
         * been there. */
        DWORD error = GetLastError();
        ArticleWriterAbandon(&d->writer);
        SetLastError(error);
    }
    return outcome;
}

/* Fetches start..last, at most `limit` articles; the last number processed
 * goes to *processed. Leaves the summary in the result unless the run
 * failed. */
void FetchRange(GroupDownload *d, DWORD start, DWORD last, DWORD limit, DownloadProgress *progress,
                DWORD *processed)
{
    /* The count is one less than the articles of the range (kept so: the
     * bar's end is the range's last step). */
    ProgressStartGroup(progress, d->group, last - start, limit);
    DWORD fetched = 0;
    int limited = 0, stopped = 0;
    PipelineInit(&d->pipeline, d->c, progress, start, last, limit);
    unsigned long long n = start;
    for (; n <= last; n++) {
        if (fetched >= limit) {
            limited = 1;
            break;
        }
        /* A long run of missing numbers can be stopped too. */
        if (ProgressStopRequested(progress)) {
            stopped = 1;
            break;
        }
        /* Up to the number before this one everything is stored or was
         * refused: a failure here keeps that, and so does a header saved
         * now and then, for a program killed in the middle of a run. */
        *processed = (DWORD)(n - 1);
        d->head_refused = 0;
        FetchOutcome outcome = FetchArticle(d, (DWORD)n);
        if (outcome == kFetchStored) {
            fetched++;
            ProgressStep(progress);
            if (fetched % kHeaderSaveEvery == 0) {
                GroupStoreSetLastFetched(&d->store, (DWORD)n);
                if (!IndexWriteHeader(&d->store, INVALID_HANDLE_VALUE)) {
                    Fail(d, IDS_INDEX_WRITE_FAILED);
                    return;
                }
            }
        }
        if (d->result->severity == kSeverityError)
            return;
        PipelineFinishArticle(&d->pipeline, (DWORD)n, outcome == kFetchSkipped && d->head_refused, limit - fetched);
    }
    /* A body sent for an article refused at its head is still to come:
     * read before the next group's command. After a stop the link is
     * only closed. A failure here shows at the next exchange. */
    if (!stopped)
        PipelineDrain(&d->pipeline);
    /* The number before the first one not fetched: the next run starts
     * exactly there. */
    *processed = (DWORD)(n - 1);
    wchar_t text[kRunResultChars];
    if (limited)
        FormatResError(IDS_FETCHED_LIMIT, limit, text, kRunResultChars);
    else
        FormatResError(IDS_FETCHED_COUNT, fetched, text, kRunResultChars);
    RunResultSet(d->result, L"", text, kSeverityInformation);
}

} // namespace

void DownloadGroup(NntpConnection *c, const wchar_t *group, const wchar_t *data_path, DWORD limit,
                   DownloadProgress *progress, RunResult *result)
{
    GroupDownload *d = (GroupDownload *)malloc(sizeof(GroupDownload));
    if (!d) {
        RunResultSetError(result, group, IDS_INDEX_INIT_FAILED, kErrorNotEnoughMemory, kSeverityError);
        SetLastError(kErrorNotEnoughMemory);
        return;
    }
    d->c = c;
    d->group = group;
    d->result = result;
    GroupStoreInit(&d->store);
    ArticleWriterInit(&d->writer, &d->store);

    DWORD count, first, last, start, processed;
    int in_range = 0;
    if (!GroupStoreSetNames(&d->store, data_path, group) || !IndexReadHeader(&d->store)) {
        Fail(d, IDS_INDEX_INIT_FAILED);
        goto done;
    }
    processed = GroupStoreLastFetched(&d->store);
    if (!SelectGroup(c, group, &count, &first, &last, result))
        goto done;

    if (GroupStoreLastFetched(&d->store) == kCaughtUpOnServer) {
        /* Caught up on the server: only the server's position is taken;
         * articles posted from now on are fetched by the next run. */
        start = last + 1;
    } else {
        start = GroupStoreLastFetched(&d->store) + 1;
        if (start < first)
            start = first; /* the older articles have expired */
    }

    if (!GroupStoreOpenLog(&d->store)) {
        Fail(d, IDS_FILE_OPEN_FAILED);
        goto done;
    }
    if (!GroupStoreOpenIndex(&d->store)) {
        Fail(d, IDS_INDEX_OPEN_FAILED);
        goto done;
    }
    /* What a killed run left of an unfinished article goes first. */
    if (!IndexCutLogTail(&d->store)) {
        Fail(d, IDS_LOG_WRITE_FAILED);
        goto done;
    }
    if (start > last || (GroupStoreLastFetched(&d->store) == kCaughtUpOnServer)) {
        RunResultSetRes(result, L"", IDS_NO_NEW_ARTICLES, kSeverityInformation);
        processed = last;
    } else {
        in_range = 1;
        FetchRange(d, start, last, limit, progress, &processed);
    }
    ArticleWriterRelease(&d->writer);
    GroupStoreCloseLog(&d->store);
    GroupStoreCloseIndex(&d->store);

    /* After a failure inside the range the header keeps what was stored
     * before it, with the failure as the group's status: the next run
     * goes on right after the last stored article. */
    if (result->severity != kSeverityError || in_range) {
        RunResult kept = *result;
        GroupStoreSetLastFetched(&d->store, processed);
        GroupStoreSetServerLast(&d->store, last);
        if (!GroupStoreSetStatusText(&d->store, result->text) ||
            !IndexWriteHeader(&d->store, INVALID_HANDLE_VALUE)) {
            Fail(d, IDS_INDEX_WRITE_FAILED);
        } else if (kept.severity == kSeverityError) {
            *result = kept;
        }
    }

done:
    ArticleWriterRelease(&d->writer);
    GroupStoreRelease(&d->store);
    free(d);
}
