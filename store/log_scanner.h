/*
 * Reads a group's log from its start one article at a time: the head into
 * a HeaderBlock, the body skipped up to the separator line, and the
 * article's extent counted from the bytes read. Used to rebuild the index
 * and to convert old index versions.
 */
#ifndef PELNOR_LOG_SCANNER_H
#define PELNOR_LOG_SCANNER_H

#include <windows.h>

#include "store/header_block.h"
#include "base/line_reader.h"

enum : DWORD {
    kLogReadBuffer = 64 * 1024,  /* bytes read from the file at once */
    /* A head line and its NUL: a header folded over many lines is stored
     * joined (a long References line); body lines have no limit. */
    kLogLineLimit = kLogReadBuffer,
};

/* The line that ends every article: sixteen '=' and CR LF. */
extern const char kLogSeparator[];
enum : DWORD { kLogSeparatorLength = 18 };

struct LogScanner {
    LineReader reader;
    DWORD count; /* bytes read so far: the log offset of the next line */
};

/* Scans `log` from its current position, which is taken as offset 0.
 * 0 with error 8. */
int LogScannerInit(LogScanner *scanner, HANDLE log);
void LogScannerFree(LogScanner *scanner);

/* The next whole article: its head in `block` (prepared here), its extent
 * from *start to *end (just after its separator). Returns 0 with error 38
 * at the end of the log, including a last article that the log cuts short;
 * 234 for a head line longer than kLogLineLimit - 1 bytes (a body line may be of any
 * length); 8 or the read's error otherwise. */
int LogScanArticle(LogScanner *scanner, HeaderBlock *block, DWORD *start, DWORD *end);

#endif
