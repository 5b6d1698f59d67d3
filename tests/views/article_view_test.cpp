#include <gtest/gtest.h>

#include <windows.h>

#include "base/scoped_win.h"
#include "resources/resource.h"
#include "settings/settings.h"
#include "view_parent.h"
#include "views/article_view.h"

namespace {

const COLORREF kHeader = RGB(200, 0, 0), kQuote = RGB(0, 0, 200);

class ArticleViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        static bool registered = RegisterArticleViewClass(GetModuleHandleW(nullptr)) != 0;
        ASSERT_TRUE(registered);
        ASSERT_TRUE(MakeViewFont(L"Tahoma", 14, &font_));
        ArticleViewInit(&view_, &text_);
        RECT rc = {0, 0, 240, 300};
        ASSERT_TRUE(ArticleViewCreate(&view_, GetModuleHandleW(nullptr), parent_.window, IDC_ARTICLE_VIEW, &rc));
        ArticleViewSetLook(&view_, font_, kHeader, kQuote, 0, 0, 0);
        ArticleViewShow(&view_, SW_SHOW);
    }
    void TearDown() override
    {
        ArticleViewRelease(&view_);
        ArticleTextFree(&text_);
        DeleteObject(font_);
    }
    void Show(const std::wstring &text)
    {
        ASSERT_TRUE(ArticleTextSet(&text_, text.c_str()));
        UpdateWindow(view_.window);
    }
    std::wstring Line(DWORD i) { return std::wstring(view_.lines[i].text, view_.lines[i].length); }
    int Width(const std::wstring &text)
    {
        ScopedGetDC dc(view_.window);
        ScopedSelectObject font(dc, font_);
        SIZE size;
        GetTextExtentPoint32W(dc, text.c_str(), (int)text.size(), &size);
        return size.cx;
    }
    /* The display lines from `*next` that make up `logical`; each but the
     * last fills the width: one more unit reaches it. */
    std::vector<DWORD> Wrapped(DWORD *next, const std::wstring &logical)
    {
        std::vector<DWORD> used;
        std::wstring joined;
        while (joined.size() < logical.size() || (logical.empty() && used.empty())) {
            std::wstring line = Line(*next);
            EXPECT_LT(Width(line), 222) << *next;
            if (joined.size() + line.size() < logical.size()) {
                EXPECT_GE(Width(line + logical.substr(joined.size() + line.size(), 1)), 222) << *next;
            }
            joined += line;
            used.push_back((*next)++);
        }
        EXPECT_EQ(joined, logical);
        return used;
    }
    bool HasColour(DWORD row, COLORREF colour)
    {
        ScopedGetDC dc(view_.window);
        for (int y = 1 + 14 * (int)row; y < 15 + 14 * (int)row; y++)
            for (int x = 1; x < 222; x++)
                if (GetPixel(dc, x, y) == colour)
                    return true;
        return false;
    }

    ViewParent parent_;
    HFONT font_ = nullptr;
    ArticleText text_ = {};
    ArticleView view_;
};

TEST_F(ArticleViewTest, LayoutWrapsFiltersAndColoursLines)
{
    const std::wstring subject = L"Subject: 京都の天気予報について会議資料を送ります確認してください";
    const std::wstring body = L"今日は晴れ。東京大阪京都の天気予報を確認して連絡します。資料は明日の会議で";
    const std::wstring quoted = L"> 昨日は雨でした。電車の時間が変わりましたので報告します会議";
    Show(L"Path: a!b\r\nFrom: 山田太郎\r\n" + subject + L"\r\nDate: 5 Mar 2024\r\n\r\n" + body + L"\r\n" + quoted +
         L"\r\n＞ 短い\r\n\f続き\r\n最後め\r\n");
    DWORD next = 0;
    Wrapped(&next, L"From: 山田太郎");
    EXPECT_GE(Wrapped(&next, subject).size(), 2u);
    EXPECT_EQ(view_.header_lines, next); /* From and Subject only */
    Wrapped(&next, L"");
    for (DWORD i : Wrapped(&next, body))
        EXPECT_EQ(view_.lines[i].quote, 0u);
    std::vector<DWORD> quote_lines = Wrapped(&next, quoted);
    EXPECT_GE(quote_lines.size(), 2u);
    for (DWORD i : quote_lines)
        EXPECT_EQ(view_.lines[i].quote, 1u);
    EXPECT_EQ(view_.lines[Wrapped(&next, L"＞ 短い")[0]].quote, 1u);
    /* A form feed is a page of blank lines. */
    for (DWORD i = 0; i < 21; i++)
        EXPECT_EQ(Line(next++), L"");
    Wrapped(&next, L"続き");
    Wrapped(&next, L"最後め"); /* め takes no CR with it (below) */
    for (DWORD i = 0; i < 21; i++)
        EXPECT_EQ(Line(next++), L""); /* the blank page after the text */
    EXPECT_EQ(view_.total_lines, next);

    /* Header lines in the header colour, quotes in the quote colour. */
    EXPECT_TRUE(HasColour(0, kHeader));
    EXPECT_TRUE(HasColour(quote_lines.back(), kQuote));
    EXPECT_FALSE(HasColour(quote_lines[0] - 1, kQuote) || HasColour(quote_lines[0] - 1, kHeader));

    /* Every header line with show-all. */
    ArticleViewSetShowHeaders(&view_, 1);
    UpdateWindow(view_.window);
    next = 0;
    Wrapped(&next, L"Path: a!b");
    Wrapped(&next, L"From: 山田太郎");
    Wrapped(&next, subject);
    Wrapped(&next, L"Date: 5 Mar 2024");
    EXPECT_EQ(view_.header_lines, next);
    ArticleViewSetShowHeaders(&view_, 0);

    /* None but the empty line when the header has neither From nor
     * Subject. */
    Show(L"Path: x\r\n\r\nbody\r\n");
    EXPECT_EQ(view_.header_lines, 0u);
    EXPECT_EQ(Line(0), L"");
    EXPECT_EQ(Line(1), L"body");

    /* A unit whose low byte is a Shift_JIS lead byte (め is U+3081) goes
     * with the unit after it: with room for five pairs and one め, a line
     * holds the five pairs. */
    int width = 5 * Width(L"めい") + Width(L"め") + 1;
    MoveWindow(view_.window, 0, 0, width + 18, 300, TRUE);
    Show(L"\r\nめいめいめいめいめいめいめい\r\n");
    EXPECT_EQ(Line(1), L"めいめいめいめいめい");
}

