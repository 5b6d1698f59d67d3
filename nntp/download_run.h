/*
 * A download run: one worker thread (the patrol thread) runs the NNTP
 * session while the user-interface thread shows the modal "Articles"
 * progress dialog. When the session ends the worker closes the dialog and
 * sends the main window WM_PELNOR_RUN_FINISHED with the job.
 */
#ifndef PELNOR_DOWNLOAD_RUN_H
#define PELNOR_DOWNLOAD_RUN_H

#include <windows.h>

#include "nntp/group_cursor.h"
#include "nntp/progress.h"
#include "nntp/run_result.h"
#include "settings/settings.h"

struct DownloadJob {
    const Settings *settings; /* the server name is taken from it */
    DWORD port;
    const wchar_t *data_path;
    GroupCursor *cursor;      /* owned */
    RunResult *result;        /* owned */
    HWND main_window;         /* receives WM_PELNOR_RUN_FINISHED */
    DWORD limit;
    const char *user;         /* borrowed UserID, or null */
    const char *password;     /* the stored password or the prompted one */
    ProgressDialog progress;
    char *prompted_password;  /* owned; lives until the job is freed, as
                                 the worker may use it after the dialog */
    HANDLE worker;            /* until the dialog lets the worker go */
};

enum DownloadStart {
    kDownloadStarted,   /* the job comes back with WM_PELNOR_RUN_FINISHED */
    kDownloadCancelled, /* the password prompt was left: nothing started */
    kDownloadFailed,    /* no memory or no thread; the user was told */
};

/* Prompts for the password when a user has none stored, makes the job and
 * its worker and shows the progress dialog (owned by `main_window`) until
 * the worker closes it. */
DownloadStart RunDownload(HINSTANCE instance, HWND main_window, const Settings *settings, HWND group_list);

/* Frees the job with its cursor, result and prompted password. */
void FreeDownloadJob(DownloadJob *job);

#endif
