/*
 * Fuzzes the ISO-2022-JP line conversion, the conversion back to
 * ISO-2022-JP and the Shift_JIS cut. Every buffer is exactly as large as the
 * conversions are allowed to use, so AddressSanitizer sees any overrun.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "text/codeconv.h"

#define CHECK(condition)                                                   \
    do {                                                                   \
        if (!(condition)) {                                                \
            fprintf(stderr, "check failed: %s (line %d)\n", #condition, __LINE__); \
            abort();                                                       \
        }                                                                  \
    } while (0)

namespace {

/* Shift_JIS that survives the trip to ISO-2022-JP and back unchanged: no
 * ESC, and every lead byte (within the JIS X 0208 rows) has a valid trail. */
bool IsPlainSjis(const unsigned char *text, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        unsigned char c = text[i];
        if (c == 0x1B)
            return false;
        if (IsSjisLeadByte(c)) {
            if (c > 0xEF || i + 1 >= length)
                return false;
            unsigned char trail = text[i + 1];
            if (trail < 0x40 || trail > 0xFC || trail == 0x7F)
                return false;
            i++;
        }
    }
    return true;
}

void CheckLine(const char *text, size_t length, bool has_escape)
{
    char *line = (char *)malloc(length + 1);
    CHECK(line);
    JisLineToSjis(text, line);
    size_t line_length = strlen(line);
    CHECK(line_length <= length);
    /* Without escapes every byte is copied as it is. */
    if (!has_escape)
        CHECK(line_length == length && memcmp(line, text, length) == 0);
    free(line);
}

void CheckToJis(const char *text, size_t length)
{
    char *jis = SjisToJis(text);
    CHECK(jis);
    size_t jis_length = strlen(jis);
    /* At worst every byte opens an escape of its own; then the closing one. */
    CHECK(jis_length <= length * 4 + 3);
    CHECK(jis_length >= 3 && memcmp(jis + jis_length - 3, "\x1B(B", 3) == 0);

    if (IsPlainSjis((const unsigned char *)text, length)) {
        char *back = (char *)malloc(jis_length + 1);
        CHECK(back);
        JisLineToSjis(jis, back);
        CHECK(strlen(back) == length && memcmp(back, text, length) == 0);
        free(back);
    }
    free(jis);
}

void CheckCut(const char *text, size_t length)
{
    const unsigned char *bytes = (const unsigned char *)text;
    /* Character boundaries: a lead byte with a trail takes two bytes. */
    bool *boundary = (bool *)calloc(length + 1, sizeof(bool));
    CHECK(boundary);
    for (size_t i = 0;;) {
        boundary[i] = true;
        if (i >= length)
            break;
        i += (IsSjisLeadByte(bytes[i]) && i + 1 < length) ? 2 : 1;
    }
    size_t step = length > 16 ? length / 16 : 1;
    for (size_t limit = 0; limit <= length + 1; limit += step) {
        size_t cut = SjisCutLength(text, limit);
        CHECK(cut <= limit && cut <= length);
        CHECK(boundary[cut]);
        if (limit >= length)
            CHECK(cut == length);
        else
            CHECK(cut + 1 >= limit);
    }
    free(boundary);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    /* The text ends at the first NUL, in a buffer of exactly its size. */
    const uint8_t *nul = (const uint8_t *)memchr(data, 0, size);
    size_t length = nul ? (size_t)(nul - data) : size;
    char *text = (char *)malloc(length + 1);
    CHECK(text);
    memcpy(text, data, length);
    text[length] = '\0';

    CheckLine(text, length, memchr(text, 0x1B, length) != nullptr);
    CheckToJis(text, length);
    CheckCut(text, length);

    free(text);
    return 0;
}
