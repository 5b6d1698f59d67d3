#include <gtest/gtest.h>

#include <windows.h>

#include "dialup/dialup.h"
#include "dialup_fixture.h"
#include "resources/resource.h"
#include "shell/app_frame.h"

namespace {

const HRASCONN kUntouched = (HRASCONN)(ULONG_PTR)0xBEEF;

class DialTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        InitSettings(&settings_);
        settings_.Dialup = 1;
        lstrcpyW(settings_.EntryName, L"会社のPPP");
        settings_.DisconnectWaitTime = 5;
        frame_.connection = kUntouched;
    }

    void TearDown() override { FreeSettings(&settings_); }

    DialupStart Dial()
    {
        DialupStart started =
            DialBeforeRun(frame_.window(), GetModuleHandleW(nullptr), &settings_, &frame_.connection);
        frame_.watched_dialog = ras_.dial_window();
        return started;
    }

    std::wstring Status() const { return WindowText(GetDlgItem(ras_.dial_window(), IDC_DIALUP_STATUS)); }
    HWND CancelButton() const { return GetDlgItem(ras_.dial_window(), IDCANCEL); }

    /* Posts a dial event and waits until the status shows `text`. */
    bool StateShows(UINT state, const wchar_t *text)
    {
        ras_.Notify(state);
        return PumpUntil([&] { return Status() == text; }, 5000);
    }

    ModalWatcher watcher_;
    ScriptedRas ras_;
    StandInFrame frame_{&watcher_};
    Settings settings_;
};

TEST_F(DialTest, WithoutDialupTheRunStartsAtOnceAndRasIsNotAsked)
{
    settings_.Dialup = 0;
    EXPECT_EQ(Dial(), kDialupRunNow);
    EXPECT_EQ(ras_.calls(), 0);
    EXPECT_TRUE(IsWindowEnabled(frame_.window()));
    EXPECT_TRUE(ThreadDialogs().empty());
    EXPECT_EQ(frame_.connection, kUntouched);
}

TEST_F(DialTest, AnotherConnectionUpStartsTheRunWithoutDiallingOrHangingUp)
{
    ras_.active_connections = 1;
    EXPECT_EQ(Dial(), kDialupRunNow);

    /* One desktop record, in the record and as the buffer size. */
    ASSERT_EQ(ras_.connection_enums.size(), 1u);
    EXPECT_EQ(ras_.connection_enums[0].record_size, sizeof(RASCONNW));
    EXPECT_EQ(ras_.connection_enums[0].buffer_bytes, sizeof(RASCONNW));
    EXPECT_TRUE(ras_.param_queries.empty());
    EXPECT_TRUE(ras_.dials.empty());
    EXPECT_TRUE(ThreadDialogs().empty());
    EXPECT_TRUE(IsWindowEnabled(frame_.window()));
    EXPECT_EQ(frame_.connection, kUntouched);

    PumpPending();
    EXPECT_TRUE(frame_.log.empty());
    EXPECT_TRUE(ras_.hang_ups.empty());
}

