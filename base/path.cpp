#include "path.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

namespace {

bool NeedsSeparator(const wchar_t *folder, size_t length)
{
    return length > 0 && folder[length - 1] != L'\\';
}

/* Units of the joined path without its terminator. */
size_t JoinedLength(const wchar_t *folder, const wchar_t *name, const wchar_t *suffix)
{
    size_t folder_length = wcslen(folder);
    return folder_length + (NeedsSeparator(folder, folder_length) ? 1 : 0) + wcslen(name) +
           (suffix ? wcslen(suffix) : 0);
}

void Join(wchar_t *out, const wchar_t *folder, const wchar_t *name, const wchar_t *suffix)
{
    size_t length = wcslen(folder);
    memcpy(out, folder, length * sizeof(wchar_t));
    if (NeedsSeparator(folder, length))
        out[length++] = L'\\';
    size_t name_length = wcslen(name);
    memcpy(out + length, name, name_length * sizeof(wchar_t));
    length += name_length;
    if (suffix) {
        size_t suffix_length = wcslen(suffix);
        memcpy(out + length, suffix, suffix_length * sizeof(wchar_t));
        length += suffix_length;
    }
    out[length] = L'\0';
}

} // namespace

wchar_t *JoinPath(const wchar_t *folder, const wchar_t *name, const wchar_t *suffix)
{
    wchar_t *path = (wchar_t *)malloc((JoinedLength(folder, name, suffix) + 1) * sizeof(wchar_t));
    if (!path) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    Join(path, folder, name, suffix);
    return path;
}

int JoinPathInto(wchar_t *out, size_t out_chars, const wchar_t *folder, const wchar_t *name, const wchar_t *suffix)
{
    if (JoinedLength(folder, name, suffix) >= out_chars) {
        if (out_chars > 0)
            out[0] = L'\0';
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    Join(out, folder, name, suffix);
    return 1;
}
