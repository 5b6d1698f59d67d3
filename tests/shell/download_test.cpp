#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "support/script_client.h"
#include "support/scripted_ras.h"
#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"
#include "support/store_bytes.h"

namespace {

/* The frame started over a data folder with the given groups, its settings
 * pointing at a scripted server. */
class DownloadTest : public FrameFixture {
protected:
    void StartWith(const std::string &group_file, int port)
    {
        ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), group_file));
        SeedCompleteSettings(data_.path());
        SetPelnorDword(L"Port", (DWORD)port);
        /* The dialogues here are the plain ones: no CAPABILITIES for
         * compression after the login. */
        SetPelnorDword(L"Compress", 0);
        ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
        list_ = frame_.groupView->list;
        watcher_.SetDialogHandler([this](HWND dialog) {
            std::wstring title = WindowText(dialog);
            if (title == L"Articles")
                progress_seen_ = true;
            if (on_dialog_)
                on_dialog_(dialog, title);
        });
    }

    /* Presses I in the group view and waits for the run to end. */
    void PressGetArticles()
    {
        SetForegroundWindow(frame_.mainWindow);
        SetFocus(list_);
        ASSERT_TRUE(Pump([&] { return GetFocus() == list_; }));
        size_t before = watcher_.boxes().size();
        PressKey('I');
        ASSERT_TRUE(Pump([&] { return watcher_.boxes().size() > before && !frame_.runInProgress; }));
    }

    HWND list_ = nullptr;
    bool progress_seen_ = false;
    std::function<void(HWND, const std::wstring &)> on_dialog_;
};

TEST_F(DownloadTest, ServerDownShowsItsOwnCaptionAndReloadsNothing)
{
    HeaderFields h;
    h.record_count = 4;
    h.unread = 3;
    StartWith("fj.test\r\n", FreeLoopbackPort());
    ASSERT_TRUE(WriteFileBytes(data_.file(L"fj.test.idx"), HeaderBytes(h)));
    ASSERT_EQ(ListViewText(list_, 0, 1), L"0");
    PressGetArticles();
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"127.0.0.1");
    EXPECT_EQ(watcher_.boxes()[0].text, L"サーバに接続できませんでした");
    EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONERROR);
    /* No reload: the row still shows what it showed before the run. */
    EXPECT_EQ(ListViewText(list_, 0, 1), L"0");
}

/* A group the run cannot have shows why in its row, whether its name can
 * be no file here or the server refuses it, and the run goes on past it. */
TEST_F(DownloadTest, GroupsTheRunCannotHaveShowWhyInTheirRows)
{
    NntpScript script;
    script.Send("200 ready\r\n").Reply("411 No such group\r\n");
    StartWith("fj.refused|name\r\nfj.gone\r\n", script.Start());
    PressGetArticles();
    EXPECT_EQ(script.Transcript(), "GROUP fj.gone\r\nQUIT\r\n");
    EXPECT_EQ(ListViewText(list_, ListViewRow(list_, L"fj.refused|name"), 3),
              L"インデックスの初期化に失敗しました(123)");
    EXPECT_EQ(ListViewText(list_, ListViewRow(list_, L"fj.gone"), 3),
              L"グループへ移動できませんでした : 411 No such group");
}

