/* Fuzzes the ISO-2022-JP line conversion, whole and in parts. */
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

    free(text);
    return 0;
}
