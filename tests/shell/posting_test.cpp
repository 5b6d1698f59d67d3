#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <prsht.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "platform/menubar.h"
#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/group_bytes.h"
#include "support/registry_fixture.h"

namespace {

/* One draft file: its name and bytes. */
using DraftFile = std::pair<std::wstring, std::string>;

class PostingTest : public FrameFixture {
protected:
    /* Pelnor with the poster known, posting as given; fj.a holds
     * `articles` (each a head and a body, lines with their CR LF). */
    HWND StartWith(DWORD posting,
                   const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> &articles = {})
    {
        SetPelnorDword(L"Posting", posting);
        SetPelnorString(L"UserName", L"山田");
        SetPelnorString(L"MailAddress", L"taro@example.jp");
        WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\n");
        GroupBytes g;
        HeaderFields h;
        for (const auto &article : articles) {
            g.Add(article.first, article.second, RecordFields{0, 10 + h.record_count, 0, 0, "", "0305", ""});
            h.record_count++;
            h.unread++;
        }
        WriteFileBytes(data_.file(L"fj.a.log"), g.log);
        WriteFileBytes(data_.file(L"fj.a.idx"), g.Index(h));
        return Start();
    }
    std::wstring Draft(const std::wstring &name) const { return data_.path() + L"draft\\" + name; }
    HWND Tree() const { return frame_.draftTree->tree; }

    /* The draft folder's files, by name. */
    std::vector<DraftFile> Drafts() const
    {
        std::vector<DraftFile> files;
        WIN32_FIND_DATAW found;
        HANDLE find = FindFirstFileW(Draft(L"*").c_str(), &found); /* drafts only: "*.txt" */
        if (find == INVALID_HANDLE_VALUE)
            return files;
        do {
            std::wstring name = found.cFileName;
            if (name.size() > 4 && name.substr(name.size() - 4) == L".txt")
                files.emplace_back(found.cFileName, FileBytes(Draft(found.cFileName)));
        } while (FindNextFileW(find, &found));
        FindClose(find);
        std::sort(files.begin(), files.end());
        return files;
    }
    void ClearDrafts()
    {
        for (const DraftFile &file : Drafts())
            DeleteFileW(Draft(file.first).c_str());
        watcher_.Clear();
    }
    /* The one draft there is, its name reduced to the letter that files it. */
    DraftFile OnlyDraft() const
    {
        std::vector<DraftFile> files = Drafts();
        if (files.size() != 1)
            return {L"drafts: " + std::to_wstring(files.size()), ""};
        return {files[0].first.substr(0, 1), files[0].second};
    }

    /* The group's subjects, and the article under the cursor. */
    void OpenSubjects() { DoubleClickListRow(frame_.groupView->list, 0); }
    void OpenArticle()
    {
        OpenSubjects();
        SendMessageW(frame_.subjectView->window, WM_KEYDOWN, VK_RETURN, 0);
    }

