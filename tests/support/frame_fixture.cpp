#include "frame_fixture.h"

#include "support/registry_fixture.h"

void FrameFixture::SetUp()
{
    DeletePelnorKey();
    static bool registered = RegisterFrameClass(GetModuleHandleW(nullptr)) != 0;
    ASSERT_TRUE(registered);
    AppFrameInit(&frame_, GetModuleHandleW(nullptr));
}

void FrameFixture::TearDown()
{
    if (frame_.mainWindow && IsWindow(frame_.mainWindow))
        DestroyWindow(frame_.mainWindow);
    PumpPending(); /* takes the frame's WM_QUIT off the queue */
    AppFrameDestroy(&frame_);
    DeletePelnorKey();
}

HWND FrameFixture::Start(const std::wstring &data_path)
{
    SeedCompleteSettings(data_path);
    return CreateMainFrame(&frame_, SW_SHOWNORMAL);
}

void FrameFixture::Command(UINT id, UINT code)
{
    SendMessageW(frame_.mainWindow, WM_COMMAND, MAKEWPARAM(id, code), 0);
}

bool FrameFixture::Pump(const std::function<bool()> &done)
{
    return PumpUntil(done, 20000, frame_.mainWindow, frame_.accelerators);
}
