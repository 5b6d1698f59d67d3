/* The search command as a reader uses it: the dialog filled in and run,
 * a hit opened in the article view, back to the hits, and the text found
 * again inside the article. */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "base/res_text.h"
#include "resources/resource.h"
#include "shell/search_command.h"
#include "support/frame_fixture.h"
#include "support/group_bytes.h"

namespace {

std::vector<std::wstring> LongBody()
{
    std::vector<std::wstring> body = {L"本文に ruby と書きました。"};
    for (int i = 0; i < 40; i++)
        body.push_back(L"つなぎの行です。");
    body.push_back(L"最後の ＲＵＢＹ");
    return body;
}

class SearchTest : public FrameFixture {
protected:
    void SetUp() override
    {
        FrameFixture::SetUp();
        ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\nfj.b\r\n"));
        WriteGroupFiles(data_, L"fj.a",
                        {{L"山田太郎", L"Ruby の質問", "0305", LongBody()},
                         {L"佐藤花子", L"Re: 京都の天気", "0306", {L"晴れ"}},
                         {L"鈴木一郎", L"会議資料", "1224", {L"ruby 資料"}}});
        WriteGroupFiles(data_, L"fj.b", {{L"田中", L"ruby tips", "0101", {L"tips"}}});
        ASSERT_NE(Start(), nullptr);
        SetForegroundWindow(frame_.mainWindow);
    }

    /* In the dialog: the text and places typed and chosen, then 検索, and
     * the messages until the search has ended. */
    static void Find(HWND dialog, const wchar_t *text, bool body, bool every_group)
    {
        SetDlgItemTextW(dialog, IDC_SEARCH_TEXT, text);
        if (body)
            ClickButton(dialog, IDC_SEARCH_BODY);
        ClickButton(dialog, every_group ? IDC_SEARCH_ALL_GROUPS : IDC_SEARCH_THIS_GROUP);
        ClickButton(dialog, IDOK);
        ASSERT_TRUE(PumpUntil([&] { return !IsWindowEnabled(GetDlgItem(dialog, IDC_SEARCH_STOP)); }));
    }
    /* The dialog as the reader sees it (it shows once its loop is idle,
     * which a test working it from inside never lets it be). */
    static void Picture(HWND dialog, const wchar_t *name)
    {
        ShowWindow(dialog, SW_SHOW);
        RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
        SaveScreenshot(dialog, name);
    }
    /* The hits listed: group and subject of each row. */
    static std::vector<std::wstring> Rows(HWND dialog)
    {
        std::vector<std::wstring> rows;
        HWND list = GetDlgItem(dialog, IDC_SEARCH_RESULTS);
        for (int row = 0; row < ListViewRowCount(list); row++)
            rows.push_back(ListViewText(list, row, 0) + L" " + ListViewText(list, row, 1));
        return rows;
    }
    static int Selected(HWND dialog)
    {
        return (int)SendDlgItemMessageW(dialog, IDC_SEARCH_RESULTS, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED);
    }
    /* Enter, as the dialog gets it while the list has the focus. */
    static void Enter(HWND dialog)
    {
        SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), (LPARAM)GetDlgItem(dialog, IDOK));
    }
    /* What the article view tells the frame on Escape (back) or Tab (next). */
    void ArticleNotice(UINT code)
    {
        SendMessageW(frame_.mainWindow, WM_COMMAND, MAKEWPARAM(IDC_ARTICLE_VIEW, code),
                     (LPARAM)frame_.articleView->window);
        PumpPending(); /* the article shown is laid out as it is painted */
    }
    std::wstring ShownSubject()
    {
        for (const DisplayLine *line = frame_.articleView->lines; line && line->text; line++) {
            std::wstring text(line->text, line->length);
            if (text.rfind(L"Subject: ", 0) == 0)
                return text.substr(9);
        }
        return L"";
    }
    uint32_t Flags(const wchar_t *group, int record)
    {
        return ReadU32(FileBytes(data_.file(std::wstring(group) + L".idx")), 100 + 92 * record);
    }
    /* Where the article text has `what`, and its length: the mark expected. */
    std::pair<DWORD, DWORD> Place(const wchar_t *what)
    {
        const wchar_t *text = frame_.articleText.text, *at = wcsstr(text, what);
        return {at ? (DWORD)(at - text) : 0xFFFFFFFF, (DWORD)wcslen(what)};
    }
    /* F3 pressed in the article view, through the frame's accelerators. */
    void F3()
    {
        MSG msg = {frame_.articleView->window, WM_KEYDOWN, VK_F3, 0};
        ASSERT_TRUE(TranslateFrameAccelerator(&frame_, &msg));
    }
    std::pair<DWORD, DWORD> Mark()
    {
        return {frame_.articleView->mark_length ? frame_.articleView->mark_start : 0xFFFFFFFF,
                frame_.articleView->mark_length};
    }
};

