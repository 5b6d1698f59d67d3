/*
 * Which pane the frame shows, with the menu bar that belongs to it.
 */
#ifndef PELNOR_VIEW_SWITCH_H
#define PELNOR_VIEW_SWITCH_H

#include "shell/app_frame.h"

/* Shows the group view and its menu bar; does nothing when it is current,
 * unless `initial` (start-up) is set. */
void SwitchToGroupView(AppFrame *frame, bool initial);

/* Gives the keyboard focus to the visible pane. */
void FocusCurrentView(AppFrame *frame);

#endif
