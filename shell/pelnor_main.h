/*
 * The program's entry: common controls and Winsock, the single-instance
 * rule, the frame, the message loop and the shut-down order.
 */
#ifndef PELNOR_MAIN_H
#define PELNOR_MAIN_H

#include <windows.h>

/* What every window and socket of the process needs first: the resources'
 * module, the common controls and Winsock. 0 when Winsock cannot start. */
int StartProcessServices(HINSTANCE instance);

/* Returns the process exit code. */
int PelnorMain(HINSTANCE instance, int show);

/* When another frame runs, brings it forward, posts it 0x8002 and returns
 * true. */
bool ActivateRunningInstance(void);

#endif