    /* The draft leaf under folder `root`, newsgroups node `group`. */
    HTREEITEM Leaf(const wchar_t *root, const wchar_t *group, const wchar_t *subject)
    {
        HTREEITEM node = TreeChild(Tree(), TreeChild(Tree(), TVI_ROOT, root), group);
        return node ? TreeChild(Tree(), node, subject) : nullptr;
    }
    /* The selected item's text and its folder's. */
    std::wstring Selected()
    {
        HTREEITEM item = TreeView_GetSelection(Tree());
        HTREEITEM node = item ? TreeView_GetParent(Tree(), item) : nullptr;
        HTREEITEM root = node ? TreeView_GetParent(Tree(), node) : nullptr;
        wchar_t text[3][64] = {};
        HTREEITEM items[3] = {root, node, item};
        for (int i = 0; i < 3; i++) {
            TVITEMW query = {};
            query.mask = TVIF_TEXT;
            query.hItem = items[i];
            query.pszText = text[i];
            query.cchTextMax = 64;
            if (items[i])
                SendMessageW(Tree(), TVM_GETITEMW, 0, (LPARAM)&query);
        }
        return std::wstring(text[0]) + L"/" + text[1] + L"/" + text[2];
    }
    HMENU Popup(HWND bar, UINT button) { return (HMENU)SendMessageW(bar, SHCMBM_GETSUBMENU, 0, button); }
};

const wchar_t kNeedNewsgroups[] = L"ニュースグループを入れてください。";
const wchar_t kNeedSubject[] = L"題名を入れてください。";

/* Compose with posting on: what is typed is queued ('o') or saved as a draft
 * ('d'), Shift_JIS with references for what it lacks; queueing without
 * newsgroups or a subject is refused with the field to fill focused. */
TEST_F(PostingTest, ComposeQueuesOrSavesWhatIsTypedAndRefusesToQueueWithoutNewsgroupsOrSubject)
{
    const struct {
        const wchar_t *newsgroups, *subject, *body;
        int button;
        const wchar_t *box;
        int focused;
        DraftFile written;
    } cases[] = {
        {L"fj.test", L"漢字", L"body", IDC_EDITOR_QUEUE, nullptr, 0,
         {L"o", "Newsgroups: fj.test\r\nSubject: \x8a\xbf\x8e\x9a\r\n\r\nbody\r\n"}},
        {L" fj.test ", L"a\U0001F600", L"line1\r\n\r\nline3\r\n", IDC_EDITOR_QUEUE, nullptr, 0,
         {L"o", "Newsgroups: fj.test\r\nSubject: a&#x1F600;\r\n\r\nline1\r\n\r\nline3\r\n"}},
        {L"fj.test", L"", L"", IDC_EDITOR_SAVE, nullptr, 0, {L"d", "Newsgroups: fj.test\r\n\r\n"}},
        {L"", L"件名", L"x", IDC_EDITOR_QUEUE, kNeedNewsgroups, IDC_EDITOR_NEWSGROUPS, {L"drafts: 0", ""}},
        {L"fj.test", L"  ", L"x", IDC_EDITOR_QUEUE, kNeedSubject, IDC_EDITOR_SUBJECT, {L"drafts: 0", ""}},
        {L"fj.test", L"a", L"x", IDCANCEL, nullptr, 0, {L"drafts: 0", ""}},
    };
    ASSERT_NE(StartWith(1), nullptr);
    for (const auto &c : cases) {
        ClearDrafts();
        int focused = 0;
        watcher_.WorkDialogs([&](HWND editor) {
            SetDlgItemTextW(editor, IDC_EDITOR_NEWSGROUPS, c.newsgroups);
            SetDlgItemTextW(editor, IDC_EDITOR_SUBJECT, c.subject);
            SetDlgItemTextW(editor, IDC_EDITOR_BODY, c.body);
            ClickButton(editor, c.button);
            if (IsWindowVisible(editor)) /* still open */
                focused = GetDlgCtrlID(GetFocus());
        });
        Command(IDM_COMPOSE);
        EXPECT_EQ(watcher_.dialog_titles(), std::vector<std::wstring>{L"草稿"}) << c.subject;
        std::vector<SeenBox> boxes;
        if (c.box)
            boxes.emplace_back(L"PELNOR", c.box, MB_ICONEXCLAMATION);
        EXPECT_EQ(watcher_.seen(), boxes) << c.subject;
        EXPECT_EQ(focused, c.focused) << c.subject;
        EXPECT_EQ(OnlyDraft(), c.written) << c.subject;
    }
}

/* A new draft is for the group being read; the editor starts on the first
 * field left to fill. */
TEST_F(PostingTest, ComposeTakesTheGroupOfTheSubjectsOrArticleShown)
{
    const struct {
        std::function<void()> go;
        const wchar_t *newsgroups;
        int focused;
    } cases[] = {
        {[] {}, L"", IDC_EDITOR_NEWSGROUPS},
        {[&] { OpenSubjects(); }, L"fj.a", IDC_EDITOR_SUBJECT},
        {[&] { SendMessageW(frame_.subjectView->window, WM_KEYDOWN, VK_RETURN, 0); }, L"fj.a", IDC_EDITOR_SUBJECT},
        {[&] { Command(IDM_DRAFTS_VIEW); }, L"", IDC_EDITOR_NEWSGROUPS},
    };
    ASSERT_NE(StartWith(1, {{{"Subject: a\r\n"}, {"b\r\n"}}}), nullptr);
    std::vector<ViewKind> views;
    for (const auto &c : cases) {
        c.go();
        views.push_back(frame_.currentView);
        std::wstring shown;
        int focused = 0;
        watcher_.WorkDialogs([&](HWND editor) {
            shown = WindowText(GetDlgItem(editor, IDC_EDITOR_NEWSGROUPS));
            focused = GetDlgCtrlID(GetFocus());
        });
        Command(IDM_COMPOSE);
        EXPECT_EQ(shown, c.newsgroups) << views.back();
        EXPECT_EQ(focused, c.focused) << views.back();
    }
    EXPECT_EQ(views, (std::vector<ViewKind>{kGroupView, kSubjectView, kArticleView, kDraftsView}));
    EXPECT_EQ(Drafts(), std::vector<DraftFile>{}) << "cancelled";
}

std::string Ids(int first, int last)
{
    std::string ids;
    for (int i = first; i <= last; i++) {
        char id[24];
        snprintf(id, sizeof id, "%s<%04d@example.jp>", ids.empty() ? "" : " ", i);
        ids += id;
    }
    return ids;
}

/* A follow-up, queued as the editor opens it: the article's newsgroups (or
 * the group's), "Re: " once, its references and id, and its body quoted
 * under the attribution. */
TEST_F(PostingTest, FollowUpQuotesTheArticleUnderTheCursorOrShown)
{
    const struct {
        bool from_article_view;
        std::vector<std::string> head, body;
        std::string draft;
    } cases[] = {
        {false,
         {"From: " + Sjis(L"山田太郎 <taro@example.jp>") + "\r\n", "Subject: " + Sjis(L"京都の天気") + "\r\n",
          "Newsgroups: fj.misc,fj.test\r\n", "Message-ID: <1@example.jp>\r\n"},
         {Sjis(L"今日は晴れ。") + "\r\n", "\r\n", Sjis(L"> 昨日") + "\r\n"},
         "Newsgroups: fj.misc,fj.test\r\nSubject: Re: " + Sjis(L"京都の天気") +
             "\r\nReferences: <1@example.jp>\r\n\r\n" + Sjis(L"山田太郎 <taro@example.jp> さんは書きました:") +
             "\r\n> " + Sjis(L"今日は晴れ。") + "\r\n>\r\n> " + Sjis(L"> 昨日") + "\r\n"},
        {true,
         {"From: a@example.jp\r\n", "Subject: RE: " + Sjis(L"会議") + "\r\n", "References: <a@x>  <b@x>\r\n",
          "Message-ID: <2@x>\r\n"},
         {"x\r\n"},
         "Newsgroups: fj.a\r\nSubject: RE: " + Sjis(L"会議") + "\r\nReferences: <a@x> <b@x> <2@x>\r\n\r\n" +
             Sjis(L"a@example.jp さんは書きました:") + "\r\n> x\r\n"},
        /* 56 ids of 17 bytes: the first and the last 49 make 899 bytes, 50
         * would make 917. No sender: no attribution. */
        {false,
         {"Subject: re:lower\r\n", "Newsgroups: fj.test\r\n", "References: " + Ids(0, 54) + "\r\n",
          "Message-ID: <0099@example.jp>\r\n"},
         {"line\r\n"},
         "Newsgroups: fj.test\r\nSubject: re:lower\r\nReferences: <0000@example.jp> " + Ids(7, 54) +
             " <0099@example.jp>\r\n\r\n> line\r\n"},
        /* One id past the limit has nothing to drop. */
        {false,
         {"Subject: s\r\n", "Newsgroups: fj.test\r\n", "Message-ID: <" + std::string(940, 'x') + "@x>\r\n"},
         {"b\r\n"},
         "Newsgroups: fj.test\r\nSubject: Re: s\r\nReferences: <" + std::string(940, 'x') + "@x>\r\n\r\n> b\r\n"},
    };
    for (const auto &c : cases) {
        ASSERT_NE(StartWith(1, {{c.head, c.body}}), nullptr);
        ClearDrafts();
        if (c.from_article_view)
            OpenArticle();
        else
            OpenSubjects();
        watcher_.WorkDialogs([](HWND editor) { ClickButton(editor, IDC_EDITOR_QUEUE); });
        Command(IDM_FOLLOW_UP);
        EXPECT_EQ(watcher_.seen(), std::vector<SeenBox>{});
        EXPECT_EQ(OnlyDraft(), DraftFile(L"o", c.draft));
        TearDown();
        SetUp();
    }
}

/* The follow-up key works where an article is at hand, and only with
 * posting on; elsewhere the letter stays the pane's. */
TEST_F(PostingTest, FollowUpKeyWorksInTheSubjectAndArticleViewsOnly)
{
    const struct {
        DWORD posting;
        std::function<void()> go;
        bool taken;
    } cases[] = {
        {1, [] {}, false},
        {1, [&] { OpenSubjects(); }, true},
        {1, [&] { OpenArticle(); }, true},
        {1, [&] { Command(IDM_DRAFTS_VIEW); }, false},
        {0, [&] { OpenSubjects(); }, false},
        {0, [&] { OpenArticle(); }, false},
    };
    for (const auto &c : cases) {
        ASSERT_NE(StartWith(c.posting, {{{"Subject: a\r\n", "Message-ID: <k@x>\r\n"}, {"b\r\n"}}}), nullptr);
        c.go();
        watcher_.Clear();
        watcher_.WorkDialogs([](HWND) {});
        MSG key = {GetFocus(), WM_KEYDOWN, 'F', 0x00210001};
        EXPECT_EQ(TranslateFrameAccelerator(&frame_, &key), c.taken) << c.posting << frame_.currentView;
        EXPECT_EQ(watcher_.dialog_titles(), c.taken ? std::vector<std::wstring>{L"草稿"} : std::vector<std::wstring>{})
            << c.posting << frame_.currentView;
        TearDown();
        SetUp();
    }
}

/* With posting on a draft opens in the editor from the pane; saving writes
 * it in its file and keeps the headers the editor does not show, queueing
 * moves it to wait. A sent one saved again is a new article. */
TEST_F(PostingTest, DraftOpenedFromThePaneIsEditedInItsFile)
{
    const std::string old = "Newsgroups: fj.test\r\nSubject: old\r\nMessage-ID: <k@x>\r\nX-Note: kept\r\n\r\nold body\r\n";
    enum How { kEnter, kDoubleTap, kMenu };
    const struct {
        const wchar_t *file, *root, *group, *shown;
        std::string bytes;
        How how;
        const wchar_t *subject; /* typed, or null */
        int button;
        DraftFile written;
        const wchar_t *selected;
    } cases[] = {
        {L"d1.txt", L"草稿", L"fj.test", L"old", old, kEnter, L"new", IDC_EDITOR_SAVE,
         {L"d1.txt", "Newsgroups: fj.test\r\nSubject: new\r\nMessage-ID: <k@x>\r\nX-Note: kept\r\n\r\nold body\r\n"},
         L"草稿/fj.test/new"},
        {L"d1.txt", L"草稿", L"fj.test", L"old", old, kDoubleTap, nullptr, IDC_EDITOR_QUEUE, {L"o1.txt", old},
         L"送信待ち/fj.test/old"},
        {L"o1.txt", L"送信待ち", L"fj.test", L"old", old, kMenu, nullptr, IDC_EDITOR_SAVE, {L"d1.txt", old},
         L"草稿/fj.test/old"},
        /* The log's own newsgroups line gives way to the standard one. */
        {L"note.txt", L"草稿", L"fj.old", L"s", "Newsgroup: fj.old\r\nSubject: s\r\n\r\nb", kEnter, nullptr,
         IDC_EDITOR_SAVE, {L"note.txt", "Subject: s\r\nNewsgroups: fj.old\r\n\r\nb\r\n"}, L"草稿/fj.old/s"},
        {L"s1.txt", L"送信済", L"fj.test", L"old", old, kEnter, nullptr, IDC_EDITOR_SAVE,
         {L"d1.txt", "Newsgroups: fj.test\r\nSubject: old\r\nX-Note: kept\r\n\r\nold body\r\n"}, L"草稿/fj.test/old"},
    };
    ASSERT_NE(StartWith(1), nullptr);
    for (const auto &c : cases) {
        ClearDrafts();
        ASSERT_TRUE(WriteFileBytes(Draft(c.file), c.bytes));
        Command(IDM_DRAFTS_GROUPS);
        Command(IDM_DRAFTS_VIEW);
        HTREEITEM leaf = Leaf(c.root, c.group, c.shown);
        ASSERT_NE(leaf, nullptr) << c.file;
        TreeView_SelectItem(Tree(), leaf);
        std::wstring shown[2];
        watcher_.WorkDialogs([&](HWND editor) {
            shown[0] = WindowText(GetDlgItem(editor, IDC_EDITOR_NEWSGROUPS));
            shown[1] = WindowText(GetDlgItem(editor, IDC_EDITOR_SUBJECT));
            if (c.subject)
                SetDlgItemTextW(editor, IDC_EDITOR_SUBJECT, c.subject);
            ClickButton(editor, c.button);
        });
        if (c.how == kEnter) {
            SendMessageW(Tree(), WM_KEYDOWN, VK_RETURN, 0);
        } else if (c.how == kDoubleTap) {
            NMHDR tap = {Tree(), (UINT_PTR)GetDlgCtrlID(Tree()), (UINT)NM_DBLCLK};
            SendMessageW(frame_.mainWindow, WM_NOTIFY, tap.idFrom, (LPARAM)&tap);
        } else {
            Command(IDM_DRAFT_EDIT);
        }
        EXPECT_EQ(shown[0], c.group) << c.file;
        EXPECT_EQ(shown[1], c.shown) << c.file;
        EXPECT_EQ(Drafts(), std::vector<DraftFile>{c.written}) << c.file;
        EXPECT_EQ(Selected(), c.selected) << c.file;
        EXPECT_EQ(watcher_.seen(), std::vector<SeenBox>{}) << c.file;
    }
}

/* Delete asks first (No by default); the moves file a draft and keep it
 * selected. Waiting needs newsgroups and a subject; a sent draft leaves its
 * Message-ID behind. */
TEST_F(PostingTest, PaneDeletesAndMovesTheSelectedDraft)
{
    const std::string complete = "Newsgroups: fj.test\r\nSubject: old\r\nMessage-ID: <k@x>\r\n\r\nbody\r\n";
    const SeenBox ask = {L"PELNOR", L"草稿「old」を削除しますか?", MB_ICONQUESTION};
    const struct {
        const wchar_t *file, *root;
        std::string bytes;
        UINT command;
        int answer; /* 0: the box's default */
        std::vector<SeenBox> boxes;
        std::vector<DraftFile> after;
        const wchar_t *selected;
    } cases[] = {
        {L"d1.txt", L"草稿", complete, IDM_DRAFT_DELETE, 0, {ask}, {{L"d1.txt", complete}}, L"草稿/fj.test/old"},
        {L"d1.txt", L"草稿", complete, IDM_DRAFT_DELETE, IDYES, {ask}, {}, L"//"},
        {L"s1.txt", L"送信済", complete, IDM_DRAFT_DELETE, IDYES, {ask}, {}, L"//"},
        {L"d1.txt", L"草稿", complete, IDM_DRAFT_TO_WAITING, 0, {}, {{L"o1.txt", complete}}, L"送信待ち/fj.test/old"},
        {L"d1.txt", L"草稿", "Newsgroups: fj.test\r\nSubject: old\r\n", IDM_DRAFT_TO_DRAFTS, 0, {},
         {{L"d1.txt", "Newsgroups: fj.test\r\nSubject: old\r\n"}}, L"草稿/fj.test/old"},
        {L"o1.txt", L"送信待ち", complete, IDM_DRAFT_TO_DRAFTS, 0, {}, {{L"d1.txt", complete}}, L"草稿/fj.test/old"},
        {L"s1.txt", L"送信済", complete, IDM_DRAFT_TO_DRAFTS, 0, {},
         {{L"d1.txt", "Newsgroups: fj.test\r\nSubject: old\r\n\r\nbody\r\n"}}, L"草稿/fj.test/old"},
        {L"d1.txt", L"草稿", "Newsgroups: fj.test\r\nSubject: old\r\n\r\n", IDM_DRAFT_TO_WAITING, 0, {},
         {{L"o1.txt", "Newsgroups: fj.test\r\nSubject: old\r\n\r\n"}}, L"送信待ち/fj.test/old"},
        {L"d1.txt", L"草稿", "Subject: old\r\n\r\n", IDM_DRAFT_TO_WAITING, 0,
         {{L"PELNOR", kNeedNewsgroups, MB_ICONEXCLAMATION}}, {{L"d1.txt", "Subject: old\r\n\r\n"}},
         L"草稿/(none)/old"},
    };
    ASSERT_NE(StartWith(1), nullptr);
    for (const auto &c : cases) {
        ClearDrafts();
        ASSERT_TRUE(WriteFileBytes(Draft(c.file), c.bytes));
        Command(IDM_DRAFTS_GROUPS);
        Command(IDM_DRAFTS_VIEW);
        HTREEITEM leaf = Leaf(c.root, c.bytes.find("Newsgroups") == 0 ? L"fj.test" : L"(none)", L"old");
        ASSERT_NE(leaf, nullptr) << c.file << c.command;
        TreeView_SelectItem(Tree(), leaf);
        if (c.answer)
            watcher_.QueueAnswer(c.answer);
        Command(c.command);
        EXPECT_EQ(watcher_.seen(), c.boxes) << c.file << c.command;
        if (c.command == IDM_DRAFT_DELETE && !watcher_.boxes().empty()) {
            EXPECT_EQ(watcher_.boxes()[0].buttons, (std::vector<int>{IDYES, IDNO}));
        }
        EXPECT_EQ(Drafts(), c.after) << c.file << c.command;
        EXPECT_EQ(Selected(), c.selected) << c.file << c.command;
    }
}

/* With posting off nothing of it shows: compose only announces itself, the
 * new commands do nothing, a draft does not open, no item is added. */
TEST_F(PostingTest, WithPostingOffTheMenusAndCommandsAreTheFirstVersions)
{
    const std::string draft = "Newsgroups: fj.test\r\nSubject: old\r\n\r\nbody\r\n";
    ASSERT_NE(StartWith(0, {{{"Subject: a\r\n"}, {"b\r\n"}}}), nullptr);
    ASSERT_TRUE(WriteFileBytes(Draft(L"d1.txt"), draft));
    const struct {
        std::function<void()> act;
        std::vector<SeenBox> boxes;
    } cases[] = {
        {[&] { Command(IDM_COMPOSE); }, {{L"COMPOSE", L"Compoe!", 0}}},
        {[&] {
             OpenSubjects();
             Command(IDM_FOLLOW_UP);
             Command(IDM_SUBJECT_BACK);
         },
         {}},
        {[&] {
             Command(IDM_DRAFTS_VIEW);
             TreeView_SelectItem(Tree(), TreeView_GetChild(Tree(), TreeView_GetChild(Tree(), TreeView_GetNextSibling(
                                                                                              Tree(), TreeView_GetRoot(Tree())))));
             SendMessageW(Tree(), WM_KEYDOWN, VK_RETURN, 0);
             for (UINT id : {IDM_DRAFT_EDIT, IDM_DRAFT_DELETE, IDM_DRAFT_TO_WAITING})
                 Command(id);
         },
         {}},
    };
    for (const auto &c : cases) {
        watcher_.Clear();
        watcher_.WorkDialogs([](HWND) {});
        c.act();
        EXPECT_EQ(watcher_.seen(), c.boxes);
        EXPECT_EQ(watcher_.dialog_titles(), std::vector<std::wstring>{});
    }
    EXPECT_EQ(Drafts(), (std::vector<DraftFile>{{L"d1.txt", draft}}));
    for (UINT id : {IDM_DRAFTS_VIEW, IDM_COMPOSE, IDM_FOLLOW_UP, IDM_DRAFT_EDIT, IDM_DRAFT_DELETE})
        for (auto popup : {Popup(frame_.groupMenuBar, IDM_GROUP_POPUP), Popup(frame_.subjectMenuBar, IDM_SUBJECT_POPUP),
                           Popup(frame_.articleMenuBar, IDM_ARTICLE_POPUP)})
            EXPECT_EQ(GetMenuState(popup, id, MF_BYCOMMAND), (UINT)-1) << id;
    HMENU drafts = Popup(frame_.draftsMenuBar, IDM_DRAFTS_POPUP);
    for (UINT id : {IDM_DRAFT_EDIT, IDM_DRAFT_DELETE, IDM_DRAFT_TO_WAITING, IDM_DRAFT_TO_DRAFTS, IDM_SEND_ONLY})
        EXPECT_EQ(GetMenuState(drafts, id, MF_BYCOMMAND), (UINT)-1) << id;
}

/* The items come and go with the switch as the properties sheet saves it. */
TEST_F(PostingTest, PostingItemsFollowTheSwitchOfThePropertiesSheet)
{
    const struct {
        HWND AppFrame::*bar;
        UINT button;
        std::vector<std::wstring> items; /* with posting on */
    } menus[] = {
        {&AppFrame::groupMenuBar, IDM_GROUP_POPUP, {L"既読削除", L"記事取得", L"購読", L"読み飛ばし", L"検索...", L"草稿一覧", L"送信のみ"}},
        {&AppFrame::subjectMenuBar, IDM_SUBJECT_POPUP,
         {L"フィルタ...", L"", L"優先度高", L"通常", L"優先度低", L"", L"既読も表示", L"", L"未既読切替", L"",
          L"スレッド表示\tT", L"次のスレッド\tN", L"前のスレッド\tP", L"スレッドを既読に\tK", L"", L"検索...", L"起草",
          L"フォローアップ"}},
        {&AppFrame::articleMenuBar, IDM_ARTICLE_POPUP, {L"コピー", L"ヘッダ", L"次を検索", L"起草", L"フォローアップ"}},
        {&AppFrame::draftsMenuBar, IDM_DRAFTS_POPUP,
         {L"起草", L"編集", L"送信待ちへ移動", L"草稿へ移動", L"削除", L"送信のみ"}},
    };
    auto items = [&](HMENU menu) {
        std::vector<std::wstring> texts;
        for (int i = 0; i < GetMenuItemCount(menu); i++) {
            wchar_t text[64] = L"";
            GetMenuStringW(menu, i, text, 64, MF_BYPOSITION);
            texts.push_back(text);
        }
        return texts;
    };
    ASSERT_NE(StartWith(0), nullptr);
    std::vector<std::vector<std::wstring>> off;
    for (const auto &m : menus)
        off.push_back(items(Popup(frame_.*m.bar, m.button)));
    for (bool on : {true, false}) {
        watcher_.WorkDialogs([](HWND sheet) {
            HWND main = PropSheet_GetCurrentPageHwnd(sheet);
            ClickButton(main, IDC_MAIN_POSTING);
            ClickButton(sheet, IDOK);
        });
        Command(IDM_PROPERTIES);
        EXPECT_EQ(frame_.settings.Posting, on ? 1u : 0u);
        for (size_t i = 0; i < sizeof menus / sizeof menus[0]; i++)
            EXPECT_EQ(items(Popup(frame_.*menus[i].bar, menus[i].button)), on ? menus[i].items : off[i]) << on << i;
    }
}

/* With EditorPath set the draft is written (its fields empty to fill in)
 * and that program started on it; one that cannot start is told with the
 * system's reason. */
TEST_F(PostingTest, ExternalEditorIsStartedOnTheDraftFile)
{
    const std::wstring stub = WinePathOf(PELNOR_BUILD_DIR "/tests/editor_stub.exe");
    const std::wstring missing = data_.file(L"no-such-editor.exe");
    const struct {
        std::wstring program;
        const char *existing; /* a draft opened from the pane, or null: compose */
        std::string written;
        bool started;
    } cases[] = {
        {stub, nullptr, "Newsgroups: \r\nSubject: \r\n\r\n", true},
        {stub, "Newsgroups: fj.test\r\nSubject: old\r\n\r\nbody", "Newsgroups: fj.test\r\nSubject: old\r\n\r\nbody",
         true},
        {missing, nullptr, "Newsgroups: \r\nSubject: \r\n\r\n", false},
    };
    for (const auto &c : cases) {
        SetPelnorString(L"EditorPath", c.program);
        ASSERT_NE(StartWith(1), nullptr);
        ClearDrafts();
        watcher_.WorkDialogs([](HWND) {}); /* the built-in editor must not open */
        if (c.existing) {
            ASSERT_TRUE(WriteFileBytes(Draft(L"d1.txt"), c.existing));
            Command(IDM_DRAFTS_VIEW);
            TreeView_SelectItem(Tree(), Leaf(L"草稿", L"fj.test", L"old"));
            Command(IDM_DRAFT_EDIT);
        } else {
            Command(IDM_COMPOSE);
        }
        std::vector<DraftFile> files = Drafts();
        ASSERT_EQ(files.size(), 1u);
        EXPECT_EQ(files[0].second, c.written);
        std::wstring path = Draft(files[0].first), opened = path + L".opened";
        if (c.started) {
            EXPECT_TRUE(Pump([&] { return FileExists(opened); }));
            std::string seen = FileBytes(opened);
            EXPECT_EQ(std::wstring((const wchar_t *)seen.data(), seen.size() / 2), L"1 " + path);
            EXPECT_EQ(watcher_.seen(), std::vector<SeenBox>{});
        } else {
            ASSERT_EQ(watcher_.boxes().size(), 1u);
            const RecordedBox &box = watcher_.boxes()[0];
            EXPECT_EQ(box.caption, L"PELNOR");
            EXPECT_EQ(box.icon, (UINT)MB_ICONERROR);
            std::wstring first = L"外部エディタ " + missing + L" を起動できませんでした。\r\n";
            EXPECT_EQ(box.text.substr(0, first.size()), first);
            EXPECT_GT(box.text.size(), first.size() + 3) << "the system's words";
            EXPECT_EQ(box.text.substr(box.text.size() - 3), L"(2)");
        }
        DeleteFileW(opened.c_str());
        TearDown();
        SetUp();
    }
}

} // namespace
