#include "line_reader.h"

#include <stdlib.h>
#include <string.h>

#include "line_scan.h"

namespace {

/* The next read buffer from the file; at_end once a read returns nothing. */
/* Makes sure unread bytes are in the buffer: 1 when there are, 0 at the
 * end of the file, -1 when the read failed (its error kept). */
int NeedBytes(LineReader *reader)
{
    while (reader->position == reader->filled) {
        if (reader->at_end)
            return 0;
        DWORD got = 0;
        if (!ReadFile(reader->file, reader->buffer, reader->buffer_size, &got, nullptr))
            return -1;
        reader->position = 0;
        reader->filled = got;
        if (got == 0)
            reader->at_end = 1;
    }
    return 1;
}

} // namespace

int LineReaderInit(LineReader *reader, HANDLE file, DWORD buffer_size, DWORD line_capacity)
{
    reader->file = file;
    reader->buffer = (char *)malloc(buffer_size);
    reader->line = (char *)malloc(line_capacity);
    reader->buffer_size = buffer_size;
    reader->line_capacity = line_capacity;
    reader->position = 0;
    reader->filled = 0;
    reader->at_end = 0;
    if (!reader->buffer || !reader->line) {
        LineReaderFree(reader);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    return 1;
}

void LineReaderFree(LineReader *reader)
{
    free(reader->buffer);
    free(reader->line);
    reader->buffer = nullptr;
    reader->line = nullptr;
}

int LineReaderNext(LineReader *reader, const char **line, DWORD *length)
{
    DWORD carried = 0; /* bytes of this line already copied to reader->line */
    for (;;) {
        int more = NeedBytes(reader);
        if (more < 0)
            return 0;
        if (more == 0) {
            if (carried) {
                *line = reader->line;
                *length = carried;
                return 1;
            }
            SetLastError(ERROR_HANDLE_EOF);
            return 0;
        }
        const char *start = reader->buffer + reader->position;
        DWORD available = reader->filled - reader->position;
        const char *end = start + available;
        const char *lf = FindLf(start, end);
        while (lf) {
            char before = lf > start ? lf[-1] : carried ? reader->line[carried - 1] : '\0';
            if (before == '\r')
                break;
            lf = FindLf(lf + 1, end);
        }
        DWORD take = lf ? (DWORD)(lf + 1 - start) : available;
        if (carried + take + 1 > reader->line_capacity) {
            SetLastError(ERROR_MORE_DATA);
            return 0;
        }
        reader->position += take;
        if (lf && carried == 0) {
            *line = start;
            *length = take;
            return 1;
        }
        memcpy(reader->line + carried, start, take);
        carried += take;
        if (lf) {
            *line = reader->line;
            *length = carried;
            return 1;
        }
    }
}

int LineReaderSkipPast(LineReader *reader, const char *target, DWORD target_length, DWORD *skipped)
{
    LineSkip skip;
    LineSkipInit(&skip, target, target_length);
    for (;;) {
        int more = NeedBytes(reader);
        if (more < 0)
            return 0;
        if (more == 0) {
            if (LineSkipEnd(&skip)) {
                *skipped = skip.count;
                return 1;
            }
            SetLastError(ERROR_HANDLE_EOF);
            return 0;
        }
        const char *after = LineSkipScan(&skip, reader->buffer + reader->position, reader->buffer + reader->filled);
        if (after) {
            reader->position = (DWORD)(after - reader->buffer);
            *skipped = skip.count;
            return 1;
        }
        reader->position = reader->filled;
    }
}

int LineReaderCopy(LineReader *reader, char *buffer, DWORD size, DWORD *length)
{
    const char *line;
    DWORD got;
    if (!LineReaderNext(reader, &line, &got))
        return 0;
    if (got + 1 > size) {
        SetLastError(ERROR_MORE_DATA);
        return 0;
    }
    memcpy(buffer, line, got);
    buffer[got] = '\0';
    *length = got;
    return 1;
}
