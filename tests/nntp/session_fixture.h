/*
 * A group view's list control with rows, and a session run against the
 * scripted server, for the session and download tests.
 */
#ifndef PELNOR_TEST_SESSION_FIXTURE_H
#define PELNOR_TEST_SESSION_FIXTURE_H

#include <windows.h>

#include <string>
#include <vector>

#include "nntp/group_cursor.h"
#include "nntp/progress.h"
#include "nntp/run_result.h"
#include "nntp/session.h"

/* A real list-view window (report view, one column) holding group names. */
class GroupList {
public:
    explicit GroupList(const std::vector<std::wstring> &names);
    ~GroupList();
    HWND window() const { return list_; }

private:
    HWND list_;
};

struct SessionRun {
    int ok = 0;
    DWORD error = 0;
    RunResult result;
    ProgressDialog progress;
};

/* Runs a session on the calling thread against 127.0.0.1:`port`. */
SessionRun RunScriptedSession(int port, const std::vector<std::wstring> &groups, const char *user = nullptr,
                              const char *password = nullptr, const std::wstring &data_path = L"",
                              DWORD limit = 100, const wchar_t *server = L"127.0.0.1");

#endif
