/*
 * MIME encoded words ("=?iso-2022-jp?B?...?=") in header lines. Byte-level: no
 * windows.h, so it also builds natively for the sanitizers and fuzzers.
 * Only ISO-2022-JP with the B encoding is understood; everything else in a
 * header line passes through as it is.
 */
#ifndef PELNOR_MIME_H
#define PELNOR_MIME_H

#include <stddef.h>

/* Decodes the ISO-2022-JP B words of the NUL-terminated line `src` into
 * `dst`, which must hold strlen(src) + 1 bytes (it may be `src` itself); the
 * result is never longer than the source and still ISO-2022-JP. Always
 * succeeds: other text is copied, and a word followed by anything but "?="
 * ends the line there. */
void DecodeEncodedWords(char *dst, const char *src);

#endif
