/*
 * Finding line ends in the line reader's buffer. A line ends after an LF
 * that follows a CR; a lone LF does not end it.
 *
 * Where the compiler targets SSE2 (64-bit x86, or 32-bit x86 built with
 * -msse2) bytes are compared sixteen at a time. Everywhere else (the
 * devices' ARM, MIPS and SH, plain 32-bit x86), or with
 * PELNOR_PLAIN_BYTE_SEARCH defined, the C runtime's memchr and
 * word-at-a-time arithmetic find the same bytes.
 *
 * Byte-level: no windows.h, so it also builds natively for the sanitizers.
 */
#ifndef PELNOR_LINE_SCAN_H
#define PELNOR_LINE_SCAN_H

#include <stdint.h>
#include <string.h>

#if defined(__SSE2__) && !defined(PELNOR_PLAIN_BYTE_SEARCH)
#define PELNOR_SSE2_BYTE_SEARCH 1
#include <emmintrin.h>
#endif

/* The first LF in [p, end), or null. */
inline const char *FindLf(const char *p, const char *end)
{
#ifdef PELNOR_SSE2_BYTE_SEARCH
    /* The desktop C runtime's memchr (Wine's at least) goes byte by byte,
     * and finding line ends is most of a log scan. */
    const __m128i lfs = _mm_set1_epi8('\n');
    while (end - p >= 16) {
        int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128((const __m128i *)p), lfs));
        if (mask)
            return p + __builtin_ctz((unsigned)mask);
        p += 16;
    }
    for (; p < end; p++)
        if (*p == '\n')
            return p;
    return nullptr;
#else
    return (const char *)memchr(p, '\n', (size_t)(end - p));
#endif
}

/* Bit i set where byte p[i] is `c`, for 64 bytes. The bytes sought are
 * line ends, about one in 64. */
inline uint64_t ByteMask(const char *p, char c)
{
#ifdef PELNOR_SSE2_BYTE_SEARCH
    const __m128i cs = _mm_set1_epi8(c);
    uint64_t mask = 0;
    for (int i = 0; i < 4; i++) {
        __m128i bytes = _mm_loadu_si128((const __m128i *)(p + 16 * i));
        mask |= (uint64_t)(unsigned)_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, cs)) << (16 * i);
    }
    return mask;
#else
    /* Eight bytes at a time. Windows is little-endian on every processor
     * it runs on: byte k of a word is bits 8k to 8k + 7. */
    const uint64_t low7 = 0x7F7F7F7F7F7F7F7Full;
    const uint64_t cs = 0x0101010101010101ull * (unsigned char)c;
    uint64_t mask = 0;
    for (int i = 0; i < 8; i++) {
        uint64_t word;
        memcpy(&word, p + 8 * i, 8);
        uint64_t x = word ^ cs; /* a zero byte where c was */
        /* Top bit of each byte set exactly where x has a zero byte: no
         * carry crosses a byte, unlike the shorter (x - 0x01..) & ~x. */
        uint64_t zero = ~(((x & low7) + low7) | x | low7);
        /* Those eight top bits gathered into the top byte, in byte order;
         * most words have none. */
        if (zero)
            mask |= ((zero >> 7) * 0x0102040810204080ull >> 56) << (8 * i);
    }
    return mask;
#endif
}

/* Looking for one line, the `target_length` bytes at `target` (line end
 * included), in bytes handed over a piece at a time. Nothing is copied, so
 * a line of any length is passed. */
struct LineSkip {
    const char *target;     /* borrowed */
    uint32_t target_length;
    uint32_t count;         /* bytes of the whole lines passed, the target's once found */
    uint32_t carried;       /* bytes of an unfinished line in the pieces before */
    char carried_last;      /* the last of them, or NUL */
    int matches;            /* the carried bytes begin the target */
};

void LineSkipInit(LineSkip *skip, const char *target, uint32_t target_length);

/* The next piece, [p, end). When the target line ends in it, returns the
 * byte just after that line; otherwise null, the line left unfinished at
 * the piece's end being carried over to the next one. */
const char *LineSkipScan(LineSkip *skip, const char *p, const char *end);

/* At the end of the input: an unfinished last line is a line too. 1 when
 * it is the target (count then includes it), else 0. */
int LineSkipEnd(LineSkip *skip);

#endif
