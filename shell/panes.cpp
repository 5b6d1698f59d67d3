#include "panes.h"

#include "platform/frame_size.h"
#include "resources/resource.h"
#include "shell/drafts_pane.h"
#include "shell/group_checks.h"
#include "shell/reading.h"
#include "views/group_view.h"

namespace {

HWND GroupList(const AppFrame *frame)
{
    return frame->groupView->list;
}

void ShowGroupView(AppFrame *frame, int show)
{
    GroupViewShow(frame->groupView, show);
}

/* A group opens once its files are checked. */
int EnterCheckedSubjectPane(AppFrame *frame, const PaneSwitch *how)
{
    if (how->group)
        GroupChecksWait(frame, (DWORD)how->group_row, how->group);
    return EnterSubjectPane(frame, how);
}

const FramePane kPanes[] = {
    {kGroupView, IDC_GROUP_VIEW, &AppFrame::groupMenuBar, GroupList, GroupList, ShowGroupView, EnterGroupPane,
     GroupPaneNotify, nullptr},
    {kSubjectView, IDC_SUBJECT_VIEW, &AppFrame::subjectMenuBar, SubjectPaneWindow, SubjectPaneWindow,
     ShowSubjectPane, EnterCheckedSubjectPane, nullptr, SubjectPaneCommand},
    {kArticleView, IDC_ARTICLE_VIEW, &AppFrame::articleMenuBar, ArticlePaneWindow, ArticlePaneWindow,
     ShowArticlePane, EnterArticlePane, nullptr, ArticlePaneCommand},
    {kDraftsView, IDC_DRAFT_TREE, &AppFrame::draftsMenuBar, DraftsPaneWindow, DraftsPaneWindow, ShowDraftsPane,
     EnterDraftsPane, DraftsPaneNotify, nullptr},
};

HWND WindowOf(const AppFrame *frame, const FramePane &pane)
{
    return pane.window ? pane.window(frame) : nullptr;
}

void ShowPane(AppFrame *frame, const FramePane &pane, int show)
{
    if (pane.show && WindowOf(frame, pane))
        pane.show(frame, show);
}

} // namespace

const FramePane *PaneOf(ViewKind kind)
{
    for (const FramePane &pane : kPanes)
        if (pane.kind == kind)
            return &pane;
    return nullptr;
}

void SwitchToPane(AppFrame *frame, ViewKind kind, const PaneSwitch *how)
{
    if (frame->currentView == kind && !how->initial)
        return;
    const FramePane *target = PaneOf(kind);
    if (target->enter && !target->enter(frame, how))
        return;
    for (const FramePane &pane : kPanes)
        if (pane.menu_bar != target->menu_bar)
            ShowWindow(frame->*pane.menu_bar, SW_HIDE);
    ShowWindow(frame->*target->menu_bar, SW_SHOW);
    for (const FramePane &pane : kPanes)
        if (&pane != target)
            ShowPane(frame, pane, SW_HIDE);
    ShowPane(frame, *target, SW_SHOW);
    frame->currentView = kind;
    if (target->focus && target->focus(frame))
        SetFocus(target->focus(frame));
}

void SwitchToPane(AppFrame *frame, ViewKind kind)
{
    PaneSwitch plain = {false, nullptr, 0};
    SwitchToPane(frame, kind, &plain);
}

void FocusCurrentPane(AppFrame *frame)
{
    /* The drafts pane keeps the focus where it was. */
    if (frame->currentView == kDraftsView)
        return;
    const FramePane *pane = PaneOf(frame->currentView);
    if (pane->focus && pane->focus(frame))
        SetFocus(pane->focus(frame));
}

void LayoutPanes(AppFrame *frame)
{
    HWND bars[sizeof kPanes / sizeof kPanes[0]];
    int bar_count = 0;
    for (const FramePane &pane : kPanes)
        bars[bar_count++] = frame->*pane.menu_bar;
    HWND panes[sizeof kPanes / sizeof kPanes[0]];
    int pane_count = 0;
    for (const FramePane &pane : kPanes)
        if (HWND window = WindowOf(frame, pane))
            panes[pane_count++] = window;
    LayoutFramePanes(frame->mainWindow, bars, bar_count, panes, pane_count);
}

LRESULT RoutePaneNotify(AppFrame *frame, const NMHDR *header)
{
    for (const FramePane &pane : kPanes)
        if (pane.control_id != 0 && pane.control_id == header->idFrom && pane.notify)
            return pane.notify(frame, header);
    return 0;
}

bool RoutePaneCommand(AppFrame *frame, UINT id, UINT code)
{
    for (const FramePane &pane : kPanes) {
        if (pane.control_id != 0 && pane.control_id == id && pane.command) {
            pane.command(frame, code);
            return true;
        }
    }
    return false;
}
