#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "base/scoped_win.h"
#include "resources/resource.h"
#include "settings/settings.h"
#include "support/group_bytes.h"
#include "support/registry_fixture.h"
#include "view_parent.h"
#include "views/subject_view.h"

namespace {

/* Rows of `count` articles "a0", "a1", ... with the given flags. */
std::vector<GroupArticle> Articles(int count, std::vector<uint32_t> flags = {})
{
    std::vector<GroupArticle> articles;
    for (int i = 0; i < count; i++)
        articles.push_back({L"山田太郎", L"a" + std::to_wstring(i), "0305", {L"body"},
                            i < (int)flags.size() ? flags[i] : 0});
    return articles;
}

class SubjectViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DeletePelnorKey();
        static bool registered = RegisterSubjectViewClass(GetModuleHandleW(nullptr)) != 0;
        ASSERT_TRUE(registered);
        ASSERT_TRUE(MakeViewFont(L"Tahoma", 14, &font_));
        SubjectViewInit(&view_);
    }
    void TearDown() override
    {
        SubjectViewRelease(&view_);
        DeleteObject(font_);
        DeletePelnorKey();
    }
    /* A view with room for ten 14-pixel rows over the group. */
    void Open(const std::vector<GroupArticle> &articles)
    {
        WriteGroupFiles(data_, L"fj.a", articles);
        RECT rc = {0, 0, 240, 162};
        ASSERT_TRUE(SubjectViewCreate(&view_, GetModuleHandleW(nullptr), parent_.window, IDC_SUBJECT_VIEW, &rc,
                                      ViewOptions{0, 1, 0, 0}));
        SubjectViewSetLook(&view_, font_, 0);
        SubjectViewShow(&view_, SW_SHOW);
        ASSERT_TRUE(SubjectViewOpenGroup(&view_, data_.path().c_str(), L"fj.a"));
        UpdateWindow(view_.window);
    }
    void Tap(DWORD row, UINT msg = WM_LBUTTONDOWN)
    {
        SendMessageW(view_.window, msg, MK_LBUTTON, MAKELPARAM(30, view_.rows.top + (int)row * 14 + 2));
    }
    COLORREF Pixel(int x, DWORD row, int y)
    {
        return GetPixel(ScopedGetDC(view_.window), x,
                        view_.rows.top + (int)row * view_.row_height + (view_.row_height - 10) / 2 + y);
    }
    /* Whether a cell of a row holds anything but white. */
    bool Inked(DWORD row, int left, int right)
    {
        ScopedGetDC dc(view_.window);
        int top = view_.rows.top + (int)row * view_.row_height;
        for (int y = top; y < top + view_.row_height; y++)
            for (int x = left; x < right; x++)
                if (GetPixel(dc, x, y) != RGB(255, 255, 255))
                    return true;
        return false;
    }

    TempFolder data_;
    ViewParent parent_;
    HFONT font_ = nullptr;
    SubjectView view_;
};

/* The order of the rows is the article list's, and the reading tests see
 * the options reach it; here the cells and the marks. */
TEST_F(SubjectViewTest, RowsShowTheirCellsAndMarks)
{
    /* a0 normal, a1 high read, a2 low, a3 high, a4 normal read. Shown read:
     * read check, red arrow up, blue arrow down, each 10 x 10 at the marks
     * column (the cursor's row 0 is inverted). */
    Open(Articles(5, {0, 4 | 1, 2, 4, 1}));
    ASSERT_TRUE(SubjectViewSetOptions(&view_, ViewOptions{1, 1, 0, 0}));
    wchar_t text[64];
    SubjectViewCellText(&view_, 0, kColumnDate, text, 64);
    EXPECT_STREQ(text, L"03/05");
    SubjectViewCellText(&view_, 0, kColumnFrom, text, 64);
    EXPECT_STREQ(text, L"山田太郎");
    UpdateWindow(view_.window);
    int marks = view_.rows.left;
    EXPECT_EQ(Pixel(marks + 10 + 4, 1, 1), RGB(208, 32, 32));  /* a3 high */
    EXPECT_EQ(Pixel(marks + 8, 3, 1), RGB(0, 128, 0));        /* a4 read */
    EXPECT_EQ(Pixel(marks + 10 + 4, 4, 1), RGB(0, 64, 192));  /* a2 low */
    EXPECT_EQ(Pixel(marks + 8, 1, 1), RGB(255, 255, 255));    /* a3 unread */
    EXPECT_TRUE(Inked(1, marks + 27, marks + 60));            /* its date */

    /* Without a font nothing but the marks and the cursor is drawn. */
    SubjectViewSetLook(&view_, nullptr, 0);
    UpdateWindow(view_.window);
    EXPECT_FALSE(Inked(1, marks + 27, view_.rows.right));
    EXPECT_EQ(Pixel(marks + 10 + 4, 1, 1), RGB(208, 32, 32));
}

