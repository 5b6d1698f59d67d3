#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/group_bytes.h"
#include "support/registry_fixture.h"

namespace {

const std::vector<GroupArticle> kArticles = {
    {L"山田太郎", L"京都の天気", "0305", {L"今日は晴れ。", L"> 昨日は雨でした", L"明日も晴れ"}},
    {L"佐藤花子", L"Re: 京都の天気", "0306", {L"＞ 今日は晴れ。", L"よかったですね"}},
    {L"鈴木一郎", L"会議資料", "1224", {L"資料を送ります。"}},
};

/* Two conversations, their articles interleaved as they arrived. */
const std::vector<GroupArticle> kThreaded = {
    {L"山田", L"京都の天気", "0305", {L"晴れ"}, 0, "<1@x>"},
    {L"鈴木", L"会議資料", "0305", {L"資料"}, 0, "<2@x>"},
    {L"佐藤", L"Re: 京都の天気", "0306", {L"よかった"}, 0, "<3@x>", "<1@x>"},
    {L"山田", L"Re: 会議資料", "0306", {L"受け取りました"}, 0, "<4@x>", "<2@x>"},
    {L"鈴木", L"Re: Re: 京都の天気", "0307", {L"明日も"}, 0, "<5@x>", "<1@x> <3@x>"},
};

class ReadingTest : public FrameFixture {
protected:
    /* Pelnor open on fj.a's subjects. */
    void SetUp() override
    {
        FrameFixture::SetUp();
        /* Coloured header and quoted lines and a narrow sender column, as
         * the pictures of docs/ show them. */
        const COLORREF header = RGB(0, 64, 160), quote = RGB(0, 128, 0);
        RegSetKeyValueW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, L"HeaderColor", REG_BINARY, &header, 4);
        RegSetKeyValueW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, L"ReferenceLine", REG_BINARY, &quote, 4);
        SetPelnorDword(L"fromWidth", 64, L"SubjectView");
        ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\nfj.b\r\n"));
        stored_ = WriteGroupFiles(data_, L"fj.a", kArticles);
        WriteGroupFiles(data_, L"fj.b", kThreaded);
        ASSERT_NE(Start(), nullptr);
        SetForegroundWindow(frame_.mainWindow);
        DoubleClickListRow(frame_.groupView->list, 0);
        ASSERT_EQ(frame_.currentView, kSubjectView);
    }
    /* A key pressed in the focused pane, then the messages it causes. */
    void Key(WORD vk, bool ctrl = false)
    {
        PressKey(vk, ctrl);
        ASSERT_TRUE(Pump([&] { return GetAsyncKeyState(vk) == 0 && GetQueueStatus(QS_INPUT) == 0; }));
        PumpPending(frame_.mainWindow, frame_.accelerators);
    }
    uint32_t Flags(int record) { return ReadU32(FileBytes(data_.file(L"fj.a.idx")), 100 + 92 * record); }

    std::vector<std::string> stored_;
};

