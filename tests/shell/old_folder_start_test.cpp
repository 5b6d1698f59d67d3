/*
 * Pelnor started as a user starts it: on a data folder that older versions
 * of the program wrote, every index is brought to the current version before
 * the group view shows them (the converted bytes themselves are checked by
 * the store's tests); on many groups, listed at once; and a second time.
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <string>

#include "store/sjis_samples.h"
#include "support/gui_helper.h"
#include "support/old_indexes.h"
#include "support/pelnor_process.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

TEST(OldDataFolder, StartConvertsEveryIndexAndTheViewShowsThem)
{
    ASSERT_EQ(PelnorFrames().count, 0) << "another frame is open";
    DeletePelnorKey();
    TempFolder data;
    SeedCompleteSettings(data.path());
    ASSERT_TRUE(WriteFileBytes(data.file(L"group.dat"), "fj.v1\r\nfj.v2\r\nfj.v3\r\nfj.v4\r\nfj.lost\r\n"));
    for (const wchar_t *group : {L"fj.v1", L"fj.v2", L"fj.v3", L"fj.v4", L"fj.lost"})
        ASSERT_TRUE(WriteFileBytes(data.file(std::wstring(group) + L".log"), OldLog()));
    ASSERT_TRUE(WriteFileBytes(data.file(L"fj.v1.idx"), OldTextIndex(SJIS_NIHONGO " ok")));
    for (uint32_t version = 2; version <= 4; version++)
        ASSERT_TRUE(WriteFileBytes(data.file(L"fj.v" + std::to_wstring(version) + L".idx"), OldIndex(version)));
    /* fj.lost has its log but lost its index: the records come back from
     * the log, and last fetched from its highest article number. */

    PelnorProcess pelnor = StartPelnor();
    ASSERT_NE(pelnor.handle, nullptr);
    ASSERT_EQ(WaitForInputIdle(pelnor.handle, 30000), 0u);
    ASSERT_TRUE(PumpUntil([] { return PelnorFrames().count == 1; }, 30000));
    HWND frame = PelnorFrames().last;
    HWND list = FindWindowExW(frame, nullptr, WC_LISTVIEWW, nullptr);

    /* Rows in group.dat's order: name, unread, articles, status, last
     * fetched, server's last. */
    const wchar_t *rows[5][6] = {
        {L"fj.v1", L"3", L"3", L"日本語 ok", L"34", L"40"}, {L"fj.v2", L"1", L"3", L"old", L"34", L"40"},
        {L"fj.v3", L"1", L"3", L"old", L"34", L"40"},       {L"fj.v4", L"1", L"3", L"old", L"34", L"40"},
        {L"fj.lost", L"3", L"3", L"", L"34", L"0"},
    };
    ASSERT_EQ(ListViewRowCount(list), 5);
    for (int row = 0; row < 5; row++)
        for (int column = 0; column < 6; column++)
            EXPECT_EQ(RemoteListViewText(pelnor.handle, list, row, column), rows[row][column])
                << "row " << row << " column " << column;
    SaveScreenshot(frame, L"old-folder-started");

    PostMessageW(frame, WM_CLOSE, 0, 0);
    EXPECT_EQ(ExitCodeAfter(pelnor.handle, 30000), 0u);
    CloseHandle(pelnor.handle);
    DeletePelnorKey();
}

/* A first start on a folder of many groups lists every group by the time
 * the frame waits for input, and answers while the indexes are made after
 * that, in the background. */
TEST(ManyGroupsStart, FrameListsEveryGroupAndAnswersWhileTheIndexesAreMade)
{
    ASSERT_EQ(PelnorFrames().count, 0) << "another frame is open";
    DeletePelnorKey();
    TempFolder data;
    SeedCompleteSettings(data.path());
    const int groups = 1500;
    std::string names;
    for (int g = 0; g < groups; g++)
        names += "fj.many.g" + std::to_string(g) + "\r\n";
    ASSERT_TRUE(WriteFileBytes(data.file(L"group.dat"), names));
    const std::wstring last_index = data.file(L"fj.many.g" + std::to_wstring(groups - 1) + L".idx");

    PelnorProcess pelnor = StartPelnor();
    ASSERT_NE(pelnor.handle, nullptr);
    ASSERT_EQ(WaitForInputIdle(pelnor.handle, 30000), 0u);
    ASSERT_TRUE(PumpUntil([] { return PelnorFrames().count == 1; }, 30000));
    HWND frame = PelnorFrames().last;
    HWND list = FindWindowExW(frame, nullptr, WC_LISTVIEWW, nullptr);
    DWORD_PTR answer = 0;
    EXPECT_NE(SendMessageTimeoutW(frame, WM_NULL, 0, 0, SMTO_NORMAL, 5000, &answer), 0);
    EXPECT_EQ(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0), groups);
    EXPECT_FALSE(FileExists(last_index)) << "every index was made before the frame was asked";
    ASSERT_TRUE(PumpUntil([&] { return FileExists(last_index); }, 180000));
    PostMessageW(frame, WM_CLOSE, 0, 0);
    EXPECT_EQ(ExitCodeAfter(pelnor.handle, 30000), 0u);
    CloseHandle(pelnor.handle);
    DeletePelnorKey();
}

TEST(SingleInstance, SecondStartBringsTheFirstForwardAndExits)
{
    ASSERT_EQ(PelnorFrames().count, 0) << "another frame is open";
    DeletePelnorKey();
    TempFolder data;
    SeedCompleteSettings(data.path());

    PelnorProcess first = StartPelnor();
    ASSERT_NE(first.handle, nullptr);
    /* The first instance is ready once its frame's thread waits for input. */
    ASSERT_EQ(WaitForInputIdle(first.handle, 30000), 0u);
    ASSERT_TRUE(PumpUntil([] { return PelnorFrames().count == 1; }, 30000));
    HWND window = PelnorFrames().last;

    /* Put another window in front, so that coming forward can be seen. */
    HWND other = CreateWindowExW(0, L"STATIC", L"other", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr, nullptr,
                                 nullptr, nullptr);
    SetForegroundWindow(other);
    ASSERT_TRUE(PumpUntil([&] { return GetForegroundWindow() == other; }));

    PelnorProcess second = StartPelnor();
    ASSERT_NE(second.handle, nullptr);
    EXPECT_EQ(ExitCodeAfter(second.handle, 30000), 0u);
    EXPECT_EQ(PelnorFrames().count, 1);
    EXPECT_TRUE(PumpUntil([&] { return GetForegroundWindow() == window; }));

    PostMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(ExitCodeAfter(first.handle, 30000), 0u);

    DestroyWindow(other);
    CloseHandle(first.handle);
    CloseHandle(second.handle);
    DeletePelnorKey();
}
