#include "download_run.h"

#include <commctrl.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/frame_messages.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "nntp/certificate_dialog.h"
#include "nntp/download_texts.h"
#include "nntp/password_prompt.h"
#include "nntp/session.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

/* How often the dialog shows the worker's progress: often enough for the
 * bar to move smoothly, without a message per article from the worker. */
const UINT kProgressTimer = 1;
const UINT kProgressPeriodMs = 100;

void OnGroupStarted(void *context, const wchar_t *group, DWORD count, DWORD limit)
{
    DownloadRun *run = (DownloadRun *)context;
    BackgroundJobBeginStage(run->job, group, count < limit ? count : limit);
}

void OnArticleStored(void *context)
{
    BackgroundJobStep(((DownloadRun *)context)->job);
}

void Describe(void *context, const NntpOutcome *outcome, RunResult *result)
{
    DescribeDownloadOutcome(&((DownloadRun *)context)->server, outcome, result);
}

/* Appends `text` and its NUL to a list of texts ended by an empty one. */
bool AppendText(wchar_t **list, size_t *used, const wchar_t *text)
{
    size_t length = wcslen(text) + 1;
    /* Room for the text and the list's closing empty name. */
    wchar_t *larger = (wchar_t *)realloc(*list, (*used + length + 1) * sizeof(wchar_t));
    if (!larger)
        return false;
    *list = larger;
    memcpy(*list + *used, text, length * sizeof(wchar_t));
    *used += length;
    (*list)[*used] = L'\0';
    return true;
}

/* Appends a pair of texts, or neither when memory runs out. */
void AppendPair(wchar_t **list, size_t *used, const wchar_t *first, const wchar_t *second)
{
    size_t before = *used;
    if (!AppendText(list, used, first) || !AppendText(list, used, second))
        *used = before; /* the pair is lost with the memory, nothing else */
    if (*list)
        (*list)[*used] = L'\0';
}

void OnStatusNotStored(void *context, const wchar_t *group, const wchar_t *status)
{
    DownloadRun *run = (DownloadRun *)context;
    AppendPair(&run->unstored, &run->unstored_used, group, status);
}

void OnDraftPosting(void *context, const wchar_t *subject, DWORD index, DWORD count)
{
    DownloadRun *run = (DownloadRun *)context;
    wchar_t label[kRunResultChars];
    FormatResText(IDS_POSTING_LABEL, subject, label, kRunResultChars);
    BackgroundJobBeginStage(run->job, label, count);
    for (DWORD i = 0; i < index; i++)
        BackgroundJobStep(run->job);
}

void OnDraftKept(void *context, const NntpOutcome *outcome)
{
    DownloadRun *run = (DownloadRun *)context;
    RunResult *why = (RunResult *)malloc(sizeof(RunResult));
    if (!why)
        return;
    DescribeDownloadOutcome(&run->server, outcome, why);
    AppendPair(&run->kept, &run->kept_used, why->title, why->text);
    free(why);
}

/* The patrol thread's work. */
void Patrol(BackgroundJob *job, void *context)
{
    DownloadRun *run = (DownloadRun *)context;
    DownloadEvents events = {run, OnGroupStarted, OnArticleStored, Describe, OnStatusNotStored, OnDraftPosting,
                             OnDraftKept};
    NntpTrust trust = JobTrust(job);
    SessionParams params = {&run->server, run->data_path, run->limit, &run->cursor, &events, &job->cancel, &trust,
                            run->decode_charsets, run->post ? &run->posting : nullptr, run->send_only,
                            run->gate.wait ? &run->gate : nullptr};
    RunSession(&params, &run->result);
    /* The password is not needed any more. */
    NntpServerForget(&run->server);
}

void FreeRunContext(void *context)
{
    DownloadRun *run = (DownloadRun *)context;
    NntpServerForget(&run->server);
    free(run->group_names);
    free(run->unstored);
    free(run->kept);
    free(run->user_name);
    free(run->mail_address);
    free(run->organization);
    free(run);
}

/* Shows what the worker last reported: a new group's name and range, and
 * the bar's position. */
void ShowProgress(HWND dialog, DownloadRun *run, DWORD *shown_stage)
{
    JobProgress progress;
    BackgroundJobProgress(run->job, &progress);
    if (progress.stage != *shown_stage) {
        *shown_stage = progress.stage;
        ProgressDialogShowGroup(dialog, progress.label, progress.range);
    }
    SendDlgItemMessageW(dialog, IDC_PROGRESS_BAR, PBM_SETPOS, progress.position, 0);
}

struct ProgressState {
    HINSTANCE instance;
    DownloadRun *run;
    DWORD shown_stage;
};