TEST_F(SearchTest, TheMenusCarryTheCommands)
{
    EXPECT_NE(GetMenuState(frame_.subjectPopup, IDM_SEARCH, MF_BYCOMMAND), (UINT)-1);
    EXPECT_NE(GetMenuState(frame_.articlePopup, IDM_FIND_NEXT, MF_BYCOMMAND), (UINT)-1);
    /* Search from the group view's menu opens the dialog over it. */
    watcher_.WorkDialogs([](HWND) {});
    Command(IDM_SEARCH);
    EXPECT_EQ(watcher_.dialog_titles(), std::vector<std::wstring>{L"検索"});
    /* Find-next outside the article view does nothing. */
    Command(IDM_FIND_NEXT, 1);
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(SearchTest, AHitOpensInTheArticleViewAndBackShowsTheHitsAgain)
{
    int showing = 0;
    watcher_.WorkDialogs([&](HWND dialog) {
        if (showing++ == 0) {
            /* Full-width, upper case: subjects and bodies of both groups. */
            Find(dialog, L"ＲＵＢＹ", true, true);
            EXPECT_EQ(Rows(dialog), (std::vector<std::wstring>{L"fj.a Ruby の質問", L"fj.a 会議資料",
                                                               L"fj.b ruby tips"}));
            Picture(dialog, L"search-dialog");
            DoubleClickListRow(GetDlgItem(dialog, IDC_SEARCH_RESULTS), 1);
        } else {
            /* Back from the second hit opened: the list as it was. */
            EXPECT_EQ(Rows(dialog).size(), 3u);
            EXPECT_EQ(Selected(dialog), 2);
            ClickButton(dialog, IDCANCEL);
        }
    });
    Command(IDM_SEARCH);
    ASSERT_EQ(frame_.currentView, kArticleView);
    EXPECT_EQ(ShownSubject(), L"会議資料");
    EXPECT_EQ(Flags(L"fj.a", 2), 1u);
    EXPECT_EQ(ListViewText(frame_.groupView->list, 0, 1), L"2");

    ArticleNotice(kArticleNext); /* Tab: the next hit, in the other group */
    ASSERT_EQ(frame_.currentView, kArticleView);
    EXPECT_EQ(ShownSubject(), L"ruby tips");
    EXPECT_EQ(Flags(L"fj.b", 0), 1u);
    EXPECT_EQ(ListViewText(frame_.groupView->list, 1, 1), L"0");

    ArticleNotice(kArticleBack);
    EXPECT_EQ(showing, 2);
    EXPECT_EQ(frame_.currentView, kGroupView);
    EXPECT_EQ(Flags(L"fj.a", 0), 0u);
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(SearchTest, FindNextGoesThroughTheArticleAndBackReturnsToTheGroup)
{
    DoubleClickListRow(frame_.groupView->list, 0);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    int showing = 0;
    watcher_.WorkDialogs([&](HWND dialog) {
        if (showing++ == 0) {
            Find(dialog, L"ruby", true, false); /* this group: fj.a */
            EXPECT_EQ(Rows(dialog), (std::vector<std::wstring>{L"fj.a Ruby の質問", L"fj.a 会議資料"}));
            Enter(dialog);
        } else {
            ClickButton(dialog, IDCANCEL);
        }
    });
    Command(IDM_SEARCH, 1); /* Ctrl+F */
    ASSERT_EQ(frame_.currentView, kArticleView);
    ASSERT_EQ(ShownSubject(), L"Ruby の質問");

    const auto subject = Place(L"Ruby"), first = Place(L"ruby"), last = Place(L"ＲＵＢＹ");
    F3();
    EXPECT_EQ(Mark(), subject);
    Command(IDM_FIND_NEXT, 1);
    EXPECT_EQ(Mark(), first);
    EXPECT_EQ(frame_.articleView->top_line, 0u);
    Command(IDM_FIND_NEXT, 1);
    EXPECT_EQ(Mark(), last);
    EXPECT_GT(frame_.articleView->top_line, 0u); /* scrolled to it */
    SaveScreenshot(frame_.mainWindow, L"article-find-next");
    Command(IDM_FIND_NEXT, 1);
    EXPECT_EQ(Mark().second, 0u);
    wchar_t none[256];
    LoadResText(IDS_SEARCH_NOT_FOUND, none, 256);
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"検索", none, MB_ICONINFORMATION}}));
    Command(IDM_FIND_NEXT); /* from the top again, from the menu */
    EXPECT_EQ(Mark(), subject);

    ArticleNotice(kArticleBack); /* the hits, then the group read again */
    EXPECT_EQ(showing, 2);
    EXPECT_EQ(frame_.currentView, kSubjectView);
    EXPECT_EQ(Flags(L"fj.a", 0), 1u);
    EXPECT_EQ(SubjectViewRowCount(frame_.subjectView), 2u); /* read articles hidden */
}

