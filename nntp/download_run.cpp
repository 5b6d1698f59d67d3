#include "download_run.h"

#include <stdlib.h>

#include "nntp/password_prompt.h"
#include "nntp/session.h"
#include "resources/resource.h"
#include "base/frame_messages.h"
#include "base/message_box.h"
#include "base/res_text.h"

namespace {

DWORD WINAPI PatrolThread(LPVOID parameter)
{
    DownloadJob *job = (DownloadJob *)parameter;
    SessionParams params = {};
    params.server = job->settings->Server;
    params.port = job->port;
    params.data_path = job->data_path;
    params.limit = job->limit;
    params.cursor = job->cursor;
    params.progress = &job->progress;
    params.user = job->user;
    params.password = job->password;
    int ok = RunSession(&params, job->result);
    SendMessageW(job->progress.dialog, WM_COMMAND, IDOK, 0);
    SendMessageW(job->main_window, WM_PELNOR_RUN_FINISHED, 0, (LPARAM)job);
    return (DWORD)ok;
}

INT_PTR CALLBACK ProgressProc(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    DownloadJob *job = (DownloadJob *)GetWindowLongPtrW(dialog, DWLP_USER);
    switch (msg) {
    case WM_INITDIALOG:
        job = (DownloadJob *)lp;
        SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)job);
        job->progress.dialog = dialog;
        /* The worker waited for the dialog, so that the close it sends at
         * the end of the session always finds it. */
        ResumeThread(job->worker);
        CloseHandle(job->worker);
        job->worker = nullptr;
        return TRUE;
    case WM_COMMAND:
        if (!job) {
            ShowResBox(nullptr, IDS_NOT_INITIALIZED, IDS_CAPTION_UPPER_ERROR, MB_ICONERROR);
            return TRUE;
        }
        /* Escape or closing the dialog asks the worker to stop after the
         * article in progress; the dialog stays until the worker ends it,
         * so the frame cannot start a second run meanwhile. */
        if (LOWORD(wp) == IDOK) {
            EndDialog(dialog, 1);
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

DownloadJob *MakeJob(HWND main_window, const Settings *settings, HWND group_list)
{
    DownloadJob *job = (DownloadJob *)calloc(1, sizeof(DownloadJob));
    if (!job)
        return nullptr;
    job->cursor = (GroupCursor *)calloc(1, sizeof(GroupCursor));
    job->result = (RunResult *)calloc(1, sizeof(RunResult));
    if (!job->cursor || !job->result) {
        FreeDownloadJob(job);
        return nullptr;
    }
    GroupCursorInit(job->cursor, group_list);
    RunResultClear(job->result);
    job->settings = settings;
    job->port = settings->Port;
    job->data_path = settings->DataPath;
    job->main_window = main_window;
    job->limit = settings->Limit;
    job->user = settings->UserID;
    job->password = settings->Password;
    ProgressInit(&job->progress);
    return job;
}

} // namespace

DownloadStart RunDownload(HINSTANCE instance, HWND main_window, const Settings *settings, HWND group_list)
{
    PasswordPrompt prompt = {instance, settings->UserID, nullptr};
    if (settings->UserID && !settings->Password) {
        if (RunPasswordPrompt(&prompt, main_window) != 1 || !prompt.password) {
            free(prompt.password);
            return kDownloadCancelled;
        }
    }

    DownloadJob *job = MakeJob(main_window, settings, group_list);
    if (!job) {
        free(prompt.password);
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK);
        return kDownloadFailed;
    }
    if (prompt.password) {
        job->prompted_password = prompt.password;
        job->password = prompt.password;
    }

    DWORD id;
    job->worker = CreateThread(nullptr, 0, PatrolThread, job, CREATE_SUSPENDED, &id);
    if (!job->worker) {
        ShowLastErrorBoxRes(IDS_THREAD_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        FreeDownloadJob(job);
        return kDownloadFailed;
    }
    if (DialogBoxParamW(instance, MAKEINTRESOURCEW(IDD_PROGRESS), main_window, ProgressProc, (LPARAM)job) == -1 &&
        job->worker) {
        /* No dialog to show the progress in: the run goes on without one. */
        ResumeThread(job->worker);
        CloseHandle(job->worker);
        job->worker = nullptr;
    }
    return kDownloadStarted;
}

void FreeDownloadJob(DownloadJob *job)
{
    if (!job)
        return;
    free(job->cursor);
    free(job->result);
    if (job->prompted_password) {
        SecureZeroMemory(job->prompted_password, strlen(job->prompted_password));
        free(job->prompted_password);
    }
    free(job);
}
