/* A download session run against a test server. */
#ifndef PELNOR_TEST_SESSION_FIXTURE_H
#define PELNOR_TEST_SESSION_FIXTURE_H

#include <windows.h>

#include <string>
#include <vector>

#include "nntp/pipeline.h"
#include "nntp/session.h"
#include "settings/settings.h"

struct SessionRun {
    int ok = 0;
    DWORD error = 0;
    RunResult result;
    DownloadProgress progress;
};

/* Runs a session on the calling thread against 127.0.0.1:`port` with the
 * pipeline depth given (the default is put back after); with `stop` the
 * stop is asked for as the first article is counted. */
inline SessionRun RunScriptedSession(int port, const std::vector<std::wstring> &groups, const char *user = nullptr,
                                     const char *password = nullptr, const std::wstring &data_path = L"",
                                     DWORD limit = 100, DWORD depth = kDefaultPipelineDepth, bool stop = false)
{
    SessionRun run;
    std::wstring names;
    for (const std::wstring &group : groups)
        names += group + L'\0';
    GroupCursor cursor;
    GroupCursorInit(&cursor, names.c_str());
    RunResultClear(&run.result);
    DownloadEvents events = {&run.progress, nullptr,
                             [](void *progress) { ProgressRequestStop((DownloadProgress *)progress); }, nullptr};
    ProgressInit(&run.progress, stop ? &events : nullptr);
    SessionParams params = {L"127.0.0.1", (DWORD)port, data_path.c_str(), limit,
                            &cursor, &run.progress, user, password};
    NntpSetPipelineDepth(depth);
    SetLastError(0);
    run.ok = RunSession(&params, &run.result);
    run.error = GetLastError();
    NntpSetPipelineDepth(kDefaultPipelineDepth);
    return run;
}

#endif