/* The worker holds at its first hit until Escape has reached the dialog. */
struct HeldSearch {
    HANDLE hit_seen = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE go_on = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ~HeldSearch()
    {
        CloseHandle(hit_seen);
        CloseHandle(go_on);
    }
    static void Hook(void *context)
    {
        HeldSearch *held = (HeldSearch *)context;
        if (WaitForSingleObject(held->hit_seen, 0) == WAIT_OBJECT_0)
            return;
        SetEvent(held->hit_seen);
        WaitForSingleObject(held->go_on, 20000);
    }
};

TEST_F(SearchTest, EscapeStopsTheSearchAndKeepsTheHitsSoFar)
{
    HeldSearch held;
    std::vector<std::wstring> rows, again;
    std::wstring status;
    watcher_.WorkDialogs([&](HWND dialog) {
        frame_.search->session.hit_hook = HeldSearch::Hook;
        frame_.search->session.hit_hook_context = &held;
        SetDlgItemTextW(dialog, IDC_SEARCH_TEXT, L"の");
        ClickButton(dialog, IDC_SEARCH_BODY);
        ClickButton(dialog, IDC_SEARCH_ALL_GROUPS);
        ClickButton(dialog, IDOK);
        ASSERT_TRUE(PumpUntil([&] { return WaitForSingleObject(held.hit_seen, 0) == WAIT_OBJECT_0; }));
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0); /* Escape */
        SetEvent(held.go_on);
        ASSERT_TRUE(PumpUntil([&] { return !IsWindowEnabled(GetDlgItem(dialog, IDC_SEARCH_STOP)); }));
        rows = Rows(dialog);
        status = WindowText(GetDlgItem(dialog, IDC_SEARCH_STATUS));
        /* Escape stopped the search, not the dialog: it searches again. */
        Find(dialog, L"tips", false, true);
        again = Rows(dialog);
        ClickButton(dialog, IDCANCEL);
    });
    Command(IDM_SEARCH);
    EXPECT_EQ(rows, std::vector<std::wstring>{L"fj.a Ruby の質問"});
    EXPECT_EQ(again, std::vector<std::wstring>{L"fj.b ruby tips"});
    wchar_t stopped[256];
    FormatResError(IDS_SEARCH_STOPPED, 1, stopped, 256);
    EXPECT_EQ(status, stopped);
    EXPECT_EQ(frame_.currentView, kGroupView);
    EXPECT_TRUE(watcher_.boxes().empty());
}

} // namespace
