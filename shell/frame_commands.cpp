#include "frame_commands.h"

#include "resources/resource.h"
#include "shell/about_box.h"

void UpdateCheckMarks(AppFrame *frame)
{
    auto check = [](HMENU menu, UINT id, bool on) {
        if (menu)
            CheckMenuItem(menu, id, MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
    };
    check(frame->subjectPopup, IDM_VIEW_READ, frame->viewReadArticle == 1);
    check(frame->subjectPopup, IDM_PRIORITY_HIGH, frame->priorityLevel == 2);
    check(frame->subjectPopup, IDM_PRIORITY_NORMAL, frame->priorityLevel == 0);
    check(frame->subjectPopup, IDM_PRIORITY_LOW, frame->priorityLevel == 1);
    check(frame->articlePopup, IDM_SHOW_HEADER, frame->showArticleHeader == 1);
}

void FrameCommand(AppFrame *frame, UINT id, UINT code)
{
    (void)code;
    switch (id) {
    case IDM_EXIT:
        SendMessageW(frame->mainWindow, WM_CLOSE, 0, 0);
        break;
    case IDM_ABOUT:
        frame->busy = 1;
        RunAboutBox(frame->instance, frame->mainWindow);
        frame->busy = 0;
        break;
    }
}
