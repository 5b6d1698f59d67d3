/*
 * A window on a group's log for readers that go through its articles in
 * log order (search, the thread file): one large read serves many
 * articles, and what the window already holds of an article is kept when
 * it moves on.
 */
#ifndef PELNOR_LOG_WINDOW_H
#define PELNOR_LOG_WINDOW_H

#include <windows.h>

struct LogWindow {
    HANDLE file;        /* borrowed */
    char *block;        /* owned */
    DWORD capacity;
    DWORD start;        /* log offset of block[0] */
    DWORD length;       /* bytes held */
    DWORD file_position;
};

/* A window of `capacity` bytes on `file`. 0 with error 8. */
int LogWindowInit(LogWindow *window, HANDLE file, DWORD capacity);
void LogWindowFree(LogWindow *window);

/* Makes the window hold the `length` bytes at `offset` (growing for a
 * longer article). The bytes at `offset`, with *held saying how many of
 * them there are (fewer where the file ends), or null when a read fails. */
const char *LogWindowRead(LogWindow *window, DWORD offset, DWORD length, DWORD *held);

/* Whether the window holds the `length` bytes at `offset`. */
inline bool LogWindowHolds(const LogWindow *window, DWORD offset, DWORD length)
{
    return offset >= window->start && offset - window->start + (unsigned long long)length <= window->length;
}

#endif
