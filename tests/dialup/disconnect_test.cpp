#include <gtest/gtest.h>

#include <windows.h>

#include "dialup/dialup.h"
#include "dialup_fixture.h"
#include "resources/resource.h"
#include "shell/app_frame.h"

namespace {

/* Watches the modal disconnect dialog from inside: the timers it gets, its
 * WM_CLOSE messages, and its state when it opens and when the closing timer
 * (id 3) arrives. */
struct DialogSpy {
    HWND dialog = nullptr;
    WNDPROC original = nullptr;
    const StandInFrame *frame = nullptr;
    DWORD wait_seconds = 0;

    HWND owner = nullptr;
    std::wstring title_at_start;
    std::wstring status_at_start;
    bool cancel_enabled_at_start = false;
    size_t frame_messages_at_start = 0;

    std::vector<UINT_PTR> timers;
    int closes = 0;
    std::wstring status_at_closing;
    bool cancel_enabled_at_closing = true;
    size_t frame_messages_at_closing = 0;
    bool wait_timer_alive_at_closing = false;
};

DialogSpy *g_spy;

std::wstring StatusOf(HWND dialog)
{
    return WindowText(GetDlgItem(dialog, IDC_DIALUP_STATUS));
}

LRESULT CALLBACK SpyProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    DialogSpy *spy = g_spy;
    if (msg == WM_TIMER) {
        spy->timers.push_back(wp);
        if (wp == 3 && spy->frame_messages_at_closing == 0) {
            spy->status_at_closing = StatusOf(window);
            spy->cancel_enabled_at_closing = IsWindowEnabled(GetDlgItem(window, IDCANCEL)) != FALSE;
            spy->frame_messages_at_closing = spy->frame->log.size();
            /* Is the wait timer still set? Put it back as it was if so. */
            spy->wait_timer_alive_at_closing = KillTimer(window, 2) != FALSE;
            if (spy->wait_timer_alive_at_closing)
                SetTimer(window, 2, spy->wait_seconds * 1000, nullptr);
        }
    } else if (msg == WM_CLOSE) {
        spy->closes++;
    }
    return CallWindowProcW(spy->original, window, msg, wp, lp);
}

/* Ends a dialog that does not close by itself, so the test fails instead of
 * hanging. */
void CALLBACK Watchdog(HWND, UINT, UINT_PTR, DWORD)
{
    if (g_spy && IsWindow(g_spy->dialog))
        EndDialog(g_spy->dialog, 99);
}

class DisconnectTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_spy = &spy_;
        spy_.frame = &frame_;
        frame_.connection = ras_.handle;
        watcher_.SetDialogHandler([this](HWND dialog) {
            spy_.dialog = dialog;
            spy_.owner = GetWindow(dialog, GW_OWNER);
            spy_.title_at_start = WindowText(dialog);
            spy_.status_at_start = StatusOf(dialog);
            spy_.cancel_enabled_at_start = IsWindowEnabled(GetDlgItem(dialog, IDCANCEL)) != FALSE;
            spy_.frame_messages_at_start = frame_.log.size();
            spy_.original = (WNDPROC)SetWindowLongPtrW(dialog, GWLP_WNDPROC, (LONG_PTR)SpyProc);
            if (on_open_)
                on_open_(dialog);
        });
        watchdog_ = SetTimer(nullptr, 0, 20000, Watchdog);
    }

    void TearDown() override
    {
        KillTimer(nullptr, watchdog_);
        g_spy = nullptr;
    }

    INT_PTR Run(DWORD wait_seconds)
    {
        spy_.wait_seconds = wait_seconds;
        return RunDisconnectDialog(frame_.window(), GetModuleHandleW(nullptr), wait_seconds);
    }

    ModalWatcher watcher_;
    ScriptedRas ras_;
    StandInFrame frame_{&watcher_};
    DialogSpy spy_;
    std::function<void(HWND)> on_open_;
    UINT_PTR watchdog_ = 0;
};

TEST_F(DisconnectTest, NoWaitHangsUpAtOnceAndClosesByItself)
{
    EXPECT_EQ(Run(0), 1);

    EXPECT_EQ(spy_.owner, frame_.window());
    EXPECT_EQ(spy_.title_at_start, L"切断中...");
    EXPECT_EQ(spy_.status_at_start, L"切断しました");
    EXPECT_FALSE(spy_.cancel_enabled_at_start);
    EXPECT_EQ(spy_.frame_messages_at_start, 1u);

    ASSERT_EQ(frame_.log.size(), 1u);
    EXPECT_EQ(frame_.log[0].message, (UINT)WM_PELNOR_HANG_UP);
    EXPECT_TRUE(frame_.log[0].sent);
    EXPECT_EQ(ras_.hang_ups, std::vector<HRASCONN>{ras_.handle});

    /* Closed by the closing timer, once. */
    EXPECT_EQ(spy_.timers, std::vector<UINT_PTR>{3});
    EXPECT_EQ(spy_.closes, 1);
}

/* The wait timer kills id 1, not itself, so it keeps running; the closing
 * timer ends the dialog before it can fire again. */
TEST_F(DisconnectTest, WaitThenHangUpLeavesTheWaitTimerRunningAndClosesOnce)
{
    EXPECT_EQ(Run(1), 1);

    EXPECT_EQ(spy_.title_at_start, L"切断中...");
    EXPECT_EQ(spy_.status_at_start, L"切断します");
    EXPECT_TRUE(spy_.cancel_enabled_at_start);
    EXPECT_EQ(spy_.frame_messages_at_start, 0u);

    EXPECT_EQ(spy_.timers, (std::vector<UINT_PTR>{2, 3}));
    EXPECT_EQ(spy_.status_at_closing, L"切断しました");
    EXPECT_FALSE(spy_.cancel_enabled_at_closing);
    EXPECT_EQ(spy_.frame_messages_at_closing, 1u);
    EXPECT_TRUE(spy_.wait_timer_alive_at_closing);
    EXPECT_EQ(spy_.closes, 1);

    ASSERT_EQ(frame_.log.size(), 1u);
    EXPECT_EQ(frame_.log[0].message, (UINT)WM_PELNOR_HANG_UP);
    EXPECT_TRUE(frame_.log[0].sent);
    EXPECT_EQ(ras_.hang_ups, std::vector<HRASCONN>{ras_.handle});
}

TEST_F(DisconnectTest, CancelDuringTheWaitKeepsTheLineUp)
{
    on_open_ = [](HWND dialog) { PostMessageW(GetDlgItem(dialog, IDCANCEL), BM_CLICK, 0, 0); };
    EXPECT_EQ(Run(30), 1);

    EXPECT_EQ(spy_.status_at_start, L"切断します");
    EXPECT_EQ(spy_.closes, 1);
    EXPECT_TRUE(spy_.timers.empty());
    EXPECT_TRUE(frame_.log.empty());
    EXPECT_TRUE(ras_.hang_ups.empty());
}

} // namespace
