/*
 * "記事取得" (get articles): dial-up when configured, the download run, and
 * the end of the run (hang-up, the closing message, the reload).
 */
#ifndef PELNOR_DOWNLOAD_COMMAND_H
#define PELNOR_DOWNLOAD_COMMAND_H

#include "nntp/download_run.h"
#include "shell/app_frame.h"

/* Command 40003: dials first when configured, else starts the run. */
void GetArticlesCommand(AppFrame *frame);

/* "送信のみ" (send only): with posting on, sends the waiting drafts and
 * downloads nothing; says so at once when nothing waits. */
void SendOnlyCommand(AppFrame *frame);

/* WM_PELNOR_START_RUN: the line this program dialled is up. */
void OnDialledLineUp(AppFrame *frame);

/* WM_PELNOR_HANG_UP: enables the frame and hangs the line up. */
void OnHangUp(AppFrame *frame);

/* WM_PELNOR_RUN_FINISHED with the job the worker ended. */
void OnRunFinished(AppFrame *frame, DownloadRun *run);

#endif
