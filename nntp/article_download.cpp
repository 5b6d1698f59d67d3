#include "article_download.h"

#include <stdlib.h>
#include <string.h>

#include "nntp/conversation.h"
#include "nntp/pipeline.h"
#include "nntp/reply_parse.h"
#include "store/article_writer.h"
#include "store/group_store.h"
#include "store/index_file.h"
#include "text/article_decoder.h"
#include "text/byte_error.h"
#include "text/codeconv.h"
#include "text/mime.h"
#include "text/widestr.h"

namespace {

/* Stored articles between two saves of the group's header during a run:
 * a program killed in a run fetches at most these again. A save is one
 * 100-byte write. */
const DWORD kHeaderSaveEvery = 20;

/* More article numbers missing from a group's range than this is no range
 * to probe one number at a time. */
const unsigned long long kMostMissingNumbers = 1000000;

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
    const SessionParams *params;
    GroupStore store;
    ArticleWriter writer;
    NntpPipeline pipeline;
    int head_refused; /* the article skipped was refused at its HEAD */
    RunResult *result;
    ArticleDecoder decoder; /* with DecodeCharsets: what the store gets of each line */
    char line[kNntpLineBufferSize];
    char decoded[kNntpLineBufferSize];
    char converted[kNntpLineBufferSize];
};

/* Words the outcome into the result through the run's events. The last
 * error is kept for the caller. */
void Report(GroupDownload *d, NntpOutcome *outcome)
{
    DWORD error = GetLastError();
    outcome->group = d->group;
    outcome->decode_reply = d->params->decode_charsets;
    TellOutcome(d->params->events, outcome, d->result);
    SetLastError(error);
}

/* A failure `kind` at `step` with the last error: severity 2. */
void Fail(GroupDownload *d, NntpOutcomeKind kind, NntpOutcomeStep step = kOutcomeAtArticle)
{
    NntpOutcome outcome = MakeOutcome(kind, step, kSeverityError, GetLastError());
    Report(d, &outcome);
}

/* The server's line that was not what was asked for (last error 13). */
void ReportReply(GroupDownload *d, NntpOutcomeKind kind, NntpOutcomeStep step, DWORD severity)
{
    NntpOutcome outcome = MakeOutcome(kind, step, severity, kErrorInvalidData);
    outcome.reply = d->line;
    SetLastError(kErrorInvalidData);
    Report(d, &outcome);
}

void FailExchange(GroupDownload *d, NntpFailure failed, NntpOutcomeStep step)
{
    Fail(d, failed == kNntpFailedSend ? kOutcomeSendFailed : kOutcomeReceiveFailed, step);
}

/* The GROUP exchange: count, first and last from the reply. 1, or 0 with
 * the result set (severity 1 for a refusal or an unreadable reply, 2 for a
 * send or receive failure). */
int SelectGroup(GroupDownload *d, DWORD *count, DWORD *first, DWORD *last)
{
    char *name = ToNarrow(d->group);
    if (!name) {
        SetLastError(kErrorNotEnoughMemory);
        Fail(d, kOutcomeSendFailed, kOutcomeAtGroup);
        return 0;
    }
    NntpFailure failed;
    int exchanged = NntpExchange(d->c, "GROUP ", name, d->line, &failed);
    free(name);
    if (!exchanged) {
        FailExchange(d, failed, kOutcomeAtGroup);
        return 0;
    }
    if (d->line[0] != '2') {
        ReportReply(d, kOutcomeRefused, kOutcomeAtGroup, kSeverityWarning);
        return 0;
    }

    /* 211 and three numbers that fit; an empty group may give its last as
     * one below its first. A range that cannot be the group's is shown in
     * the group's status, never probed. */
    const char *cursor = d->line;
    DWORD fields[4];
    for (int i = 0; i < 4 && cursor; i++)
        fields[i] = (DWORD)ParseReplyNumberStrict(&cursor);
    bool sane = cursor && fields[0] == 211 && fields[3] != 0xFFFFFFFFu;
    if (sane && fields[1] != 0 && fields[3] + 1ull != fields[2])
        sane = fields[3] >= fields[2] && fields[3] - fields[2] + 1ull <= fields[1] + kMostMissingNumbers;
    if (!sane) {
        ReportReply(d, kOutcomeUnexpectedReply, kOutcomeAtGroup, kSeverityWarning);
        return 0;
    }
    *count = fields[1];
    *last = fields[3];
    /* An empty group has nothing to fetch whatever range it gives. */
    *first = *count == 0 ? *last + 1 : fields[2];
    return 1;
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
    NntpFailure failed;
    if (!PipelineReadStatus(&d->pipeline, number, part, d->line, &failed)) {
        FailExchange(d, failed, kOutcomeAtArticle);
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
        ReportReply(d, kOutcomeUnexpectedReply, kOutcomeAtArticle, kSeverityError);
        return 0;
    }
    return 1;
}

