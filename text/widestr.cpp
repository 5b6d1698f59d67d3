#include "widestr.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "text/article_decoder.h"
#include "text/stored_text.h"

static_assert(sizeof(wchar_t) == sizeof(char16_t), "UTF-16 units");

wchar_t *ToWide(const char *text)
{
    size_t length = strlen(text);
    wchar_t *wide = (wchar_t *)malloc((length + 1) * sizeof(wchar_t));
    if (!wide) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    /* Stored text never needs more UTF-16 units than it has bytes. */
    StoredToWide(text, length, wide);
    return wide;
}

char *ToNarrow(const wchar_t *text)
{
    size_t length = wcslen(text);
    size_t size = (length + 1) * 2;
    char *narrow = (char *)malloc(size);
    if (!narrow) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    if (WideCharToMultiByte(kStoredCodePage, 0, text, (int)length + 1, narrow, (int)size, nullptr, nullptr) == 0)
        narrow[0] = '\0';
    return narrow;
}

void CopyWideText(wchar_t *dst, const wchar_t *src, size_t capacity)
{
    if (capacity == 0)
        return;
    wcsncpy(dst, src, capacity - 1);
    dst[capacity - 1] = L'\0';
}

char *ToStored(const wchar_t *text)
{
    StoredBuffer stored;
    StoredBufferInit(&stored);
    if (!Utf16ToStored(&stored, (const char16_t *)text, wcslen(text)) || !StoredBufferAppend(&stored, "", 1)) {
        StoredBufferRelease(&stored);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return stored.data; /* the buffer's memory is the caller's now */
}

size_t StoredToWide(const char *bytes, size_t length, wchar_t *out)
{
    size_t units = StoredToUtf16(bytes, length, (char16_t *)out);
    out[units] = L'\0';
    return units;
}

wchar_t *ServerTextToWide(const char *line, bool decode)
{
    if (!decode)
        return ToWide(line);
    ArticleDecoder decoder;
    ArticleDecoderInit(&decoder);
    wchar_t *wide = nullptr;
    if (ArticleDecoderText(&decoder, line, strlen(line)))
        wide = ToWide(decoder.out.data ? decoder.out.data : "");
    ArticleDecoderRelease(&decoder);
    return wide;
}
