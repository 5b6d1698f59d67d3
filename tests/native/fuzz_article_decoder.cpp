/* Fuzzes the article decoder: the input is an article (header lines up to
 * a blank line, then body lines), its first byte choosing how the body
 * lines are cut into parts. Whatever comes in, every piece of output is
 * stored text, and the output does not depend on the cutting; stored text
 * read back to UTF-16 and written again is the same text. */
#include "fuzz_text.h"
#include "text/article_decoder.h"
#include "text/stored_text.h"

#include <vector>

namespace {

/* One piece of output, checked, then taken. */
void Take(ArticleDecoder *decoder, std::string *all)
{
    const char *data = decoder->out.data ? decoder->out.data : "";
    CHECK(strlen(data) == decoder->out.used);
    CHECK(IsWellFormedStoredText(data, decoder->out.used));
    all->append(data, decoder->out.used);
    ArticleDecoderTake(decoder);
}

std::string Decode(const uint8_t *data, size_t size, size_t part)
{
    ArticleDecoder decoder;
    ArticleDecoderInit(&decoder);
    CHECK(ArticleDecoderReset(&decoder) == 1);
    std::string all;
    bool head = true;
    size_t at = 0;
    while (at < size) {
        const uint8_t *lf = (const uint8_t *)memchr(data + at, '\n', size - at);
        size_t end = lf ? (size_t)(lf - data) + 1 : size;
        /* The line in a buffer of its own size, so reads past it show. */
        std::vector<char> line(data + at, data + end);
        at = end;
        if (head && (line == std::vector<char>{'\r', '\n'} || line == std::vector<char>{'\n'})) {
            CHECK(ArticleDecoderFinishHeaders(&decoder) == 1);
            Take(&decoder, &all);
            head = false;
            continue;
        }
        if (head) {
            CHECK(ArticleDecoderHeaderLine(&decoder, line.data(), line.size()) == 1);
            Take(&decoder, &all);
            continue;
        }
        for (size_t from = 0; from < line.size(); from += part) {
            size_t n = line.size() - from < part ? line.size() - from : part;
            std::vector<char> piece(line.begin() + from, line.begin() + from + n);
            CHECK(ArticleDecoderBodyLine(&decoder, piece.data(), n, from + n == line.size()) == 1);
            Take(&decoder, &all);
        }
    }
    if (head) {
        CHECK(ArticleDecoderFinishHeaders(&decoder) == 1);
        Take(&decoder, &all);
    }
    CHECK(ArticleDecoderFinish(&decoder) == 1);
    Take(&decoder, &all);
    ArticleDecoderRelease(&decoder);
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    size_t part = 1 + data[0] % 16;
    data++, size--;
    /* NUL ends a line read from the server. */
    const uint8_t *nul = (const uint8_t *)memchr(data, 0, size);
    if (nul)
        size = (size_t)(nul - data);

    std::string cut = Decode(data, size, part);
    CHECK(cut == Decode(data, size, 1024));

    /* Stored text to UTF-16 and back. */
    std::vector<char16_t> wide(cut.size() + 1);
    size_t units = StoredToUtf16(cut.data(), cut.size(), wide.data());
    CHECK(units <= cut.size());
    StoredBuffer again;
    StoredBufferInit(&again);
    CHECK(Utf16ToStored(&again, wide.data(), units) == 1);
    std::vector<char16_t> wide_again(again.used + 1);
    size_t units_again = StoredToUtf16(again.data ? again.data : "", again.used, wide_again.data());
    CHECK(units_again == units && memcmp(wide.data(), wide_again.data(), units * sizeof(char16_t)) == 0);
    StoredBufferRelease(&again);

    /* A cut never splits a character or a reference. */
    size_t limit = size % (cut.size() + 1);
    size_t kept = StoredCutLength(cut.c_str(), limit);
    CHECK(kept <= limit && IsWellFormedStoredText(cut.data(), kept));
    return 0;
}
