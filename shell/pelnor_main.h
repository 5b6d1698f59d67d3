/*
 * The program's entry: common controls and Winsock, the single-instance
 * rule, the frame, the message loop and the shut-down order.
 */
#ifndef PELNOR_MAIN_H
#define PELNOR_MAIN_H

#include <windows.h>

/* Returns the process exit code. */
int PelnorMain(HINSTANCE instance, int show);

/* When another frame runs, brings it forward, posts it 0x8002 and returns
 * true. */
bool ActivateRunningInstance(void);

#endif
