#include "pipeline.h"

#include <stdio.h>
#include <string.h>

#include "settings/settings.h"

namespace {

/* Commands gathered for one send; flushed early when this fills. */
const int kSendBatch = 2048;

/* Appends "HEAD n\r\n" or "BODY n\r\n". */
int AppendCommand(char *batch, int used, NntpPart part, DWORD number)
{
    int n = _snprintf(batch + used, kSendBatch - used, "%s %lu\r\n", part == kNntpHead ? "HEAD" : "BODY",
                      (unsigned long)number);
    return n > 0 ? used + n : used;
}

/* Reads one dropped reply: its status line and, for a 2xx one, its text. */
int DropReply(NntpPipeline *p)
{
    char line[kNntpLineBufferSize];
    p->in_flight--;
    if (!NntpReadLine(p->c, line, kNntpLineCapacity, 0))
        return 0;
    return line[0] != '2' || NntpSkipReplyText(p->c);
}

} // namespace

void PipelineInit(NntpPipeline *p, NntpConnection *c, JobCancel *cancel, DWORD depth, DWORD start, DWORD last,
                  DWORD room)
{
    if (depth < kPipelineDepthMin)
        depth = kPipelineDepthMin;
    if (depth > kPipelineDepthMax)
        depth = kPipelineDepthMax;
    p->c = c;
    p->cancel = cancel;
    p->window = depth <= 1 ? 1 : 2 * depth;
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
            if (p->send_number != p->current && JobCancelRequested(p->cancel))
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

int PipelineReadStatus(NntpPipeline *p, DWORD number, NntpPart part, char *reply, NntpFailure *failed)
{
    p->current = number;
    for (;;) {
        if (!PipelineSendAhead(p)) {
            *failed = kNntpFailedSend;
            return 0;
        }
        *failed = kNntpFailedReceive;
        for (; p->dropped > 0; p->dropped--)
            if (!DropReply(p))
                return 0;
        p->in_flight--;
        if (!NntpReadLine(p->c, reply, kNntpLineCapacity, 0))
            return 0;
        if (!NntpWantsModeReader(p->c, reply)) {
            /* The freed place goes out now, before the reply's text is
             * read: the command carries the acknowledgement of what came,
             * and a server that holds its small writes until then (Nagle)
             * sends the rest at once instead of after the delayed ACK.
             * Not at depth 1, where BODY waits for its HEAD's reply, nor
             * after a refusal, which may take a BODY out of the dialogue. */
            if (p->window > 1 && reply[0] == '2' && !PipelineSendAhead(p)) {
                *failed = kNntpFailedSend;
                return 0;
            }
            return 1;
        }

        /* The server wants MODE READER first: everything sent after this
         * command was refused too. The dialogue goes on from this command
         * as if it had not been sent. */
        while (p->in_flight > 0)
            if (!DropReply(p))
                return 0;
        p->dropped = 0;
        if (!NntpSendModeReader(p->c, reply, failed))
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
