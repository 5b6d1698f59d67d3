/*
 * Download of the server's whole group list into active.dat (every group
 * name) and category.dat (the distinct first components of the names), on
 * a worker thread. This is the protocol side: it sees no window, reports
 * through its events and leaves the run's one failure in the job for the
 * window side to word.
 */
#ifndef PELNOR_GROUP_LIST_H
#define PELNOR_GROUP_LIST_H

#include <windows.h>

#include "base/background_job.h"
#include "nntp/connection.h"
#include "nntp/server.h"

/* How the download reports; both are called on the worker thread. */
struct GroupListEvents {
    void *context;
    void (*group_stored)(void *context); /* after each group written */
    /* A file could not be opened: the owner is told at once, besides the
     * notice it gets when the work ends, so it hears of this failure twice
     * (kept so). */
    void (*file_failed)(void *context);
    const NntpTrust *trust; /* may be null: a certificate that fails its checks is refused */
};

/* The run's failure, in the order of its steps; the first one ends it. */
enum GroupListFailure {
    kListDone = 0,
    kListConnectFailed,
    kListNoGreeting,
    kListRefused,          /* the greeting: `reply` */
    kListLoginSendFailed,
    kListLoginReceiveFailed,
    kListLoginRefused,     /* `reply` */
    kListActiveOpenFailed, /* `error` */
    kListCategoryOpenFailed,
    kListHashInitFailed,
    kListSendFailed,       /* LIST active */
    kListReceiveFailed,    /* either LIST */
    kListFallbackSendFailed, /* LIST */
    kListUnexpected,       /* `reply` */
    kListWriteFailed,      /* `error` */
    kListHashWriteFailed,  /* `error` */
    kListIncomplete,       /* `error` */
    kListTlsFailed,        /* `error` */
    kListCaFileFailed,     /* `error` */
    kListCertificateRefused,
    kListStartTlsRefused,  /* `reply` */
    kListEncryptionRequired, /* `reply` */
};

struct GroupListJob {
    wchar_t *active_path;   /* owned */
    wchar_t *category_path; /* owned */
    NntpServer server;
    GroupListEvents events;
    GroupListFailure failure;
    DWORD last_error;       /* system error saved with the failure */
    NntpConnection connection;
    char line[kNntpLineBufferSize]; /* the server's line of a failure that has one */
};

/* A job for the worker, or null with last error 8. Caller must free it with
 * GroupListJobFree. */
GroupListJob *GroupListJobCreate(const wchar_t *active_path, const wchar_t *category_path, const NntpServer *server);
void GroupListJobFree(GroupListJob *job);

/* The download, on the calling (worker) thread: connects, logs in, fetches
 * the list into the two files, reporting through `events`; `cancel` (may be
 * null) stops it at once. The outcome is in the job. */
void GroupListRun(GroupListJob *job, const GroupListEvents *events, JobCancel *cancel);

#endif
