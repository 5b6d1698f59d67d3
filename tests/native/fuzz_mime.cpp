/* Fuzzes the encoded-word decoder: the input is a header line. */
#include "fuzz_text.h"
#include "text/mime.h"

namespace {

/* The decoder in the source-first shape of the line helpers. */
void DecodeLine(const char *src, char *dst)
{
    DecodeEncodedWords(dst, src);
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

    /* Decoding in place gives the same line. */
    DecodeEncodedWords(text, text);
    CHECK(decoded == text);
    free(text);
    return 0;
}