TEST_F(DialTest, FullDialShowsEveryStateAndStartsTheRunWhenConnected)
{
    ASSERT_EQ(Dial(), kDialupDialling);

    /* Dialled with the entry's stored user and password, notifying the
     * dialog; the handle goes to the frame. */
    ASSERT_EQ(ras_.param_queries.size(), 1u);
    EXPECT_TRUE(ras_.param_queries[0].phonebook_null);
    EXPECT_EQ(ras_.param_queries[0].record_size, sizeof(RASDIALPARAMSW));
    EXPECT_EQ(ras_.param_queries[0].entry, L"会社のPPP");
    ASSERT_EQ(ras_.dials.size(), 1u);
    const DialCall &dial = ras_.dials[0];
    EXPECT_TRUE(dial.extensions_null);
    EXPECT_TRUE(dial.phonebook_null);
    EXPECT_EQ(dial.record_size, sizeof(RASDIALPARAMSW));
    EXPECT_EQ(dial.entry, L"会社のPPP");
    EXPECT_EQ(dial.phone, L"");
    EXPECT_EQ(dial.user, L"taro");
    EXPECT_EQ(dial.password, L"himitsu");
    EXPECT_EQ(dial.notifier_type, 0xFFFFFFFFu);
    EXPECT_TRUE(dial.handle_was_null);
    EXPECT_EQ(frame_.connection, ras_.handle);

    /* The connect dialog, owned by the disabled frame. */
    HWND dialog = dial.notifier;
    ASSERT_TRUE(IsWindow(dialog));
    EXPECT_EQ(ThreadDialogs(), std::vector<HWND>{dialog});
    EXPECT_EQ(GetWindow(dialog, GW_OWNER), frame_.window());
    EXPECT_TRUE(IsWindowVisible(dialog));
    EXPECT_FALSE(IsWindowEnabled(frame_.window()));
    EXPECT_EQ(WindowText(dialog), L"会社のPPPに接続中...");
    EXPECT_EQ(Status(), L"接続中...");
    EXPECT_TRUE(IsWindowEnabled(CancelButton()));
    EXPECT_EQ(GetWindowLongW(GetDlgItem(dialog, IDC_DIALUP_STATUS), GWL_STYLE) & SS_TYPEMASK, SS_CENTER);
    RECT rect;
    GetWindowRect(dialog, &rect);
    EXPECT_LE(rect.right - rect.left, 240);
    PumpPending();
    ASSERT_EQ(watcher_.dialog_titles().size(), 1u);
    EXPECT_EQ(watcher_.dialog_titles()[0], L"会社のPPPに接続中...");

    EXPECT_TRUE(StateShows(0, L"ﾎﾟｰﾄを開きます..."));
    EXPECT_TRUE(StateShows(1, L"ﾎﾟｰﾄを開きました"));
    EXPECT_TRUE(StateShows(2, L"ﾃﾞﾊﾞｲｽに接続します"));
    EXPECT_TRUE(StateShows(3, L"ﾃﾞﾊﾞｲｽに接続しました"));
    EXPECT_TRUE(StateShows(5, L"認証します"));
    SaveScreenshot(dialog, L"dialup_connecting");
    EXPECT_TRUE(StateShows(14, L"認証しました"));
    EXPECT_TRUE(IsWindowEnabled(CancelButton()));
    EXPECT_TRUE(frame_.log.empty());

    ASSERT_TRUE(StateShows(0x2000, L"接続しました"));
    EXPECT_FALSE(IsWindowEnabled(CancelButton()));

    /* Half a second later the run is started and the dialog goes. */
    ASSERT_TRUE(PumpUntil([&] { return frame_.Count(WM_PELNOR_START_RUN) == 1; }, 5000));
    EXPECT_FALSE(frame_.log[0].sent);
    EXPECT_FALSE(frame_.log[0].frame_was_enabled);
    EXPECT_EQ(frame_.log[0].dialog_status, L"接続しました");
    EXPECT_TRUE(PumpUntil([&] { return !IsWindow(dialog); }, 5000));
    EXPECT_EQ(frame_.log.size(), 1u);
    EXPECT_TRUE(ras_.hang_ups.empty());
    EXPECT_TRUE(watcher_.boxes().empty());
    EXPECT_TRUE(IsWindowEnabled(frame_.window()));
}

TEST_F(DialTest, RefusedDialReportsTheFailureAndHangsUp)
{
    ASSERT_EQ(Dial(), kDialupDialling);
    HWND dialog = ras_.dial_window();
    ASSERT_TRUE(StateShows(2, L"ﾃﾞﾊﾞｲｽに接続します"));

    ras_.Notify(0x2001);
    ASSERT_TRUE(PumpUntil([&] { return frame_.Count(WM_PELNOR_HANG_UP) == 1; }, 5000));

    /* The box came first, over the hidden dialog that says disconnected. */
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    const RecordedBox &box = watcher_.boxes()[0];
    EXPECT_EQ(box.caption, L"ﾀﾞｲｱﾙｱｯﾌﾟ接続ｴﾗｰ");
    EXPECT_EQ(box.text, L"接続できませんでした");
    EXPECT_EQ(box.icon, (UINT)MB_ICONEXCLAMATION);
    EXPECT_EQ(box.owner, dialog);
    EXPECT_EQ(box.buttons, std::vector<int>{IDOK});

    const FrameMessage &hang_up = frame_.log[0];
    EXPECT_EQ(hang_up.boxes_shown, 1u);
    EXPECT_FALSE(hang_up.sent);
    EXPECT_FALSE(hang_up.frame_was_enabled);
    EXPECT_EQ(hang_up.dialog_status, L"切断しました");
    EXPECT_FALSE(hang_up.dialog_visible);

    EXPECT_TRUE(PumpUntil([&] { return !IsWindow(dialog); }, 5000));
    EXPECT_EQ(ras_.hang_ups, std::vector<HRASCONN>{ras_.handle});
    EXPECT_EQ(frame_.Count(WM_PELNOR_START_RUN), 0);
    EXPECT_TRUE(IsWindowEnabled(frame_.window()));
}

