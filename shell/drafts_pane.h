/*
 * The frame's side of the drafts pane: its row of the pane table (refilled
 * from the draft folder whenever it is shown) and the commands that belong
 * to it.
 */
#ifndef PELNOR_DRAFTS_PANE_H
#define PELNOR_DRAFTS_PANE_H

#include "shell/panes.h"

/* Pane-table hooks of the drafts row. */
HWND DraftsPaneWindow(const AppFrame *frame);
void ShowDraftsPane(AppFrame *frame, int show);
int EnterDraftsPane(AppFrame *frame, const PaneSwitch *how);

/* Refills the tree when the pane shows: the drafts a run sent have moved. */
void RefreshDraftsPane(AppFrame *frame);

/* Commands 40019, 40021 and 40022; false for any other id. */
bool DraftsCommand(AppFrame *frame, UINT id);

#endif
