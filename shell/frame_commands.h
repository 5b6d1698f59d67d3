/*
 * The frame's menu commands and accelerators.
 */
#ifndef PELNOR_FRAME_COMMANDS_H
#define PELNOR_FRAME_COMMANDS_H

#include "shell/app_frame.h"

/* One WM_COMMAND: `id` is the command, `code` 1 for an accelerator, 0 for a
 * menu or menu-bar button. */
void FrameCommand(AppFrame *frame, UINT id, UINT code);

/* Puts the menu check marks in step with the view options. */
void UpdateCheckMarks(AppFrame *frame);

/* Puts the posting items (compose and follow-up in the reading menus, the
 * drafts pane in the group menu, the draft commands in the drafts menu) in
 * the menus while Posting is on and takes them out while it is off. The
 * menus of the resources have none of them. */
void UpdatePostingMenus(AppFrame *frame);

#endif