/* With DecodeCharsets a line breaks only between text clusters; without it
 * a unit whose low byte is a Shift_JIS lead byte still goes with the next
 * one and any other unit stands alone. Each row's width has room for its
 * first `room` units and not for the next one that has a width: marks drawn
 * without advance (U+0301, U+3099) still fit, and stay with their character
 * unless the pair rule ties them to the one after. */
TEST_F(ArticleViewTest, ClustersStayWholeWithDecodeCharsetsAndThePairRuleHoldsWithout)
{
    const struct {
        const wchar_t *text;
        size_t room;
        const wchar_t *by_cluster, *by_pair; /* the first display line */
    } cases[] = {
        {L"ab\U0001F600cd", 3, L"ab", L"ab\xD83D"},
        {L"abe\u0301f", 3, L"abe\u0301", L"abe\u0301"},
        {L"\u3042\u304B\u304B\u3099\u304D", 3, L"\u3042\u304B\u304B\u3099", L"\u3042\u304B\u304B"},
        {L"x1\u20E3y", 2, L"x", L"x1"},
        {L"ab\u2764\uFE0Fc", 3, L"ab", L"ab\u2764"},
        {L"a\U0001F468\u200D\U0001F469b", 4, L"a", L"a\U0001F468\u200D"},
        {L"a\U0001F44D\U0001F3FDb", 3, L"a", L"a\U0001F44D"},
        {L"a\u845B\U000E0100b", 2, L"a", L"a\u845B"},
        {L"a\U0001F44D\U0001F3FBb", 3, L"a", L"a\U0001F44D"},
        {L"\u3081\u3044\u3081\u3044", 3, L"\u3081\u3044\u3081", L"\u3081\u3044"},
    };
    for (const auto &c : cases) {
        std::wstring text = c.text;
        int width = Width(text.substr(0, c.room)) + 1;
        MoveWindow(view_.window, 0, 0, width + 18, 300, TRUE);
        for (int by_cluster : {1, 0}) {
            ArticleViewSetLook(&view_, font_, kHeader, kQuote, 0, 0, by_cluster);
            Show(L"\r\n" + text + L"\r\n");
            EXPECT_EQ(Line(1), by_cluster ? c.by_cluster : c.by_pair) << c.room << " " << by_cluster;
        }
    }
}

TEST_F(ArticleViewTest, KeysScrollByPageOrLineAndMoveOn)
{
    std::wstring text = L"From: a\r\nSubject: b\r\n\r\n";
    for (int i = 0; i < 50; i++)
        text += L"line " + std::to_wstring(i) + L"\r\n";
    Show(text); /* 53 lines and a blank page: 74 */
    /* (line scroll, auto-next, key, top after it, notices) */
    const struct {
        int line, next;
        WPARAM key;
        DWORD top;
        std::vector<UINT> notices;
    } steps[] = {
        {0, 0, VK_NEXT, 19, {}},  {0, 0, VK_SPACE, 38, {}}, {0, 0, VK_RIGHT, 53, {}}, {0, 0, VK_DOWN, 53, {}},
        {0, 0, VK_PRIOR, 34, {}}, {0, 0, VK_UP, 15, {}},    {0, 0, VK_DOWN, 34, {}},  {0, 1, VK_SPACE, 34, {2}},
        {1, 0, VK_DOWN, 35, {}},  {1, 0, VK_UP, 34, {}},    {1, 1, VK_DOWN, 34, {2}}, {1, 1, VK_LEFT, 15, {}},
        {0, 0, VK_TAB, 15, {2}},  {0, 0, VK_RETURN, 15, {2}}, {0, 0, VK_ESCAPE, 15, {1}},
    };
    for (const auto &s : steps) {
        ViewParent::notices().clear();
        view_.line_scroll = s.line;
        view_.auto_next = s.next;
        SendKey(view_.window, s.key);
        UpdateWindow(view_.window);
        EXPECT_EQ(view_.top_line, s.top) << s.key;
        EXPECT_EQ(ViewParent::notices(), s.notices) << s.key;
    }
    /* A line key while the last scroll is not yet painted is dropped. */
    view_.line_scroll = 1;
    view_.auto_next = 0;
    SendKey(view_.window, VK_DOWN);
    SendKey(view_.window, VK_DOWN);
    EXPECT_EQ(view_.top_line, 16u);

    /* A text shorter than a page moves on with the first page key. */
    view_.auto_next = 1;
    Show(L"From: a\r\n\r\nshort\r\n");
    ViewParent::notices().clear();
    SendKey(view_.window, VK_NEXT);
    EXPECT_EQ(ViewParent::notices(), std::vector<UINT>{2});
}

} // namespace
