/*
 * The main frame's window class and the messages it accepts from other
 * threads and windows (the dial-up dialogs, the download worker, the
 * check of the groups' files, a second instance).
 */
#ifndef PELNOR_FRAME_MESSAGES_H
#define PELNOR_FRAME_MESSAGES_H

#include <windows.h>

#define PELNOR_FRAME_CLASS L"PelnorMainFrmWnd"

enum : UINT {
    WM_PELNOR_START_RUN = 0x0400,    /* the dial-up line is up: start the run */
    WM_PELNOR_HANG_UP = 0x0401,      /* enable the frame and hang up */
    WM_PELNOR_RUN_FINISHED = 0x8001, /* lParam: the finished download job */
    WM_PELNOR_ACTIVATE = 0x8002,     /* posted by a second instance */
    WM_PELNOR_GROUPS_CHECKED = 0x8004, /* more groups' files are checked, or all are (0x8003 asks about a certificate) */
};

#endif
