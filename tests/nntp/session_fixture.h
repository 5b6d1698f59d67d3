/* A download session run against a test server. */
#ifndef PELNOR_TEST_SESSION_FIXTURE_H
#define PELNOR_TEST_SESSION_FIXTURE_H

#include <windows.h>

#include <string.h>

#include <string>
#include <vector>

#include "nntp/download_texts.h"
#include "nntp/session.h"
#include "settings/settings.h"
#include "support/script_client.h"

struct SessionRun {
    int ok = 0;
    DWORD error = 0;
    RunResult result;
    /* What the events were told: each range's count, articles stored, and
     * the statuses no index kept ("group: status"). */
    std::vector<DWORD> range_counts;
    DWORD stored = 0;
    std::vector<std::wstring> unstored;
    /* Drafts being sent ("subject i/n") and those kept waiting ("title: text"). */
    std::vector<std::wstring> posting, kept;
    JobCancel *stop = nullptr; /* during the run: asked for as article `stop_after` is stored */
    DWORD stop_after = 0;
    bool stop_from_thread = false; /* ...by another thread, as a user's Escape */
    HANDLE stopper = nullptr;
    const NntpServer *server = nullptr; /* during the run */
};

enum StopWay { kNoStop, kStopAtFirst, kStopFromThreadAtSecond };

/* Runs a session on the calling thread against `server` over `groups`. */
inline SessionRun RunScriptedSession(const NntpServer &server, const std::vector<std::wstring> &groups,
                                     const std::wstring &data_path = L"", DWORD limit = 100, StopWay stop = kNoStop,
                                     const NntpTrust *trust = nullptr, int decode_charsets = 0,
                                     const PostingParams *posting = nullptr, int send_only = 0)
{
    SessionRun result_run;
    SessionRun *run = &result_run;
    JobCancel cancel;
    JobCancelInit(&cancel);
    run->stop = &cancel;
    run->server = &server;
    run->stop_after = stop == kNoStop ? 0 : stop == kStopAtFirst ? 1 : 2;
    run->stop_from_thread = stop == kStopFromThreadAtSecond;
    std::wstring names;
    for (const std::wstring &group : groups)
        names += group + L'\0';
    GroupCursor cursor;
    GroupCursorInit(&cursor, names.c_str());
    RunResultClear(&run->result);
    DownloadEvents events = {
        run,
        [](void *context, const wchar_t *, DWORD count, DWORD) {
            ((SessionRun *)context)->range_counts.push_back(count);
        },
        [](void *context) {
            SessionRun *r = (SessionRun *)context;
            if (++r->stored != r->stop_after)
                return;
            if (!r->stop_from_thread) {
                JobCancelRequest(r->stop);
                return;
            }
            r->stopper = CreateThread(
                nullptr, 0,
                [](LPVOID cancel) -> DWORD {
                    JobCancelRequest((JobCancel *)cancel);
                    return 0;
                },
                r->stop, 0, nullptr);
        },
        [](void *context, const NntpOutcome *outcome, RunResult *result) {
            DescribeDownloadOutcome(((SessionRun *)context)->server, outcome, result);
        },
        [](void *context, const wchar_t *group, const wchar_t *status) {
            ((SessionRun *)context)->unstored.push_back(std::wstring(group) + L": " + status);
        },
        [](void *context, const wchar_t *subject, DWORD index, DWORD count) {
            ((SessionRun *)context)->posting.push_back(std::wstring(subject) + L" " + std::to_wstring(index + 1) + L"/" +
                                                       std::to_wstring(count));
        },
        [](void *context, const NntpOutcome *outcome) {
            SessionRun *r = (SessionRun *)context;
            RunResult why;
            DescribeDownloadOutcome(r->server, outcome, &why);
            r->kept.push_back(std::wstring(why.title) + L": " + why.text);
        }};
    SessionParams params = {&server, data_path.c_str(), limit,          &cursor,  &events,
                            &cancel, trust,             decode_charsets, posting, send_only};
    SetLastError(0);
    run->ok = RunSession(&params, &run->result);
    run->error = GetLastError();
    if (run->stopper) {
        WaitForSingleObject(run->stopper, INFINITE);
        CloseHandle(run->stopper);
        run->stopper = nullptr;
    }
    run->stop = nullptr;
    run->server = nullptr;
    JobCancelFree(&cancel);
    return result_run;
}

#endif
