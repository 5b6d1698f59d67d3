/*
 * Download of the server's whole group list into active.dat (every group
 * name) and category.dat (the distinct first components of the names), on
 * a worker thread under the small modal dialog 110 whose counter shows the
 * groups as they arrive.
 */
#ifndef PELNOR_GROUP_LIST_H
#define PELNOR_GROUP_LIST_H

#include <windows.h>

#include "nntp/connection.h"

struct GroupListDialogState;

struct GroupListJob {
    wchar_t *active_path;   /* owned */
    wchar_t *category_path; /* owned */
    char *server;           /* owned, 8-bit */
    DWORD port;
    char *user;             /* owned copies, or null: the worker may outlive */
    char *password;         /* the dialog and the caller's texts */
    HWND notify_window;
    DWORD notify_command;   /* always 103 */
    int out_of_memory;      /* the error text itself could not be allocated */
    wchar_t *error_text;    /* owned; the first failure of the run, null on success */
    DWORD last_error;       /* system error saved with the text */
    NntpConnection connection;
    char line[kNntpLineBufferSize];
    GroupListDialogState *dialog_state; /* for the counter; may be null */
};

struct GroupListDialogState {
    HWND dialog;
    DWORD group_count;
    const wchar_t *server;
    DWORD port;
    const char *user;
    const char *password;
    const wchar_t *active_path;
    const wchar_t *category_path;
    GroupListJob *job;
    LONG references;        /* the dialog and the worker: the last one frees */
};

/* A job for the worker, or null with last error 8. Caller must free it with
 * GroupListJobFree (the dialog does so through its state). */
GroupListJob *GroupListJobCreate(const wchar_t *active_path, const wchar_t *category_path, const wchar_t *server,
                                 DWORD port, const char *user, const char *password, HWND notify_window);
void GroupListJobFree(GroupListJob *job);

/* The worker thread: connects, authenticates, fetches the list into the two
 * files and posts WM_COMMAND 103 to the notify window (twice when a file
 * cannot be opened). Releases the worker's hold on the dialog state, if
 * any. Always 0. */
DWORD WINAPI GroupListWorker(LPVOID job);

/* Drops one hold on the dialog state (the dialog's or the worker's); the
 * last one frees the job and the state. */
void GroupListReleaseState(GroupListDialogState *state);

/* Shows dialog 110 until the download has ended and its failure, if any,
 * has been shown ("PELNOR", exclamation icon). Always 0. */
int RunGroupListDownload(HINSTANCE instance, HWND parent, const wchar_t *active_path, const wchar_t *category_path,
                         const wchar_t *server, DWORD port, const char *user, const char *password);

#endif
