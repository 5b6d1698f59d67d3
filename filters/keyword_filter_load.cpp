#include "keyword_filter.h"

#include <windows.h>
#include <stdlib.h>
#include <string.h>

#include "base/scoped_win.h"
#include "base/line_reader.h"

namespace {

enum : DWORD { kFilterLineBuffer = 512, kFilterReadBuffer = 1024 };

} // namespace

int LoadKeywordFilter(KeywordFilter *filter, const wchar_t *path)
{
    ClearKeywordFilter(filter);
    ScopedFile file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid())
        return GetLastError() == ERROR_FILE_NOT_FOUND ? 1 : 0;
    LineReader reader;
    if (!LineReaderInit(&reader, file.get(), kFilterReadBuffer, kFilterLineBuffer))
        return 0;
    const char *line;
    DWORD length;
    /* Whatever stops the reader ends the filter: lines after an over-long
     * one are not loaded, and the load still succeeds. */
    while (LineReaderNext(&reader, &line, &length)) {
        if (length >= 2 && line[length - 2] == '\r' && line[length - 1] == '\n')
            length -= 2;
        if (length < 2)
            continue;
        KeywordNode *node = (KeywordNode *)malloc(sizeof(KeywordNode));
        char *keyword = (char *)malloc(length - 2 + 1);
        if (!node || !keyword) {
            free(node);
            free(keyword);
            LineReaderFree(&reader);
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
        memcpy(keyword, line + 2, length - 2);
        keyword[length - 2] = '\0';
        node->keyword = keyword;
        KeywordNode **list = line[0] == '+' ? &filter->high : &filter->low;
        node->next = *list;
        *list = node;
    }
    LineReaderFree(&reader);
    SetLastError(ERROR_SUCCESS);
    return 1;
}
