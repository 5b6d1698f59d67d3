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
#include "support/group_bytes.h"
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
    /* The corpus's files are those of the plain ISO-2022-JP rules (a folded
     * header joined without its blank). */
    SetPelnorDword(L"DecodeCharsets", 0);
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

namespace {

/* What a reader must see of each article of fj.test.charsets
 * (tools/inn/charset_corpus.py), in posting order: its subject and the
 * start of its body. */
struct CharsetArticle {
    const wchar_t *subject;
    const wchar_t *body; /* the body begins with this */
    const wchar_t *also; /* ...and holds this, or null */
};

const CharsetArticle kCharsetArticles[] = {
    {L"UTF-8 8bit 😀", L"UTF-8の本文です。絵文字😀も。\r\n二行目: café\r\n", nullptr},
    {L"UTF-8 base64", L"UTF-8の本文です。絵文字😀も。\r\n二行目: café\r\n", nullptr},
    {L"UTF-8 quoted-printable",
     L"とても長い行をquoted-printableで送ると、ソフト改行で分けられます。"
     L"とても長い行をquoted-printableで送ると、ソフト改行で分けられます。\r\n",
     nullptr},
    {L"Qの件名 café", L"Q語の件名\r\n", nullptr},
    {L"漢字の件名", L"語の途中で分かれた件名\r\n", nullptr},
    {L"Shift_JIS 8bit", L"シフトJISの本文。ﾊﾝｶｸ\r\n", nullptr},
    {L"EUC-JP 8bit", L"EUC-JPの本文。\r\n", nullptr},
    {L"ISO-8859-1", L"Café déjà vu, naïve.\r\n", nullptr},
    {L"multipart/mixed", L"添付があります。\r\n", L"data.bin"},
    {L"multipart/alternative", L"テキスト版\r\n", L"text/html"},
    {L"format=flowed", L"流れる行は \r\n続きます。\r\n", nullptr},
    {L"malformed base64", L"日本語", nullptr},
    {L"unknown charset", L"plain ASCII in an unknown charset\r\n", nullptr},
    {L"literal reference", L"&#x1F600; is written, not an emoji\r\n", nullptr},
};

} // namespace

/* Articles as today's posters send them, downloaded with I and read one
 * after another with Tab: each shows what its sender wrote. */
TEST_F(InnTest, EveryCharsetIsShownAsItsSenderWroteIt)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.test.charsets\r\n"));
    SetPelnorDword(L"fromWidth", 48, L"SubjectView"); /* room for the subjects in the picture */
    ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    Command(IDM_GET_ARTICLES);
    ASSERT_TRUE(PumpUntil([&] { return !watcher_.boxes().empty() && !frame_.runInProgress; }, 120000,
                          frame_.mainWindow, frame_.accelerators));
    SetForegroundWindow(frame_.mainWindow);
    DoubleClickListRow(frame_.groupView->list, 0);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    PumpPending(frame_.mainWindow, frame_.accelerators);
    UpdateWindow(frame_.mainWindow);
    SaveScreenshot(frame_.mainWindow, L"subject-view-charsets");
    auto key = [&](WORD vk) {
        PressKey(vk);
        ASSERT_TRUE(PumpUntil([&] { return GetAsyncKeyState(vk) == 0 && GetQueueStatus(QS_INPUT) == 0; }, 5000));
        PumpPending(frame_.mainWindow, frame_.accelerators);
    };
    key(VK_RETURN);
    for (const CharsetArticle &a : kCharsetArticles) {
        SCOPED_TRACE(a.subject);
        ASSERT_EQ(frame_.currentView, kArticleView);
        std::wstring text = frame_.articleText.text ? frame_.articleText.text : L"";
        size_t body = text.find(L"\r\n\r\n");
        ASSERT_NE(body, std::wstring::npos);
        EXPECT_NE(text.find(std::wstring(L"Subject: ") + a.subject + L"\r\n"), std::wstring::npos) << text;
        EXPECT_EQ(text.compare(body + 4, wcslen(a.body), a.body), 0) << text;
        if (a.also) {
            EXPECT_NE(text.find(a.also, body), std::wstring::npos) << text;
        }
        if (&a == kCharsetArticles) {
            PumpPending(frame_.mainWindow, frame_.accelerators);
            UpdateWindow(frame_.mainWindow);
            SaveScreenshot(frame_.mainWindow, L"article-view-utf8");
        }
        key(VK_TAB);
    }
}

/* Posting as a person does it: write an article offline, queue it, press I;
 * it is on the server and then in the group. A follow-up to it from the
 * subject view goes out with the next run and names it in References. */
