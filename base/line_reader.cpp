#include "line_reader.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

namespace {

/* The first LF in [p, end), eight bytes at a time: the system's memchr
 * goes byte by byte, and finding line ends is most of a log scan. */
const char *FindLf(const char *p, const char *end)
{
    const uint64_t ones = 0x0101010101010101ull, highs = 0x8080808080808080ull, lfs = 0x0A0A0A0A0A0A0A0Aull;
    while (end - p >= 8) {
        uint64_t word;
        memcpy(&word, p, 8);
        uint64_t x = word ^ lfs;
        if ((x - ones) & ~x & highs)
            break; /* an LF among these eight bytes */
        p += 8;
    }
    for (; p < end; p++)
        if (*p == '\n')
            return p;
    return nullptr;
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
