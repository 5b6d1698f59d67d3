/*
 * ISO-2022-JP <-> Shift_JIS conversion of 8-bit text. Byte-level: no
 * windows.h, so it also builds natively for the sanitizers and fuzzers.
 */
#ifndef PELNOR_CODECONV_H
#define PELNOR_CODECONV_H

#include <stddef.h>

/* True for a Shift_JIS lead byte (0x81-0x9F, 0xE0-0xFC), which is always
 * followed by one trail byte. */
inline bool IsSjisLeadByte(unsigned char c)
{
    return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
}

/* Converts one NUL-terminated ISO-2022-JP line into Shift_JIS. `dst` must
 * hold strlen(src) + 1 bytes; the result is never longer than the source.
 * Every line starts in single-byte mode; malformed input is copied through. */
void JisLineToSjis(const char *src, char *dst);

/* A line too long to hold at once, converted in parts: the mode the last
 * part ended in (a line starts in single-byte mode, 0). */
struct JisLineState {
    int mode;
};

/* Converts the NUL-terminated part `src` of a line into `dst` (strlen(src)
 * + 1 bytes) as JisLineToSjis does, carrying the mode in *state. Unless
 * `last`, stops before the bytes the next part completes (an escape cut by
 * the part's end, or the first byte of a two-byte pair): returns how many
 * bytes of `src` were converted; the rest begins the next part. */
size_t JisPartToSjis(const char *src, char *dst, JisLineState *state, int last);

/* Converts 8-bit Shift_JIS text to ISO-2022-JP, ending with ESC ( B.
 * Returns a new text the caller frees with free(), or null with last error 8. */
char *SjisToJis(const char *text);

/* The standard JIS X 0208 <-> Shift_JIS pair mappings. */
void JisPairToSjis(unsigned char j1, unsigned char j2, unsigned char *s1, unsigned char *s2);
void SjisPairToJis(unsigned char s1, unsigned char s2, unsigned char *j1, unsigned char *j2);

/* The number of bytes of `text` (at most `limit`) that can be kept without
 * separating a lead byte from its trail byte; stops at a NUL. */
size_t SjisCutLength(const char *text, size_t limit);

#endif
