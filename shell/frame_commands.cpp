#include "frame_commands.h"

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "base/path.h"
#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "shell/about_box.h"
#include "shell/catchup_command.h"
#include "shell/delete_read_command.h"
#include "shell/download_command.h"
#include "shell/drafts_pane.h"
#include "shell/panes.h"
#include "shell/reading.h"
#include "shell/search_command.h"
#include "properties/settings_sheet.h"
#include "subscribe/subscribe_dialog.h"

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

namespace {

void SubscribeCommand(AppFrame *frame)
{
    frame->busy = 1;
    wchar_t *active = JoinPath(frame->settings.DataPath, L"active.dat");
    wchar_t *category = JoinPath(frame->settings.DataPath, L"category.dat");
    wchar_t *group = JoinPath(frame->settings.DataPath, L"group.dat");
    if (active && category && group) {
        SubscribeState state = {};
        state.active_path = active;
        state.category_path = category;
        state.group_path = group;
        state.settings = &frame->settings;
        if (RunSubscribeDialog(&state, frame->instance, frame->mainWindow) == 1)
            ReloadData(frame);
    }
    free(active);
    free(category);
    free(group);
    frame->busy = 0;
}

/* The sheet edits a record of its own: after Cancel nothing reaches the
 * frame; after OK the frame reads back what was saved and starts on the
 * (maybe new) data folder at once. */
void PropertiesCommand(AppFrame *frame)
{
    /* A run writes into the data folder: it is not changed under it. */
    if (frame->runInProgress)
        return;
    frame->busy = 1;
    Settings edited;
    InitSettings(&edited);
    if (RunSettingsSheet(&edited, frame->instance, frame->mainWindow) == 1) {
        int complete;
        LoadSettings(&frame->settings, &complete);
        ReloadData(frame);
    }
    if (edited.ArticleFont)
        DeleteObject(edited.ArticleFont);
    if (edited.SubjectFont)
        DeleteObject(edited.SubjectFont);
    FreeSettings(&edited);
    frame->busy = 1; /* stays set after the sheet, as it always has */
}

} // namespace

void FrameCommand(AppFrame *frame, UINT id, UINT code)
{
    /* Keys reach the frame whatever pane shows: "I" counts only in the group
     * view and Ctrl+C only in the article view. */
    if (code == 1) {
        if (id == IDM_GET_ARTICLES && frame->currentView != kGroupView)
            return;
        if (id == IDM_COPY && frame->currentView != kArticleView)
            return;
    }
    if (SearchCommand(frame, id, code) || RoutePaneCommand(frame, id, code) || ReadingCommand(frame, id) || DraftsCommand(frame, id))
        return;
    switch (id) {
    case IDM_EXIT:
        SendMessageW(frame->mainWindow, WM_CLOSE, 0, 0);
        break;
    case IDM_GET_ARTICLES:
        GetArticlesCommand(frame);
        break;
    case IDM_SEND_ONLY:
        SendOnlyCommand(frame);
        break;
    case IDM_DELETE_READ:
        DeleteReadCommand(frame);
        break;
    case IDM_ABOUT:
        frame->busy = 1;
        RunAboutBox(frame->instance, frame->mainWindow);
        frame->busy = 0;
        break;
    case IDM_PROPERTIES:
        PropertiesCommand(frame);
        break;
    case IDM_SUBSCRIBE:
        SubscribeCommand(frame);
        break;
    case IDM_CATCHUP:
        CatchUpCommand(frame);
        break;
    case IDM_DRAFTS_GROUPS:
    case IDM_SUBJECT_BACK:
        SwitchToPane(frame, kGroupView);
        break;
    }
}
