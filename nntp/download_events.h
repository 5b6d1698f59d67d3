/*
 * What a download run is given, and how it reports while it works, on the
 * worker's thread: the window side fills in the events (the progress
 * dialog, the texts), a benchmark or a test its own. The protocol never
 * shows a window.
 */
#ifndef PELNOR_DOWNLOAD_EVENTS_H
#define PELNOR_DOWNLOAD_EVENTS_H

#include <windows.h>

#include "base/background_job.h"
#include "nntp/certificate.h"
#include "nntp/group_cursor.h"
#include "nntp/outcome.h"
#include "nntp/run_result.h"
#include "nntp/server.h"

struct DownloadEvents {
    void *context;
    /* A group's range begins: `count` is one less than its articles,
     * `limit` the per-run limit. May be null. */
    void (*group_started)(void *context, const wchar_t *group, DWORD count, DWORD limit);
    /* One more article stored. May be null. */
    void (*article_stored)(void *context);
    /* Words `outcome` for the user: the title and text of `result` (its
     * severity is set from the outcome). A group's status text is what this
     * gives. */
    void (*describe)(void *context, const NntpOutcome *outcome, RunResult *result);
    /* A group's status could not be kept in its index (a name the data
     * folder refuses): the status as the run leaves it. May be null. */
    void (*status_not_stored)(void *context, const wchar_t *group, const wchar_t *status);
    /* Draft `index` of `count` waiting ones is being sent. May be null. */
    void (*draft_posting)(void *context, const wchar_t *subject, DWORD index, DWORD count);
    /* A draft stays waiting: `outcome` says why (its `draft` names it).
     * May be null. */
    void (*draft_kept)(void *context, const NntpOutcome *outcome);
};

/* Who posts, for sending the waiting drafts. */
struct PostingParams {
    const wchar_t *draft_path; /* `DraftPath`, ending in a backslash */
    const char *user_name;     /* stored text, or null */
    const char *mail_address;
    const char *organization;
};

/* What says when a group's files may be touched: the run waits in `wait`
 * before each group it downloads (`row` is the group's place in the run's
 * list), e.g. while the files of a folder just started are still being
 * checked by another thread. */
struct GroupGate {
    void *context;
    void (*wait)(void *context, DWORD row, const wchar_t *group);
};

/* What a download run is given. */
struct SessionParams {
    const NntpServer *server;
    const wchar_t *data_path; /* `DataPath`, ending in a backslash */
    DWORD limit;              /* articles per group and run */
    GroupCursor *cursor;
    const DownloadEvents *events;
    JobCancel *cancel;        /* may be null; a cancel stops the run at once */
    const NntpTrust *trust;   /* may be null: a certificate that fails its checks is refused */
    int decode_charsets;      /* DecodeCharsets: every charset and MIME form decoded; 0: ISO-2022-JP only */
    const PostingParams *posting; /* null: nothing is sent; else the waiting drafts go first */
    int send_only;            /* 1: no group is downloaded */
    const GroupGate *gate;    /* may be null: every group's files may be touched at once */
};

/* Words `outcome` through the events into `result`, with its severity. */
inline void TellOutcome(const DownloadEvents *events, const NntpOutcome *outcome, RunResult *result)
{
    events->describe(events->context, outcome, result);
    result->severity = outcome->severity;
}

#endif
