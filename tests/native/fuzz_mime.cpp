/* Fuzzes the encoded-word decoder, the encoder and base64: the input is a
 * header line, ISO-2022-JP text as it is, and Shift_JIS to be encoded. */
#include "fuzz_text.h"
#include "text/mime.h"

namespace {

const char kOpening[] = "=?iso-2022-jp?B?";
const size_t kOpeningLength = sizeof(kOpening) - 1;

/* The decoder in the source-first shape of the line helpers. */
void DecodeLine(const char *src, char *dst)
{
    DecodeEncodedWords(dst, src);
}

std::string WithoutModeEscapes(std::string text)
{
    size_t at = 0;
    while ((at = text.find('\x1B', at)) != std::string::npos) {
        if (text.compare(at, 3, "\x1B$B") == 0 || text.compare(at, 3, "\x1B(B") == 0)
            text.erase(at, 3);
        else
            at++;
    }
    return text;
}

/* Encodes `jis` and checks every word; returns the decoded pieces one after
 * another, and their Shift_JIS conversions in *sjis. */
std::string EncodeAndDecode(const char *jis, std::string *sjis)
{
    EncodedWord *list = nullptr;
    CHECK(EncodeAsWords(&list, jis) == 1);
    CHECK(*jis == '\0' || list);
    std::string pieces;
    for (const EncodedWord *word = list; word; word = word->next) {
        size_t length = strnlen(word->text, sizeof(word->text));
        if (length == 0)
            continue;
        CHECK(length <= 80 && length > kOpeningLength + 2 && memcmp(word->text, kOpening, kOpeningLength) == 0 &&
              memcmp(word->text + length - 2, "?=", 2) == 0);
        std::string piece = ConvertLine(DecodeLine, word->text, length);
        CHECK(!piece.empty() && piece.size() <= 25);
        pieces += piece;
        *sjis += ConvertLine(JisLineToSjis, piece.c_str(), piece.size());
    }
    ReleaseWordList(list);
    return pieces;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    size_t length;
    char *text = FuzzText(data, size, &length);

    /* A line without "=?" is copied. */
    std::string decoded = ConvertLine(DecodeLine, text, length);
    if (!strstr(text, "=?"))
        CHECK(decoded == text);

    /* Any bytes in a word of their base64 decode back. */
    size_t base64_size = Base64EncodedSize(length);
    char *word = (char *)malloc(kOpeningLength + base64_size + 2);
    CHECK(word);
    memcpy(word, kOpening, kOpeningLength);
    Base64Encode(text, word + kOpeningLength);
    CHECK(strlen(word + kOpeningLength) == base64_size - 1);
    memcpy(word + kOpeningLength + base64_size - 1, "?=", 3);
    CHECK(ConvertLine(DecodeLine, word, strlen(word)) == text);
    free(word);

    /* Taken as ISO-2022-JP without ESC, the text is only cut into pieces. */
    std::string sjis;
    std::string pieces = EncodeAndDecode(text, &sjis);
    if (!memchr(text, 0x1B, length))
        CHECK(pieces == text);

    /* Taken as Shift_JIS and turned into ISO-2022-JP. */
    char *jis = SjisToJis(text);
    CHECK(jis);
    sjis.clear();
    pieces = EncodeAndDecode(jis, &sjis);
    if (IsPlainSjis(text, length))
        CHECK(WithoutModeEscapes(pieces) == WithoutModeEscapes(jis) && sjis == text);
    free(jis);

    /* Decoding in place gives the same line. */
    DecodeEncodedWords(text, text);
    CHECK(decoded == text);
    free(text);
    return 0;
}
