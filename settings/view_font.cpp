#include "settings.h"

#include <string.h>
#include <wchar.h>

int MakeViewFont(const wchar_t *face, LONG size, HFONT *font)
{
    if (!face || !font) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    /* The record owns the old font; nothing else deletes it. */
    if (*font) {
        DeleteObject(*font);
        *font = nullptr;
    }
    if (size == -1)
        return 1; /* the views draw with the system font */

    LOGFONTW logfont;
    memset(&logfont, 0, sizeof(logfont));
    logfont.lfHeight = size;
    logfont.lfWeight = FW_NORMAL;
    logfont.lfCharSet = DEFAULT_CHARSET;
    wcsncpy(logfont.lfFaceName, face, LF_FACESIZE - 1);
    logfont.lfFaceName[LF_FACESIZE - 1] = L'\0';
    SetLastError(ERROR_SUCCESS);
    *font = CreateFontIndirectW(&logfont);
    if (!*font) {
        if (GetLastError() == ERROR_SUCCESS)
            SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return 1;
}
