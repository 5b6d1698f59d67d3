/*
 * The frame's window procedure and its creation: menu bars, settings (asked
 * for with the properties sheet when missing), view options, icon; the
 * first data reload once the frame shows.
 */
#include "app_frame.h"

#include <commctrl.h>
#include <stdio.h>
#include <stdlib.h>

#include "platform/frame_size.h"
#include "platform/menubar.h"
#include "properties/settings_sheet.h"
#include "resources/resource.h"
#include "text/widestr.h"
#include "shell/download_command.h"
#include "shell/frame_commands.h"
#include "shell/group_checks.h"
#include "base/record_window.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "shell/panes.h"

namespace {

struct MenuBarResource {
    UINT resource;
    int bitmap;
    int images;
};

const MenuBarResource kGroupBar = {IDR_GROUP_BAR, IDB_GROUP_BAR, GROUP_BAR_IMAGES};
const MenuBarResource kSubjectBar = {IDR_SUBJECT_BAR, IDB_SUBJECT_BAR, SUBJECT_BAR_IMAGES};
const MenuBarResource kArticleBar = {IDR_ARTICLE_BAR, IDB_ARTICLE_BAR, ARTICLE_BAR_IMAGES};
const MenuBarResource kDraftsBar = {IDR_DRAFTS_MENU, 0, 0};

/* Creates one menu bar, hidden; null on failure. */
HWND CreateHiddenMenuBar(AppFrame *frame, const MenuBarResource &bar)
{
    SHMENUBARINFO info = {};
    info.cbSize = sizeof(info);
    info.hwndParent = frame->mainWindow;
    info.dwFlags = 0;
    info.nToolBarId = bar.resource;
    info.hInstRes = frame->instance;
    info.nBmpId = bar.bitmap;
    info.cBmpImages = bar.images;
    if (!SHCreateMenuBar(&info))
        return nullptr;
    ShowWindow(info.hwndMB, SW_HIDE);
    return info.hwndMB;
}

bool CreateMenuBars(AppFrame *frame)
{
    frame->groupMenuBar = CreateHiddenMenuBar(frame, kGroupBar);
    if (!frame->groupMenuBar)
        return false;
    frame->subjectMenuBar = CreateHiddenMenuBar(frame, kSubjectBar);
    if (!frame->subjectMenuBar)
        return false;
    frame->articleMenuBar = CreateHiddenMenuBar(frame, kArticleBar);
    if (!frame->articleMenuBar)
        return false;
    frame->draftsMenuBar = CreateHiddenMenuBar(frame, kDraftsBar);
    return frame->draftsMenuBar != nullptr;
}

void SetFrameIcon(AppFrame *frame)
{
    HICON small_icon = (HICON)LoadImageW(frame->instance, MAKEINTRESOURCEW(IDI_PELNOR), IMAGE_ICON, 16, 16,
                                         LR_SHARED);
    if (small_icon)
        SendMessageW(frame->mainWindow, WM_SETICON, ICON_SMALL, (LPARAM)small_icon);
}

/* Returns false when creation stopped (the frame is then closing). */
bool OnCreate(AppFrame *frame)
{
    if (!CreateMenuBars(frame)) {
        ShowResBox(nullptr, IDS_MENUBAR_FAILED, IDS_CAPTION_DEBUG, MB_OK | MB_ICONERROR);
        PostQuitMessage(0);
        return false;
    }
    frame->subjectPopup = (HMENU)SendMessageW(frame->subjectMenuBar, SHCMBM_GETSUBMENU, 0, IDM_SUBJECT_POPUP);
    frame->articlePopup = (HMENU)SendMessageW(frame->articleMenuBar, SHCMBM_GETSUBMENU, 0, IDM_ARTICLE_POPUP);
    ShowWindow(frame->groupMenuBar, SW_SHOW);

    /* A first start, or one with values missing, asks for them. */
    int complete = 0;
    if (!LoadSettings(&frame->settings, &complete) || !complete) {
        if (RunSettingsSheet(&frame->settings, frame->instance, frame->mainWindow) != 1) {
            SendMessageW(frame->mainWindow, WM_COMMAND, MAKEWPARAM(IDM_EXIT, 0), 0);
            return false;
        }
        /* The draft folder follows the data folder just saved. */
        LoadSettings(&frame->settings, &complete);
    }

    RECT panes;
    GetClientRect(frame->mainWindow, &panes);
    panes.bottom -= MenuBarHeight(frame->groupMenuBar);
    if (!GroupViewCreate(frame->groupView, frame->mainWindow, L"Group", &panes, IDC_GROUP_VIEW, frame->instance))
        return false;

    ReadViewOptions(&frame->viewOptions);
    if (!ArticleViewCreate(frame->articleView, frame->instance, frame->mainWindow, IDC_ARTICLE_VIEW, &panes))
        return false;
    ArticleViewSetShowHeaders(frame->articleView, (int)frame->viewOptions.show_article_header);
    if (!SubjectViewCreate(frame->subjectView, frame->instance, frame->mainWindow, IDC_SUBJECT_VIEW, &panes,
                           frame->viewOptions))
        return false;
    if (!CreateDraftTree(frame->draftTree, frame->mainWindow, &panes, frame->instance, IDC_DRAFT_TREE))
        return false;
    UpdateCheckMarks(frame);
    UpdatePostingMenus(frame);
    SetFrameIcon(frame);

    PaneSwitch start = {true, nullptr, 0};
    SwitchToPane(frame, kGroupView, &start);
    return true;
}

void OnDestroy(AppFrame *frame)
{
    /* The check in the background stops after the group it is at. */
    GroupChecksStop(frame);
    DWORD unread;
    SubjectViewCloseGroup(frame->subjectView, &unread);
    if (frame->groupView->list)
        GroupViewSaveWidths(frame->groupView);
    PostQuitMessage(0);
}

LRESULT CALLBACK FrameWindowProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    AppFrame *frame = WindowRecord<AppFrame>(window, msg, lp);
    switch (msg) {
    case WM_CREATE:
        frame->mainWindow = window;
        OnCreate(frame);
        return 0;
    case WM_SIZE:
        if (frame)
            LayoutPanes(frame);
        return 0;
    case WM_SETFOCUS:
        if (frame)
            FocusCurrentPane(frame);
        return 0;
    case WM_NOTIFY:
        return frame ? RoutePaneNotify(frame, (const NMHDR *)lp) : 0;
    case WM_COMMAND:
        if (frame)
            FrameCommand(frame, LOWORD(wp), HIWORD(wp));
        return 0;
    case WM_PELNOR_START_RUN:
        if (frame)
            OnDialledLineUp(frame);
        return 0;
    case WM_PELNOR_HANG_UP:
        if (frame)
            OnHangUp(frame);
        return 0;
    case WM_PELNOR_RUN_FINISHED:
        if (frame)
            OnRunFinished(frame, (DownloadRun *)lp);
        return 0;
    case WM_PELNOR_GROUPS_CHECKED:
        if (frame)
            GroupChecksShow(frame);
        return 0;
    case WM_PELNOR_ACTIVATE:
        return 0;
    case WM_CLOSE:
        /* The worker writes the group's files and posts its end here: the
         * program does not go away under it. */
        if (frame && frame->runInProgress)
            return 0;
        break;
    case WM_DESTROY:
        if (frame)
            OnDestroy(frame);
        return 0;
    }
    return DefWindowProcW(window, msg, wp, lp);
}

} // namespace

