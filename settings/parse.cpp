#include "settings.h"

#include <wchar.h>

int ParseDecimal(const wchar_t *text, DWORD *value)
{
    if (!text || !value) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DWORD number = 0;
    for (const wchar_t *p = text; *p; p++) {
        if (*p < L'0' || *p > L'9') {
            SetLastError(ERROR_INVALID_DATA);
            return 0;
        }
        /* Wraps silently: the fields take what the user typed. */
        number = number * 10 + (DWORD)(*p - L'0');
    }
    *value = number;
    return 1;
}

void StripTrailingBackslashes(wchar_t *text)
{
    if (!text)
        return;
    size_t length = wcslen(text);
    while (length > 0 && text[length - 1] == L'\\')
        text[--length] = L'\0';
}
