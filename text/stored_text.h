/*
 * Stored text: the 8-bit form every article is kept in. It is CP932
 * (Shift_JIS with the NEC and IBM extensions); a character CP932 cannot
 * encode is written as a reference "&#x" + its code point in uppercase hex
 * (at least two digits, no other leading zeros) + ";", e.g. "&#x1F600;".
 * Every "&#x" the sender wrote has its '&' written "&#x26;", so every
 * "&#x" of stored text starts a reference and the text reads back exactly
 * as sent. NUL is never stored (U+FFFD takes its place).
 *
 * Byte-level: no windows.h, so it also builds natively for the sanitizers
 * and fuzzers.
 */
#ifndef PELNOR_STORED_TEXT_H
#define PELNOR_STORED_TEXT_H

#include <stddef.h>

/* A growing output, always NUL-terminated once it holds anything. */
struct StoredBuffer {
    char *data;
    size_t used;
    size_t size;
};

void StoredBufferInit(StoredBuffer *buffer);
void StoredBufferRelease(StoredBuffer *buffer);
/* Drops the contents and keeps the memory. */
void StoredBufferClear(StoredBuffer *buffer);
/* 1, or 0 with last error 8 (the buffer is unchanged). */
int StoredBufferAppend(StoredBuffer *buffer, const char *bytes, size_t length);

/* Writes characters as stored text into a buffer. A '&' (then "#") is
 * held back until the next character shows whether it begins "&#x";
 * StoredWriterFlush writes what is held. */
struct StoredWriter {
    StoredBuffer *out;
    int held; /* 0, 1 ("&") or 2 ("&#") */
};

void StoredWriterInit(StoredWriter *writer, StoredBuffer *out);
/* A code point (surrogates and values above 0x10FFFF become U+FFFD). */
int StoredWriterPut(StoredWriter *writer, unsigned long code_point);
/* A Shift_JIS pair as it is (the caller has checked lead and trail). */
int StoredWriterPutPair(StoredWriter *writer, unsigned char lead, unsigned char trail);
int StoredWriterFlush(StoredWriter *writer);

/* Whether CP932 encodes the code point (NUL and surrogates: no). */
bool IsStorableCodePoint(unsigned long code_point);

/* Appends the stored form of `length` UTF-16 units (pairs combined, a lone
 * surrogate is U+FFFD). 1, or 0 with last error 8. */
int Utf16ToStored(StoredBuffer *out, const char16_t *text, size_t length);

/* Reads `length` stored bytes (a NUL ends them early) into `dst`, which
 * must hold `length` units; returns the units written (no NUL added).
 * Only references to "&" and to characters CP932 cannot encode are
 * decoded; everything else is taken literally. */
size_t StoredToUtf16(const char *stored, size_t length, char16_t *dst);

/* The bytes of the reference `text` begins with (NUL-terminated), or 0
 * when it begins with none. */
size_t StoredReferenceLength(const char *text);

/* The same for a text that need not be NUL-terminated: looks at no more
 * than `available` bytes, and gives the reference's code point. */
size_t StoredReferenceAt(const char *text, size_t available, unsigned long *code_point);

/* The number of bytes of `text` (at most `limit`) that can be kept without
 * splitting a two-byte character or a reference; stops at a NUL. */
size_t StoredCutLength(const char *text, size_t limit);

/* Whether `length` bytes are stored text as this writer makes it: no NUL,
 * every lead byte followed by a trail byte, every "&#x" a reference. */
bool IsWellFormedStoredText(const char *text, size_t length);

#endif
