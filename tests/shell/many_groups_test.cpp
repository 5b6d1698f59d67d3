/*
 * The frame started on a folder of many groups: every row is listed at once
 * and keys are answered while the groups' files are checked in the
 * background. What the user does meanwhile waits for the groups it
 * touches, so files, rows and boxes come out as a start that checked every
 * group first leaves them; closing the frame stops the check.
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <map>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "shell/group_checks.h"
#include "support/frame_fixture.h"
#include "support/group_bytes.h"
#include "support/registry_fixture.h"
#include "support/script_client.h"

namespace {

/* What the user does while the check goes on. */
enum During { kNothing, kOpenLast, kCatchUpLast, kDownload, kDeleteRead, kSubscribe, kClose };

struct StartCase {
    const char *name;
    int groups;      /* fj.many.g0, g1, ... and, last, fj.many.last */
    bool later;      /* a later start: every group has its index (last fetched = its number) */
    bool logs;       /* every group has a log (empty), as after a first run */
    int damaged;     /* the group with an index of an unknown version, or -1 */
    During during;
    std::vector<SeenBox> boxes; /* every box shown, in order */
};

const std::wstring kLast = L"fj.many.last";
const std::wstring kNew = L"fj.many.new"; /* what the subscribe dialog adds */
const std::wstring kRefused = L"グループへ移動できませんでした : 411 No such group";

std::wstring GroupName(int number)
{
    return L"fj.many.g" + std::to_wstring(number);
}

/* fj.many.last has a log of two articles and no index: it is made from the
 * log. */
std::vector<GroupArticle> LastArticles()
{
    return {{L"a@example.jp", L"first", "0305", {L"body"}}, {L"b@example.jp", L"second", "0305", {L"body"}}};
}

/* The index bytes of fj.many.last made from its log (articles 10 and 11),
 * read when `read`. */
std::string LastIndex(bool read, const std::string &status)
{
    GroupBytes g;
    HeaderFields h;
    h.last_fetched = 11;
    h.status = status;
    for (const GroupArticle &a : LastArticles()) {
        g.Add({"From: " + Sjis(a.from) + "\r\n", "Subject: " + Sjis(a.subject) + "\r\n", "Date: 5 Mar 2024\r\n"},
              {Sjis(a.body[0]) + "\r\n"},
              RecordFields{read ? 1u : 0u, 10 + h.record_count, 0, 0, Sjis(a.subject), a.date, Sjis(a.from)});
        h.record_count++;
        h.unread += read ? 0 : 1;
    }
    return g.Index(h);
}

const std::string kDamaged = U32(6) + std::string(96, '\0');

class ManyGroupsTest : public FrameFixture {
protected:
    /* The header every group but fj.many.last and a damaged one has once
     * the case is over. */
    static HeaderFields Header(const StartCase &c, int number)
    {
        HeaderFields h;
        if (c.later) {
            h.last_fetched = (uint32_t)number;
            h.server_last = (uint32_t)number + 5000;
        }
        if (c.during == kDownload)
            h.status = Sjis(kRefused);
        return h;
    }

    /* The folder of a case: group.dat, the indexes of a later start or the
     * empty logs, the damaged index, fj.many.last's log; for the subscribe dialog a list of
     * the server's groups. */
    static void WriteFolder(const TempFolder &data, const StartCase &c)
    {
        std::string names;
        for (int g = 0; g < c.groups - 1; g++) {
            names += Sjis(GroupName(g)) + "\r\n";
            if (c.later) {
                ASSERT_TRUE(WriteFileBytes(data.file(GroupName(g) + L".idx"), HeaderBytes(Header(c, g))));
            }
            if (c.logs) {
                ASSERT_TRUE(WriteFileBytes(data.file(GroupName(g) + L".log"), ""));
            }
        }
        names += Sjis(kLast) + "\r\n";
        ASSERT_TRUE(WriteFileBytes(data.file(L"group.dat"), names));
        if (c.damaged >= 0) {
            ASSERT_TRUE(WriteFileBytes(data.file(GroupName(c.damaged) + L".idx"), kDamaged));
        }
        WriteGroupFiles(data, kLast, LastArticles());
        ASSERT_TRUE(DeleteFileW(data.file(kLast + L".idx").c_str()));
        ASSERT_TRUE(WriteFileBytes(data.file(L"category.dat"), "fj\r\n"));
        ASSERT_TRUE(WriteFileBytes(data.file(L"active.dat"), Sjis(kNew) + "\r\n"));
    }

