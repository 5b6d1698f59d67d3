#include "app_frame.h"

#include <stdlib.h>

#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "shell/search_command.h"
#include "shell/group_checks.h"
#include "store/data_folder.h"
#include "store/group_file.h"

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
    GroupChecksStop(frame);
    GroupChecksDropGate(frame);
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

int ReloadData(AppFrame *frame)
{
    GroupChecksStop(frame);
    const wchar_t *data_path = frame->settings.DataPath;
    DWORD count;
    wchar_t *names = nullptr;
    GroupChecks *checks = nullptr;
    if (!PrepareDataFolder(data_path) || (names = GroupFileReadNames(data_path, &count)) == nullptr ||
        (checks = GroupChecksMake(data_path, names, count)) == nullptr) {
        ShowLastErrorBoxRes(IDS_DATA_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return 0;
    }
    /* Groups that could not be brought up are named once all are checked. */
    return GroupChecksStart(frame, checks);
}
