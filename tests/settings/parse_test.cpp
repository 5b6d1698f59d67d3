#include <gtest/gtest.h>
#include <windows.h>

#include "settings/settings.h"

TEST(ParseDecimal, AcceptsDigitsOnly)
{
    DWORD value = 99;
    EXPECT_EQ(ParseDecimal(L"", &value), 1);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(ParseDecimal(L"119", &value), 1);
    EXPECT_EQ(value, 119u);
    EXPECT_EQ(ParseDecimal(L"0080", &value), 1);
    EXPECT_EQ(value, 80u);
    EXPECT_EQ(ParseDecimal(L"123456", &value), 1);
    EXPECT_EQ(value, 123456u);
    EXPECT_EQ(ParseDecimal(L"4294967295", &value), 1);
    EXPECT_EQ(value, 4294967295u);

    for (const wchar_t *text : {L"80a", L" 80", L"80 ", L"\t80", L"8 0", L"-1", L"+1", L"８０", L"0x10", L" "}) {
        value = 99;
        SetLastError(0);
        EXPECT_EQ(ParseDecimal(text, &value), 0);
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);
        EXPECT_EQ(value, 99u);
    }
}

TEST(ParseDecimal, WrapsWithoutAnOverflowCheck)
{
    DWORD value = 99;
    EXPECT_EQ(ParseDecimal(L"4294967296", &value), 1);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(ParseDecimal(L"99999999999", &value), 1);
    EXPECT_EQ(value, 1215752191u); /* 99999999999 mod 2^32 */
}

TEST(StripTrailingBackslashes, RemovesEveryTrailingBackslash)
{
    struct {
        const wchar_t *in;
        const wchar_t *out;
    } cases[] = {
        {L"\\Storage\\news\\\\\\", L"\\Storage\\news"},
        {L"\\Storage\\news\\", L"\\Storage\\news"},
        {L"\\Storage\\news", L"\\Storage\\news"},
        {L"\\", L""},
        {L"\\\\", L""},
        {L"", L""},
        {L"C:\\", L"C:"},
        {L"\\表\\", L"\\表"},
    };
    for (const auto &c : cases) {
        wchar_t text[64];
        wcscpy(text, c.in);
        StripTrailingBackslashes(text);
        EXPECT_STREQ(text, c.out);
    }
}
