#include "reg_value.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

namespace {

int RegResult(LONG rc)
{
    if (rc != ERROR_SUCCESS) {
        SetLastError((DWORD)rc);
        return 0;
    }
    return 1;
}

} // namespace

int ReadRegDword(HKEY key, const wchar_t *name, DWORD *value)
{
    BYTE bytes[4];
    DWORD type = REG_NONE;
    DWORD size = sizeof(bytes);
    LONG rc = RegQueryValueExW(key, name, nullptr, &type, bytes, &size);
    if (rc == ERROR_MORE_DATA) {
        SetLastError(ERROR_INVALID_DATA);
        return 0;
    }
    if (!RegResult(rc))
        return 0;
    if ((type != REG_DWORD && type != REG_BINARY) || size != 4) {
        SetLastError(ERROR_INVALID_DATA);
        return 0;
    }
    *value = (DWORD)bytes[0] | (DWORD)bytes[1] << 8 | (DWORD)bytes[2] << 16 | (DWORD)bytes[3] << 24;
    return 1;
}

wchar_t *ReadRegText(HKEY key, const wchar_t *name)
{
    /* The value may change between the size query and the read: ask again. */
    for (int attempt = 0; attempt < 4; attempt++) {
        DWORD type = REG_NONE;
        DWORD size = 0;
        if (!RegResult(RegQueryValueExW(key, name, nullptr, &type, nullptr, &size)))
            return nullptr;
        if (type != REG_SZ && type != REG_EXPAND_SZ) {
            SetLastError(ERROR_INVALID_DATA);
            return nullptr;
        }
        /* One character more than the value holds, for a terminator the
         * value may lack. */
        wchar_t *text = (wchar_t *)malloc((size / sizeof(wchar_t) + 1) * sizeof(wchar_t));
        if (!text) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        DWORD read = size;
        LONG rc = RegQueryValueExW(key, name, nullptr, &type, (BYTE *)text, &read);
        if (rc == ERROR_SUCCESS && (type == REG_SZ || type == REG_EXPAND_SZ)) {
            text[read / sizeof(wchar_t)] = L'\0';
            return text;
        }
        free(text);
        if (rc != ERROR_SUCCESS && rc != ERROR_MORE_DATA)
            return RegResult(rc), nullptr;
    }
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
}

int WriteRegDword(HKEY key, const wchar_t *name, DWORD value)
{
    return RegResult(RegSetValueExW(key, name, 0, REG_DWORD, (const BYTE *)&value, sizeof(value)));
}

int WriteRegBinary32(HKEY key, const wchar_t *name, DWORD value)
{
    BYTE bytes[4] = {(BYTE)value, (BYTE)(value >> 8), (BYTE)(value >> 16), (BYTE)(value >> 24)};
    return RegResult(RegSetValueExW(key, name, 0, REG_BINARY, bytes, sizeof(bytes)));
}

int WriteRegText(HKEY key, const wchar_t *name, const wchar_t *text)
{
    DWORD size = (DWORD)((wcslen(text) + 1) * sizeof(wchar_t));
    return RegResult(RegSetValueExW(key, name, 0, REG_SZ, (const BYTE *)text, size));
}

int DeleteRegValue(HKEY key, const wchar_t *name)
{
    LONG rc = RegDeleteValueW(key, name);
    if (rc == ERROR_FILE_NOT_FOUND)
        return 1;
    return RegResult(rc);
}
