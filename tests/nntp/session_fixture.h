/* A download session run against a test server, the groups in a real list view. */
#ifndef PELNOR_TEST_SESSION_FIXTURE_H
#define PELNOR_TEST_SESSION_FIXTURE_H

#include <windows.h>
#include <commctrl.h>

#include <string>
#include <vector>

#include "nntp/session.h"

struct SessionRun {
    int ok = 0;
    DWORD error = 0;
    RunResult result;
    ProgressDialog progress; /* without a window: it only counts */
};

/* Runs a session on the calling thread against `server`:`port`. With a
 * `progress_dialog` the progress goes there too; its user data is the
 * progress record. */
inline SessionRun RunScriptedSession(int port, const std::vector<std::wstring> &groups, const char *user = nullptr,
                                     const char *password = nullptr, const std::wstring &data_path = L"",
                                     DWORD limit = 100, const wchar_t *server = L"127.0.0.1",
                                     HWND progress_dialog = nullptr)
{
    HWND list = CreateWindowExW(0, WC_LISTVIEWW, L"", WS_POPUP | LVS_REPORT, 0, 0, 200, 200, nullptr, nullptr,
                                GetModuleHandleW(nullptr), nullptr);
    LVCOLUMNW column = {LVCF_WIDTH, 0, 150};
    SendMessageW(list, LVM_INSERTCOLUMNW, 0, (LPARAM)&column);
    for (size_t i = 0; i < groups.size(); i++) {
        LVITEMW item = {LVIF_TEXT, (int)i};
        item.pszText = const_cast<wchar_t *>(groups[i].c_str());
        SendMessageW(list, LVM_INSERTITEMW, 0, (LPARAM)&item);
    }
    GroupCursor cursor;
    GroupCursorInit(&cursor, list);
    SessionRun run;
    RunResultClear(&run.result);
    ProgressInit(&run.progress);
    run.progress.dialog = progress_dialog;
    if (progress_dialog)
        SetWindowLongPtrW(progress_dialog, GWLP_USERDATA, (LONG_PTR)&run.progress);
    SessionParams params = {server, (DWORD)port, data_path.c_str(), limit, &cursor, &run.progress, user, password};
    SetLastError(0);
    run.ok = RunSession(&params, &run.result);
    run.error = GetLastError();
    DestroyWindow(list);
    return run;
}

#endif
