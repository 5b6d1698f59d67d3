/*
 * Pelnor's side of the download benchmark: one session (GROUP, then HEAD
 * and BODY of every article through a window of DEPTH articles, every
 * article stored in the log and index) into a fresh data folder.
 *   bench_nntp_download PORT DATA_FOLDER DEPTH GROUP...
 * Prints: articles, milliseconds, articles per second, and the process's
 * peak private bytes (peak commit) at the end.
 * The link, from the environment (each optional): PELNOR_BENCH_HOST (default
 * 127.0.0.1), PELNOR_BENCH_TLS (0 none, 1 implicit, 2 STARTTLS),
 * PELNOR_BENCH_CA (a PEM file of extra trusted roots, a Windows path) and
 * PELNOR_BENCH_COMPRESS (1: COMPRESS DEFLATE when offered); and
 * PELNOR_BENCH_DECODE (1: every charset decoded, as DecodeCharsets 1).
 */
#include <windows.h>
#include <winsock.h>
#include <psapi.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include <string>

#include "base/res_text.h"
#include "nntp/download_texts.h"
#include "nntp/session.h"

int wmain(int argc, wchar_t **argv)
{
    if (argc < 5) {
        fwprintf(stderr, L"usage: bench_nntp_download PORT DATA_FOLDER DEPTH GROUP...\n");
        return 2;
    }
    SetResourceInstance(GetModuleHandleW(nullptr));
    WSADATA wsa;
    WSAStartup(MAKEWORD(1, 1), &wsa);
    NntpServer server = {};
    const char *host = getenv("PELNOR_BENCH_HOST");
    strncpy(server.host, host && *host ? host : "127.0.0.1", kNntpHostBytes - 1);
    MultiByteToWideChar(CP_ACP, 0, server.host, -1, server.name, 260);
    const char *tls = getenv("PELNOR_BENCH_TLS");
    server.tls_mode = tls ? (DWORD)atoi(tls) : (DWORD)kTlsNone;
    const wchar_t *ca = _wgetenv(L"PELNOR_BENCH_CA");
    if (ca)
        wcsncpy(server.ca_file, ca, 259);
    const char *compress = getenv("PELNOR_BENCH_COMPRESS");
    server.compress = compress && atoi(compress) != 0;
    server.port = (unsigned short)_wtoi(argv[1]);
    server.connect_timeout_ms = kNntpDefaultConnectTimeoutMs;
    server.receive_timeout_ms = kNntpDefaultReceiveTimeoutMs;
    server.pipeline_depth = (DWORD)_wtoi(argv[3]);

    std::wstring names;
    for (int i = 4; i < argc; i++) {
        names += argv[i];
        names += L'\0';
        /* A new group's index: version 5, every value 0. */
        wchar_t path[MAX_PATH];
        _snwprintf(path, MAX_PATH, L"%s%s.idx", argv[2], argv[i]);
        path[MAX_PATH - 1] = L'\0';
        unsigned char header[100] = {5};
        HANDLE f = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written;
        WriteFile(f, header, sizeof(header), &written, nullptr);
        CloseHandle(f);
    }

    GroupCursor cursor;
    GroupCursorInit(&cursor, names.c_str());
    RunResult result;
    RunResultClear(&result);
    DownloadEvents events = {&server, nullptr, nullptr, [](void *server, const NntpOutcome *outcome, RunResult *r) {
                                 DescribeDownloadOutcome((const NntpServer *)server, outcome, r);
                             }};
    const char *decode = getenv("PELNOR_BENCH_DECODE");
    SessionParams params = {&server, argv[2], 100000, &cursor, &events, nullptr, nullptr,
                            decode && atoi(decode) != 0};

    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    int ok = RunSession(&params, &result);
    QueryPerformanceCounter(&end);
    if (!ok) {
        fwprintf(stderr, L"session failed: %ls\n", result.text);
        return 1;
    }

    /* Articles stored: the record counts of the indexes. */
    unsigned long articles = 0;
    for (int i = 4; i < argc; i++) {
        wchar_t path[MAX_PATH];
        _snwprintf(path, MAX_PATH, L"%s%s.idx", argv[2], argv[i]);
        path[MAX_PATH - 1] = L'\0';
        HANDLE f = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        DWORD count = 0, got = 0;
        SetFilePointer(f, 16, nullptr, FILE_BEGIN);
        ReadFile(f, &count, 4, &got, nullptr);
        CloseHandle(f);
        articles += count;
    }
    double ms = (double)(end.QuadPart - start.QuadPart) * 1000.0 / (double)frequency.QuadPart;
    PROCESS_MEMORY_COUNTERS_EX memory = {};
    memory.cb = sizeof memory;
    GetProcessMemoryInfo(GetCurrentProcess(), (PROCESS_MEMORY_COUNTERS *)&memory, sizeof memory);
    printf("%lu %.1f %.1f %lu\n", articles, ms, articles * 1000.0 / ms, (unsigned long)memory.PeakPagefileUsage);
    return 0;
}