TEST_F(InnTest, ComposedArticleAndItsFollowUpReachTheGroupThroughARun)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.test.post\r\n"));
    SetPelnorDword(L"Posting", 1);
    SetPelnorString(L"UserName", L"山田太郎");
    SetPelnorString(L"MailAddress", L"yamada@example.jp");
    ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    /* A subject of this run alone: other tests post to the group too. */
    const std::wstring subject = L"投稿の試験 " + std::to_wstring(GetTickCount());
    auto queue = [&](const wchar_t *newsgroups, const wchar_t *title, const wchar_t *body) {
        watcher_.WorkDialogs([=](HWND editor) {
            if (newsgroups)
                SetDlgItemTextW(editor, IDC_EDITOR_NEWSGROUPS, newsgroups);
            if (title)
                SetDlgItemTextW(editor, IDC_EDITOR_SUBJECT, title);
            SetDlgItemTextW(editor, IDC_EDITOR_BODY, body);
            ClickButton(editor, IDC_EDITOR_QUEUE);
        });
    };
    auto run = [&] {
        watcher_.SetDialogHandler([](HWND) {}); /* the progress dialog is left alone */
        watcher_.Clear();
        Command(IDM_GET_ARTICLES);
        ASSERT_TRUE(PumpUntil([&] { return !watcher_.boxes().empty() && !frame_.runInProgress; }, 120000,
                              frame_.mainWindow, frame_.accelerators));
        EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"Disconnect", L"ダウンロードが終了しました。", 0}}));
    };
    queue(L"fj.test.post", subject.c_str(), L"本文です。\r\n.で始まる行");
    Command(IDM_COMPOSE);
    run();

    /* In the group: open it and put the cursor on the new article. */
    SetForegroundWindow(frame_.mainWindow);
    DoubleClickListRow(frame_.groupView->list, 0);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    auto cursor_subject = [&] {
        wchar_t text[64];
        SubjectViewCellText(frame_.subjectView, frame_.subjectView->cursor, kColumnSubject, text, 64);
        return std::wstring(text);
    };
    for (int row = 0; row < 1000 && cursor_subject() != subject; row++)
        SendMessageW(frame_.subjectView->window, WM_KEYDOWN, VK_DOWN, 0);
    ASSERT_EQ(cursor_subject(), subject);
    SendMessageW(frame_.subjectView->window, WM_KEYDOWN, VK_RETURN, 0);
    ASSERT_EQ(frame_.currentView, kArticleView);
    std::wstring text = frame_.articleText.text;
    EXPECT_NE(text.find(L"From: 山田太郎 <yamada@example.jp>\r\n"), std::wstring::npos) << text;
    EXPECT_NE(text.find(L"\r\n\r\n本文です。\r\n.で始まる行\r\n"), std::wstring::npos) << text;

    /* The follow-up, queued as the editor fills it in. */
    queue(nullptr, nullptr, L"> 本文です。\r\n返信です。");
    Command(IDM_FOLLOW_UP);
    run();
    std::string log = FileBytes(data_.file(L"fj.test.post.log"));
    std::string parent = Sjis(L"Subject: " + subject + L"\r\n"), reply = Sjis(L"Subject: Re: " + subject + L"\r\n");
    size_t parent_at = log.find(parent), reply_at = log.find(reply);
    ASSERT_NE(parent_at, std::string::npos);
    ASSERT_NE(reply_at, std::string::npos);
    /* A header of the article whose head holds `at`: its head runs from
     * the article before's sequence line to the empty line. */
    auto header = [&](size_t at, const char *name) {
        size_t start = log.rfind("X-Local-Seq: ", at), end = log.find("\r\n\r\n", at);
        std::string key = std::string("\r\n") + name + ": ";
        size_t found = log.find(key, start == std::string::npos ? 0 : start);
        if (found == std::string::npos || found > end)
            return std::string();
        found += key.size();
        return log.substr(found, log.find("\r\n", found) - found);
    };
    std::string id = header(parent_at, "Message-ID");
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(header(reply_at, "References"), id);

    /* Both drafts are filed as sent. */
    Command(IDM_DRAFTS_VIEW);
    HWND tree = frame_.draftTree->tree;
    HTREEITEM sent = TreeView_GetNextSibling(tree, TreeView_GetNextSibling(tree, TreeView_GetRoot(tree)));
    HTREEITEM group = TreeChild(tree, sent, L"fj.test.post");
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(TreeChildren(tree, group).size(), 2u);
}
