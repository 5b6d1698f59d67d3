/* A download session run against a test server. */
#ifndef PELNOR_TEST_SESSION_FIXTURE_H
#define PELNOR_TEST_SESSION_FIXTURE_H

#include <windows.h>

#include <string>
#include <vector>

#include "nntp/session.h"

struct SessionRun {
    int ok = 0;
    DWORD error = 0;
    RunResult result;
    DownloadProgress progress;
};

/* Runs a session on the calling thread against `server`:`port` into
 * `run`; with `events` the progress is told to them too. */
inline void RunSessionInto(SessionRun &run, int port, const std::vector<std::wstring> &groups, const char *user,
                           const char *password, const std::wstring &data_path, DWORD limit, const wchar_t *server,
                           const DownloadEvents *events)
{
    std::wstring names;
    for (const std::wstring &group : groups)
        names += group + L'\0';
    GroupCursor cursor;
    GroupCursorInit(&cursor, names.c_str());
    RunResultClear(&run.result);
    ProgressInit(&run.progress, events);
    SessionParams params = {server, (DWORD)port, data_path.c_str(), limit, &cursor, &run.progress, user, password};
    SetLastError(0);
    run.ok = RunSession(&params, &run.result);
    run.error = GetLastError();
}

inline SessionRun RunScriptedSession(int port, const std::vector<std::wstring> &groups, const char *user = nullptr,
                                     const char *password = nullptr, const std::wstring &data_path = L"",
                                     DWORD limit = 100, const wchar_t *server = L"127.0.0.1")
{
    SessionRun run;
    RunSessionInto(run, port, groups, user, password, data_path, limit, server, nullptr);
    return run;
}

#endif
