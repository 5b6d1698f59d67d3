/*
 * MIME encoded words ("=?iso-2022-jp?B?...?=") and base64. Byte-level: no
 * windows.h, so it also builds natively for the sanitizers and fuzzers.
 * Only ISO-2022-JP with the B encoding is understood; everything else in a
 * header line passes through as it is.
 */
#ifndef PELNOR_MIME_H
#define PELNOR_MIME_H

#include <stddef.h>

/* Decodes the ISO-2022-JP B words of one NUL-terminated line into `dst`,
 * which must hold strlen(src) + 1 bytes (it may be `src` itself); the
 * result is never longer than the source and still ISO-2022-JP. Always
 * succeeds: other text is copied, and a word followed by anything but "?="
 * ends the line there. */
void DecodeEncodedWords(const char *src, char *dst);

/* Writes the base64 encoding of the NUL-terminated `src`, padded with "=",
 * and a NUL to `dst`, which must hold Base64EncodedSize(strlen(src)) bytes. */
void Base64Encode(const char *src, char *dst);

/* Bytes Base64Encode writes for `length` source bytes, NUL included. */
constexpr size_t Base64EncodedSize(size_t length)
{
    return (length + 2) / 3 * 4 + 1;
}

#endif
