#include "article_reader.h"

#include <stdlib.h>

#include "base/scoped_win.h"
#include "store/file_io.h"
#include "text/widestr.h"

namespace {

char *ReadStoredBytes(GroupStore *store, DWORD offset, DWORD length, int whole)
{
    ScopedFile log(OpenForReading(store->log_path));
    return log.valid() ? ReadLogBytes(log.get(), offset, length, whole) : nullptr;
}

wchar_t *ReadLogText(GroupStore *store, DWORD offset, DWORD length, int whole)
{
    char *bytes = ReadStoredBytes(store, offset, length, whole);
    if (!bytes)
        return nullptr;
    wchar_t *text = ToWide(bytes);
    DWORD error = GetLastError();
    free(bytes);
    SetLastError(error);
    return text;
}

} // namespace

char *ReadLogBytes(HANDLE log, DWORD offset, DWORD length, int whole)
{
    if (length == 0xFFFFFFFFu) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    char *bytes = (char *)malloc((size_t)length + 1);
    if (!bytes) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    DWORD got = 0;
    if (!ReadBytesAt(log, offset, bytes, length, &got)) {
        DWORD error = GetLastError();
        free(bytes);
        SetLastError(error);
        return nullptr;
    }
    if (whole && got < length) {
        free(bytes);
        SetLastError(ERROR_HANDLE_EOF);
        return nullptr;
    }
    bytes[got] = '\0';
    return bytes;
}

wchar_t *ReadArticle(GroupStore *store, DWORD offset, DWORD length)
{
    return ReadLogText(store, offset, length, 1);
}

char *ReadArticleBytes(GroupStore *store, DWORD offset, DWORD length)
{
    return ReadStoredBytes(store, offset, length, 1);
}

wchar_t *ReadSubjectText(GroupStore *store, const IndexRecord *record)
{
    return ReadLogText(store, record->subject_text_offset, record->subject_text_length, 0);
}
