#include "log_window.h"

#include <stdlib.h>
#include <string.h>

#include "store/file_io.h"

int LogWindowInit(LogWindow *window, HANDLE file, DWORD capacity)
{
    memset(window, 0, sizeof *window);
    window->file = file;
    window->block = (char *)malloc(capacity);
    if (!window->block) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    window->capacity = capacity;
    return 1;
}

void LogWindowFree(LogWindow *window)
{
    free(window->block);
    window->block = nullptr;
}

const char *LogWindowRead(LogWindow *window, DWORD offset, DWORD length, DWORD *held)
{
    if (!LogWindowHolds(window, offset, length)) {
        DWORD keep = 0;
        if (offset >= window->start && offset < window->start + window->length) {
            keep = window->start + window->length - offset;
            memmove(window->block, window->block + (offset - window->start), keep);
        }
        if (length > window->capacity) {
            char *bigger = (char *)realloc(window->block, length);
            if (!bigger) {
                SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                return nullptr;
            }
            window->block = bigger;
            window->capacity = length;
        }
        window->start = offset;
        window->length = keep;
        DWORD at = offset + keep, got = 0;
        if (window->file_position != at && !SeekFile(window->file, at))
            return nullptr;
        int read = ReadBytes(window->file, window->block + keep, window->capacity - keep, &got);
        window->file_position = at + got;
        window->length += got;
        if (!read)
            return nullptr;
    }
    DWORD available = window->length - (offset - window->start);
    *held = length < available ? length : available;
    return window->block + (offset - window->start);
}
