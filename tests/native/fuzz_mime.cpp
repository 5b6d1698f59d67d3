/*
 * Fuzzes the encoded-word decoder, the encoder and base64. The input is
 * decoded as a header line, encoded as ISO-2022-JP text as it is, and
 * taken as Shift_JIS, turned into ISO-2022-JP and encoded; every word must
 * decode back. Buffers are exactly as large as the calls may use, so
 * AddressSanitizer sees any overrun.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "text/codeconv.h"
#include "text/mime.h"

#define CHECK(condition)                                                   \
    do {                                                                   \
        if (!(condition)) {                                                \
            fprintf(stderr, "check failed: %s (line %d)\n", #condition, __LINE__); \
            abort();                                                       \
        }                                                                  \
    } while (0)

namespace {

const char kOpening[] = "=?iso-2022-jp?B?";
const size_t kOpeningLength = sizeof(kOpening) - 1;

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

std::string Decoded(const char *text, size_t length)
{
    char *line = (char *)malloc(length + 1);
    CHECK(line);
    DecodeEncodedWords(text, line);
    size_t line_length = strlen(line);
    CHECK(line_length <= length);
    std::string result(line, line_length);
    free(line);
    return result;
}

std::string WithoutModeEscapes(const std::string &text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); i++) {
        if (text.compare(i, 3, "\x1B$B") == 0 || text.compare(i, 3, "\x1B(B") == 0)
            i += 2;
        else
            result.push_back(text[i]);
    }
    return result;
}

void CheckDecode(const char *text, size_t length)
{
    std::string decoded = Decoded(text, length);
    if (!strstr(text, "=?"))
        CHECK(decoded == text);

    char *in_place = (char *)malloc(length + 1);
    CHECK(in_place);
    memcpy(in_place, text, length + 1);
    DecodeEncodedWords(in_place, in_place);
    CHECK(decoded == in_place);
    free(in_place);
}

void CheckBase64(const char *text, size_t length)
{
    size_t size = Base64EncodedSize(length);
    char *word = (char *)malloc(kOpeningLength + size + 2);
    CHECK(word);
    memcpy(word, kOpening, kOpeningLength);
    Base64Encode(text, word + kOpeningLength);
    CHECK(strlen(word + kOpeningLength) == size - 1);
    memcpy(word + kOpeningLength + size - 1, "?=", 3);
    CHECK(Decoded(word, strlen(word)) == text);
    free(word);
}

/* Encodes `jis` and checks every word; returns the decoded pieces one
 * after another, and their Shift_JIS conversions in *sjis. */
std::string EncodeAndDecode(const char *jis, std::string *sjis)
{
    EncodedWord *list = nullptr;
    CHECK(EncodeAsWords(&list, jis) == 1);
    CHECK(*jis == '\0' || list);
    std::string pieces;
    for (const EncodedWord *word = list; word; word = word->next) {
        size_t length = strnlen(word->text, sizeof(word->text));
        CHECK(length < sizeof(word->text));
        if (length == 0)
            continue;
        CHECK(length <= 80);
        CHECK(length > kOpeningLength + 2);
        CHECK(memcmp(word->text, kOpening, kOpeningLength) == 0);
        CHECK(memcmp(word->text + length - 2, "?=", 2) == 0);
        std::string piece = Decoded(word->text, length);
        CHECK(!piece.empty() && piece.size() <= 25);
        pieces += piece;

        char *line = (char *)malloc(piece.size() + 1);
        CHECK(line);
        JisLineToSjis(piece.c_str(), line);
        *sjis += line;
        free(line);
    }
    ReleaseWordList(list);
    return pieces;
}

void CheckEncode(const char *text, size_t length)
{
    /* The input taken as ISO-2022-JP as it is: without ESC there is only
     * single-byte text, which is cut into pieces and nothing else. */
    std::string unused;
    std::string pieces = EncodeAndDecode(text, &unused);
    if (!memchr(text, 0x1B, length))
        CHECK(pieces == text);

    /* The input taken as Shift_JIS. */
    char *jis = SjisToJis(text);
    CHECK(jis);
    std::string sjis;
    pieces = EncodeAndDecode(jis, &sjis);
    if (IsPlainSjis((const unsigned char *)text, length)) {
        CHECK(WithoutModeEscapes(pieces) == WithoutModeEscapes(jis));
        CHECK(sjis == text);
    }
    free(jis);
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

    CheckDecode(text, length);
    CheckBase64(text, length);
    CheckEncode(text, length);

    free(text);
    return 0;
}
