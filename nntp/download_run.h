/*
 * A download run: one worker thread (the patrol thread) runs the NNTP
 * session while the user-interface thread shows the modal "Articles"
 * progress dialog, which shows the session's events. When the session ends
 * the dialog closes and the main window gets WM_PELNOR_RUN_FINISHED with
 * the job.
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
    wchar_t *group_names;     /* owned: the group view's names, in its order */
    GroupCursor cursor;       /* over group_names */
    RunResult *result;        /* owned */
    HWND main_window;         /* receives WM_PELNOR_RUN_FINISHED */
    HWND dialog;              /* the progress dialog, null until it is up */
    DWORD limit;
    const char *user;         /* borrowed UserID, or null */
    const char *password;     /* the stored password or the prompted one */
    DownloadProgress progress;
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
 * the session ends. `group_names` (each name ended by a NUL, the list by an
 * empty name) is taken over in every case. */
DownloadStart RunDownload(HINSTANCE instance, HWND main_window, const Settings *settings, wchar_t *group_names);

/* A group's range begins in the progress dialog: its name in field 1003 and
 * the bar's range 0..min(count, limit), position 0. The bound goes in the
 * high 16 bits of the range message, so a larger value is cut to 16 bits. */
void ProgressDialogShowGroup(HWND dialog, const wchar_t *group, DWORD count, DWORD limit);

/* Frees the job with its names, result and prompted password. */
void FreeDownloadJob(DownloadJob *job);

#endif