    void Play(const StartCase &c);

    int Selected() { return (int)SendMessageW(frame_.groupView->list, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED); }

    /* The row of a group as a start that checks everything first shows it:
     * name, unread, articles, status, current, maximum. */
    static std::vector<std::wstring> Row(const StartCase &c, const std::wstring &name)
    {
        if (name == kLast) {
            const wchar_t *unread = c.during == kCatchUpLast ? L"0" : L"2";
            return {name, unread, L"2", c.during == kDownload ? kRefused : L"", L"11", L"0"};
        }
        int number = name == kNew ? -1 : _wtoi(name.c_str() + 9);
        if (number >= 0 && number == c.damaged)
            return {name, L"", L"", L"", L"", L""};
        HeaderFields h = Header(c, number < 0 ? 0 : number);
        if (name == kNew)
            h = HeaderFields();
        return {name, L"0", L"0", c.during == kDownload ? kRefused : L"", std::to_wstring(h.last_fetched),
                std::to_wstring(h.server_last)};
    }

    static std::string Index(const StartCase &c, const std::wstring &name)
    {
        if (name == kLast)
            return LastIndex(c.during == kCatchUpLast, c.during == kDownload ? Sjis(kRefused) : "");
        if (name == kNew)
            return HeaderBytes(HeaderFields());
        int number = _wtoi(name.c_str() + 9);
        return number == c.damaged ? kDamaged : HeaderBytes(Header(c, number));
    }
};

const SeenBox kUnknownVersion{L"PELNOR", L"インデックスが不正です。", MB_ICONEXCLAMATION};

