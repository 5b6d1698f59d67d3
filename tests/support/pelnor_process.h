/*
 * The program run as a process of its own, as a user starts it, and its
 * frame read from the outside.
 */
#ifndef PELNOR_TEST_PELNOR_PROCESS_H
#define PELNOR_TEST_PELNOR_PROCESS_H

#include <windows.h>

#include <string>

struct PelnorProcess {
    HANDLE handle = nullptr; /* caller must close */
    DWORD id = 0;
};

/* Starts build/pelnor.exe; handle is null when it could not start. */
PelnorProcess StartPelnor();

/* The exit code once the process has ended within `ms`, else STILL_ACTIVE. */
DWORD ExitCodeAfter(HANDLE process, DWORD ms);

/* The open frames ("PelnorMainFrmWnd" windows) and the last one found. */
struct FrameCount {
    int count = 0;
    HWND last = nullptr;
};
FrameCount PelnorFrames();

/* A cell of a list-view control of `process` (which may be this one): the
 * item is read through memory lent in that process. */
std::wstring RemoteListViewText(HANDLE process, HWND list, int row, int column);

#endif