TEST_F(DownloadTest, UserWithoutPasswordIsAskedEachRunAndTheTypedPasswordIsSent)
{
    NntpScript script;
    script.Send("200 ready\r\n").Recv().Send("381 more\r\n").Recv().Send("281 ok\r\n");
    int port = script.Start();
    SetPelnorString(L"UserID", L"太郎taro");
    StartWith("", port);
    const wchar_t *typed = nullptr; /* null: Cancel */
    std::wstring shown_user;
    on_dialog_ = [&](HWND dialog, const std::wstring &title) {
        if (title != L"ﾊﾟｽﾜｰﾄﾞの入力")
            return;
        shown_user = WindowText(GetDlgItem(dialog, IDC_PASSWORD_USER));
        SetDlgItemTextW(dialog, IDC_PASSWORD, typed ? typed : L"");
        PostMessageW(dialog, WM_COMMAND, typed ? IDOK : IDCANCEL, 0);
    };
    /* The I key counts only in the group view; the menu command always. */
    frame_.currentView = kArticleView;
    Command(IDM_GET_ARTICLES, 1);
    EXPECT_EQ(shown_user, L"");
    Command(IDM_GET_ARTICLES);
    EXPECT_EQ(shown_user, L"太郎taro");
    EXPECT_FALSE(progress_seen_);
    EXPECT_TRUE(watcher_.boxes().empty());

    typed = L"ひみつpass";
    frame_.currentView = kGroupView;
    PressGetArticles();
    EXPECT_TRUE(progress_seen_);
    /* Both go out in Shift_JIS. */
    EXPECT_EQ(script.Transcript(),
              "authinfo user \x91\xbe\x98\x59taro\r\nauthinfo pass \x82\xd0\x82\xdd\x82\xc2pass\r\nQUIT\r\n");
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"Disconnect");
    EXPECT_EQ(watcher_.boxes()[0].text, L"ダウンロードが終了しました。");
    EXPECT_EQ(watcher_.boxes()[0].icon, 0u);
    EXPECT_TRUE(watcher_.boxes()[0].has_owner);
    /* The typed password was for this run only. */
    EXPECT_EQ(frame_.settings.Password, nullptr);
}

/* Over TLS, a certificate no root vouches for is put to the user over the
 * progress dialog: cancel ends the run with nothing sent after the
 * handshake and says why; trusting pins its fingerprint and the run goes
 * on; with that pin the next run asks nothing. */
TEST_F(DownloadTest, UntrustedCertificateIsAskedAboutAndTrustingPinsIt)
{
    NntpScript refused, trusted, again;
    refused.OverTls().Send("200 ready\r\n");
    for (NntpScript *script : {&trusted, &again})
        script->OverTls().Send("200 ready\r\n").Reply("211 0 1 0 fj.test\r\n");
    SetPelnorDword(L"TlsMode", kTlsImplicit); /* no CaFile: the test CA is nobody's root */
    StartWith("fj.test\r\n", refused.Start());
    int questions = 0, answer = IDCANCEL;
    on_dialog_ = [&](HWND dialog, const std::wstring &title) {
        if (title != L"ｻｰﾊﾞ証明書の確認")
            return;
        questions++;
        PostMessageW(dialog, WM_COMMAND, answer, 0);
    };
    PressGetArticles();
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(refused.Transcript(), "");
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"127.0.0.1");
    EXPECT_EQ(watcher_.boxes()[0].text,
              L"サーバの証明書を信頼しなかったので接続を中止しました。取得済みの記事は変わりません。");
    EXPECT_EQ(PelnorValue((L"127.0.0.1:" + std::to_wstring(frame_.settings.Port)).c_str(), kCertificatesSubkey).type, 0u);

    answer = IDC_CERT_TRUST;
    frame_.settings.Port = (DWORD)trusted.Start();
    PressGetArticles();
    EXPECT_EQ(questions, 2);
    EXPECT_EQ(trusted.Transcript(), "GROUP fj.test\r\nQUIT\r\n");
    StoredValue pin = PelnorValue((L"127.0.0.1:" + std::to_wstring(frame_.settings.Port)).c_str(), kCertificatesSubkey);
    EXPECT_EQ(pin.type, (DWORD)REG_SZ);

    /* Each script listens on a port of its own: the pin moves with it. */
    frame_.settings.Port = (DWORD)again.Start();
    RegSetKeyValueW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY L"\\Certificates",
                    (L"127.0.0.1:" + std::to_wstring(frame_.settings.Port)).c_str(), pin.type, pin.bytes.data(),
                    (DWORD)pin.bytes.size());
    PressGetArticles();
    EXPECT_EQ(questions, 2);
    EXPECT_EQ(again.Transcript(), "GROUP fj.test\r\nQUIT\r\n");
}

/* Escape stops the run at once, even while the server sends nothing:
 * the article stored before stays, the stop is told, and no later group
 * starts. While the worker runs, I starts no second run and closing the
 * frame does not take the program away under it. */
