/* Fuzzes the ISO-2022-JP line conversion (whole and in parts), the conversion back to
 * ISO-2022-JP and the Shift_JIS cut. */
#include "fuzz_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    size_t length;
    char *text = FuzzText(data, size, &length);

    /* Without escapes every byte of a line is copied as it is. */
    std::string line = ConvertLine(JisLineToSjis, text, length);
    if (!memchr(text, 0x1B, length))
        CHECK(line == text);

    /* A line read in parts converts to the same bytes wherever it is cut,
     * the unconverted rest of each part opening the next. */
    for (size_t cut = 1; cut < length; cut += length / 7 + 1) {
        std::string parts, pending;
        JisLineState state = {0};
        for (size_t at = 0; at < length; at += cut) {
            pending.append(text + at, length - at < cut ? length - at : cut);
            std::string out(pending.size() + 1, '\0');
            size_t done = JisPartToSjis(pending.c_str(), &out[0], &state, at + cut >= length);
            parts += out.c_str();
            pending.erase(0, done);
        }
        CHECK(parts == line);
    }

    /* At worst every byte opens an escape of its own; then the closing one.
     * Plain Shift_JIS comes back unchanged. */
    char *jis = SjisToJis(text);
    CHECK(jis);
    size_t jis_length = strlen(jis);
    CHECK(jis_length <= length * 4 + 3);
    CHECK(jis_length >= 3 && memcmp(jis + jis_length - 3, "\x1B(B", 3) == 0);
    if (IsPlainSjis(text, length))
        CHECK(ConvertLine(JisLineToSjis, jis, jis_length) == text);
    free(jis);

    /* Cuts land on character boundaries; a lead byte last in the text has
     * no trail to lose. */
    size_t step = length > 16 ? length / 16 : 1;
    for (size_t limit = 0; limit <= length + 1; limit += step) {
        size_t cut = SjisCutLength(text, limit);
        CHECK(cut <= limit && cut <= length && (cut == length || EndsOnBoundary(text, cut)));
        CHECK(limit >= length ? cut == length : cut + 1 >= limit);
    }

    free(text);
    return 0;
}
