#include <gtest/gtest.h>

#include <windows.h>

#include <functional>

#include "dialup/dialup.h"
#include "resources/resource.h"
#include "base/frame_messages.h"
#include "support/gui_helper.h"
#include "support/scripted_ras.h"

namespace {

using Log = std::vector<std::wstring>;

std::wstring StatusOf(HWND dialog)
{
    return WindowText(GetDlgItem(dialog, IDC_DIALUP_STATUS));
}

/* A window stands in for the main frame: it answers the dial-up messages
 * as the frame does (enables itself; hangs up on WM_PELNOR_HANG_UP) and
 * logs each with what the dialog showed and how many boxes came before. */
class DialupTest : public testing::Test {
public:
    DialupTest()
    {
        current_ = this;
        SetWindowLongPtrW(frame_, GWLP_WNDPROC, (LONG_PTR)FrameProc);
        settings_.Dialup = 1;
        lstrcpyW(settings_.EntryName, L"会社のPPP");
    }

    ~DialupTest() override { DestroyWindow(frame_); }

    static LRESULT CALLBACK FrameProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
    {
        DialupTest *t = current_;
        if (!t || (msg != WM_PELNOR_START_RUN && msg != WM_PELNOR_HANG_UP))
            return DefWindowProcW(window, msg, wp, lp);
        std::wstring entry = msg == WM_PELNOR_START_RUN ? L"run" : L"hang up";
        if (IsWindow(t->dialog_))
            entry += L" at " + StatusOf(t->dialog_) + (IsWindowVisible(t->dialog_) ? L"" : L" (hidden)");
        t->log_.push_back(entry + L" after " + std::to_wstring(t->watcher_.boxes().size()) + L" box(es)");
        EnableWindow(window, TRUE);
        if (msg == WM_PELNOR_HANG_UP)
            HangUpDialup(t->connection_);
        return 0;
    }

    DialupStart Dial()
    {
        DialupStart started = DialBeforeRun(frame_, GetModuleHandleW(nullptr), &settings_, &connection_);
        dialog_ = ras_.dial_window();
        return started;
    }

    /* Posts a dial event and waits until the status shows `text`. */
    bool Shows(UINT state, const wchar_t *text)
    {
        ras_.Notify(state);
        return PumpUntil([&] { return StatusOf(dialog_) == text; }, 5000);
    }

    bool Gone() { return PumpUntil([&] { return !IsWindow(dialog_); }, 5000); }

    static DialupTest *current_;
    ModalWatcher watcher_;
    ScriptedRas ras_;
    Settings settings_ = {}; /* no owned texts */
    HWND frame_ = CreateWindowExW(0, L"STATIC", L"Pelnor", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 240, 320, nullptr,
                                  nullptr, nullptr, nullptr);
    HWND dialog_ = nullptr;
    HRASCONN connection_ = (HRASCONN)(ULONG_PTR)0xBEEF;
    Log log_;
};

DialupTest *DialupTest::current_;

TEST_F(DialupTest, WithoutDialupOrWithALineUpTheRunStartsAtOnce)
{
    settings_.Dialup = 0;
    EXPECT_EQ(Dial(), kDialupRunNow);
    EXPECT_EQ(ras_.calls, 0);

    settings_.Dialup = 1;
    ras_.active_connections = 1;
    EXPECT_EQ(Dial(), kDialupRunNow);
    EXPECT_EQ(ras_.calls, 1); /* the enumeration alone: no dialog, no dial, no hang-up */
    PumpPending();
    EXPECT_TRUE(log_.empty());
}

TEST_F(DialupTest, FullDialShowsEveryStateThenStartsTheRun)
{
    ASSERT_EQ(Dial(), kDialupDialling);
    ASSERT_EQ(ras_.dials.size(), 1u);
    /* The entry with its stored login, told by window messages, from a null handle (not the stale one). */
    const DialCall &dial = ras_.dials[0];
    EXPECT_EQ((std::vector<std::wstring>{dial.entry, dial.user, dial.password}),
              (std::vector<std::wstring>{L"会社のPPP", L"taro", L"himitsu"}));
    EXPECT_TRUE(dial.notifier_type == 0xFFFFFFFFu && dial.handle_was_null);
    EXPECT_EQ(GetWindow(dialog_, GW_OWNER), frame_);
    EXPECT_FALSE(IsWindowEnabled(frame_));
    EXPECT_EQ(WindowText(dialog_), L"会社のPPPに接続中...");

    const struct { UINT state; const wchar_t *text; } states[] = {
        {0, L"ﾎﾟｰﾄを開きます..."}, {1, L"ﾎﾟｰﾄを開きました"}, {2, L"ﾃﾞﾊﾞｲｽに接続します"},
        {3, L"ﾃﾞﾊﾞｲｽに接続しました"}, {5, L"認証します"}, {14, L"認証しました"}};
    for (const auto &s : states)
        EXPECT_TRUE(Shows(s.state, s.text)) << s.state;
    for (UINT state : {4, 6, 7, 13, 15, 23, 0x1000, 0x1004, 0x2002, 0xFFFF}) {
        ras_.Notify(state);
        PumpPending();
        EXPECT_EQ(StatusOf(dialog_), L"認証しました") << "state " << state;
    }
    /* The desktop's RAS notifies with the message registered as "RasDialEvent". */
    PostMessageW(dialog_, RegisterWindowMessageW(L"RasDialEvent"), 5, 0);
    EXPECT_TRUE(PumpUntil([&] { return StatusOf(dialog_) == L"認証します"; }, 5000));

    ASSERT_TRUE(Shows(0x2000, L"接続しました"));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog_, IDCANCEL)));
    EXPECT_TRUE(Gone());
    EXPECT_EQ(log_, Log{L"run at 接続しました after 0 box(es)"});
}

