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

#endif
