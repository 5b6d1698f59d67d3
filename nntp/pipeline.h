/*
 * The HEAD and BODY commands of a group's download, kept several ahead of
 * the replies being read (RFC 3977 3.5 allows it): HEAD n, BODY n,
 * HEAD n+1, BODY n+1, ... in the order the one-at-a-time dialogue sends
 * them, so that the server always has the next command when it finishes a
 * reply. Replies are still read one article after another; nothing read
 * ahead is ever stored.
 *
 * At depth 1 only one command is out at a time and BODY n goes only after
 * HEAD n was answered: the dialogue is the one-at-a-time one, byte for byte.
 * At depth d, up to d articles' pairs are out. A BODY sent for an article
 * whose HEAD was refused has its reply read and dropped before the next
 * article's; a HEAD is never sent for an article the per-run limit could
 * not leave room for. The commands sent are depth 1's in the same order,
 * plus the BODY of an article refused at its head, and, when the run ends
 * early, those already sent for later articles.
 */
#ifndef PELNOR_NNTP_PIPELINE_H
#define PELNOR_NNTP_PIPELINE_H

#include <windows.h>

#include "base/background_job.h"
#include "nntp/connection.h"
#include "nntp/conversation.h"

enum NntpPart { kNntpHead = 0, kNntpBody = 1 };

struct NntpPipeline {
    NntpConnection *c;
    JobCancel *cancel;          /* no new article is sent once a stop is asked for */
    DWORD window;               /* commands out at most: 1, or two per article of depth */
    DWORD last;                 /* the range's last number */
    unsigned long long send_number; /* the next command to send: HEAD or BODY of this */
    NntpPart send_part;
    DWORD current;              /* the article being read: sent even after a stop */
    DWORD in_flight;            /* commands sent whose status line is not read */
    DWORD open_articles;        /* articles whose HEAD went out and that are not finished */
    DWORD room;                 /* articles the limit still lets this run store */
    DWORD dropped;              /* replies out to drop before the next status line */
};

/* A pipeline for the numbers start..last at `depth` (clamped to
 * kPipelineDepthMin..kPipelineDepthMax of settings/settings.h). */
void PipelineInit(NntpPipeline *p, NntpConnection *c, JobCancel *cancel, DWORD depth, DWORD start, DWORD last,
                  DWORD room);

/* Sends what the window and the room allow, in one send. 1, or 0 with the
 * last error (nothing is sent when a command could not be made). */
int PipelineSendAhead(NntpPipeline *p);

/* Reads the status line of `part` of article `number` into `reply`
 * (kNntpLineBufferSize bytes), sending ahead first. A 401 while "MODE
 * READER" has not gone out on the link drops every reply still out, sends
 * MODE READER, reads its status and sends the command again, as the
 * one-at-a-time dialogue does. 1, or 0 with the last error and *failed set
 * to the send or the receive step. */
int PipelineReadStatus(NntpPipeline *p, DWORD number, NntpPart part, char *reply, NntpFailure *failed);

/* Article `number` is finished, stored or skipped (`head_refused`: at its
 * HEAD), and `room` articles may still be stored. A HEAD refused before its
 * BODY went out takes the BODY out of the dialogue; a BODY already sent has
 * its reply dropped before the next status line. */
void PipelineFinishArticle(NntpPipeline *p, DWORD number, int head_refused, DWORD room);

/* Reads and drops every reply still out, so that the link is in step for
 * the next group. 1, or 0 when a read failed (the next exchange fails the
 * same way). */
int PipelineDrain(NntpPipeline *p);

#endif
