/* ISO-2022-JP <-> Shift_JIS. No windows.h: shared with the native build. */
#include <stdlib.h>

#include "text_test.h"

namespace {

std::string ToJis(const std::string &text)
{
    std::vector<char> source(text.c_str(), text.c_str() + text.size() + 1); /* exactly its size */
    char *jis = SjisToJis(source.data());
    EXPECT_NE(jis, nullptr);
    std::string result = jis ? jis : "";
    free(jis);
    return result;
}

} // namespace

TEST(JisLine, Conversions)
{
    const std::string euc = "\xC6\xFC\xCB\xDC\xB8\xEC"; /* 日本語 */
    const Conversion lines[] = {
        {"\x1B$B\x30\x21\x1B(B", "\x88\x9F"},
        {"Re: \x1B$B" + kNihongoJis + "\x1B(B test\r\n", "Re: " + kNihongoSjis + " test\r\n"},
        /* Every escape into two-byte mode and out of it: "0!" is a pair only
         * in two-byte mode. */
        {"a\x1B$@0!", "a\x88\x9F"}, {"a\x1BK0!", "a\x88\x9F"},
        {"\x1B$B0!\x1B(B0!", "\x88\x9F" "0!"}, {"\x1B$B0!\x1B(J0!", "\x88\x9F" "0!"},
        {"\x1B$B0!\x1B(H0!", "\x88\x9F" "0!"}, {"\x1B$B0!\x1BH0!", "\x88\x9F" "0!"},
        /* Half-width katakana get the top bit (ﾆｭｰｽ); modes switch within a line. */
        {"\x1B(I1", "\xB1"}, {"\x1B(IF-0=\x1B(B!", "\xC6\xAD\xB0\xBD!"},
        {"A\x1B(I1\x1B$B0!\x1B(I2\x1B(BB", "A\xB1\x88\x9F\xB2" "B"},
        /* Unknown escapes, also cut off by the end, are ordinary bytes. */
        {"a\x1B(Zb\x1B$Ab\x1Bxb", "a\x1B(Zb\x1B$Ab\x1Bxb"},
        {"ab\x1B", "ab\x1B"}, {"ab\x1B$", "ab\x1B$"}, {"ab\x1B(", "ab\x1B("}, {"\x1B$B\x1B" "0!", "\x1B\x88\x9F"},
        /* EUC-JP pairs in two-byte mode (outside it, as every byte without
         * an escape, they are copied: the fuzz target checks that). */
        {"\x1B$B" + euc + "\x1B(B", kNihongoSjis},
        {"\x1B$B0!" + euc + "0!", "\x88\x9F" + kNihongoSjis + "\x88\x9F"},
        /* Unpaired JIS and EUC bytes are copied with their neighbour; other
         * bytes stand alone; a NUL in second position ends the line. */
        {"\x1B$B\x30 0!\x30\xC6" "0!", "\x30 \x88\x9F\x30\xC6\x88\x9F"},
        {"\x1B$B\xC6\x41" "0!\xC6\xFF" "0!", "\xC6\x41\x88\x9F\xC6\xFF\x88\x9F"},
        {"\x1B$B\x01\x09" "0!\r\n\x7F\x80\x9F\xA0\xFF" "0! 0!",
         "\x01\x09\x88\x9F\r\n\x7F\x80\x9F\xA0\xFF\x88\x9F \x88\x9F"},
        {"\x1B$B0!0", "\x88\x9F" "0"}, {"\x1B$B0!\xC6", "\x88\x9F\xC6"},
        /* A line ending in two-byte mode. */
        {"\x1B$B" + kNihongoJis + "\r\n", kNihongoSjis + "\r\n"},
    };
    for (const Conversion &line : lines)
        EXPECT_EQ(LineToSjis(line.from), line.to) << "row " << &line - lines;
}

TEST(JisLine, SampleCharactersBothWays)
{
    std::string mixed;
    for (const JapaneseSample &sample : kJapaneseSamples) {
        SCOPED_TRACE(sample.code_point);
        const std::string jis = "\x1B$B" + std::string(sample.jis) + "\x1B(B";
        EXPECT_EQ(LineToSjis(jis), sample.sjis);
        EXPECT_EQ(ToJis(sample.sjis), jis);
        mixed += sample.sjis + std::string(" \xB1") + sample.sjis + "x";
    }
    EXPECT_EQ(LineToSjis(ToJis(mixed)), mixed);
}

TEST(SjisToJis, Conversions)
{
    const Conversion texts[] = {
        {"", "\x1B(B"}, {"Hello, world", "Hello, world\x1B(B"},
        {"Re: " + kNihongoSjis + " test", "Re: \x1B$B" + kNihongoJis + "\x1B(B test\x1B(B"},
        {"a" + kNihongoSjis + "b" + kNihongoSjis, "a\x1B$B" + kNihongoJis + "\x1B(Bb\x1B$B" + kNihongoJis + "\x1B(B"},
        /* Half-width katakana stay single bytes. */
        {kNihongoSjis + "\xB1\xC6\xDF", "\x1B$B" + kNihongoJis + "\x1B(B\xB1\xC6\xDF\x1B(B"},
        /* Trails below 0x40, above 0xFC or 0x7F are copied with their lead;
         * 0x40 and 0xFC convert. */
        {"\x88\x01\x88\x30\x88\x3F\x88\x7F\x88\xFD\x88\xFF\x81\x40\x88\xFC",
         "\x1B$B\x88\x01\x88\x30\x88\x3F\x88\x7F\x88\xFD\x88\xFF!!0~\x1B(B"},
        /* A lead byte cut off by the end; beyond row 0x7E the pair wraps. */
        {"A\x88", "A\x1B$B\x88\x1B(B"}, {"\xF0\x40\xFC\xFC", "\x1B$B\x7F!\x98~\x1B(B"},
    };
    for (const Conversion &text : texts)
        EXPECT_EQ(ToJis(text.from), text.to) << "row " << &text - texts;

    /* Growing past 256 bytes: ASCII, its closing escape and the NUL fill them
     * at 252; 248 bytes and a pair leave 3 for the closing 4. */
    for (size_t length : {252u, 253u, 1000u})
        EXPECT_EQ(ToJis(std::string(length, 'x')), std::string(length, 'x') + "\x1B(B") << length;
    EXPECT_EQ(ToJis(std::string(248, 'x') + "\x88\x9F"), std::string(248, 'x') + "\x1B$B0!\x1B(B");
    std::string sjis;
    std::string jis;
    for (int i = 0; i < 100; i++) {
        sjis += "a" + kNihongoSjis;
        jis += (i ? "\x1B(Ba\x1B$B" : "a\x1B$B") + kNihongoJis;
    }
    EXPECT_EQ(ToJis(sjis), jis + "\x1B(B");
}
