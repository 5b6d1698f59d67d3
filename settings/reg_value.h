/*
 * Reading and writing single registry values. Every function returns 1 for
 * success and 0 for failure with the reason in the last error.
 */
#ifndef PELNOR_REG_VALUE_H
#define PELNOR_REG_VALUE_H

#include <windows.h>

/* A 32-bit number stored as REG_DWORD or as 4 bytes of REG_BINARY. Fails
 * with 2 when the value is absent and 13 when it has another type or size;
 * *value is then left alone. */
int ReadRegDword(HKEY key, const wchar_t *name, DWORD *value);

/* A REG_SZ (or REG_EXPAND_SZ, not expanded) value of any length as a new
 * text ending at the value's first terminator; caller must free. Null with
 * 2 when absent, 13 when not a string, 8 when memory runs out, or the
 * registry's own error. */
wchar_t *ReadRegText(HKEY key, const wchar_t *name);

int WriteRegDword(HKEY key, const wchar_t *name, DWORD value);
/* 4 bytes of REG_BINARY, little-endian. */
int WriteRegBinary32(HKEY key, const wchar_t *name, DWORD value);
/* REG_SZ with its terminator. */
int WriteRegText(HKEY key, const wchar_t *name, const wchar_t *text);
/* Succeeds also when the value did not exist. */
int DeleteRegValue(HKEY key, const wchar_t *name);

#endif
