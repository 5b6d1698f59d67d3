/* Finding a text the way a reader searches (byte-level: also built natively
 * under the sanitizers). Texts are stored bytes, Shift_JIS written out. */
#include <gtest/gtest.h>

#include <string>

#include "filters/text_match.h"

namespace {

/* Where `pattern` is first found in `text` and how long the match is;
 * -1 when it is not. */
std::pair<long, size_t> Find(const std::string &pattern, const std::string &text)
{
    TextPattern compiled;
    EXPECT_EQ(TextPatternCompile(&compiled, pattern.data(), pattern.size()), 1);
    size_t length = 0;
    const char *at = TextPatternFind(&compiled, text.data(), text.data() + text.size(), &length);
    TextPatternFree(&compiled);
    return {at ? (long)(at - text.data()) : -1L, length};
}

const std::string kPad(100, '.'); /* puts a match past the first 64 bytes */

TEST(TextMatch, FoldsWidthCaseAndKanaAndKeepsCharactersWhole)
{
    const struct {
        const char *why;
        std::string pattern, text;
        long at;
        size_t length;
    } rows[] = {
        {"case", "abc", "xxABCxx", 2, 3},
        {"full-width letters for ASCII", "\x82\x60\x82\x61\x82\x62" /* ＡＢＣ */, "xabcx", 1, 3},
        {"ASCII for full-width small letters", "Abc", "\x82\x81\x82\x82\x82\x83", 0, 6},
        {"full-width digits and signs", "(42)", "\x81\x69\x82\x53\x82\x51\x81\x6A", 0, 8},
        {"half-width kana for full-width", "\xC3\xBD\xC4" /* ﾃｽﾄ */, "\x83\x65\x83\x58\x83\x67", 0, 6},
        {"a voiced mark joins its kana", "\x83\x4B" /* ガ */, "x\xB6\xDE", 1, 2},
        {"a kana without its mark is another one", "\x83\x4A" /* カ */, "\xB6\xDE", -1, 0},
        {"a mark alone does not match inside a kana", "\xDE", "\xB6\xDE", -1, 0},
        {"a trail byte is no letter", "A", "\x83\x41" /* ア */, -1, 0},
        {"a pair straddling two characters", "\x82\xA0", "\x88\x82\xA0", -1, 0},
        {"Japanese text", "\x8C\x9F\x8D\xF5" /* 検索 */, "\x82\xB1\x82\xEA\x82\xCD\x8C\x9F\x8D\xF5", 6, 4},
        {"a reference as one character", "&#x1F600;", "a&#x1F600;b", 1, 9},
        {"nothing inside a reference", "x1F", "&#x1F600;", -1, 0},
        {"accented capitals", "&#xC9;t&#xC9;", "&#xE9;T&#xE9;", 0, 13},
        {"Greek capitals", "\x83\x9F" /* Α */, "\x83\xBF" /* α */, 0, 2},
        {"Cyrillic capitals", "\x84\x60" /* Я */, "\x84\x91" /* я */, 0, 2},
        {"a sender's own ampersand", "&", "a&#x26;b", 1, 6},
        {"past the first 64 bytes", "\x82\x60", kPad + "xA", 101, 1},
        {"a pair across the 64-byte mark", "\x8C\x9F", std::string(63, 'a') + "\x8C\x9F", 63, 2},
        {"after a run of lead bytes", "\x9F", "\x88\x9F\x9F" /* 檎 then a lone byte */, 2, 1},
        {"at the very end", "z", kPad + "Z", 100, 1},
        {"not there", "abd", kPad + "abc", -1, 0},
        {"an empty text matches nowhere", "", "abc", -1, 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(Find(row.pattern, row.text), std::make_pair(row.at, row.length)) << row.why;
}

TEST(TextMatch, ByteForByteWhenAsked)
{
    EXPECT_TRUE(TextContains("Re: fj.comp", 11, "fj", 2));
    EXPECT_FALSE(TextContains("FJ", 2, "fj", 2));
    EXPECT_TRUE(TextContains("\x83\x41", 2, "A", 1));
    EXPECT_TRUE(TextContains("x", 1, "", 0));
}

} // namespace
