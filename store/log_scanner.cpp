#include "log_scanner.h"

#include <string.h>

const char kLogSeparator[] = "================\r\n";

int LogScannerInit(LogScanner *scanner, HANDLE log)
{
    scanner->count = 0;
    return LineReaderInit(&scanner->reader, log, kLogReadBuffer, kLogLineLimit);
}

void LogScannerFree(LogScanner *scanner)
{
    LineReaderFree(&scanner->reader);
}

int LogScanArticle(LogScanner *scanner, HeaderBlock *block, DWORD *start, DWORD *end)
{
    if (!HeaderBlockPrepare(block)) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    const char *line;
    DWORD length;
    if (!LineReaderNext(&scanner->reader, &line, &length))
        return 0;
    *start = scanner->count;
    scanner->count += length;
    /* The head: up to the blank line. */
    while (!(length >= 2 && line[0] == '\r' && line[1] == '\n')) {
        int added = line[0] == ' ' || line[0] == '\t' ? HeaderBlockAddContinuation(block, line, length)
                                                       : HeaderBlockAddLine(block, line, length);
        if (!added) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
        if (!LineReaderNext(&scanner->reader, &line, &length))
            return 0;
        scanner->count += length;
    }
    /* The body: up to a line that is exactly the separator. */
    if (!LineReaderSkipPast(&scanner->reader, kLogSeparator, kLogSeparatorLength, &length))
        return 0;
    scanner->count += length;
    *end = scanner->count;
    return 1;
}