AppFrame *FrameOf(HWND window)
{
    return WindowRecord<AppFrame>(window);
}

int RegisterFrameClass(HINSTANCE instance)
{
    if (!RegisterArticleViewClass(instance) || !RegisterSubjectViewClass(instance))
        return 0;
    return RegisterRecordWindowClass(instance, PELNOR_FRAME_CLASS, FrameWindowProc, 0);
}

HWND CreateMainFrame(AppFrame *frame, int show)
{
    if ((frame->articleView = (ArticleView *)malloc(sizeof(ArticleView))) != nullptr)
        ArticleViewInit(frame->articleView, &frame->articleText);
    if (frame->articleView && (frame->subjectView = (SubjectView *)malloc(sizeof(SubjectView))) != nullptr)
        SubjectViewInit(frame->subjectView);
    if (frame->subjectView && (frame->groupView = (GroupView *)malloc(sizeof(GroupView))) != nullptr)
        GroupViewInit(frame->groupView);
    if (frame->groupView && (frame->draftTree = (DraftTree *)malloc(sizeof(DraftTree))) != nullptr)
        DraftTreeInit(frame->draftTree);
    if (!frame->draftTree) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }

    HWND window = CreateWindowExW(0, PELNOR_FRAME_CLASS, L"Pelnor", WS_VISIBLE, CW_USEDEFAULT, CW_USEDEFAULT,
                                  CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, frame->instance, frame);
    if (!window || !IsWindow(window)) {
        frame->mainWindow = nullptr;
        return nullptr;
    }
    SetDeviceFrameSize(window);
    frame->accelerators = LoadAcceleratorsW(frame->instance, MAKEINTRESOURCEW(IDA_MAIN));
    frame->postingAccelerators = LoadAcceleratorsW(frame->instance, MAKEINTRESOURCEW(IDA_POSTING));
    ShowWindow(window, show);
    UpdateWindow(window);
    /* The data folder comes up with the frame already on the screen: the
     * rows are listed at once, but a folder of many groups has its files
     * checked after that. */
    if (frame->groupView->list)
        ReloadData(frame);
    return window;
}

bool TranslateFrameAccelerator(AppFrame *frame, MSG *msg)
{
    if (!frame->mainWindow)
        return false;
    if (frame->accelerators && TranslateAcceleratorW(frame->mainWindow, frame->accelerators, msg))
        return true;
    /* The posting keys are plain letters: elsewhere they stay the panes'. */
    bool reading = frame->currentView == kSubjectView || frame->currentView == kArticleView;
    return frame->settings.Posting && reading && frame->postingAccelerators &&
           TranslateAcceleratorW(frame->mainWindow, frame->postingAccelerators, msg);
}

int RunMessageLoop(AppFrame *frame)
{
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (TranslateFrameAccelerator(frame, &msg))
            continue;
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    return (int)msg.wParam;
}
