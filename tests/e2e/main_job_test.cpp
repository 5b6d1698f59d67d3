/*
 * The main job as a person does it, against the real INN of the end-to-end
 * fixture (tools/inn/e2e.sh): subscribe from the server's group list, press
 * I, watch the run, and read the counts in the group view. On the way it
 * writes the pictures of docs/ (no test checks them).
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <sstream>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"
#include "support/store_bytes.h"

namespace {

std::wstring InnFolder()
{
    return WinePathOf(PELNOR_BUILD_DIR "/inn-e2e");
}

int OpenReaderPort()
{
    std::istringstream ports(FileBytes(InnFolder() + L"\\ports"));
    int open_port = 0;
    ports >> open_port;
    return open_port;
}

class MainJobTest : public FrameFixture {};

TEST_F(MainJobTest, SubscribeFromTheServerListThenDownloadIntoTheGroupView)
{
    int port = OpenReaderPort();
    ASSERT_NE(port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
    SeedCompleteSettings(data_.path());
    SetPelnorDword(L"Port", (DWORD)port);
    SetPelnorDword(L"Limit", 1000);
    ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    HWND view = frame_.groupView->list;
    ASSERT_EQ(ListViewRowCount(view), 0);

    /* Subscribe: fetch the list, open "fj", tick two groups, OK. */
    watcher_.SetDialogHandler([&](HWND dialog) {
        if (WindowText(dialog) != L"ｸﾞﾙｰﾌﾟの購読/中止")
            return;
        RunSoon([&, dialog] {
            HWND list = GetDlgItem(dialog, IDC_SUBSCRIBE_LIST);
            ClickButton(dialog, IDC_SUBSCRIBE_DOWNLOAD); /* returns when the list has come */
            DoubleClickListRow(list, ListViewRow(list, L"fj"));
            DoubleClickListRow(list, ListViewRow(list, L"fj.test.pelnor"));
            DoubleClickListRow(list, ListViewRow(list, L"fj.comp.pelnor.misc"));
            SaveScreenshot(dialog, L"subscribe-dialog");
            ClickButton(dialog, IDOK);
        });
    });
    /* The list came from the server and both groups are shown (the files
     * are the subscribe and group list tests'). */
    Command(IDM_SUBSCRIBE);
    EXPECT_TRUE(watcher_.boxes().empty());
    ASSERT_EQ(ListViewRowCount(view), 2);

    /* Download: I, then the closing box. */
    SetForegroundWindow(frame_.mainWindow);
    SetFocus(view);
    ASSERT_TRUE(Pump([&] { return GetFocus() == view; }));
    PressKey('I');
    ASSERT_TRUE(PumpUntil([&] { return !watcher_.boxes().empty() && !frame_.runInProgress; }, 120000,
                          frame_.mainWindow, frame_.accelerators));
    EXPECT_EQ(watcher_.boxes().back().caption, L"Disconnect");
    EXPECT_EQ(watcher_.boxes().back().text, L"ダウンロードが終了しました。");

    /* Each row counts every article the corpus holds for the group (the
     * bytes are the protocol tests' against the same server). */
    for (const wchar_t *group : {L"fj.test.pelnor", L"fj.comp.pelnor.misc"}) {
        int row = ListViewRow(view, group);
        ASSERT_GE(row, 0);
        std::string expected = FileBytes(InnFolder() + L"\\expected\\" + group + L".idx");
        ASSERT_GE(expected.size(), 100u) << "expected index of the corpus";
        uint32_t records = ReadU32(expected, 16);
        EXPECT_GT(records, 0u);
        EXPECT_EQ(ListViewText(view, row, 2), std::to_wstring(records));
    }
    SaveScreenshot(frame_.mainWindow, L"group-view-after-run");
}

} // namespace
