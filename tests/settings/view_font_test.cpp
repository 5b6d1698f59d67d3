#include <gtest/gtest.h>
#include <windows.h>

#include "settings/settings.h"

namespace {

LOGFONTW FontOf(HFONT font)
{
    LOGFONTW logfont = {};
    EXPECT_EQ(GetObjectW(font, sizeof(logfont), &logfont), (int)sizeof(logfont));
    return logfont;
}

} // namespace

TEST(MakeViewFont, CreatesTheFontWithExactParameters)
{
    for (LONG size : {14L, 8L, -12L}) {
        HFONT font = nullptr;
        ASSERT_EQ(MakeViewFont(L"ＭＳ ゴシック", size, &font), 1);
        ASSERT_NE(font, nullptr);
        LOGFONTW f = FontOf(font);
        EXPECT_EQ(f.lfHeight, size);
        EXPECT_EQ(f.lfWidth, 0);
        EXPECT_EQ(f.lfEscapement, 0);
        EXPECT_EQ(f.lfOrientation, 0);
        EXPECT_EQ(f.lfWeight, 400);
        EXPECT_EQ(f.lfItalic, 0);
        EXPECT_EQ(f.lfUnderline, 0);
        EXPECT_EQ(f.lfStrikeOut, 0);
        EXPECT_EQ(f.lfCharSet, 1);
        EXPECT_EQ(f.lfOutPrecision, 0);
        EXPECT_EQ(f.lfClipPrecision, 0);
        EXPECT_EQ(f.lfQuality, 0);
        EXPECT_EQ(f.lfPitchAndFamily, 0);
        EXPECT_STREQ(f.lfFaceName, L"ＭＳ ゴシック");
        DeleteObject(font);
    }
}

TEST(MakeViewFont, ReplacesThePreviousFont)
{
    HFONT font = nullptr;
    ASSERT_EQ(MakeViewFont(L"Tahoma", 14, &font), 1);
    HFONT first = font;
    ASSERT_EQ(MakeViewFont(L"Tahoma", 10, &font), 1);
    EXPECT_EQ(GetObjectType(first), 0u);
    EXPECT_EQ(FontOf(font).lfHeight, 10);

    /* -1 leaves no font, and the old one is gone too. */
    HFONT second = font;
    ASSERT_EQ(MakeViewFont(L"Tahoma", -1, &font), 1);
    EXPECT_EQ(font, nullptr);
    EXPECT_EQ(GetObjectType(second), 0u);

    ASSERT_EQ(MakeViewFont(L"", -1, &font), 1);
    EXPECT_EQ(font, nullptr);
}

TEST(MakeViewFont, LongFaceNameIsCutToTheFaceField)
{
    HFONT font = nullptr;
    ASSERT_EQ(MakeViewFont(L"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", 14, &font), 1);
    EXPECT_STREQ(FontOf(font).lfFaceName, L"ABCDEFGHIJKLMNOPQRSTUVWXYZ01234");
    DeleteObject(font);
}
