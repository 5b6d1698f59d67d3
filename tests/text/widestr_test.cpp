#include <gtest/gtest.h>

#include <malloc.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "japanese_samples.h"
#include "text/codeconv.h"
#include "text/widestr.h"

namespace {

std::wstring Wide(const std::string &text)
{
    wchar_t *wide = ToWide(text.c_str());
    EXPECT_NE(wide, nullptr);
    if (!wide)
        return std::wstring();
    std::wstring result(wide);
    free(wide);
    return result;
}

std::string Narrow(const std::wstring &text)
{
    char *narrow = ToNarrow(text.c_str());
    EXPECT_NE(narrow, nullptr);
    if (!narrow)
        return std::string();
    std::string result(narrow);
    free(narrow);
    return result;
}

/* 日本語 */
const std::string kNihongoSjis = "\x93\xFA\x96\x7B\x8C\xEA";
const wchar_t kNihongo[] = {0x65E5, 0x672C, 0x8A9E, 0};

} // namespace

TEST(WideText, ShiftJisKanjiBecomeTheirCodePoints)
{
    EXPECT_EQ(Wide(kNihongoSjis), kNihongo);
    EXPECT_EQ(Wide("Re: " + kNihongoSjis + "!"), L"Re: " + std::wstring(kNihongo) + L"!");
}

TEST(WideText, EverySampleCharacterBothWays)
{
    std::wstring all;
    for (const JapaneseSample &sample : kJapaneseSamples) {
        SCOPED_TRACE(sample.code_point);
        std::string sjis((const char *)sample.sjis, 2);
        EXPECT_EQ(Wide(sjis), std::wstring(1, (wchar_t)sample.code_point));
        EXPECT_EQ(Narrow(std::wstring(1, (wchar_t)sample.code_point)), sjis);
        all.push_back((wchar_t)sample.code_point);
    }
    EXPECT_EQ(Wide(AllSamplesSjis()), all);
    EXPECT_EQ(Narrow(all), AllSamplesSjis());
}

TEST(WideText, HalfWidthKatakana)
{
    /* ｱﾆｭｰｽﾟ｡ */
    const std::string sjis = "\xB1\xC6\xAD\xB0\xBD\xDF\xA1";
    const wchar_t wide[] = {0xFF71, 0xFF86, 0xFF6D, 0xFF70, 0xFF7D, 0xFF9F, 0xFF61, 0};
    EXPECT_EQ(Wide(sjis), wide);
    EXPECT_EQ(Narrow(wide), sjis);
}

TEST(WideText, EmptyText)
{
    wchar_t *wide = ToWide("");
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(wide[0], L'\0');
    EXPECT_EQ(_msize(wide), sizeof(wchar_t));
    free(wide);

    char *narrow = ToNarrow(L"");
    ASSERT_NE(narrow, nullptr);
    EXPECT_EQ(narrow[0], '\0');
    free(narrow);
}

TEST(WideText, CallerOwnsBuffersOfTheStatedSize)
{
    /* strlen + 1 wide characters; (wcslen + 1) * 2 bytes. */
    wchar_t *wide = ToWide(kNihongoSjis.c_str());
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(_msize(wide), (kNihongoSjis.size() + 1) * sizeof(wchar_t));
    char *narrow = ToNarrow(wide);
    free(wide);
    ASSERT_NE(narrow, nullptr);
    EXPECT_EQ(_msize(narrow), (3u + 1) * 2);
    EXPECT_EQ(std::string(narrow), kNihongoSjis);
    free(narrow);
}

TEST(WideText, DownloadedLineReachesTheScreen)
{
    /* ISO-2022-JP from the network, stored as Shift_JIS, shown as UTF-16. */
    const std::string line = "Re: \x1B$B\x46\x7C\x4B\x5C\x38\x6C\x1B(B \x1B(I\x31\x1B(B";
    char stored[64];
    JisLineToSjis(line.c_str(), stored);
    EXPECT_EQ(Wide(stored), L"Re: " + std::wstring(kNihongo) + L" \xFF71");
}
