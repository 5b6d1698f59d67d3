#include <gtest/gtest.h>

#include <windows.h>

#include "support/gui_helper.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

struct Process {
    HANDLE handle = nullptr;
    DWORD id = 0;
};

Process StartPelnor()
{
    std::wstring exe = WinePathOf(PELNOR_BUILD_DIR "/pelnor.exe");
    std::wstring command = L"\"" + exe + L"\"";
    STARTUPINFOW si = {sizeof(si)};
    PROCESS_INFORMATION pi = {};
    Process p;
    if (CreateProcessW(exe.c_str(), &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)) {
        CloseHandle(pi.hThread);
        p.handle = pi.hProcess;
        p.id = pi.dwProcessId;
    }
    return p;
}

struct FrameCount {
    int count = 0;
    HWND last = nullptr;
};

BOOL CALLBACK CountFrames(HWND window, LPARAM lp)
{
    if (ClassNameOf(window) == L"PelnorMainFrmWnd") {
        ((FrameCount *)lp)->count++;
        ((FrameCount *)lp)->last = window;
    }
    return TRUE;
}

FrameCount Frames()
{
    FrameCount c;
    EnumWindows(CountFrames, (LPARAM)&c);
    return c;
}

DWORD ExitCodeAfter(HANDLE process, DWORD ms)
{
    if (WaitForSingleObject(process, ms) != WAIT_OBJECT_0)
        return STILL_ACTIVE;
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process, &code);
    return code;
}

} // namespace

TEST(SingleInstance, SecondStartBringsTheFirstForwardAndExits)
{
    ASSERT_EQ(Frames().count, 0) << "another frame is open";
    DeletePelnorKey();
    TempFolder data;
    SeedCompleteSettings(data.path());

    Process first = StartPelnor();
    ASSERT_NE(first.handle, nullptr);
    /* The first instance is ready once its frame's thread waits for input. */
    ASSERT_EQ(WaitForInputIdle(first.handle, 30000), 0u);
    ASSERT_TRUE(PumpUntil([] { return Frames().count == 1; }, 30000));
    HWND window = Frames().last;
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    EXPECT_EQ(owner, first.id);

    /* Put another window in front, so that coming forward can be seen. */
    HWND other = CreateWindowExW(0, L"STATIC", L"other", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr, nullptr,
                                 nullptr, nullptr);
    SetForegroundWindow(other);
    ASSERT_TRUE(PumpUntil([&] { return GetForegroundWindow() == other; }));

    Process second = StartPelnor();
    ASSERT_NE(second.handle, nullptr);
    EXPECT_EQ(ExitCodeAfter(second.handle, 30000), 0u);
    EXPECT_EQ(Frames().count, 1);
    EXPECT_TRUE(PumpUntil([&] { return GetForegroundWindow() == window; }));

    PostMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(ExitCodeAfter(first.handle, 30000), 0u);
    EXPECT_EQ(Frames().count, 0);

    DestroyWindow(other);
    CloseHandle(first.handle);
    CloseHandle(second.handle);
    DeletePelnorKey();
}