TEST_F(DialTest, CancelWhileDiallingHangsUpAndStartsNoRun)
{
    ASSERT_EQ(Dial(), kDialupDialling);
    HWND dialog = ras_.dial_window();
    ASSERT_TRUE(StateShows(5, L"認証します"));

    SendMessageW(CancelButton(), BM_CLICK, 0, 0);
    ASSERT_TRUE(PumpUntil([&] { return !IsWindow(dialog); }, 5000));

    ASSERT_EQ(frame_.log.size(), 1u);
    EXPECT_EQ(frame_.log[0].message, (UINT)WM_PELNOR_HANG_UP);
    EXPECT_FALSE(frame_.log[0].sent);
    EXPECT_FALSE(frame_.log[0].frame_was_enabled);
    EXPECT_EQ(ras_.hang_ups, std::vector<HRASCONN>{ras_.handle});
    EXPECT_TRUE(IsWindowEnabled(frame_.window()));
    EXPECT_TRUE(watcher_.boxes().empty());
    EXPECT_EQ(frame_.Count(WM_PELNOR_START_RUN), 0);
}

TEST_F(DialTest, UnknownStatesChangeNothing)
{
    ASSERT_EQ(Dial(), kDialupDialling);
    HWND dialog = ras_.dial_window();
    ASSERT_TRUE(StateShows(3, L"ﾃﾞﾊﾞｲｽに接続しました"));

    const UINT unknown[] = {4, 6, 7, 8, 9, 10, 11, 12, 13, 15, 16, 17, 18, 19, 20, 21, 22, 23,
                            0x1000, 0x1001, 0x1002, 0x1003, 0x1004, 0x2002, 0xFFFF};
    for (UINT state : unknown) {
        ras_.Notify(state);
        PumpPending(); /* the posted event is handled by now */
        EXPECT_EQ(Status(), L"ﾃﾞﾊﾞｲｽに接続しました") << "state " << state;
    }
    EXPECT_TRUE(IsWindowVisible(dialog));
    EXPECT_TRUE(IsWindowEnabled(CancelButton()));
    EXPECT_FALSE(IsWindowEnabled(frame_.window()));
    EXPECT_TRUE(frame_.log.empty());
    EXPECT_TRUE(watcher_.boxes().empty());

    /* The dialog still follows the dial. */
    EXPECT_TRUE(StateShows(5, L"認証します"));
}

TEST_F(DialTest, AnotherTimerDestroysTheDialogAndTellsTheFrameNothing)
{
    ASSERT_EQ(Dial(), kDialupDialling);
    HWND dialog = ras_.dial_window();
    SetTimer(dialog, 7, 10, nullptr);
    ASSERT_TRUE(PumpUntil([&] { return !IsWindow(dialog); }, 5000));
    PumpPending();
    EXPECT_TRUE(frame_.log.empty());
    EXPECT_TRUE(ras_.hang_ups.empty());
    EXPECT_FALSE(IsWindowEnabled(frame_.window()));
}

/* The desktop's rasapi32 notifies with the message registered as
 * "RasDialEvent"; under Wine it never dials, so only Cancel ends the wait. */
TEST(RealRasTest, DialThatNeverReportsWaitsForCancel)
{
    SetRasTable(nullptr);
    ModalWatcher watcher;
    StandInFrame frame(&watcher);
    Settings settings;
    InitSettings(&settings);
    settings.Dialup = 1;
    lstrcpyW(settings.EntryName, L"nowhere");

    ASSERT_EQ(DialBeforeRun(frame.window(), GetModuleHandleW(nullptr), &settings, &frame.connection),
              kDialupDialling);
    std::vector<HWND> dialogs = ThreadDialogs();
    ASSERT_EQ(dialogs.size(), 1u);
    HWND dialog = dialogs[0];
    frame.watched_dialog = dialog;
    EXPECT_FALSE(IsWindowEnabled(frame.window()));

    PostMessageW(dialog, RegisterWindowMessageW(L"RasDialEvent"), 1, 0);
    EXPECT_TRUE(PumpUntil([&] { return WindowText(GetDlgItem(dialog, IDC_DIALUP_STATUS)) == L"ﾎﾟｰﾄを開きました"; },
                          5000));
    EXPECT_TRUE(IsWindow(dialog));
    EXPECT_TRUE(frame.log.empty());

    SendMessageW(GetDlgItem(dialog, IDCANCEL), BM_CLICK, 0, 0);
    ASSERT_TRUE(PumpUntil([&] { return !IsWindow(dialog); }, 5000));
    EXPECT_EQ(frame.Count(WM_PELNOR_HANG_UP), 1);
    EXPECT_TRUE(IsWindowEnabled(frame.window()));
    FreeSettings(&settings);
}

} // namespace
