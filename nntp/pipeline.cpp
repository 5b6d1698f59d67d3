#include "pipeline.h"

#include <stdio.h>
#include <string.h>

#include "settings/settings.h"

namespace {

DWORD g_depth = kDefaultPipelineDepth;

/* Commands gathered for one send; flushed early when this fills. */
const int kSendBatch = 2048;

/* Appends "HEAD n\r\n" or "BODY n\r\n". */
int AppendCommand(char *batch, int used, NntpPart part, DWORD number)
{
    int n = _snprintf(batch + used, kSendBatch - used, "%s %lu\r\n", part == kNntpHead ? "HEAD" : "BODY",
                      (unsigned long)number);
    return n > 0 ? used + n : used;
}

/* Reads one dropped reply: its status line and, for a 2xx one, every line
 * up to the terminating "." line. */
int DropReply(NntpPipeline *p)
{
    char line[kNntpLineBufferSize];
    p->in_flight--;
    if (!NntpReadLine(p->c, line, kNntpLineCapacity, 0))
        return 0;
    if (line[0] != '2')
        return 1;
    for (;;) {
        SetLastError(0);
        if (!NntpReadLine(p->c, line, kNntpLineCapacity, 0)) {
            if (GetLastError() == 0)
                continue; /* a NUL byte: the line goes on */
            return 0;
        }
        if (strcmp(line, ".\r\n") == 0)
            return 1;
    }
}

} // namespace

void NntpSetPipelineDepth(DWORD depth)
{
    if (depth < kPipelineDepthMin)
        depth = kPipelineDepthMin;
    if (depth > kPipelineDepthMax)
        depth = kPipelineDepthMax;
    g_depth = depth;
}

DWORD NntpPipelineDepth()
{
    return g_depth;
}

void PipelineInit(NntpPipeline *p, NntpConnection *c, DownloadProgress *progress, DWORD start, DWORD last,
                  DWORD room)
{
    p->c = c;
    p->progress = progress;
    p->window = g_depth <= 1 ? 1 : 2 * g_depth;
    p->last = last;
    p->send_number = start;
    p->send_part = kNntpHead;
    p->current = start;
    p->in_flight = 0;
    p->open_articles = 0;
    p->room = room;
    p->dropped = 0;
}

int PipelineSendAhead(NntpPipeline *p)
{
    char batch[kSendBatch];
    int used = 0;
    while (p->in_flight < p->window) {
        if (p->send_part == kNntpHead) {
            /* A new article only while the limit leaves room for every
             * article out, and none after a stop but the one being read. */
            if (p->send_number > p->last || p->open_articles >= p->room)
                break;
            if (p->send_number != p->current && ProgressStopRequested(p->progress))
                break;
            p->open_articles++;
        }
        if (used > kSendBatch - 32) {
            if (!NntpSendBytes(p->c, batch, used))
                return 0;
            used = 0;
        }
        used = AppendCommand(batch, used, p->send_part, (DWORD)p->send_number);
        p->in_flight++;
        if (p->send_part == kNntpHead) {
            p->send_part = kNntpBody;
        } else {
            p->send_part = kNntpHead;
            p->send_number++;
        }
    }
    return used == 0 || NntpSendBytes(p->c, batch, used);
}

int PipelineReadStatus(NntpPipeline *p, DWORD number, NntpPart part, char *reply, NntpStep *failed)
{
    p->current = number;
    for (;;) {
        if (!PipelineSendAhead(p)) {
            *failed = kNntpStepSend;
            return 0;
        }
        *failed = kNntpStepReceive;
        for (; p->dropped > 0; p->dropped--)
            if (!DropReply(p))
                return 0;
        p->in_flight--;
        if (!NntpReadLine(p->c, reply, kNntpLineCapacity, 0))
            return 0;
        if (p->c->mode_reader_sent || strncmp(reply, "401", 3) != 0) {
            /* The freed place goes out now, before the reply's text is
             * read: the command carries the acknowledgement of what came,
             * and a server that holds its small writes until then (Nagle)
             * sends the rest at once instead of after the delayed ACK.
             * Not at depth 1, where BODY waits for its HEAD's reply, nor
             * after a refusal, which may take a BODY out of the dialogue. */
            if (p->window > 1 && reply[0] == '2' && !PipelineSendAhead(p)) {
                *failed = kNntpStepSend;
                return 0;
            }
            return 1;
        }

        /* The server wants MODE READER first: everything sent after this
         * command was refused too. The dialogue goes on from this command
         * as if it had not been sent. */
        p->c->mode_reader_sent = 1;
        while (p->in_flight > 0)
            if (!DropReply(p))
                return 0;
        p->dropped = 0;
        if (!NntpSendLine(p->c, "MODE READER")) {
            *failed = kNntpStepSend;
            return 0;
        }
        if (!NntpReadLine(p->c, reply, kNntpLineCapacity, 0))
            return 0;
        p->send_number = number;
        p->send_part = part;
        p->open_articles = part == kNntpBody ? 1 : 0;
    }
}

void PipelineFinishArticle(NntpPipeline *p, DWORD number, int head_refused, DWORD room)
{
    p->open_articles--;
    p->room = room;
    if (!head_refused)
        return;
    if (p->send_number == number && p->send_part == kNntpBody) {
        p->send_part = kNntpHead;
        p->send_number++;
    } else {
        p->dropped++;
    }
}

int PipelineDrain(NntpPipeline *p)
{
    while (p->in_flight > 0)
        if (!DropReply(p))
            return 0;
    p->dropped = 0;
    return 1;
}
