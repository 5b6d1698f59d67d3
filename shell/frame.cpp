#include "app_frame.h"

#include <stdlib.h>

#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "shell/search_command.h"
#include "store/data_folder.h"

void AppFrameInit(AppFrame *frame, HINSTANCE instance)
{
    ZeroMemory(frame, sizeof *frame);
    frame->instance = instance;
    InitSettings(&frame->settings);
    frame->busy = 0;
    frame->dialled = 0;
    frame->currentView = kGroupView;
}

void AppFrameDestroy(AppFrame *frame)
{
    SearchStateFree(frame->search);
    frame->search = nullptr;
    if (frame->articleView)
        ArticleViewRelease(frame->articleView);
    free(frame->articleView);
    ArticleTextFree(&frame->articleText);
    if (frame->subjectView)
        SubjectViewRelease(frame->subjectView);
    free(frame->subjectView);
    frame->articleView = nullptr;
    frame->subjectView = nullptr;
    free(frame->groupView);
    frame->groupView = nullptr;
    if (frame->draftTree)
        DraftTreeRelease(frame->draftTree);
    free(frame->draftTree);
    frame->draftTree = nullptr;
    if (frame->settings.ArticleFont)
        DeleteObject(frame->settings.ArticleFont);
    if (frame->settings.SubjectFont)
        DeleteObject(frame->settings.SubjectFont);
    frame->settings.ArticleFont = nullptr;
    frame->settings.SubjectFont = nullptr;
    FreeSettings(&frame->settings);
}

namespace {

/* Between groups of a long start the frame repaints and answers messages
 * sent from other threads, about ten times a second; input waits in the
 * queue until the folder is ready. */
struct StartPump {
    DWORD last_tick;
};

void PumpBetweenGroups(void *context)
{
    StartPump *pump = (StartPump *)context;
    DWORD now = GetTickCount();
    if (now - pump->last_tick < 100)
        return;
    pump->last_tick = now;
    MSG msg;
    while (PeekMessageW(&msg, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE))
        DispatchMessageW(&msg);
}

} // namespace

int ReloadData(AppFrame *frame)
{
    int unknown_version;
    StartPump pump = {GetTickCount()};
    StartProgress progress = {&pump, PumpBetweenGroups};
    int started = StartDataFolder(frame->settings.DataPath, &unknown_version, &progress);
    DWORD error = GetLastError();
    if (unknown_version)
        ShowResBox(nullptr, IDS_INDEX_INVALID, IDS_CAPTION_PELNOR, MB_OK | MB_ICONEXCLAMATION);
    if (!started) {
        SetLastError(error);
        ShowLastErrorBoxRes(IDS_DATA_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return 0;
    }
    /* Groups start-up could not bring up are named by the view, which
     * shows the others. */
    return GroupViewReload(frame->groupView, frame->settings.DataPath);
}
