/*
 * What the benchmarks share: a clock, failing loudly, buffered file
 * writing, whole-file reading, best-of-runs figures and the printed rows
 * of a figure beside its baseline.
 */
#ifndef PELNOR_BENCH_UTIL_H
#define PELNOR_BENCH_UTIL_H

#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <string>

#include "bench_clock.h"

namespace {

const int kRuns = 3;
const DWORD kCopyBuffer = 64 * 1024;

[[noreturn]] inline void Fail(const char *what)
{
    fprintf(stderr, "bench: %s failed (%lu)\n", what, GetLastError());
    exit(1);
}

/* Writes through a 64 KB buffer. */
class Output {
public:
    explicit Output(const std::wstring &path)
    {
        file_ = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file_ == INVALID_HANDLE_VALUE)
            Fail("create");
    }
    ~Output()
    {
        Flush();
        CloseHandle(file_);
    }
    void Put(const char *text, size_t length)
    {
        if (buffer_.size() + length > kCopyBuffer)
            Flush();
        buffer_.append(text, length);
    }
    void Put(const std::string &text) { Put(text.data(), text.size()); }

private:
    void Flush()
    {
        DWORD written;
        if (!buffer_.empty() && !WriteFile(file_, buffer_.data(), (DWORD)buffer_.size(), &written, nullptr))
            Fail("write");
        buffer_.clear();
    }
    HANDLE file_;
    std::string buffer_;
};

/* Reads a whole file in 64 KB pieces; returns its size. */
inline unsigned long long ReadWhole(const std::wstring &path)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        Fail("open for reading");
    static char buffer[kCopyBuffer];
    unsigned long long total = 0;
    DWORD got;
    while (ReadFile(file, buffer, sizeof buffer, &got, nullptr) && got)
        total += got;
    CloseHandle(file);
    return total;
}

/* A new folder under the temporary folder, ending in a backslash. */
inline std::wstring NewBenchFolder()
{
    wchar_t temp[MAX_PATH], folder[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    _snwprintf(folder, MAX_PATH, L"%spelnor-bench-%lu\\", temp, GetCurrentProcessId());
    folder[MAX_PATH - 1] = L'\0';
    CreateDirectoryW(folder, nullptr);
    return folder;
}

struct Best {
    double ms = 1e300;
    void Take(double start) { ms = std::min(ms, Now() - start); }
};

inline void Row(const char *what, double ms, const char *baseline, double baseline_ms)
{
    printf("  %-34s %9.1f ms   %-28s %9.1f ms   ratio %6.2f\n", what, ms, baseline, baseline_ms, ms / baseline_ms);
}

} // namespace

#endif
