#include <malloc.h>
#include <stdlib.h>

#include "text/widestr.h"
#include "text_test.h"

namespace {

/* Both conversions hand over (length + 1) * 2 bytes: strlen + 1 wide
 * characters, or wcslen + 1 pairs of bytes. */
template <typename To, typename From>
std::basic_string<To> Convert(To *(*convert)(const From *), const std::basic_string<From> &text)
{
    To *converted = convert(text.c_str());
    EXPECT_NE(converted, nullptr);
    EXPECT_EQ(converted ? _msize(converted) : 0, (text.size() + 1) * 2);
    std::basic_string<To> result = converted ? converted : std::basic_string<To>(1, '?');
    free(converted);
    return result;
}

} // namespace

TEST(WideText, JapaneseKatakanaAndEmptyTextBothWays)
{
    auto wide = [](const std::string &text) { return Convert(ToWide, text); };
    auto narrow = [](const std::wstring &text) { return Convert(ToNarrow, text); };
    std::wstring all;
    for (const JapaneseSample &sample : kJapaneseSamples) {
        EXPECT_EQ(wide(sample.sjis), std::wstring(1, sample.code_point)) << sample.code_point;
        EXPECT_EQ(narrow(std::wstring(1, sample.code_point)), sample.sjis) << sample.code_point;
        all.push_back(sample.code_point);
    }
    EXPECT_EQ(wide("Re: " + AllSamples(&JapaneseSample::sjis) + "!"), L"Re: " + all + L"!");
    EXPECT_EQ(narrow(all), AllSamples(&JapaneseSample::sjis));

    /* ｱﾆｭｰｽﾟ｡ */
    const std::string katakana = "\xB1\xC6\xAD\xB0\xBD\xDF\xA1";
    const std::wstring wide_katakana = L"\xFF71\xFF86\xFF6D\xFF70\xFF7D\xFF9F\xFF61";
    EXPECT_EQ(wide(katakana), wide_katakana);
    EXPECT_EQ(narrow(wide_katakana), katakana);

    /* The empty text is one NUL either way. */
    EXPECT_EQ(wide(""), L"");
    EXPECT_EQ(narrow(L""), "");
}