/* The decoder's output, if any, as the writer's header line. */
int WriteDecodedHeader(GroupDownload *d)
{
    StoredBuffer *out = &d->decoder.out;
    int ok = out->used == 0 || ArticleWriterAddHeaderLine(&d->writer, out->data);
    ArticleDecoderTake(&d->decoder);
    return ok;
}

/* The head through the decoder: every line goes in, so that it learns
 * what the body is; each kept header comes out whole, unfolded. */
int ReadDecodedHead(GroupDownload *d)
{
    if (!ArticleDecoderReset(&d->decoder))
        return 0;
    for (;;) {
        if (!NntpReadLine(d->c, d->line, kNntpLineCapacity, 0))
            return 0;
        if (d->line[0] == '.')
            return ArticleDecoderFinishHeaders(&d->decoder) && WriteDecodedHeader(d);
        if (!ArticleDecoderHeaderLine(&d->decoder, d->line, strlen(d->line)) || !WriteDecodedHeader(d))
            return 0;
    }
}

/* Reads the head up to its '.' line into the writer. */
int ReadHead(GroupDownload *d)
{
    if (d->params->decode_charsets)
        return ReadDecodedHead(d);
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

/* What the decoder made of the body so far into the writer. */
int WriteDecodedBody(GroupDownload *d)
{
    StoredBuffer *out = &d->decoder.out;
    int ok = out->used == 0 || ArticleWriterBodyLine(&d->writer, out->data);
    ArticleDecoderTake(&d->decoder);
    if (!ok)
        Fail(d, kOutcomeLogWriteFailed);
    return ok;
}

/* The end of the body: what the decoder still holds (and the list of the
 * parts it did not store) into the writer. */
int FinishDecodedBody(GroupDownload *d)
{
    if (!ArticleDecoderFinish(&d->decoder)) {
        Fail(d, kOutcomeLogWriteFailed);
        return 0;
    }
    return WriteDecodedBody(d);
}

/* The body through the decoder, line by line in the parts they are read
 * in; a NUL byte ends it as it ends an undecoded one. */
int ReadDecodedBody(GroupDownload *d)
{
    for (;;) {
        int first_part = 1;
        for (int complete = 0; !complete;) {
            SetLastError(0);
            if (!NntpReadLinePart(d->c, d->line, kNntpLineCapacity, &complete)) {
                if (GetLastError() != 0 || !NntpSkipReplyText(d->c)) {
                    Fail(d, kOutcomeIncomplete);
                    return 0;
                }
                if (!first_part && !ArticleDecoderBodyLine(&d->decoder, "\r\n", 2, 1)) {
                    Fail(d, kOutcomeLogWriteFailed);
                    return 0;
                }
                return FinishDecodedBody(d);
            }
            const char *text = d->line;
            if (first_part && text[0] == '.') {
                if (strcmp(text, ".\r\n") == 0)
                    return FinishDecodedBody(d);
                text++; /* dot-stuffed */
            }
            first_part = 0;
            if (!ArticleDecoderBodyLine(&d->decoder, text, strlen(text), complete)) {
                Fail(d, kOutcomeLogWriteFailed);
                return 0;
            }
            if (!WriteDecodedBody(d))
                return 0;
        }
    }
}

/* Reads the body up to its "." line into the writer. A line of any length
 * is stored whole: it is read and converted part by part, the bytes a part
 * leaves unconverted opening the next. */
int ReadBody(GroupDownload *d)
{
    if (d->params->decode_charsets)
        return ReadDecodedBody(d);
    for (;;) {
        JisLineState state = {0};
        size_t carried = 0;
        int first_part = 1;
        for (int complete = 0; !complete;) {
            /* A read that ends without an error (a NUL byte) ends the body;
             * the rest of the reply is read and dropped so that the next
             * status line is the next command's. */
            SetLastError(0);
            if (!NntpReadLinePart(d->c, d->line + carried, kNntpLineCapacity - (int)carried, &complete)) {
                if (GetLastError() != 0 || !NntpSkipReplyText(d->c)) {
                    Fail(d, kOutcomeIncomplete);
                    return 0;
                }
                /* A long line cut off keeps its line end in the log. */
                if (!first_part && !ArticleWriterBodyLine(&d->writer, "\r\n")) {
                    Fail(d, kOutcomeLogWriteFailed);
                    return 0;
                }
                return 1;
            }
            const char *text = d->line;
            if (first_part && text[0] == '.') {
                if (strcmp(text, ".\r\n") == 0)
                    return 1;
                text++; /* dot-stuffed */
            }
            first_part = 0;
            size_t converted = JisPartToSjis(text, d->converted, &state, complete);
            if (!ArticleWriterBodyLine(&d->writer, d->converted)) {
                Fail(d, kOutcomeLogWriteFailed);
                return 0;
            }
            carried = strlen(text) - converted;
            memmove(d->line, text + converted, carried);
        }
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
        Fail(d, kOutcomeIncomplete);
        return kFetchFailed;
    }
    if (!ArticleWriterFinishHead(&d->writer)) {
        Fail(d, kOutcomeIndexWriteFailed);
        return kFetchFailed;
    }
    if (!RequestArticlePart(d, kNntpBody, 222, number, &outcome))
        return outcome;
    if (!ReadBody(d))
        return kFetchFailed;
    if (!ArticleWriterFinishArticle(&d->writer)) {
        Fail(d, kOutcomeIndexWriteFailed);
        return kFetchFailed;
    }
    return kFetchStored;
}

FetchOutcome FetchArticle(GroupDownload *d, DWORD number)
{
    if (!ArticleWriterBegin(&d->writer, number)) {
        Fail(d, kOutcomeLogWriteFailed);
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

/* The summary of a range: `fetched` stored, the limit reached or not. */
void ReportFetched(GroupDownload *d, DWORD fetched, int limited)
{
    NntpOutcome outcome = MakeOutcome(kOutcomeFetched, kOutcomeAtArticle, kSeverityInformation);
    outcome.count = fetched;
    outcome.limit = d->params->limit;
    outcome.limited = limited;
    Report(d, &outcome);
}

/* Fetches start..last, at most the run's limit; the last number processed
 * goes to *processed. Leaves the summary in the result unless the run
 * failed. A stop ends the range at once, and whatever failed because of
 * it counts as the stop. */
void FetchRange(GroupDownload *d, DWORD start, DWORD last, DWORD *processed)
{
    const SessionParams *params = d->params;
    const DownloadEvents *events = params->events;
    DWORD limit = params->limit;
    /* The count is one less than the articles of the range (kept so: the
     * bar's end is the range's last step). */
    if (events->group_started)
        events->group_started(events->context, d->group, last - start, limit);
    DWORD fetched = 0;
    int limited = 0, stopped = 0;
    PipelineInit(&d->pipeline, d->c, params->cancel, params->server->pipeline_depth, start, last, limit);
    unsigned long long n = start;
    for (; n <= last; n++) {
        if (fetched >= limit) {
            limited = 1;
            break;
        }
        /* A long run of missing numbers can be stopped too. */
        if (JobCancelRequested(params->cancel)) {
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
            if (events->article_stored)
                events->article_stored(events->context);
            if (fetched % kHeaderSaveEvery == 0) {
                GroupStoreSetLastFetched(&d->store, (DWORD)n);
                if (!IndexWriteHeader(&d->store, INVALID_HANDLE_VALUE)) {
                    Fail(d, kOutcomeIndexWriteFailed);
                    return;
                }
            }
        }
        if (d->result->severity == kSeverityError) {
            if (!JobCancelRequested(params->cancel))
                return;
            stopped = 1;
            break;
        }
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
    ReportFetched(d, fetched, limited);
}

/* A group the run could not have: its status says why, and the run goes
 * on. The status is kept in the group's index when it can be; a name the
 * data folder refuses has none, so the run keeps it. */
void KeepWarning(GroupDownload *d, bool header_read)
{
    if (header_read && GroupStoreSetStatusText(&d->store, d->result->text) &&
        IndexWriteHeader(&d->store, INVALID_HANDLE_VALUE))
        return;
    if (header_read) {
        Fail(d, kOutcomeIndexWriteFailed);
        return;
    }
    const DownloadEvents *events = d->params->events;
    if (events->status_not_stored)
        events->status_not_stored(events->context, d->group, d->result->text);
}

} // namespace

void DownloadGroup(NntpConnection *c, const wchar_t *group, const SessionParams *params, RunResult *result)
{
    GroupDownload *d = (GroupDownload *)malloc(sizeof(GroupDownload));
    if (!d) {
        NntpOutcome outcome = MakeOutcome(kOutcomeIndexInitFailed, kOutcomeAtArticle, kSeverityError,
                                          kErrorNotEnoughMemory);
        outcome.group = group;
        TellOutcome(params->events, &outcome, result);
        SetLastError(kErrorNotEnoughMemory);
        return;
    }
    d->c = c;
    d->group = group;
    d->params = params;
    d->result = result;
    GroupStoreInit(&d->store);
    ArticleWriterInit(&d->writer, &d->store);
    ArticleDecoderInit(&d->decoder);

    DWORD count, first, last, start, processed;
    int in_range = 0;
    if (!GroupStoreSetNames(&d->store, params->data_path, group) || !IndexReadHeader(&d->store)) {
        NntpOutcome outcome = MakeOutcome(kOutcomeIndexInitFailed, kOutcomeAtArticle, kSeverityWarning, GetLastError());
        Report(d, &outcome);
        KeepWarning(d, false);
        goto done;
    }
    processed = GroupStoreLastFetched(&d->store);
    if (!SelectGroup(d, &count, &first, &last)) {
        if (result->severity == kSeverityWarning)
            KeepWarning(d, true);
        goto done;
    }

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
        Fail(d, kOutcomeLogOpenFailed);
        goto done;
    }
    if (!GroupStoreOpenIndex(&d->store)) {
        Fail(d, kOutcomeIndexOpenFailed);
        goto done;
    }
    /* What a killed run left of an unfinished article goes first. */
    if (!IndexCutLogTail(&d->store)) {
        Fail(d, kOutcomeLogWriteFailed);
        goto done;
    }
    if (start > last || (GroupStoreLastFetched(&d->store) == kCaughtUpOnServer)) {
        NntpOutcome outcome = MakeOutcome(kOutcomeNoNewArticles, kOutcomeAtArticle, kSeverityInformation);
        Report(d, &outcome);
        processed = last;
    } else {
        in_range = 1;
        FetchRange(d, start, last, &processed);
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
            Fail(d, kOutcomeIndexWriteFailed);
        } else if (kept.severity == kSeverityError) {
            *result = kept;
        }
    }

done:
    ArticleWriterRelease(&d->writer);
    ArticleDecoderRelease(&d->decoder);
    GroupStoreRelease(&d->store);
    free(d);
}
