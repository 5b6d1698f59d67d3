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
#include "platform/menubar.h"
#include "shell/search_command.h"
#include "properties/settings_sheet.h"
#include "subscribe/subscribe_dialog.h"

void UpdateCheckMarks(AppFrame *frame)
{
    auto check = [](HMENU menu, UINT id, bool on) {
        if (menu)
            CheckMenuItem(menu, id, MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
    };
    const ViewOptions &options = frame->viewOptions;
    check(frame->subjectPopup, IDM_VIEW_READ, options.view_read_article == 1);
    check(frame->subjectPopup, IDM_PRIORITY_HIGH, options.priority_level == 2);
    check(frame->subjectPopup, IDM_PRIORITY_NORMAL, options.priority_level == 0);
    check(frame->subjectPopup, IDM_PRIORITY_LOW, options.priority_level == 1);
    check(frame->subjectPopup, IDM_THREAD_VIEW, options.thread_view == 1);
    check(frame->articlePopup, IDM_SHOW_HEADER, options.show_article_header == 1);
}

namespace {

/* Each posting item: the bar and drop-down button whose menu holds it, its
 * command and its text; appended in this order. */
const struct PostingItem {
    HWND AppFrame::*bar;
    UINT button;
    UINT command;
    UINT text;
} kPostingItems[] = {
    {&AppFrame::groupMenuBar, IDM_GROUP_POPUP, IDM_DRAFTS_VIEW, IDS_ITEM_DRAFTS},
    {&AppFrame::groupMenuBar, IDM_GROUP_POPUP, IDM_SEND_ONLY, IDS_ITEM_SEND_ONLY},
    {&AppFrame::subjectMenuBar, IDM_SUBJECT_POPUP, IDM_COMPOSE, IDS_ITEM_COMPOSE},
    {&AppFrame::subjectMenuBar, IDM_SUBJECT_POPUP, IDM_FOLLOW_UP, IDS_ITEM_FOLLOW_UP},
    {&AppFrame::articleMenuBar, IDM_ARTICLE_POPUP, IDM_COMPOSE, IDS_ITEM_COMPOSE},
    {&AppFrame::articleMenuBar, IDM_ARTICLE_POPUP, IDM_FOLLOW_UP, IDS_ITEM_FOLLOW_UP},
    {&AppFrame::draftsMenuBar, IDM_DRAFTS_POPUP, IDM_DRAFT_EDIT, IDS_ITEM_DRAFT_EDIT},
    {&AppFrame::draftsMenuBar, IDM_DRAFTS_POPUP, IDM_DRAFT_TO_WAITING, IDS_ITEM_TO_WAITING},
    {&AppFrame::draftsMenuBar, IDM_DRAFTS_POPUP, IDM_DRAFT_TO_DRAFTS, IDS_ITEM_TO_DRAFTS},
    {&AppFrame::draftsMenuBar, IDM_DRAFTS_POPUP, IDM_DRAFT_DELETE, IDS_ITEM_DRAFT_DELETE},
    {&AppFrame::draftsMenuBar, IDM_DRAFTS_POPUP, IDM_SEND_ONLY, IDS_ITEM_SEND_ONLY},
};

} // namespace

void UpdatePostingMenus(AppFrame *frame)
{
    for (const PostingItem &item : kPostingItems) {
        HWND bar = frame->*item.bar;
        HMENU menu = bar ? (HMENU)SendMessageW(bar, SHCMBM_GETSUBMENU, 0, item.button) : nullptr;
        if (!menu)
            continue;
        DeleteMenu(menu, item.command, MF_BYCOMMAND); /* not there yet: nothing to do */
        if (frame->settings.Posting) {
            wchar_t text[64];
            LoadResText(item.text, text, 64);
            AppendMenuW(menu, MF_STRING, item.command, text);
        }
    }
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
        UpdatePostingMenus(frame);
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
        bool thread_key = id == IDM_THREAD_VIEW || id == IDM_NEXT_THREAD || id == IDM_PREVIOUS_THREAD ||
                          id == IDM_THREAD_READ;
        if (thread_key && frame->currentView != kSubjectView)
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
