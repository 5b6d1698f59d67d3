/*
 * MIME encoded words ("=?iso-2022-jp?B?...?=") and base64. Byte-level: no
 * windows.h, so it also builds natively for the sanitizers and fuzzers.
 * Only ISO-2022-JP with the B encoding is understood; everything else in a
 * header line passes through as it is.
 */
#ifndef PELNOR_MIME_H
#define PELNOR_MIME_H

#include <stddef.h>

/* Bytes of one encoded word's buffer: the opening, at most 36 base64
 * characters, the closing and a NUL, with room to spare. */
const size_t kEncodedWordSize = 81;

/* One word of an encoded text; the words of a text form a singly linked
 * list in output order. `text` is empty for a piece that held nothing. */
struct EncodedWord {
    EncodedWord *next;
    char text[kEncodedWordSize];
};

/* Decodes the ISO-2022-JP B words of the NUL-terminated line `src` into
 * `dst`, which must hold strlen(src) + 1 bytes (it may be `src` itself); the
 * result is never longer than the source and still ISO-2022-JP. Always
 * succeeds: other text is copied, and a word followed by anything but "?="
 * ends the line there. */
void DecodeEncodedWords(char *dst, const char *src);

/* Turns ISO-2022-JP text into encoded words of at most 25 raw bytes each,
 * appended to the list at *list (null for a new list). Pairs are never
 * split and each word is closed back to single-byte mode, so every word
 * decodes by itself. Returns 1, or 0 with last error 8 when a word
 * could not be allocated; the words made so far stay in the list either
 * way, and the caller must free it with ReleaseWordList. */
int EncodeAsWords(EncodedWord **list, const char *text);

/* Frees every word of the list (null is allowed). */
void ReleaseWordList(EncodedWord *list);

/* The 6-bit value of a base64 character, or 64 for any other byte. */
unsigned Base64Value(unsigned char c);

/* Writes the base64 encoding of the NUL-terminated `src`, padded with "=",
 * and a NUL to `dst`, which must hold Base64EncodedSize(strlen(src)) bytes. */
void Base64Encode(const char *src, char *dst);

/* Bytes Base64Encode writes for `length` source bytes, NUL included. */
constexpr size_t Base64EncodedSize(size_t length)
{
    return (length + 2) / 3 * 4 + 1;
}

#endif
