/*
 * The frame's panes, one row each: the pane's window and the window that
 * takes the focus, its menu bar, how it is shown, what switching to it does,
 * and the notifications it sends the frame. View switches, WM_SIZE,
 * WM_SETFOCUS, WM_NOTIFY and the panes' own WM_COMMAND notifications all go
 * through this table, so a new view is a new row (and its file in views/ or
 * drafts/).
 */
#ifndef PELNOR_PANES_H
#define PELNOR_PANES_H

#include <windows.h>
#include <commctrl.h>

#include "shell/app_frame.h"

/* How a pane is entered: `initial` at start-up; a group to open for the
 * subject view, with its row in the group view. */
struct PaneSwitch {
    bool initial;
    const wchar_t *group; /* or null: keep the open group */
    int group_row;
};

struct FramePane {
    ViewKind kind;
    UINT control_id;                       /* the pane's child id and its notifications' id */
    HWND AppFrame::*menu_bar;              /* the bar shown with the pane */
    HWND (*window)(const AppFrame *frame); /* null while the pane has none */
    HWND (*focus)(const AppFrame *frame);  /* what takes the focus; null: nothing */
    void (*show)(AppFrame *frame, int show);
    /* Runs before the pane is shown; 0 keeps the current pane. */
    int (*enter)(AppFrame *frame, const PaneSwitch *how);
    /* WM_NOTIFY from the pane's control; null when it sends none. */
    LRESULT (*notify)(AppFrame *frame, const NMHDR *header);
    /* WM_COMMAND notification `code` from the pane's window. */
    void (*command)(AppFrame *frame, UINT code);
};

/* The row of a view. */
const FramePane *PaneOf(ViewKind kind);

/* Shows `kind` with its menu bar and hides every other pane and bar; gives it
 * the focus. Does nothing when `kind` is current, unless how->initial. */
void SwitchToPane(AppFrame *frame, ViewKind kind, const PaneSwitch *how);

/* The plain switch: no group to open, not at start-up. */
void SwitchToPane(AppFrame *frame, ViewKind kind);

/* WM_SETFOCUS: the current pane's focus window takes the focus. */
void FocusCurrentPane(AppFrame *frame);

/* WM_SIZE: every bar along the bottom, every pane above the visible one. */
void LayoutPanes(AppFrame *frame);

/* WM_NOTIFY, to the row of the sending control. */
LRESULT RoutePaneNotify(AppFrame *frame, const NMHDR *header);

/* A WM_COMMAND from a pane's window; false when `id` is no pane's. */
bool RoutePaneCommand(AppFrame *frame, UINT id, UINT code);

#endif