TEST_F(ReadingTest, TabGoesOnPastTheLastArticleBackToTheListWhichFollowsTheViewOptions)
{
    Key(VK_DOWN);
    Key(VK_RETURN);
    Key(VK_TAB);
    ASSERT_EQ(frame_.currentView, kArticleView);
    EXPECT_EQ(frame_.articleView->by_cluster, 1); /* DecodeCharsets, on unless stored off */
    const DisplayLine &subject = frame_.articleView->lines[1];
    EXPECT_EQ(std::wstring(subject.text, subject.length), L"Subject: 会議資料");
    Key(VK_TAB);
    EXPECT_EQ(frame_.currentView, kSubjectView);
    EXPECT_EQ(frame_.subjectView->cursor, 2u);
    EXPECT_EQ(Flags(1), 1u);
    EXPECT_EQ(Flags(2), 1u);
    SaveScreenshot(frame_.mainWindow, L"subject-view");

    Command(IDM_TOGGLE_READ);
    EXPECT_EQ(Flags(2), 0u);
    Command(IDM_TOGGLE_READ);
    Command(IDM_PRIORITY_HIGH); /* nothing is high */
    EXPECT_EQ(SubjectViewRowCount(frame_.subjectView), 0u);
    Command(IDM_PRIORITY_LOW); /* the read articles are left out */
    EXPECT_EQ(SubjectViewRowCount(frame_.subjectView), 1u);
    Command(IDM_VIEW_READ);
    EXPECT_EQ(SubjectViewRowCount(frame_.subjectView), 3u);
    Command(IDM_SUBJECT_BACK);
    EXPECT_EQ(ListViewText(frame_.groupView->list, 0, 1), L"1");
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(ReadingTest, CopyKeyWorksInTheArticleViewOnly)
{
    auto clipboard = [&] {
        std::wstring text;
        if (OpenClipboard(frame_.mainWindow)) {
            HANDLE data = GetClipboardData(CF_UNICODETEXT);
            text = data ? (const wchar_t *)GlobalLock(data) : L"";
            if (data)
                GlobalUnlock(data);
            CloseClipboard();
        }
        return text;
    };
    ASSERT_TRUE(OpenClipboard(frame_.mainWindow) && EmptyClipboard() && CloseClipboard());
    Key('C', true);
    EXPECT_EQ(clipboard(), L"");
    Key(VK_RETURN);
    SaveScreenshot(frame_.mainWindow, L"article-view");
    Key('C', true);
    EXPECT_EQ(Sjis(clipboard()), stored_[0]);
}

TEST_F(ReadingTest, KeywordsResortTheOpenGroup)
{
    Key(VK_DOWN);
    Key(VK_DOWN);
    /* The cursor's subject, high: the open group is filtered and sorted again. */
    watcher_.WorkDialogs([](HWND d) {
        ClickButton(d, IDC_KEYWORD_HIGH);
        ClickButton(d, IDOK);
    });
    Command(IDM_FILTER);
    wchar_t first[64];
    SubjectViewCellText(frame_.subjectView, 0, kColumnSubject, first, 64);
    EXPECT_STREQ(first, L"会議資料");
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(ReadingTest, FailuresAreShownAndTheViewStays)
{
    DeleteFileW(data_.file(L"fj.a.log").c_str());
    Key(VK_RETURN);
    EXPECT_EQ(frame_.currentView, kSubjectView);
    HANDLE locked = CreateFileW(data_.file(L"fj.a.idx").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    Command(IDM_VIEW_READ);
    CloseHandle(locked);
    EXPECT_TRUE(GetMenuState(frame_.subjectPopup, IDM_VIEW_READ, MF_BYCOMMAND) & MF_CHECKED);
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"PELNOR", L"インデックスの初期化に失敗しました(2)", MB_ICONERROR},
                                                    {L"PELNOR", L"表示の切り替えに失敗しました(32)。", MB_ICONERROR}}));
}

/* T shows the open group as threads, remembered; N and P go from thread
 * to thread, the article view's next article follows the thread order and
 * K marks a whole thread read. T again gives the flat list back. */
TEST_F(ReadingTest, ThreadViewReadsConversationsInOrder)
{
    Key(VK_ESCAPE);
    SetFocus(frame_.groupView->list);
    DoubleClickListRow(frame_.groupView->list, 1);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    auto subjects = [&] {
        std::wstring rows;
        for (DWORD row = 0; row < SubjectViewRowCount(frame_.subjectView); row++) {
            wchar_t text[64];
            SubjectViewCellText(frame_.subjectView, row, kColumnSubject, text, 64);
            rows += (rows.empty() ? L"" : L"|") + std::wstring(ArticleListRowDepth(frame_.subjectView->list, row), L'.') + text;
        }
        return rows;
    };
    Key('T');
    EXPECT_TRUE(GetMenuState(frame_.subjectPopup, IDM_THREAD_VIEW, MF_BYCOMMAND) & MF_CHECKED);
    EXPECT_EQ(PelnorValue(L"ThreadView", L"SubjectView"), DwordValue(1));
    EXPECT_EQ(subjects(), L"京都の天気|.京都の天気|..京都の天気|会議資料|.会議資料");
    UpdateWindow(frame_.mainWindow);
    SaveScreenshot(frame_.mainWindow, L"subject-view-threads");
    Key('N');
    EXPECT_EQ(SubjectViewCursorRow(frame_.subjectView), 3u);
    Key('P');
    EXPECT_EQ(SubjectViewCursorRow(frame_.subjectView), 0u);
    Key(VK_RETURN);
    Key(VK_TAB);
    ASSERT_EQ(frame_.currentView, kArticleView);
    const DisplayLine &subject = frame_.articleView->lines[1];
    EXPECT_EQ(std::wstring(subject.text, subject.length), L"Subject: Re: 京都の天気");
    Key(VK_ESCAPE);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    Key('K');
    EXPECT_EQ(SubjectViewCursorRow(frame_.subjectView), 3u);
    std::string index = FileBytes(data_.file(L"fj.b.idx"));
    for (int record : {0, 2, 4})
        EXPECT_EQ(ReadU32(index, 100 + 92 * record), 1u) << record;
    for (int record : {1, 3})
        EXPECT_EQ(ReadU32(index, 100 + 92 * record), 0u) << record;
    Key('T');
    EXPECT_EQ(PelnorValue(L"ThreadView", L"SubjectView"), DwordValue(0));
    EXPECT_EQ(subjects(), L"会議資料|Re: 会議資料");
    EXPECT_TRUE(watcher_.boxes().empty());
}

} // namespace
