#include <gtest/gtest.h>

#include <windows.h>

#include <functional>

#include "filters/keyword_filter.h"
#include "resources/resource.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"
#include "views/keyword_dialog.h"

namespace {

class KeywordDialogTest : public ::testing::Test {
protected:
    /* Runs the dialog on fj.a.flt holding `before`; `act` works it after it
     * is shown. The dialog's result, the combo's items (text and data) and
     * the radio checked when `act` began. */
    INT_PTR Run(const std::string &before, const wchar_t *proposed, std::function<void(HWND)> act)
    {
        if (!before.empty())
            WriteFileBytes(path_, before);
        watcher_.WorkDialogs([&](HWND dialog) {
            HWND combo = GetDlgItem(dialog, IDC_KEYWORD);
            items_.clear();
            for (int i = 0; i < (int)SendMessageW(combo, CB_GETCOUNT, 0, 0); i++) {
                wchar_t text[256];
                SendMessageW(combo, CB_GETLBTEXT, i, (LPARAM)text);
                items_.push_back(std::wstring(text) + L"=" +
                                 std::to_wstring(SendMessageW(combo, CB_GETITEMDATA, i, 0)));
            }
            selected_ = (int)SendMessageW(combo, CB_GETCURSEL, 0, 0);
            act(dialog);
        });
        KeywordDialogState state;
        return RunKeywordDialog(&state, GetModuleHandleW(nullptr), nullptr, path_.c_str(), proposed, references_);
    }

    TempFolder data_;
    std::wstring path_ = data_.file(L"fj.a.flt");
    ModalWatcher watcher_;
    std::vector<std::wstring> items_;
    int selected_ = -1;
    int references_ = 0; /* DecodeCharsets */
};

TEST_F(KeywordDialogTest, OkWritesTheWholeListCancelNothing)
{
    const std::string file = "+ beta\r\n- alpha\r\n\r\n";
    /* The proposed subject, normal, then the file's keywords, sorted. */
    EXPECT_EQ(Run(file, L"京都", [](HWND d) { ClickButton(d, IDCANCEL); }), 2);
    EXPECT_EQ(items_, (std::vector<std::wstring>{L"alpha=1", L"beta=2", L"京都=0"}));
    EXPECT_EQ(selected_, 2);
    EXPECT_EQ(FileBytes(path_), file);

    const struct {
        const char *what;
        std::function<void(HWND)> act;
        std::string after;
    } cases[] = {
        {"proposed made high", [](HWND d) { ClickButton(d, IDC_KEYWORD_HIGH); },
         "- alpha\r\n+ beta\r\n+ \x8B\x9E\x93\x73\r\n"},
        {"existing made normal",
         [](HWND d) {
             SendDlgItemMessageW(d, IDC_KEYWORD, CB_SETCURSEL, 1, 0); /* beta */
             SendMessageW(d, WM_COMMAND, MAKEWPARAM(IDC_KEYWORD, CBN_SELCHANGE), 0);
             EXPECT_TRUE(IsDlgButtonChecked(d, IDC_KEYWORD_HIGH));
             ClickButton(d, IDC_KEYWORD_NORMAL);
         },
         "- alpha\r\n"},
        {"typed, low",
         [](HWND d) {
             HWND edit = GetWindow(GetDlgItem(d, IDC_KEYWORD), GW_CHILD);
             SetWindowTextW(edit, L"");
             for (wchar_t c : std::wstring(L"gamma"))
                 SendMessageW(edit, WM_CHAR, c, 0);
             ClickButton(d, IDC_KEYWORD_LOW);
         },
         "- alpha\r\n+ beta\r\n- gamma\r\n"},
        {"empty edit, high",
         [](HWND d) {
             SetDlgItemTextW(d, IDC_KEYWORD, L"");
             SendDlgItemMessageW(d, IDC_KEYWORD, CB_SETCURSEL, (WPARAM)-1, 0);
             ClickButton(d, IDC_KEYWORD_HIGH);
         },
         "+ \r\n- alpha\r\n+ beta\r\n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Run(file, L"京都", [&](HWND d) {
                      c.act(d);
                      ClickButton(d, IDOK);
                  }),
                  1)
            << c.what;
        EXPECT_EQ(FileBytes(path_), c.after) << c.what;
        EXPECT_FALSE(FileExists(path_ + L"~")) << c.what;
    }
    EXPECT_TRUE(watcher_.boxes().empty());
}

/* A keyword typed with characters Shift_JIS lacks is stored as subjects of
 * any charset are, and the filter loaded from it then picks such a subject
 * out; without DecodeCharsets it is written as before. */
TEST_F(KeywordDialogTest, KeywordsAreWrittenAsSubjectsOfAnyCharsetAreStored)
{
    const struct {
        int references;
        const wchar_t *typed;
        std::string line;    /* written to the file */
        const char *subject; /* as stored */
        int priority;        /* of that subject under the file */
    } cases[] = {
        {1, L"\U0001F600祭り", "+ &#x1F600;\x8D\xD5\x82\xE8\r\n", "Re: &#x1F600;\x8D\xD5\x82\xE8!", kPriorityHigh},
        {1, L"caf\u00E9", "+ caf&#xE9;\r\n", "caf&#xE9; au lait", kPriorityHigh},
        {1, L"caf\u00E9", "+ caf&#xE9;\r\n", "cafe", kPriorityNormal},
        {1, L"\u304B\u3099\uFF71", "+ \x82\xA9&#x3099;\xB1\r\n", "\x82\xA9&#x3099;\xB1", kPriorityHigh},
        {1, L"\u304C & \U0001F44D\U0001F3FD", "+ \x82\xAA & &#x1F44D;&#x1F3FD;\r\n", "x\x82\xAA & &#x1F44D;&#x1F3FD;",
         kPriorityHigh},
        {1, L"\u2764\uFE0F", "+ &#x2764;&#xFE0F;\r\n", "&#x2764;&#xFE0F;", kPriorityHigh},
        {0, L"caf\u00E9", "+ cafe\r\n", "caf&#xE9;", kPriorityNormal},
        {0, L"\u304C", "+ \x82\xAA\r\n", "\x82\xAA", kPriorityHigh},
    };
    for (const auto &c : cases) {
        references_ = c.references;
        DeleteFileW(path_.c_str());
        EXPECT_EQ(Run("", nullptr, [&](HWND d) {
                      SetDlgItemTextW(d, IDC_KEYWORD, c.typed);
                      ClickButton(d, IDC_KEYWORD_HIGH);
                      ClickButton(d, IDOK);
                  }),
                  1)
            << c.line;
        EXPECT_EQ(FileBytes(path_), c.line);
        KeywordFilter filter;
        KeywordFilterInit(&filter);
        ASSERT_TRUE(LoadKeywordFilter(&filter, path_.c_str()));
        EXPECT_EQ(MatchKeywordFilter(&filter, c.subject), c.priority) << c.line;
        ClearKeywordFilter(&filter);
    }
}

TEST_F(KeywordDialogTest, FilesThatCannotBeOpenedAreReported)
{
    /* A folder in the file's place: it cannot be read, nor replaced. */
    ASSERT_TRUE(CreateDirectoryW(path_.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW((path_ + L"~").c_str(), nullptr));
    EXPECT_EQ(Run("", nullptr, [](HWND d) { ClickButton(d, IDOK); }), 2);
    EXPECT_TRUE(items_.empty());
    const SeenBox refused{path_, L"ファイルが開けませんでした(5)", MB_ICONERROR};
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{refused, refused}));
}

} // namespace
