/*
 * Dial-up before a download run and hang-up after it. The line is dialled
 * asynchronously behind the modeless connect dialog, which reports to the
 * frame with WM_PELNOR_START_RUN (line up) or WM_PELNOR_HANG_UP (given up);
 * the frame enables itself on either and, on the second, calls HangUpDialup.
 * After the run the disconnect dialog hangs up a line this program dialled.
 */
#ifndef PELNOR_DIALUP_H
#define PELNOR_DIALUP_H

#include <windows.h>

#include "platform/ras.h"
#include "settings/settings.h"

enum DialupStart {
    kDialupFailed = 0,   /* the connect dialog could not be made (last error
                            set); the frame is enabled and nothing was dialled */
    kDialupRunNow = 1,   /* no dialling needed: start the run now */
    kDialupDialling = 2, /* the frame is disabled and the connect dialog is up;
                            the frame hears WM_PELNOR_START_RUN or
                            WM_PELNOR_HANG_UP later */
};

/* The dial step of "get articles". With Dialup 0, or with a RAS connection
 * already up (made by anyone), the run can start at once. Otherwise dials
 * EntryName with its stored user and password, notifying the connect dialog,
 * and stores the connection handle in *connection. */
DialupStart DialBeforeRun(HWND frame, HINSTANCE instance, const Settings *settings, HRASCONN *connection);

/* Hangs up `connection` (on WM_PELNOR_HANG_UP). Returns 1, or 0 with the
 * RAS error number as the last error. */
int HangUpDialup(HRASCONN connection);

/* The modal disconnect dialog, owned by the frame: waits wait_seconds (the
 * user may cancel the wait and keep the line up), then sends the frame
 * WM_PELNOR_HANG_UP and closes half a second later. Returns the dialog's
 * result: 1 however it ends, or -1 when it could not be made. The caller
 * clears its dialled flag afterwards in every case. */
INT_PTR RunDisconnectDialog(HWND frame, HINSTANCE instance, DWORD wait_seconds);

#endif
