#include "download_run.h"

#include <commctrl.h>
#include <stdlib.h>

#include "base/dialog.h"
#include "base/frame_messages.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "nntp/password_prompt.h"
#include "nntp/pipeline.h"
#include "nntp/session.h"
#include "resources/resource.h"

namespace {

void OnGroupStarted(void *context, const wchar_t *group, DWORD count, DWORD limit)
{
    DownloadJob *job = (DownloadJob *)context;
    if (job->dialog)
        ProgressDialogShowGroup(job->dialog, group, count, limit);
}

void OnArticleStored(void *context)
{
    DownloadJob *job = (DownloadJob *)context;
    if (job->dialog)
        SendDlgItemMessageW(job->dialog, IDC_PROGRESS_BAR, PBM_DELTAPOS, 1, 0);
}

/* The dialog closes and the frame takes the job back (and frees it). */
void OnFinished(void *context)
{
    DownloadJob *job = (DownloadJob *)context;
    if (job->dialog)
        SendMessageW(job->dialog, WM_COMMAND, IDOK, 0);
    SendMessageW(job->main_window, WM_PELNOR_RUN_FINISHED, 0, (LPARAM)job);
}

DWORD WINAPI PatrolThread(LPVOID parameter)
{
    DownloadJob *job = (DownloadJob *)parameter;
    SessionParams params = {};
    params.server = job->settings->Server;
    params.port = job->port;
    params.data_path = job->data_path;
    params.limit = job->limit;
    params.cursor = &job->cursor;
    params.progress = &job->progress;
    params.user = job->user;
    params.password = job->password;
    return (DWORD)RunSession(&params, job->result);
}

/* The worker waits for the dialog, so that the close it sends at the end
 * of the session always finds it. */
void LetWorkerGo(DownloadJob *job)
{
    ResumeThread(job->worker);
    CloseHandle(job->worker);
    job->worker = nullptr;
}

INT_PTR ProgressHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, DownloadJob *job)
{
    switch (msg) {
    case WM_INITDIALOG:
        job->dialog = dialog;
        LetWorkerGo(job);
        return TRUE;
    case WM_COMMAND:
        /* Escape or closing the dialog asks the worker to stop after the
         * article in progress; the dialog stays until the worker ends it,
         * so the frame cannot start a second run meanwhile. */
        if (LOWORD(wp) == IDOK) {
            job->dialog = nullptr;
            EndDialog(dialog, kDialogOk);
        } else if (LOWORD(wp) == IDCANCEL && !ProgressStopRequested(&job->progress)) {
            ProgressRequestStop(&job->progress);
            SetDlgItemTextW(dialog, IDC_PROGRESS_GROUP, LoadResString(IDS_RUN_STOPPING));
        }
        return TRUE;
    case WM_CLOSE:
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        return TRUE;
    }
    return FALSE;
}

DownloadJob *MakeJob(HWND main_window, const Settings *settings, wchar_t *group_names)
{
    DownloadJob *job = (DownloadJob *)calloc(1, sizeof(DownloadJob));
    if (!job) {
        free(group_names);
        return nullptr;
    }
    job->group_names = group_names;
    job->result = (RunResult *)calloc(1, sizeof(RunResult));
    if (!job->result) {
        FreeDownloadJob(job);
        return nullptr;
    }
    GroupCursorInit(&job->cursor, group_names);
    RunResultClear(job->result);
    job->settings = settings;
    job->port = settings->Port;
    job->data_path = settings->DataPath;
    job->main_window = main_window;
    job->limit = settings->Limit;
    job->user = settings->UserID;
    job->password = settings->Password;
    DownloadEvents events = {job, OnGroupStarted, OnArticleStored, OnFinished};
    ProgressInit(&job->progress, &events);
    return job;
}

} // namespace

void ProgressDialogShowGroup(HWND dialog, const wchar_t *group, DWORD count, DWORD limit)
{
    SetDlgItemTextW(dialog, IDC_PROGRESS_GROUP, group);
    DWORD top = count < limit ? count : limit;
    HWND bar = GetDlgItem(dialog, IDC_PROGRESS_BAR);
    SendMessageW(bar, PBM_SETRANGE, 0, MAKELPARAM(0, (WORD)top));
    SendMessageW(bar, PBM_SETPOS, 0, 0);
}

DownloadStart RunDownload(HINSTANCE instance, HWND main_window, const Settings *settings, wchar_t *group_names)
{
    if (!group_names) {
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK);
        return kDownloadFailed;
    }
    PasswordPrompt prompt = {instance, settings->UserID, nullptr};
    if (settings->UserID && !settings->Password) {
        if (RunPasswordPrompt(&prompt, main_window) != 1 || !prompt.password) {
            free(prompt.password);
            free(group_names);
            return kDownloadCancelled;
        }
    }

    DownloadJob *job = MakeJob(main_window, settings, group_names);
    if (!job) {
        free(prompt.password);
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK);
        return kDownloadFailed;
    }
    if (prompt.password) {
        job->prompted_password = prompt.password;
        job->password = prompt.password;
    }

    /* Read at each run, so a depth changed in the registry takes effect at
     * the next download. */
    DWORD depth;
    ReadPipelineDepth(&depth);
    NntpSetPipelineDepth(depth);

    DWORD id;
    job->worker = CreateThread(nullptr, 0, PatrolThread, job, CREATE_SUSPENDED, &id);
    if (!job->worker) {
        ShowLastErrorBoxRes(IDS_THREAD_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        FreeDownloadJob(job);
        return kDownloadFailed;
    }
    if (RunDialog<ProgressHandler>(instance, IDD_PROGRESS, main_window, job) == -1 && job->worker) {
        /* No dialog to show the progress in: the run goes on without one. */
        LetWorkerGo(job);
    }
    return kDownloadStarted;
}

void FreeDownloadJob(DownloadJob *job)
{
    if (!job)
        return;
    free(job->group_names);
    free(job->result);
    if (job->prompted_password) {
        SecureZeroMemory(job->prompted_password, strlen(job->prompted_password));
        free(job->prompted_password);
    }
    free(job);
}
