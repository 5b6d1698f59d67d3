#include "clipboard.h"

#include <string.h>

HANDLE NewClipboardText(const wchar_t *text, size_t units)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, (units + 1) * sizeof(wchar_t));
    if (!block) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    wchar_t *bytes = (wchar_t *)GlobalLock(block);
    if (units)
        memcpy(bytes, text, units * sizeof(wchar_t));
    GlobalUnlock(block);
    return block;
}

void FreeClipboardBlock(HANDLE block)
{
    GlobalFree(block);
}
