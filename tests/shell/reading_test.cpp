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

class ReadingTest : public FrameFixture {
protected:
    void Start()
    {
        ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\nfj.b\r\n"));
        stored_ = WriteGroupFiles(data_, L"fj.a", kArticles);
        WriteGroupFiles(data_, L"fj.b", {});
        ASSERT_NE(FrameFixture::Start(), nullptr);
        subject_ = frame_.subjectView;
        article_ = frame_.articleView;
        SetForegroundWindow(frame_.mainWindow);
    }
    /* A key pressed in the focused pane, then the messages it causes. */
    void Key(WORD vk, bool ctrl = false)
    {
        PressKey(vk, ctrl);
        ASSERT_TRUE(Pump([&] { return GetAsyncKeyState(vk) == 0 && GetQueueStatus(QS_INPUT) == 0; }));
        PumpPending(frame_.mainWindow, frame_.accelerators);
    }
    std::wstring Cell(DWORD row, int column)
    {
        wchar_t text[64];
        SubjectViewCellText(subject_, row, column, text, 64);
        return text;
    }
    std::wstring Line(DWORD index)
    {
        const DisplayLine &l = article_->lines[index];
        return std::wstring(l.text, l.length);
    }
    uint32_t Flags(int record) { return ReadU32(FileBytes(data_.file(L"fj.a.idx")), 100 + 92 * record); }

    std::vector<std::string> stored_;
    SubjectView *subject_ = nullptr;
    ArticleView *article_ = nullptr;
};

TEST_F(ReadingTest, OpenAGroupReadItsArticlesInOrderAndGoBack)
{
    Start();
    HWND list = frame_.groupView->list;
    SetFocus(list);
    Key(VK_RETURN);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    EXPECT_TRUE(IsWindowVisible(subject_->window) && IsWindowVisible(frame_.subjectMenuBar));
    EXPECT_FALSE(IsWindowVisible(list));
    EXPECT_EQ(GetFocus(), subject_->window);
    EXPECT_EQ(Cell(0, kColumnSubject), L"京都の天気");
    EXPECT_EQ(Cell(2, kColumnDate), L"12/24");
    SaveScreenshot(frame_.mainWindow, L"reading-subject-view");

    Key(VK_RETURN);
    ASSERT_EQ(frame_.currentView, kArticleView);
    EXPECT_EQ(Flags(0), 1u);
    EXPECT_EQ(Line(0), L"From: 山田太郎");
    EXPECT_EQ(Line(1), L"Subject: 京都の天気");
    EXPECT_EQ(Line(2), L"");
    EXPECT_EQ(Line(3), L"今日は晴れ。");
    SaveScreenshot(frame_.mainWindow, L"reading-article-view");

    Key(VK_TAB);
    EXPECT_EQ(Flags(1), 1u);
    EXPECT_EQ(Line(1), L"Subject: Re: 京都の天気");
    Key(VK_ESCAPE);
    EXPECT_EQ(frame_.currentView, kSubjectView);
    Key(VK_ESCAPE);
    EXPECT_EQ(frame_.currentView, kGroupView);
    EXPECT_EQ(ListViewText(list, 0, 1), L"1");
    EXPECT_EQ(ReadU32(FileBytes(data_.file(L"fj.a.idx")), 88), 1u);
    EXPECT_TRUE(watcher_.boxes().empty());
}

} // namespace
