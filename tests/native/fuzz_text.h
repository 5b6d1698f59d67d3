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

#endif
