#include "article_writer.h"

#include <string.h>

#include "store/file_io.h"
#include "store/index_file.h"
#include "store/log_scanner.h"

void ArticleWriterInit(ArticleWriter *writer, GroupStore *store)
{
    writer->store = store;
    HeaderBlockInit(&writer->block);
    KeywordFilterInit(&writer->filter);
    writer->start = 0;
    writer->article_number = 0;
}

int ArticleWriterBegin(ArticleWriter *writer, DWORD article_number)
{
    HANDLE log = writer->store->log_file;
    if (log == INVALID_HANDLE_VALUE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (!HeaderBlockPrepare(&writer->block))
        return 0;
    if (!LoadKeywordFilter(&writer->filter, writer->store->filter_path))
        return 0;
    writer->article_number = article_number;
    SetLastError(NO_ERROR);
    DWORD end = SetFilePointer(log, 0, nullptr, FILE_END);
    if (end == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
        return 0;
    writer->start = end;
    return 1;
}

int ArticleWriterAddHeaderLine(ArticleWriter *writer, const char *line)
{
    return HeaderBlockAdd(&writer->block, line);
}

int ArticleWriterAddContinuation(ArticleWriter *writer, const char *line)
{
    return HeaderBlockAddContinuation(&writer->block, line, strlen(line));
}

int ArticleWriterFinishHead(ArticleWriter *writer)
{
    char sequence[32] = "X-Local-Seq: ";
    size_t length = 13;
    char digits[10];
    int count = 0;
    DWORD number = writer->article_number;
    do {
        digits[count++] = (char)('0' + number % 10);
        number /= 10;
    } while (number);
    while (count)
        sequence[length++] = digits[--count];
    sequence[length++] = '\r';
    sequence[length++] = '\n';
    if (!HeaderBlockAddLine(&writer->block, sequence, length))
        return 0;
    HANDLE log = writer->store->log_file;
    return WriteBytes(log, writer->block.buffer, (DWORD)HeaderBlockSize(&writer->block)) &&
           WriteBytes(log, "\r\n", 2);
}

int ArticleWriterBodyLine(ArticleWriter *writer, const char *text)
{
    return WriteBytes(writer->store->log_file, text, (DWORD)strlen(text));
}

int ArticleWriterFinishArticle(ArticleWriter *writer)
{
    HANDLE log = writer->store->log_file;
    DWORD end;
    if (!WriteBytes(log, kLogSeparator, kLogSeparatorLength) || !FilePosition(log, &end))
        return 0;
    return IndexAppend(writer->store, writer->start, end, &writer->block, &writer->filter);
}

int ArticleWriterAbandon(ArticleWriter *writer)
{
    HANDLE log = writer->store->log_file;
    return SeekFile(log, writer->start) && SetEndOfFile(log);
}

void ArticleWriterRelease(ArticleWriter *writer)
{
    HeaderBlockFree(&writer->block);
    ClearKeywordFilter(&writer->filter);
}