TEST_F(SubjectViewTest, KeysPageAndScrollAsTheyShould)
{
    /* (key, top, cursor, notices) after each key, 25 rows, pages of 10. */
    struct Step {
        WPARAM key;
        DWORD top, cursor;
        std::vector<UINT> notices;
    };
    const Step page_mode[] = {
        {VK_DOWN, 0, 1, {}},   {VK_NEXT, 8, 1, {}},   {VK_RIGHT, 15, 1, {}}, {VK_NEXT, 15, 1, {2}},
        {VK_LEFT, 7, 1, {}},   {VK_UP, 7, 0, {}},     {VK_UP, 0, 7, {}},     {VK_PRIOR, 0, 7, {}},
        {VK_RETURN, 0, 7, {3}}, {VK_SPACE, 0, 7, {3}}, {VK_ESCAPE, 0, 7, {1}},
    };
    Open(Articles(25));
    for (const Step &step : page_mode) {
        ViewParent::notices().clear();
        SendKey(view_.window, step.key);
        UpdateWindow(view_.window);
        EXPECT_EQ(SubjectViewTopRow(&view_), step.top) << step.key;
        EXPECT_EQ(view_.cursor, step.cursor) << step.key;
        EXPECT_EQ(ViewParent::notices(), step.notices) << step.key;
    }
    int low, high;
    GetScrollRange(view_.scroll_bar, SB_CTL, &low, &high);
    EXPECT_EQ(high, 15);

    /* With KeyMode, Down on the page's last row scrolls one row, and a
     * second key before the view was painted again is dropped; Up on the
     * first row likewise. */
    view_.line_scroll = 1;
    Tap(9);
    SendKey(view_.window, VK_DOWN);
    SendKey(view_.window, VK_DOWN);
    EXPECT_EQ(SubjectViewTopRow(&view_), 1u);
    UpdateWindow(view_.window);
    SendKey(view_.window, VK_DOWN);
    EXPECT_EQ(SubjectViewTopRow(&view_), 2u);
    wchar_t subject[64];
    SubjectViewCellText(&view_, view_.cursor, kColumnSubject, subject, 64);
    EXPECT_STREQ(subject, L"a11");
    UpdateWindow(view_.window);
    Tap(0);
    SendKey(view_.window, VK_UP);
    EXPECT_EQ(SubjectViewTopRow(&view_), 1u);
    EXPECT_EQ(view_.cursor, 0u);

    /* A double tap moves the cursor and opens. */
    ViewParent::notices().clear();
    Tap(5, WM_LBUTTONDBLCLK);
    EXPECT_EQ(view_.cursor, 5u);
    EXPECT_EQ(ViewParent::notices(), std::vector<UINT>{3});
}

TEST_F(SubjectViewTest, EmptyListOnlyMovesOnOrBack)
{
    Open({});
    for (WPARAM key : {VK_RETURN, VK_SPACE, VK_NEXT, VK_ESCAPE})
        SendKey(view_.window, key);
    EXPECT_EQ(ViewParent::notices(), (std::vector<UINT>{2, 1}));
    EXPECT_EQ(SubjectViewCurrent(&view_), nullptr);
}

TEST_F(SubjectViewTest, ColumnWidthsAreKept)
{
    SetPelnorDword(L"dateWidth", 50, L"SubjectView");
    /* A double click on a divider fits the sender and subject columns to
     * the longest text on the page ((8 bytes + 1) x 14 / 2 + 4, (2 + 1) x 14
     * / 2 + 4: a10 and a11 are on the next page), any other column to its
     * default; the widths are written when the view goes. */
    Open(Articles(12));
    for (int column : {kColumnFrom, kColumnSubject, kColumnDate}) {
        NMHEADERW nm = {};
        nm.hdr = {view_.header, IDC_SUBJECT_HEADER, (UINT)HDN_DIVIDERDBLCLICKW};
        nm.iItem = column;
        SendMessageW(view_.window, WM_NOTIFY, IDC_SUBJECT_HEADER, (LPARAM)&nm);
    }
    DestroyWindow(view_.window);
    const struct {
        const wchar_t *name;
        DWORD width;
    } widths[] = {{L"markWidth", 25}, {L"dateWidth", 40}, {L"fromWidth", 67}, {L"subjectWidth", 25}};
    for (const auto &w : widths)
        EXPECT_EQ(PelnorValue(w.name, L"SubjectView"), DwordValue(w.width)) << w.name;
}

} // namespace
