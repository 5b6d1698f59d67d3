/*
 * Catch-up of the selected group (command 40011): its stored articles,
 * the articles now on the server, or both, as the user ticks in dialog 120.
 */
#ifndef PELNOR_CATCHUP_COMMAND_H
#define PELNOR_CATCHUP_COMMAND_H

#include "shell/app_frame.h"

void CatchUpCommand(AppFrame *frame);

#endif
