#include "download_command.h"

#include <wchar.h>

#include <stdlib.h>

#include "dialup/dialup.h"
#include "nntp/post.h"
#include "shell/drafts_pane.h"
#include "shell/group_checks.h"
#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"

namespace {

void StartRun(AppFrame *frame)
{
    frame->busy = 1;
    /* Set before the run: its end can arrive while the progress dialog is
     * still closing, before RunDownload returns. */
    frame->runInProgress = 1;
    /* Groups whose files are still being checked are waited for one by one
     * on the run's worker. */
    GroupGate gate = GroupChecksHoldGate(frame);
    DownloadStart started = RunDownload(frame->instance, frame->mainWindow, &frame->settings,
                                        GroupViewNames(frame->groupView),
                                        frame->runSendOnly ? kDownloadSendOnly : kDownloadGetArticles,
                                        gate.wait ? &gate : nullptr);
    /* A left password prompt keeps the frame busy, as it always has; the run
     * itself clears it when its end arrives. */
    if (started != kDownloadStarted) {
        frame->runInProgress = 0;
        GroupChecksDropGate(frame);
    }
    if (started == kDownloadFailed)
        frame->busy = 0;
}

/* Dials first when configured, then runs. */
void ConnectAndRun(AppFrame *frame)
{
    switch (DialBeforeRun(frame->mainWindow, frame->instance, &frame->settings, &frame->rasConnection)) {
    case kDialupRunNow:
        StartRun(frame);
        break;
    case kDialupDialling:
    case kDialupFailed:
        break;
    }
}

/* The drafts that stayed waiting, each with why, in one box. */
void ShowKeptDrafts(AppFrame *frame, const DownloadRun *run)
{
    if (!run->kept || !*run->kept)
        return;
    size_t chars = wcslen(LoadResString(IDS_DRAFTS_KEPT)) + run->kept_used + 8;
    for (const wchar_t *p = run->kept; *p; p += wcslen(p) + 1)
        chars += 4;
    wchar_t *text = (wchar_t *)malloc(chars * sizeof(wchar_t));
    if (!text)
        return;
    wcscpy(text, LoadResString(IDS_DRAFTS_KEPT));
    for (const wchar_t *title = run->kept; *title;) {
        const wchar_t *why = title + wcslen(title) + 1;
        wcscat(text, L"\r\n\r\n");
        wcscat(text, title);
        wcscat(text, L"\r\n");
        wcscat(text, why);
        title = why + wcslen(why) + 1;
    }
    wchar_t caption[64];
    LoadResText(IDS_CAPTION_POSTING, caption, 64);
    ShowBox(frame->mainWindow, text, caption, MB_OK | MB_ICONWARNING);
    free(text);
}

} // namespace

void GetArticlesCommand(AppFrame *frame)
{
    /* One run at a time: a second would write the same files. */
    if (frame->runInProgress)
        return;
    frame->runSendOnly = 0;
    ConnectAndRun(frame);
}

void SendOnlyCommand(AppFrame *frame)
{
    if (frame->runInProgress || !frame->settings.Posting)
        return;
    /* Nothing to send is said at once, without a connection. */
    if (!frame->settings.DraftPath || CountWaitingDrafts(frame->settings.DraftPath) == 0) {
        ShowResBox(frame->mainWindow, IDS_NOTHING_TO_SEND, IDS_CAPTION_POSTING, MB_OK | MB_ICONINFORMATION);
        return;
    }
    frame->runSendOnly = 1;
    ConnectAndRun(frame);
}

void OnDialledLineUp(AppFrame *frame)
{
    frame->dialled = 1;
    EnableWindow(frame->mainWindow, TRUE);
    StartRun(frame);
}

void OnHangUp(AppFrame *frame)
{
    EnableWindow(frame->mainWindow, TRUE);
    HangUpDialup(frame->rasConnection);
}

void OnRunFinished(AppFrame *frame, DownloadRun *run)
{
    /* The run's work is over: it waits for no group any more. */
    GroupChecksDropGate(frame);
    if (frame->settings.Dialup && frame->dialled == 1)
        RunDisconnectDialog(frame->mainWindow, frame->instance, frame->settings.DisconnectWaitTime);
    frame->dialled = 0;

    if (run->result.severity != kSeverityError) {
        UINT done = DownloadStopped(run) ? IDS_RUN_STOPPED : run->send_only ? IDS_SEND_DONE : IDS_DOWNLOAD_DONE;
        ShowResBox(frame->mainWindow, done, IDS_CAPTION_DISCONNECT, MB_OK);
        ReloadData(frame);
        /* Groups whose index could not keep their status show it still,
         * over what their check shows. */
        for (const wchar_t *group = run->unstored; group && *group;) {
            const wchar_t *status = group + wcslen(group) + 1;
            GroupChecksWait(frame, 0, group);
            GroupViewSetStatus(frame->groupView, group, status);
            group = status + wcslen(status) + 1;
        }
    } else {
        ShowBox(nullptr, run->result.text, run->result.title, MB_ICONERROR);
    }
    ShowKeptDrafts(frame, run);
    if (run->post)
        RefreshDraftsPane(frame, nullptr);
    frame->busy = 0;
    frame->runInProgress = 0;
    FreeDownloadRun(run);
}
