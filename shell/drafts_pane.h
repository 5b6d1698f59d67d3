/*
 * The frame's side of the drafts pane: its row of the pane table (refilled
 * from the draft folder whenever it is shown) and the commands that belong
 * to it. With Posting a draft opens in the editor (Enter, a double tap or
 * 編集), and the pane deletes drafts and moves them between the folders.
 */
#ifndef PELNOR_DRAFTS_PANE_H
#define PELNOR_DRAFTS_PANE_H

#include "shell/panes.h"

/* Pane-table hooks of the drafts row. */
HWND DraftsPaneWindow(const AppFrame *frame);
void ShowDraftsPane(AppFrame *frame, int show);
int EnterDraftsPane(AppFrame *frame, const PaneSwitch *how);
LRESULT DraftsPaneNotify(AppFrame *frame, const NMHDR *header);

/* Fills the tree again from the draft folder, as after a run that sent
 * drafts, and selects the draft of the file named `file_name` (no folder),
 * or, when that is null, the draft that was selected, if it is still
 * there. */
void RefreshDraftsPane(AppFrame *frame, const wchar_t *file_name);

/* Commands 40019, 40021, 40022 and the draft commands 40100-40104; false
 * for any other id. */
bool DraftsCommand(AppFrame *frame, UINT id);

#endif