INT_PTR ProgressHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, ProgressState *state)
{
    if (AnswerCertificateQuestion(state->instance, dialog, msg, lp))
        return TRUE;
    switch (msg) {
    case WM_INITDIALOG:
        /* The worker starts once the dialog is there for its end to find. */
        BackgroundJobRun(state->run->job, dialog, WM_COMMAND, IDOK);
        SetTimer(dialog, kProgressTimer, kProgressPeriodMs, nullptr);
        return TRUE;
    case WM_TIMER:
        if (wp == kProgressTimer)
            ShowProgress(dialog, state->run, &state->shown_stage);
        return TRUE;
    case WM_COMMAND:
        /* Escape or closing the dialog stops the worker at once; the
         * dialog stays until the worker has ended, so the frame cannot
         * start a second run meanwhile. */
        if (LOWORD(wp) == IDOK) {
            KillTimer(dialog, kProgressTimer);
            EndDialog(dialog, kDialogOk);
        } else if (LOWORD(wp) == IDCANCEL && !DownloadStopped(state->run)) {
            BackgroundJobCancel(state->run->job);
            SetDlgItemTextW(dialog, IDC_PROGRESS_GROUP, LoadResString(IDS_RUN_STOPPING));
        }
        return TRUE;
    case WM_CLOSE:
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        return TRUE;
    }
    return FALSE;
}

char *CopyText(const char *text)
{
    return text ? _strdup(text) : nullptr;
}

DownloadRun *MakeRun(const Settings *settings, wchar_t *group_names, DownloadMode mode)
{
    DownloadRun *run = (DownloadRun *)calloc(1, sizeof(DownloadRun));
    if (!run) {
        free(group_names);
        return nullptr;
    }
    run->group_names = group_names;
    GroupCursorInit(&run->cursor, group_names);
    RunResultClear(&run->result);
    CopyWideText(run->data_path, settings->DataPath, MAX_PATH);
    run->limit = settings->Limit;
    run->decode_charsets = settings->DecodeCharsets != 0;
    run->post = settings->Posting != 0 && settings->DraftPath;
    run->send_only = mode == kDownloadSendOnly;
    if (run->post) {
        CopyWideText(run->draft_path, settings->DraftPath, MAX_PATH);
        run->user_name = CopyText(settings->UserName);
        run->mail_address = CopyText(settings->MailAddress);
        run->organization = CopyText(settings->Organization);
        run->posting = {run->draft_path, run->user_name, run->mail_address, run->organization};
    }
    return run;
}

} // namespace

void ProgressDialogShowGroup(HWND dialog, const wchar_t *group, DWORD top)
{
    SetDlgItemTextW(dialog, IDC_PROGRESS_GROUP, group);
    HWND bar = GetDlgItem(dialog, IDC_PROGRESS_BAR);
    SendMessageW(bar, PBM_SETRANGE, 0, MAKELPARAM(0, (WORD)top));
    SendMessageW(bar, PBM_SETPOS, 0, 0);
}

bool DownloadStopped(DownloadRun *run)
{
    return JobCancelRequested(&run->job->cancel);
}

DownloadStart RunDownload(HINSTANCE instance, HWND main_window, const Settings *settings, wchar_t *group_names,
                          DownloadMode mode, const GroupGate *gate)
{
    if (!group_names) {
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK);
        return kDownloadFailed;
    }
    NntpServer server;
    ServerReady ready = ReadyServer(instance, main_window, settings, &server);
    if (ready != kServerReady) {
        free(group_names);
        if (ready == kServerCancelled)
            return kDownloadCancelled;
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK);
        return kDownloadFailed;
    }
    DownloadRun *run = MakeRun(settings, group_names, mode);
    if (!run) {
        NntpServerForget(&server);
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK);
        return kDownloadFailed;
    }
    run->server = server;
    NntpServerForget(&server);
    if (gate)
        run->gate = *gate;

    run->job = BackgroundJobCreate(Patrol, run, FreeRunContext);
    if (!run->job) {
        ShowLastErrorBoxRes(IDS_THREAD_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        FreeRunContext(run);
        return kDownloadFailed;
    }
    ProgressState state = {instance, run, 0};
    if (RunDialog<ProgressHandler>(instance, IDD_PROGRESS, main_window, &state) == -1) {
        /* No dialog to show the progress in: the run goes on without one,
         * and this thread waits for it (the worker never waits for it). */
        BackgroundJobRun(run->job, nullptr, 0, 0);
        BackgroundJobWait(run->job);
    }
    SendMessageW(main_window, WM_PELNOR_RUN_FINISHED, 0, (LPARAM)run);
    return kDownloadStarted;
}

void FreeDownloadRun(DownloadRun *run)
{
    if (run)
        BackgroundJobRelease(run->job);
}
