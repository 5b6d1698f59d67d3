/*
 * A download run: a background job (the patrol thread) runs the NNTP
 * session while the user-interface thread shows the modal "Articles"
 * progress dialog, which reads the job's progress on a timer. When the
 * session ends the dialog closes and the main window gets
 * WM_PELNOR_RUN_FINISHED with the run.
 */
#ifndef PELNOR_DOWNLOAD_RUN_H
#define PELNOR_DOWNLOAD_RUN_H

#include <windows.h>

#include "base/background_job.h"
#include "nntp/download_events.h"
#include "nntp/group_cursor.h"
#include "nntp/run_result.h"
#include "nntp/server.h"
#include "settings/settings.h"

struct DownloadRun {
    BackgroundJob *job;
    NntpServer server;
    wchar_t data_path[MAX_PATH];
    DWORD limit;
    int decode_charsets;  /* DecodeCharsets when the run was made */
    wchar_t *group_names; /* owned: the group view's names, in its order */
    GroupGate gate;       /* wait null: none */
    GroupCursor cursor;   /* over group_names */
    RunResult result;     /* what the user is told at the end */
    /* The statuses no index could keep: group and status, each ended by a
     * NUL, the list by an empty group. Owned, or null for none. */
    wchar_t *unstored;
    size_t unstored_used;
    /* Sending the waiting drafts first (Posting on): who posts, and the
     * drafts that stayed waiting, title and text each ended by a NUL, the
     * list by an empty title. Owned, or null. */
    int post;
    int send_only;
    PostingParams posting;
    wchar_t draft_path[MAX_PATH];
    char *user_name, *mail_address, *organization;
    wchar_t *kept;
    size_t kept_used;
};

enum DownloadMode {
    kDownloadGetArticles, /* send what waits (when posting is on), then download */
    kDownloadSendOnly,    /* send what waits, nothing else */
};

enum DownloadStart {
    kDownloadStarted,   /* the run comes back with WM_PELNOR_RUN_FINISHED */
    kDownloadCancelled, /* the password prompt was left: nothing started */
    kDownloadFailed,    /* no memory or no thread; the user was told */
};

/* Prompts for the password when a user has none stored, makes the run and
 * its job and shows the progress dialog (owned by `main_window`) until the
 * session ends; then sends the main window WM_PELNOR_RUN_FINISHED with the
 * run. `group_names` (each name ended by a NUL, the list by an empty name)
 * is taken over in every case. `gate` (copied; may be null) is asked on the
 * run's worker before each group, until the run's end. */
DownloadStart RunDownload(HINSTANCE instance, HWND main_window, const Settings *settings, wchar_t *group_names,
                          DownloadMode mode = kDownloadGetArticles, const GroupGate *gate = nullptr);

/* Whether the user stopped the run. */
bool DownloadStopped(DownloadRun *run);

/* A group's range begins in the progress dialog: its name in field 1003 and
 * the bar's range 0..`top`, position 0. The bound goes in the high 16 bits
 * of the range message, so a larger value is cut to 16 bits. */
void ProgressDialogShowGroup(HWND dialog, const wchar_t *group, DWORD top);

/* Lets go of the run (the job frees it when its worker is done too). */
void FreeDownloadRun(DownloadRun *run);

#endif
