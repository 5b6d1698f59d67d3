/* ISO-2022-JP to Shift_JIS. No windows.h: shared with the native build. The
 * way back, which only posting will use, is fuzzed as a round trip. */
#include "text_test.h"

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

TEST(JisLine, SampleCharacters)
{
    for (const JapaneseSample &sample : kJapaneseSamples)
        EXPECT_EQ(LineToSjis("\x1B$B" + std::string(sample.jis) + "\x1B(B"), sample.sjis) << sample.code_point;
}