TEST_F(DialupTest, RefusedOrCancelledDialHangsUpAndStartsNoRun)
{
    ASSERT_EQ(Dial(), kDialupDialling);
    ASSERT_TRUE(Shows(2, L"ﾃﾞﾊﾞｲｽに接続します"));
    ras_.Notify(0x2001);
    EXPECT_TRUE(Gone());
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"ﾀﾞｲｱﾙｱｯﾌﾟ接続ｴﾗｰ", L"接続できませんでした", MB_ICONEXCLAMATION}}));
    EXPECT_EQ(watcher_.boxes()[0].owner, dialog_);
    EXPECT_EQ(log_, Log{L"hang up at 切断しました (hidden) after 1 box(es)"});
    EXPECT_EQ(ras_.hang_ups, std::vector<HRASCONN>{ras_.handle});

    ASSERT_EQ(Dial(), kDialupDialling);
    ASSERT_TRUE(Shows(5, L"認証します"));
    SendMessageW(GetDlgItem(dialog_, IDCANCEL), BM_CLICK, 0, 0);
    EXPECT_TRUE(Gone());
    EXPECT_EQ(log_.back(), L"hang up at 認証します after 1 box(es)");
    EXPECT_EQ(log_.size(), 2u); /* and no run */
}

TEST_F(DialupTest, DisconnectDialogHangsUpAfterTheWaitUnlessCancelled)
{
    connection_ = ras_.handle;
    std::function<void()> on_open = [] {};
    watcher_.SetDialogHandler([&](HWND dialog) {
        dialog_ = dialog; /* its opening is logged beside the frame's messages */
        EXPECT_EQ(GetWindow(dialog, GW_OWNER), frame_);
        log_.push_back(L"open " + WindowText(dialog) + L" at " + StatusOf(dialog) +
                       (IsWindowEnabled(GetDlgItem(dialog, IDCANCEL)) ? L"" : L", Cancel disabled"));
        on_open();
    });
    /* A dialog that does not close by itself ends with 99 instead of hanging. */
    UINT_PTR watchdog = SetTimer(nullptr, 0, 20000, [](HWND, UINT, UINT_PTR, DWORD) {
        if (current_ && IsWindow(current_->dialog_))
            EndDialog(current_->dialog_, 99);
    });
    auto run = [&](DWORD wait) {
        log_.clear();
        return RunDisconnectDialog(frame_, GetModuleHandleW(nullptr), wait);
    };

    EXPECT_EQ(run(0), 1);
    EXPECT_EQ(log_, (Log{L"hang up after 0 box(es)", L"open 切断中... at 切断しました, Cancel disabled"}));

    /* After the wait the line is hung up once. */
    EXPECT_EQ(run(1), 1);
    EXPECT_EQ(log_, (Log{L"open 切断中... at 切断します", L"hang up at 切断します after 0 box(es)"}));

    /* Cancel during the wait keeps the line. */
    on_open = [&] { PostMessageW(GetDlgItem(dialog_, IDCANCEL), BM_CLICK, 0, 0); };
    EXPECT_EQ(run(30), 1);
    EXPECT_EQ(log_, Log{L"open 切断中... at 切断します"});
    KillTimer(nullptr, watchdog);
}

} // namespace