/* One case over a folder of its own, which outlives the frame. */
void ManyGroupsTest::Play(const StartCase &c)
{
    TempFolder data;
    struct Restart {
        ManyGroupsTest *test;
        ~Restart()
        {
            test->TearDown();
            test->SetUp();
        }
    } restart{this};

    watcher_.Clear();
    watcher_.SetDialogHandler(nullptr);
    NntpScript script;
    SeedCompleteSettings(data.path());
    if (c.during == kDownload) {
        script.Send("200 ready\r\n");
        for (int g = 0; g < c.groups; g++)
            script.Reply("411 No such group\r\n");
        SetPelnorDword(L"Port", (DWORD)script.Start());
        SetPelnorDword(L"Compress", 0);
    }
    WriteFolder(data, c);
    ASSERT_NE(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    HWND list = frame_.groupView->list;

    /* Every row at once, the first ones filled, while the other groups are
     * still being checked; on the first start of the most groups, a key is
     * answered meanwhile. */
    ASSERT_EQ(ListViewRowCount(list), c.groups);
    EXPECT_EQ(ListViewText(list, 0, 0), GroupName(0));
    EXPECT_EQ(ListViewText(list, 0, kColumnArticles), L"0");
    ASSERT_TRUE(GroupChecksRunning(&frame_));
    if (c.during == kNothing && !c.later && c.damaged < 0) {
        PostMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
        PostMessageW(list, WM_KEYUP, VK_DOWN, 0);
        ASSERT_TRUE(Pump([&] { return Selected() == 1; }));
        EXPECT_TRUE(GroupChecksRunning(&frame_)) << "the check was over before the key was answered";
    }

    int last = c.groups - 1;
    switch (c.during) {
    case kNothing:
        break;
    case kOpenLast:
        DoubleClickListRow(list, last);
        EXPECT_EQ(frame_.currentView, kSubjectView);
        Command(IDM_SUBJECT_BACK);
        EXPECT_EQ(ListViewText(list, last, kColumnUnread), L"2");
        break;
    case kCatchUpLast:
        watcher_.SetDialogHandler([](HWND dialog) {
            CheckDlgButton(dialog, IDC_CATCHUP_LOCAL, BST_CHECKED);
            CheckDlgButton(dialog, IDC_CATCHUP_SERVER, BST_UNCHECKED);
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        });
        ListView_SetItemState(list, last, LVIS_SELECTED, LVIS_SELECTED);
        Command(IDM_CATCHUP);
        EXPECT_EQ(ListViewText(list, last, kColumnUnread), L"0");
        break;
    case kDownload: {
        Command(IDM_GET_ARTICLES, 1);
        std::string groups;
        for (int g = 0; g < c.groups - 1; g++)
            groups += "GROUP " + Sjis(GroupName(g)) + "\r\n";
        EXPECT_EQ(script.Transcript(), groups + "GROUP " + Sjis(kLast) + "\r\nQUIT\r\n");
        break;
    }
    case kDeleteRead:
        watcher_.QueueAnswer(IDYES);
        Command(IDM_DELETE_READ);
        break;
    case kSubscribe:
        watcher_.SetDialogHandler([](HWND dialog) {
            RunSoon([dialog] {
                HWND groups = GetDlgItem(dialog, IDC_SUBSCRIBE_LIST);
                DoubleClickListRow(groups, ListViewRow(groups, L"fj"));
                DoubleClickListRow(groups, ListViewRow(groups, kNew));
                ClickButton(dialog, IDOK);
            });
        });
        Command(IDM_SUBSCRIBE);
        break;
    case kClose: {
        /* The check stops after its group: no index is left half made, and
         * the groups not reached have none yet. */
        SendMessageW(frame_.mainWindow, WM_CLOSE, 0, 0);
        EXPECT_FALSE(IsWindow(frame_.mainWindow));
        EXPECT_FALSE(GroupChecksRunning(&frame_));
        int missing = 0;
        for (int g = 0; g < c.groups - 1; g++) {
            std::wstring index = data.file(GroupName(g) + L".idx");
            if (!FileExists(index))
                missing++;
            else
                EXPECT_EQ(FileBytes(index), HeaderBytes(HeaderFields())) << g;
        }
        EXPECT_GT(missing, 0) << "the check was over before the frame closed";
        EXPECT_TRUE(watcher_.boxes().empty());
        return;
    }
    }

    ASSERT_TRUE(Pump([&] { return !GroupChecksRunning(&frame_); }));
    EXPECT_EQ(watcher_.seen(), c.boxes);
    std::vector<std::wstring> names;
    for (int g = 0; g < c.groups - 1; g++)
        names.push_back(GroupName(g));
    names.push_back(kLast);
    if (c.during == kSubscribe)
        names.push_back(kNew);
    std::map<std::wstring, std::vector<std::wstring>> rows;
    for (int row = 0; row < ListViewRowCount(list); row++)
        for (int column = 0; column < 6; column++)
            rows[ListViewText(list, row, 0)].push_back(ListViewText(list, row, column));
    ASSERT_EQ(rows.size(), names.size());
    for (const std::wstring &name : names) {
        EXPECT_EQ(rows[name], Row(c, name)) << Sjis(name);
        EXPECT_EQ(FileBytes(data.file(name + L".idx")), Index(c, name)) << Sjis(name);
    }
}

TEST_F(ManyGroupsTest, RowsComeAtOnceAndWhatTheUserDoesMeanwhileWaitsForItsGroups)
{
    const StartCase cases[] = {
        {"first start", 1000, false, false, -1, kNothing, {}},
        {"later start", 1000, true, false, -1, kNothing, {}},
        /* Named once every group is checked, as after a start that checked
         * them all first. */
        {"damaged index", 400, false, false, 300, kNothing,
         {kUnknownVersion, {L"GROUP", L"インデックスファイルの初期化に失敗しました(13)\r\nfj.many.g300", MB_ICONERROR}}},
        {"opening a group not reached yet", 600, false, false, -1, kOpenLast, {}},
        {"catch-up of a group not reached yet", 600, true, false, -1, kCatchUpLast, {}},
        /* The run waits for each group's files: every group keeps the
         * server's answer, none an index failure. */
        {"download", 300, false, false, -1, kDownload, {{L"Disconnect", L"ダウンロードが終了しました。", 0}}},
        /* Each group is done once its index is there: no group fails. */
        {"delete read articles", 400, false, true, -1, kDeleteRead,
         {{L"Delete read articles", L"既読記事を削除しますか?", MB_ICONQUESTION}}},
        {"a group subscribed", 500, false, false, -1, kSubscribe, {}},
        {"closing the frame", 1000, false, false, -1, kClose, {}},
    };
    for (const StartCase &c : cases) {
        SCOPED_TRACE(c.name);
        Play(c);
    }
}

} // namespace
