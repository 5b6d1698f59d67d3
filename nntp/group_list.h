/*
 * Download of the server's whole group list into active.dat (every group
 * name) and category.dat (the distinct first components of the names), on
 * a worker thread under the small modal dialog 110 whose counter shows the
 * groups as they arrive. This is the protocol side: it sees no window and
 * reports through the job's events.
 */
#ifndef PELNOR_GROUP_LIST_H
#define PELNOR_GROUP_LIST_H

#include <windows.h>

#include "nntp/connection.h"

/* How the download reports; both are called on the worker thread. */
struct GroupListEvents {
    void *context;
    void (*group_stored)(void *context); /* after each group written */
    void (*finished)(void *context);     /* the completion notice */
};

struct GroupListJob {
    wchar_t *active_path;   /* owned */
    wchar_t *category_path; /* owned */
    char *server;           /* owned, 8-bit */
    DWORD port;
    char *user;             /* owned copies, or null: the worker may outlive */
    char *password;         /* the dialog and the caller's texts */
    GroupListEvents events;
    int out_of_memory;      /* the error text itself could not be allocated */
    wchar_t *error_text;    /* owned; the first failure of the run, null on success */
    DWORD last_error;       /* system error saved with the text */
    NntpConnection connection;
    char line[kNntpLineBufferSize];
};

/* A job for the worker, or null with last error 8. Caller must free it with
 * GroupListJobFree. */
GroupListJob *GroupListJobCreate(const wchar_t *active_path, const wchar_t *category_path, const wchar_t *server,
                                 DWORD port, const char *user, const char *password, const GroupListEvents *events);
void GroupListJobFree(GroupListJob *job);

/* The download, on the calling (worker) thread: connects, authenticates,
 * fetches the list into the two files and reports it finished; when a file
 * cannot be opened it reports that at once and once more at the end, so
 * the failure is told twice (kept so). The outcome is in the job. */
void GroupListRun(GroupListJob *job);

#endif
