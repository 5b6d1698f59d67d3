/*
 * The modeless connect dialog: shows the dial's progress and tells the frame
 * when the line is up or when dialling was given up.
 */
#ifndef PELNOR_CONNECT_DIALOG_H
#define PELNOR_CONNECT_DIALOG_H

#include <windows.h>

/* Creates and shows the dialog owned by `frame`, titled with the entry
 * name. Returns the dialog, or null with the last error set. The dialog
 * destroys itself. */
HWND CreateConnectDialog(HWND frame, HINSTANCE instance, const wchar_t *entry_name);

#endif
