#include "download_command.h"

#include <wchar.h>

#include "dialup/dialup.h"
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
    DownloadStart started =
        RunDownload(frame->instance, frame->mainWindow, &frame->settings, GroupViewNames(frame->groupView));
    /* A left password prompt keeps the frame busy, as it always has; the run
     * itself clears it when its end arrives. */
    if (started != kDownloadStarted)
        frame->runInProgress = 0;
    if (started == kDownloadFailed)
        frame->busy = 0;
}

} // namespace

void GetArticlesCommand(AppFrame *frame)
{
    /* One run at a time: a second would write the same files. */
    if (frame->runInProgress)
        return;
    switch (DialBeforeRun(frame->mainWindow, frame->instance, &frame->settings, &frame->rasConnection)) {
    case kDialupRunNow:
        StartRun(frame);
        break;
    case kDialupDialling:
    case kDialupFailed:
        break;
    }
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
    if (frame->settings.Dialup && frame->dialled == 1)
        RunDisconnectDialog(frame->mainWindow, frame->instance, frame->settings.DisconnectWaitTime);
    frame->dialled = 0;

    if (run->result.severity != kSeverityError) {
        UINT done = DownloadStopped(run) ? IDS_RUN_STOPPED : IDS_DOWNLOAD_DONE;
        ShowResBox(frame->mainWindow, done, IDS_CAPTION_DISCONNECT, MB_OK);
        ReloadData(frame);
        /* Groups whose index could not keep their status show it still. */
        for (const wchar_t *group = run->unstored; group && *group;) {
            const wchar_t *status = group + wcslen(group) + 1;
            GroupViewSetStatus(frame->groupView, group, status);
            group = status + wcslen(status) + 1;
        }
    } else {
        ShowBox(nullptr, run->result.text, run->result.title, MB_ICONERROR);
    }
    frame->busy = 0;
    frame->runInProgress = 0;
    FreeDownloadRun(run);
}
