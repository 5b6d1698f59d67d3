/*
 * 8-bit Shift_JIS (code page 932) <-> UTF-16 text. Both results are newly
 * allocated; the caller must free() them. Null with last error 8 when memory
 * runs out.
 */
#ifndef PELNOR_WIDESTR_H
#define PELNOR_WIDESTR_H

#include <windows.h>

/* The code page of every stored 8-bit text. */
enum { kStoredCodePage = 932 };

wchar_t *ToWide(const char *text);

/* Copies at most capacity - 1 units and always terminates. */
void CopyWideText(wchar_t *dst, const wchar_t *src, size_t capacity);
char *ToNarrow(const wchar_t *text);

#endif
