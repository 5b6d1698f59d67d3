/*
 * 8-bit text <-> UTF-16, the one place the program converts between them.
 * ToWide reads stored text (Shift_JIS, code page 932, with its references
 * for characters Shift_JIS lacks: stored_text.h); ToStored writes it;
 * ToNarrow is the plain code-page conversion, characters Shift_JIS lacks
 * becoming their nearest or "?". Every result is newly allocated; the
 * caller must free() it. Null with last error 8 when memory runs out.
 */
#ifndef PELNOR_WIDESTR_H
#define PELNOR_WIDESTR_H

#include <windows.h>

/* The code page of every stored 8-bit text. */
enum { kStoredCodePage = 932 };

wchar_t *ToWide(const char *text);
/* The same into `out`, which holds `length` + 1 units: the units written
 * (NUL added; a NUL in the bytes ends them early). */
size_t StoredToWide(const char *bytes, size_t length, wchar_t *out);

/* Copies at most capacity - 1 units and always terminates. */
void CopyWideText(wchar_t *dst, const wchar_t *src, size_t capacity);
char *ToNarrow(const wchar_t *text);
char *ToStored(const wchar_t *text);

/* A server's line for the user: read as a header's text is (encoded words,
 * undeclared 8-bit or ISO-2022-JP text) when `decode`, else as stored text. */
wchar_t *ServerTextToWide(const char *line, bool decode);

#endif
