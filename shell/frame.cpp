#include "app_frame.h"

#include "resources/resource.h"
#include "shell/res_text.h"
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
    if (!StartDataFolder(frame->settings.DataPath)) {
        ShowLastErrorBoxRes(IDS_DATA_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return 0;
    }
    return 1;
}