TEST_F(DownloadTest, EscapeStopsAStalledRunAndNothingElseStartsOrClosesMeanwhile)
{
    NntpScript script;
    std::string id = "1 <1@fj.a>\r\n";
    script.Send("200 ready\r\n").Recv().Send("211 3 1 3 fj.a\r\n");
    script.Recv().Send("221 " + id + "From: a@example.jp\r\nSubject: n\r\n.\r\n");
    script.Recv().Send("222 " + id + "body\r\n.\r\n");
    script.Stall();
    StartWith("fj.a\r\nfj.b\r\n", script.Start());
    int progress_dialogs = 0;
    on_dialog_ = [&](HWND dialog, const std::wstring &title) {
        if (title != L"Articles")
            return;
        progress_dialogs++;
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0); /* what Escape sends */
        EXPECT_TRUE(IsWindow(dialog));                  /* it stays up until the worker ends */
        Command(IDM_GET_ARTICLES);
        SendMessageW(frame_.mainWindow, WM_CLOSE, 0, 0);
        EXPECT_TRUE(IsWindow(frame_.mainWindow));
    };
    PressGetArticles();
    EXPECT_EQ(progress_dialogs, 1);
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes().back().text, L"ダウンロードを中止しました。取得した記事は保存されています。");
    /* fj.b was never reached; whatever fj.a stored is counted in its row. */
    EXPECT_EQ(script.Transcript().find("GROUP fj.b"), std::string::npos);
    EXPECT_EQ(ListViewText(list_, 0, 2), ListViewText(list_, 0, 4));
    /* Once the run is over the frame closes again. */
    SendMessageW(frame_.mainWindow, WM_CLOSE, 0, 0);
    EXPECT_FALSE(IsWindow(frame_.mainWindow));
}

TEST_F(DownloadTest, DialsRunsAndHangsUpTheLineItMade)
{
    ScriptedRas ras;
    NntpScript script;
    script.Send("200 ready\r\n");
    SetPelnorDword(L"Dialup", 1);
    SetPelnorString(L"EntryName", L"Office");
    SetPelnorDword(L"DisconnectWaitTime", 0);
    StartWith("", script.Start());
    Command(IDM_GET_ARTICLES);
    ASSERT_EQ(ras.dials.size(), 1u);
    ras.Notify(0x2000); /* connected */
    ASSERT_TRUE(Pump([&] { return !watcher_.boxes().empty() && !frame_.runInProgress; }));
    EXPECT_TRUE(progress_seen_);
    EXPECT_TRUE(IsWindowEnabled(frame_.mainWindow));
    ASSERT_EQ(ras.hang_ups.size(), 1u);
    EXPECT_EQ(ras.hang_ups[0], ras.handle);
    EXPECT_EQ(frame_.dialled, 0u);
    EXPECT_EQ(watcher_.boxes().back().text, L"ダウンロードが終了しました。");
    EXPECT_EQ(script.Transcript(), "QUIT\r\n");
}

/* With posting on, a run sends the waiting drafts first, from whichever
 * command started it; what the server refused is told after the run and
 * stays waiting; the drafts pane shows where each draft went. With posting
 * off nothing is sent. */
