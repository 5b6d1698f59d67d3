/* Checks and input handling shared by the text fuzz targets. */
#ifndef PELNOR_FUZZ_TEXT_H
#define PELNOR_FUZZ_TEXT_H

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "text/codeconv.h"

#define CHECK(condition) \
    ((condition) ? (void)0 : (fprintf(stderr, "check failed: %s (line %d)\n", #condition, __LINE__), abort()))

/* The input up to its first NUL, in a buffer of exactly that size so that
 * AddressSanitizer sees any read past it. The caller frees it. */
inline char *FuzzText(const uint8_t *data, size_t size, size_t *length)
{
    const uint8_t *nul = (const uint8_t *)memchr(data, 0, size);
    *length = nul ? (size_t)(nul - data) : size;
    char *text = (char *)malloc(*length + 1);
    CHECK(text);
    memcpy(text, data, *length);
    text[*length] = '\0';
    return text;
}

/* A line conversion (ISO-2022-JP, encoded words) into exactly length + 1
 * bytes; the result is never longer than the line. */
inline std::string ConvertLine(void (*convert)(const char *, char *), const char *line, size_t length)
{
    char *converted = (char *)malloc(length + 1);
    CHECK(converted);
    convert(line, converted);
    std::string result(converted);
    free(converted);
    CHECK(result.size() <= length);
    return result;
}

/* Whether the first `length` bytes end on a character boundary: every lead
 * byte among them has its trail byte among them too. */
inline bool EndsOnBoundary(const char *text, size_t length)
{
    size_t end = 0;
    while (end < length)
        end += IsSjisLeadByte((unsigned char)text[end]) ? 2 : 1;
    return end == length;
}

/* Shift_JIS that survives the trip to ISO-2022-JP and back unchanged: no
 * ESC, and every lead byte (within the JIS X 0208 rows) has a valid trail. */
inline bool IsPlainSjis(const char *text, size_t length)
{
    const unsigned char *bytes = (const unsigned char *)text;
    for (size_t i = 0; i < length; i++) {
        if (bytes[i] == 0x1B)
            return false;
        if (IsSjisLeadByte(bytes[i])) {
            if (bytes[i] > 0xEF || i + 1 >= length)
                return false;
            unsigned char trail = bytes[++i];
            if (trail < 0x40 || trail > 0xFC || trail == 0x7F)
                return false;
        }
    }
    return true;
}

#endif
