#include "group_file.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/path.h"
#include "text/widestr.h"

namespace {

enum : DWORD { kGroupFileReadBuffer = 4096, kGroupFileLineLimit = 1024 };

} // namespace

GroupFileReader *GroupFileOpen(const wchar_t *data_folder)
{
    wchar_t *path = JoinPath(data_folder, L"group.dat");
    GroupFileReader *reader = (GroupFileReader *)malloc(sizeof(GroupFileReader));
    if (!path || !reader) {
        free(path);
        free(reader);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    reader->file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                               nullptr);
    DWORD error = GetLastError();
    free(path);
    if (reader->file == INVALID_HANDLE_VALUE) {
        free(reader);
        SetLastError(error);
        return nullptr;
    }
    reader->name = nullptr;
    if (!LineReaderInit(&reader->lines, reader->file, kGroupFileReadBuffer, kGroupFileLineLimit)) {
        CloseHandle(reader->file);
        free(reader);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return reader;
}

const wchar_t *GroupFileNext(GroupFileReader *reader)
{
    free(reader->name);
    reader->name = nullptr;
    char line[kGroupFileLineLimit];
    DWORD length;
    for (;;) {
        if (!LineReaderCopy(&reader->lines, line, sizeof line, &length))
            return nullptr;
        if (line[0] == '#' || length <= 2)
            continue;
        if (line[length - 2] == '\r' && line[length - 1] == '\n')
            line[length - 2] = '\0';
        reader->name = ToWide(line);
        return reader->name;
    }
}

void GroupFileClose(GroupFileReader *reader)
{
    if (!reader)
        return;
    DWORD error = GetLastError();
    LineReaderFree(&reader->lines);
    CloseHandle(reader->file);
    free(reader->name);
    free(reader);
    SetLastError(error);
}

wchar_t *GroupFileReadNames(const wchar_t *data_folder, DWORD *count)
{
    *count = 0;
    GroupFileReader *reader = GroupFileOpen(data_folder);
    if (!reader)
        return nullptr;
    size_t used = 0, capacity = 256;
    wchar_t *names = (wchar_t *)malloc(capacity * sizeof(wchar_t));
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    for (const wchar_t *name; names && (name = GroupFileNext(reader)) != nullptr;) {
        size_t length = wcslen(name) + 1;
        if (used + length + 1 > capacity) {
            capacity = (used + length + 1) * 2;
            wchar_t *larger = (wchar_t *)realloc(names, capacity * sizeof(wchar_t));
            if (!larger) {
                free(names);
                names = nullptr;
                break;
            }
            names = larger;
        }
        memcpy(names + used, name, length * sizeof(wchar_t));
        used += length;
        ++*count;
    }
    if (names) {
        error = GetLastError();
        if (error == ERROR_HANDLE_EOF || error == ERROR_MORE_DATA) {
            names[used] = L'\0';
        } else {
            free(names);
            names = nullptr;
        }
    }
    GroupFileClose(reader);
    if (!names) {
        *count = 0;
        SetLastError(error);
    }
    return names;
}
