/*
 * The whole program against the real INN of the end-to-end fixture
 * (tools/inn/e2e.sh): the main job as a person does it, and a run killed in
 * the middle. On the way they write the pictures of docs/ (no test checks
 * them).
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <stdlib.h>

#include <string>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/pelnor_process.h"
#include "support/registry_fixture.h"
#include "support/store_bytes.h"

namespace {

/* Settings for the INN's reader port over the data folder. */
class InnTest : public FrameFixture {
protected:
    void SetUp() override
    {
        FrameFixture::SetUp();
        int port = atoi(FileBytes(inn_ + L"\\ports").c_str()); /* the reader port comes first */
        ASSERT_NE(port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
        SeedCompleteSettings(data_.path());
        SetPelnorDword(L"Port", (DWORD)port);
        SetPelnorDword(L"Limit", 1000);
    }
    /* The group's files as one uninterrupted run of the fixture leaves them. */
    std::string Expected(const std::wstring &file) { return FileBytes(inn_ + L"\\expected\\" + file); }

    const std::wstring inn_ = WinePathOf(PELNOR_BUILD_DIR "/inn-e2e");
};

/* Subscribe from the server's group list, press I, watch the run, and read
 * the counts in the group view. */
TEST_F(InnTest, SubscribeFromTheServerListThenDownloadIntoTheGroupView)
{
    ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    HWND view = frame_.groupView->list;

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
    EXPECT_EQ(watcher_.seen().back(), SeenBox(L"Disconnect", L"ダウンロードが終了しました。", 0));

    /* Each row counts every article the corpus holds for the group (the
     * bytes are the protocol tests' against the same server). */
    for (const wchar_t *group : {L"fj.test.pelnor", L"fj.comp.pelnor.misc"}) {
        int row = ListViewRow(view, group);
        std::string expected = Expected(group + std::wstring(L".idx"));
        ASSERT_GE(expected.size(), 100u) << "expected index of the corpus";
        EXPECT_EQ(ListViewText(view, row, 2), std::to_wstring(ReadU32(expected, 16)));
    }
    SaveScreenshot(frame_.mainWindow, L"group-view-after-run");
}

/* pelnor.exe is ended without warning once its index header has been saved
 * on the way, then started again and run to the end. The group must come
 * out exactly as one uninterrupted run leaves it: every article once, none
 * missing. */
TEST_F(InnTest, KilledMidRunThenRestartedStoresEveryArticleOnce)
{
    const std::wstring group = L"fj.test.pelnor";
    const std::string expected_index = Expected(group + L".idx");
    ASSERT_GT(ReadU32(expected_index, 16), 40u) << "expected index of the corpus";
    /* One article at a time: at the stock server's pace the run is still
     * going when the first saved header shows up. */
    SetPelnorDword(L"PipelineDepth", 1, L"Download");
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.test.pelnor\r\n"));
    const std::wstring index_path = data_.file(group + L".idx");

    ASSERT_EQ(PelnorFrames().count, 0) << "another frame is open";
    PelnorProcess pelnor = StartPelnor();
    ASSERT_NE(pelnor.handle, nullptr);
    ASSERT_TRUE(PumpUntil([] { return PelnorFrames().count == 1; }, 30000));
    PostMessageW(PelnorFrames().last, WM_COMMAND, IDM_GET_ARTICLES, 0);
    /* The bar moves once per stored article and the header is saved after
     * every 20th, before the next step: past 20 the run has saved once. */
    HWND bar = nullptr;
    ASSERT_TRUE(PumpUntil(
        [&] {
            HWND dialog = FindWindowW(nullptr, L"Articles");
            bar = dialog ? GetDlgItem(dialog, IDC_PROGRESS_BAR) : nullptr;
            return bar && SendMessageW(bar, PBM_GETPOS, 0, 0) > 20;
        },
        60000));
    SaveScreenshot(GetParent(bar), L"progress-dialog");
    TerminateProcess(pelnor.handle, 9);
    ASSERT_EQ(ExitCodeAfter(pelnor.handle, 30000), 9u);
    CloseHandle(pelnor.handle);
    const uint32_t kept = ReadU32(FileBytes(index_path), 4);
    ASSERT_GE(kept, 20u);
    ASSERT_LT(kept, ReadU32(expected_index, 4)) << "the run ended before it was killed";

    /* Started again: the rest of the group follows what was kept. */
    ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    Command(IDM_GET_ARTICLES);
    ASSERT_TRUE(PumpUntil([&] { return !watcher_.boxes().empty() && !frame_.runInProgress; }, 120000,
                          frame_.mainWindow, frame_.accelerators));
    DestroyWindow(frame_.mainWindow);

    std::string index = FileBytes(index_path);
    EXPECT_EQ(FileBytes(data_.file(group + L".log")), Expected(group + L".log"));
    ASSERT_GE(index.size(), 100u);
    EXPECT_EQ(index.substr(100), expected_index.substr(100)) << "records after a run killed at " << kept;
    for (size_t field : {4, 8, 16, 88}) /* last fetched, server's last, records, unread */
        EXPECT_EQ(ReadU32(index, field), ReadU32(expected_index, field)) << "header field at " << field;
}

} // namespace
