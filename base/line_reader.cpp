#include "line_reader.h"

#include <stdlib.h>
#include <string.h>

#include "line_scan.h"

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
        if (reader->position == reader->filled) {
            if (reader->at_end) {
                if (carried) {
                    *line = reader->line;
                    *length = carried;
                    return 1;
                }
                SetLastError(ERROR_HANDLE_EOF);
                return 0;
            }
            DWORD got = 0;
            if (!ReadFile(reader->file, reader->buffer, reader->buffer_size, &got, nullptr))
                return 0;
            reader->position = 0;
            reader->filled = got;
            if (got == 0)
                reader->at_end = 1;
            continue;
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
    DWORD total = 0;
    for (;;) {
        /* Whole lines inside the buffer, found in place. */
        const char *buffer = reader->buffer;
        const char *line_start = buffer + reader->position, *end = buffer + reader->filled;
        /* The line ending at the LF at `lf`: 1 when it is the target, -1
         * when it is too long, 0 to go on. */
        auto end_line = [&](const char *lf) {
            DWORD length = (DWORD)(lf + 1 - line_start);
            if (length + 1 > reader->line_capacity) {
                SetLastError(ERROR_MORE_DATA);
                return -1;
            }
            total += length;
            bool found = length == target_length && memcmp(line_start, target, length) == 0;
            line_start = lf + 1;
            return found ? 1 : 0;
        };
        int result = 0;
        /* Line ends from masks of 64 bytes: most body lines are about that
         * long, so a step costs a few instructions rather than a search. */
        const char *p = line_start;
        for (; result == 0 && end - p >= 64; p += 64)
            for (uint64_t lfs = ByteMask(p, '\n'); result == 0 && lfs; lfs &= lfs - 1) {
                const char *lf = p + __builtin_ctzll(lfs);
                if (lf > line_start && lf[-1] == '\r') /* a lone LF does not end the line */
                    result = end_line(lf);
            }
        for (const char *lf; result == 0 && (lf = FindLf(p, end)); p = lf + 1)
            if (lf > line_start && lf[-1] == '\r') /* a lone LF does not end the line */
                result = end_line(lf);
        if (result < 0)
            return 0;
        reader->position = (DWORD)(line_start - buffer);
        if (result > 0) {
            *skipped = total;
            return 1;
        }
        /* A line running past the buffer's end, or a buffer to refill: one
         * line the ordinary way. */
        const char *line;
        DWORD length;
        if (!LineReaderNext(reader, &line, &length))
            return 0;
        total += length;
        if (length == target_length && memcmp(line, target, length) == 0) {
            *skipped = total;
            return 1;
        }
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
