/*
 * A run killed in the middle against the real INN: pelnor.exe is ended
 * without warning once its index header has been saved on the way, then
 * started again and run to the end. The group must come out exactly as one
 * uninterrupted run leaves it: every article once, none missing.
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <sstream>
#include <string>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/pelnor_process.h"
#include "support/registry_fixture.h"
#include "support/store_bytes.h"

namespace {

class KilledRunTest : public FrameFixture {};

TEST_F(KilledRunTest, KilledMidRunThenRestartedStoresEveryArticleOnce)
{
    const std::wstring inn = WinePathOf(PELNOR_BUILD_DIR "/inn-e2e");
    std::istringstream ports(FileBytes(inn + L"\\ports"));
    int port = 0;
    ports >> port;
    ASSERT_NE(port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
    const std::wstring group = L"fj.test.pelnor";
    const std::string expected_index = FileBytes(inn + L"\\expected\\" + group + L".idx");
    const std::string expected_log = FileBytes(inn + L"\\expected\\" + group + L".log");
    ASSERT_GT(ReadU32(expected_index, 16), 40u) << "expected index of the corpus";

    SeedCompleteSettings(data_.path());
    SetPelnorDword(L"Port", (DWORD)port);
    SetPelnorDword(L"Limit", 1000);
    /* One article at a time: at the stock server's pace the run is still
     * going when the first saved header shows up. */
    SetPelnorDword(L"PipelineDepth", 1, L"Download");
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.test.pelnor\r\n"));
    const std::wstring index_path = data_.file(group + L".idx"), log_path = data_.file(group + L".log");

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
    SaveScreenshot(GetParent(bar), L"progress-dialog"); /* for docs/, not checked */
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
    EXPECT_EQ(watcher_.boxes().back().text, L"ダウンロードが終了しました。");
    DestroyWindow(frame_.mainWindow);

    std::string index = FileBytes(index_path);
    EXPECT_EQ(FileBytes(log_path), expected_log);
    ASSERT_GE(index.size(), 100u);
    EXPECT_EQ(index.substr(100), expected_index.substr(100)) << "records after a run killed at " << kept;
    for (size_t field : {4, 8, 16, 88}) /* last fetched, server's last, records, unread */
        EXPECT_EQ(ReadU32(index, field), ReadU32(expected_index, field)) << "header field at " << field;
}

} // namespace