TEST_F(DownloadTest, WaitingDraftsGoOutWithTheRun)
{
    struct Row {
        const char *name;
        DWORD posting;
        UINT command; /* from the drafts pane for send-only, else the group view's I */
        std::vector<const char *> replies; /* to POST, then to the article; then GROUP's */
        const char *transcript;            /* the article as "<article>" */
        std::vector<SeenBox> boxes;
        std::vector<std::wstring> sent, waiting; /* subjects under each folder's fj.test */
    } rows[] = {
        {"I sends, then downloads", 1, IDM_GET_ARTICLES, {"340 go\r\n", "240 ok\r\n", "211 0 1 0 fj.test\r\n"},
         "POST\r\n<article>GROUP fj.test\r\nQUIT\r\n",
         {{L"Disconnect", L"ダウンロードが終了しました。", 0}}, {L"hello"}, {}},
        {"send only downloads nothing", 1, IDM_SEND_ONLY, {"340 go\r\n", "240 ok\r\n"}, "POST\r\n<article>QUIT\r\n",
         {{L"Disconnect", L"送信待ちの記事を送信しました。", 0}}, {L"hello"}, {}},
        {"a refusal is told and the draft stays", 1, IDM_SEND_ONLY, {"440 posting not permitted\r\n"},
         "POST\r\nQUIT\r\n",
         {{L"Disconnect", L"送信待ちの記事を送信しました。", 0},
          {L"投稿",
           L"次の記事は送信できなかったので送信待ちに残しました。\r\n\r\nhello\r\n"
           L"サーバが受け付けませんでした: 440 posting not permitted",
           MB_ICONEXCLAMATION}},
         {}, {L"hello"}},
        {"posting off: nothing is sent", 0, IDM_GET_ARTICLES, {"211 0 1 0 fj.test\r\n"}, "GROUP fj.test\r\nQUIT\r\n",
         {{L"Disconnect", L"ダウンロードが終了しました。", 0}}, {}, {L"hello"}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        NntpScript script;
        script.Send("200 ready\r\n");
        for (const char *reply : row.replies) {
            if (strncmp(reply, "240", 3) == 0 || strncmp(reply, "441", 3) == 0)
                script.RecvArticle().Send(reply);
            else
                script.Reply(reply);
        }
        SetPelnorDword(L"Posting", row.posting);
        SetPelnorString(L"UserName", L"Taro");
        SetPelnorString(L"MailAddress", L"taro@example.jp");
        StartWith("fj.test\r\n", script.Start());
        ASSERT_TRUE(WriteFileBytes(data_.file(L"fj.test.idx"), HeaderBytes(HeaderFields())));
        DeleteFileW(data_.file(L"draft\\s1.txt").c_str());
        ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\o1.txt"), "Newsgroups: fj.test\r\nSubject: hello\r\n\r\nbody\r\n"));
        watcher_.Clear();
        if (row.command == IDM_SEND_ONLY) {
            Command(IDM_DRAFTS_VIEW);
            Command(IDM_SEND_ONLY);
            ASSERT_TRUE(Pump([&] { return !watcher_.boxes().empty() && !frame_.runInProgress; }));
        } else {
            PressGetArticles();
            Command(IDM_DRAFTS_VIEW);
        }
        std::string transcript = script.Transcript();
        size_t post = transcript.find("POST\r\n"), end = transcript.find("\r\n.\r\n");
        if (post != std::string::npos && end != std::string::npos)
            transcript.replace(post + 6, end + 5 - (post + 6), "<article>");
        EXPECT_EQ(transcript, row.transcript);
        EXPECT_EQ(watcher_.seen(), row.boxes);
        HWND tree = frame_.draftTree->tree;
        HTREEITEM waiting = TreeView_GetRoot(tree);
        HTREEITEM sent = TreeView_GetNextSibling(tree, TreeView_GetNextSibling(tree, waiting));
        for (auto folder : {std::make_pair(sent, row.sent), std::make_pair(waiting, row.waiting)}) {
            /* Without posting the pane files by the log's "Newsgroup: " alone. */
            HTREEITEM group = TreeChild(tree, folder.first, row.posting ? L"fj.test" : L"(none)");
            EXPECT_EQ(group ? TreeChildren(tree, group) : std::vector<std::wstring>{}, folder.second);
            if (group) {
                TreeView_Expand(tree, folder.first, TVE_EXPAND);
                TreeView_Expand(tree, group, TVE_EXPAND);
            }
        }
        if (row.command == IDM_SEND_ONLY && !row.sent.empty()) {
            TreeView_SelectItem(tree, TreeView_GetChild(tree, TreeView_GetChild(tree, sent)));
            for (MSG msg; PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE);)
                DispatchMessageW(&msg);
            SaveScreenshot(frame_.mainWindow, L"drafts-pane-sent");
        }
        TearDown();
        SetUp();
    }
    /* Nothing waiting: said at once, without a connection. */
    SetPelnorDword(L"Posting", 1);
    StartWith("", FreeLoopbackPort());
    DeleteFileW(data_.file(L"draft\\o1.txt").c_str());
    watcher_.Clear();
    Command(IDM_SEND_ONLY);
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"投稿", L"送信待ちの記事はありません。", MB_ICONINFORMATION}}));
}

} // namespace
