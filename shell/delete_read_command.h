/*
 * Deleting the read articles of every subscribed group (command 40004).
 */
#ifndef PELNOR_DELETE_READ_COMMAND_H
#define PELNOR_DELETE_READ_COMMAND_H

#include "shell/app_frame.h"

void DeleteReadCommand(AppFrame *frame);

#endif
