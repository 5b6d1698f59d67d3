/*
 * Reads a file line by line through a read buffer. A line ends after an LF
 * that follows a CR (a lone LF does not end it) and is handed out with its
 * line end. The same reader serves the log scanner, the group file, the
 * keyword filter file and the drafts.
 */
#ifndef PELNOR_LINE_READER_H
#define PELNOR_LINE_READER_H

#include <windows.h>

struct LineReader {
    HANDLE file;          /* borrowed; read from its current position */
    char *buffer;         /* owned read buffer */
    DWORD buffer_size;
    DWORD position;       /* next unread byte in the buffer */
    DWORD filled;         /* bytes in the buffer */
    char *line;           /* owned; a line that spans two reads is put together here */
    DWORD line_capacity;  /* longest line + 1 (its NUL) */
    int at_end;           /* the file has been read to its end */
};

/* Allocates a read buffer of `buffer_size` bytes and a line buffer of
 * `line_capacity` bytes (the longest line a caller accepts, plus its NUL).
 * 0 with error 8. */
int LineReaderInit(LineReader *reader, HANDLE file, DWORD buffer_size, DWORD line_capacity);
void LineReaderFree(LineReader *reader);

/* The next line with its line end, *length bytes at *line (valid until the
 * next call; not NUL-terminated). At the end of the file a partial last line
 * is a line. Returns 0 with error 38 at the end of the file, 234 when a line
 * and its NUL would not fit line_capacity bytes, or the read's error. */
int LineReaderNext(LineReader *reader, const char **line, DWORD *length);

/* Reads lines up to and including the first that is exactly the
 * `target_length` bytes at `target` (line end included); *skipped is the
 * bytes read. Lines end as for LineReaderNext (a partial last line is a
 * line) but have no length limit: one longer than the line buffer is
 * passed over like any other, since an article body in the log may hold
 * such lines. Returns 0 with error 38 when the file ends first, or the
 * read's error. */
int LineReaderSkipPast(LineReader *reader, const char *target, DWORD target_length, DWORD *skipped);

/* The same, copied NUL-terminated into the caller's buffer of `size`
 * bytes, which also bounds the line (234 when it does not fit). */
int LineReaderCopy(LineReader *reader, char *buffer, DWORD size, DWORD *length);

#endif
