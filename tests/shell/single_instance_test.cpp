#include <gtest/gtest.h>

#include <windows.h>

#include "support/gui_helper.h"
#include "support/pelnor_process.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

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
