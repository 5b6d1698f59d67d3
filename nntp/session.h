/*
 * One download run's NNTP session on the worker thread: connect, check the
 * greeting, authenticate when both a user and a password are known, download
 * every group of the group view in row order, and end with QUIT.
 */
#ifndef PELNOR_SESSION_H
#define PELNOR_SESSION_H

#include <windows.h>

#include "nntp/group_cursor.h"
#include "nntp/progress.h"
#include "nntp/run_result.h"

struct SessionParams {
    const wchar_t *server;    /* `Server` */
    DWORD port;               /* `Port` */
    const wchar_t *data_path; /* `DataPath`, ending in a backslash */
    DWORD limit;              /* articles per group and run */
    GroupCursor *cursor;
    DownloadProgress *progress;
    const char *user;         /* 8-bit, or null for none */
    const char *password;     /* 8-bit, or null for none */
};

/* Runs the session; every failure leaves its title, text and severity in
 * `result`. The progress is told the session finished as its last act. 1 when every group was processed, else 0 with the last error set
 * to the error recorded at the failure. QUIT is sent whenever a socket was
 * opened. */
int RunSession(const SessionParams *params, RunResult *result);

#endif
