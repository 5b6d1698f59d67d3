#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <prsht.h>
#include <raserror.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "properties/settings_sheet.h"
#include "resources/resource.h"
#include "support/gui_helper.h"
#include "support/registry_fixture.h"
#include "support/scripted_ras.h"
#include "support/temp_folder.h"

namespace {

enum Page { kMain, kAuth, kKeys, kConnection, kCharacters, kColour, kUser, kPosting };

HWND CurrentPage(HWND sheet)
{
    return (HWND)SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0);
}

/* The tab the user taps. */
HWND GoTo(HWND sheet, int page)
{
    PropSheet_SetCurSel(sheet, nullptr, page);
    return CurrentPage(sheet);
}

/* Whether the failed check left `control` focused with all its text
 * selected. */
bool MarkedForCorrection(HWND page, int control)
{
    HWND field = GetDlgItem(page, control);
    DWORD start = 1, end = 0;
    SendMessageW(field, EM_GETSEL, (WPARAM)&start, (LPARAM)&end);
    return GetFocus() == field && start == 0 && end == (DWORD)GetWindowTextLengthW(field);
}

/* The controls of the sheet's current page that the user cannot see whole:
 * outside the page, or under the sheet's buttons. */
std::vector<int> ControlsOutOfSight(HWND sheet)
{
    HWND page = CurrentPage(sheet);
    RECT shown, button;
    GetWindowRect(page, &shown);
    GetWindowRect(GetDlgItem(sheet, IDOK), &button);
    if (shown.bottom > button.top)
        shown.bottom = button.top;
    std::vector<int> hidden;
    for (HWND child = GetWindow(page, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        RECT rc;
        GetWindowRect(child, &rc);
        if (ClassNameOf(child) == L"ComboBox") /* its list drops over the rest */
            rc.bottom = rc.top + (int)SendMessageW(child, CB_GETITEMHEIGHT, (WPARAM)-1, 0) + 6;
        if (rc.left < shown.left || rc.top < shown.top || rc.right > shown.right || rc.bottom > shown.bottom)
            hidden.push_back(GetDlgCtrlID(child));
    }
    return hidden;
}

class SettingsSheetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DeletePelnorKey();
        InitSettings(&settings_);
    }
    void TearDown() override
    {
        for (HFONT font : {settings_.ArticleFont, settings_.SubjectFont})
            DeleteObject(font);
        FreeSettings(&settings_);
        DeletePelnorKey();
    }

    /* Runs the sheet; `act` works it once it shows. Other dialogs opened
     * from it (the file chooser) go to `chooser`. */
    int Run(std::function<void(HWND sheet)> act, std::function<void(HWND dialog)> chooser = nullptr)
    {
        watcher_.WorkDialogs([&](HWND dialog) {
            /* The sheet is told by its tabs: its caption is set after it shows. */
            if (const auto &work = PropSheet_GetTabControl(dialog) ? act : chooser)
                work(dialog);
        });
        return RunSettingsSheet(&settings_, GetModuleHandleW(nullptr), nullptr);
    }

    /* The main page typed in; by default complete, over `data_`. */
    void FillMain(HWND page, const wchar_t *server = L"news.example.jp", const wchar_t *port = L"119",
                  const std::wstring &folder = L"", const wchar_t *limit = L"50")
    {
        SetDlgItemTextW(page, IDC_MAIN_SERVER, server);
        SetDlgItemTextW(page, IDC_MAIN_PORT, port);
        SetDlgItemTextW(page, IDC_MAIN_FOLDER, (folder.empty() ? data_.path() : folder).c_str());
        SetDlgItemTextW(page, IDC_MAIN_LIMIT, limit);
    }

    Settings settings_;
    TempFolder data_;
    ModalWatcher watcher_;
};

TEST_F(SettingsSheetTest, MainPageRefusesEachBadFieldAndKeepsThePageThenSavesWhatIsTyped)
{
    const struct {
        const wchar_t *server, *port, *folder, *limit;
        int failing;
    } refused[] = {
        {L"   ", L"119", L"", L"50", IDC_MAIN_SERVER},
        {L"news", L"80a", L"", L"50", IDC_MAIN_PORT},
        {L"news", L"119", L"no-such-folder", L"50", IDC_MAIN_FOLDER},
        {L"news", L"119", L"   ", L"50", IDC_MAIN_FOLDER},
        {L"news", L"119", L"", L"5 0", IDC_MAIN_LIMIT},
    };
    for (const auto &c : refused) {
        bool kept_on_leave = false, kept_on_ok = false, marked = false;
        EXPECT_EQ(Run([&](HWND sheet) {
                      HWND page = CurrentPage(sheet);
                      FillMain(page, c.server, c.port, *c.folder == L'n' ? data_.file(c.folder) : c.folder, c.limit);
                      kept_on_leave = GoTo(sheet, kAuth) == page &&
                                      TabCtrl_GetCurSel(PropSheet_GetTabControl(sheet)) == kMain;
                      ClickButton(sheet, IDOK);
                      kept_on_ok = IsWindow(sheet) && CurrentPage(sheet) == page;
                      marked = MarkedForCorrection(page, c.failing);
                      ClickButton(sheet, IDCANCEL);
                  }),
                  2)
            << c.failing;
        EXPECT_TRUE(kept_on_leave && kept_on_ok && marked) << c.failing;
    }
    EXPECT_TRUE(watcher_.boxes().empty());
    EXPECT_EQ(PelnorValue(L"Server").type, 0u) << "a cancelled sheet saves nothing";

    /* Leading blanks and trailing backslashes go; an empty port is 0 and
     * five digits are taken as typed. */
    EXPECT_EQ(Run([&](HWND sheet) {
                  FillMain(CurrentPage(sheet), L"  news.example.jp", L"", L" " + data_.path() + L"\\\\", L"123456");
                  ClickButton(sheet, IDOK);
              }),
              1);
    EXPECT_EQ(PelnorValue(L"Server"), TextValue(L"news.example.jp"));
    EXPECT_EQ(PelnorValue(L"Port"), DwordValue(0));
    EXPECT_EQ(PelnorValue(L"DataPath"), TextValue(data_.path()));
    EXPECT_EQ(PelnorValue(L"Limit"), DwordValue(123456));
}

/* The port follows the encryption mode while it is the old mode's usual
 * port; one the user typed stays. The two boxes show their defaults and
 * are saved as left. */
TEST_F(SettingsSheetTest, PortFollowsTheEncryptionModeUnlessTyped)
{
    std::vector<std::wstring> ports;
    LRESULT compress_shown = 0, charsets_shown = 0;
    EXPECT_EQ(Run([&](HWND sheet) {
                  HWND page = CurrentPage(sheet);
                  compress_shown = SendDlgItemMessageW(page, IDC_MAIN_COMPRESS, BM_GETCHECK, 0, 0);
                  charsets_shown = SendDlgItemMessageW(page, IDC_MAIN_CHARSETS, BM_GETCHECK, 0, 0);
                  FillMain(page);
                  HWND mode = GetDlgItem(page, IDC_MAIN_TLS);
                  auto choose = [&](int index) {
                      SendMessageW(mode, CB_SETCURSEL, index, 0);
                      SendMessageW(page, WM_COMMAND, MAKEWPARAM(IDC_MAIN_TLS, CBN_SELCHANGE), (LPARAM)mode);
                      ports.push_back(WindowText(GetDlgItem(page, IDC_MAIN_PORT)));
                  };
                  choose(kTlsImplicit);
                  choose(kTlsStartTls);
                  SetDlgItemTextW(page, IDC_MAIN_PORT, L"8119");
                  choose(kTlsImplicit);
                  ClickButton(page, IDC_MAIN_COMPRESS);
                  ClickButton(page, IDC_MAIN_CHARSETS);
                  ClickButton(sheet, IDOK);
              }),
              1);
    EXPECT_EQ(ports, (std::vector<std::wstring>{L"563", L"119", L"8119"}));
    EXPECT_EQ(compress_shown, BST_CHECKED);
    EXPECT_EQ(charsets_shown, BST_CHECKED);
    EXPECT_EQ(PelnorValue(L"TlsMode"), DwordValue(kTlsImplicit));
    EXPECT_EQ(PelnorValue(L"Port"), DwordValue(8119));
    EXPECT_EQ(PelnorValue(L"Compress"), DwordValue(0));
    EXPECT_EQ(PelnorValue(L"DecodeCharsets"), DwordValue(0));
}

TEST_F(SettingsSheetTest, AuthenticationStoresTheLoginOnlyWhenBothPasswordsMatch)
{
    const struct {
        bool use;
        const wchar_t *id, *password, *again;
        int failing; /* 0: accepted */
        StoredValue user_id, stored_password;
    } cases[] = {
        {true, L"  taro", L"himitsu", L"himitsu", 0, TextValue(L"taro"), TextValue(L"himitsu")},
        {true, L"taro", L"", L"", 0, TextValue(L"taro"), StoredValue{}},
        {true, L"taro", L"abc", L"", IDC_AUTH_PASSWORD, {}, {}},
        {true, L"taro", L"abc", L"abd", IDC_AUTH_REENTER, {}, {}},
        {true, L"   ", L"abc", L"abc", IDC_AUTH_ID, {}, {}},
        {false, L"", L"", L"", 0, StoredValue{}, StoredValue{}},
    };
    for (const auto &c : cases) {
        SetPelnorString(L"UserID", L"old");
        SetPelnorString(L"Password", L"oldpass");
        bool marked = true, enabled = false;
        int result = Run([&](HWND sheet) {
            FillMain(CurrentPage(sheet));
            HWND page = GoTo(sheet, kAuth);
            enabled = IsWindowEnabled(GetDlgItem(page, IDC_AUTH_ID)) &&
                      WindowText(GetDlgItem(page, IDC_AUTH_ID)) == L"old";
            if (!c.use)
                ClickButton(page, IDC_AUTH_USE);
            SetDlgItemTextW(page, IDC_AUTH_ID, c.id);
            SetDlgItemTextW(page, IDC_AUTH_PASSWORD, c.password);
            SetDlgItemTextW(page, IDC_AUTH_REENTER, c.again);
            ClickButton(sheet, IDOK);
            if (c.failing) {
                marked = MarkedForCorrection(page, c.failing);
                ClickButton(sheet, IDCANCEL);
            }
        });
        EXPECT_TRUE(enabled);
        EXPECT_EQ(result, c.failing ? 2 : 1) << c.failing;
        EXPECT_TRUE(marked) << c.failing;
        if (!c.failing) {
            EXPECT_EQ(PelnorValue(L"UserID"), c.user_id);
            EXPECT_EQ(PelnorValue(L"Password"), c.stored_password);
        }
    }
}

TEST_F(SettingsSheetTest, ConnectionListsThePhoneBookAndNeedsAnEntryToDial)
{
    ScriptedRas ras;
    ras.phone_book = {L"Office", L"`hidden", L"Home"};
    SetPelnorDword(L"Dialup", 1);
    SetPelnorString(L"EntryName", L"Home");
    SetPelnorDword(L"DisconnectWaitTime", 7);
    std::vector<std::wstring> listed;
    std::wstring selected, wait;
    bool marked = false;
    EXPECT_EQ(Run([&](HWND sheet) {
                  FillMain(CurrentPage(sheet));
                  HWND page = GoTo(sheet, kConnection);
                  HWND list = GetDlgItem(page, IDC_CONN_ENTRY);
                  for (int i = 0; i < (int)SendMessageW(list, CB_GETCOUNT, 0, 0); i++) {
                      wchar_t text[64];
                      SendMessageW(list, CB_GETLBTEXT, i, (LPARAM)text);
                      listed.push_back(text);
                  }
                  selected = WindowText(list);
                  wait = WindowText(GetDlgItem(page, IDC_CONN_WAIT));
                  SendMessageW(list, CB_SETCURSEL, (WPARAM)-1, 0);
                  ClickButton(sheet, IDOK);
                  marked = GetFocus() == list && IsWindow(sheet);
                  SendMessageW(list, CB_SHOWDROPDOWN, FALSE, 0);
                  SendMessageW(list, CB_SETCURSEL, 0, 0);
                  SetDlgItemTextW(page, IDC_CONN_WAIT, L"30");
                  ClickButton(sheet, IDOK);
              }),
              1);
    EXPECT_EQ(listed, (std::vector<std::wstring>{L"Office", L"Home"}));
    EXPECT_EQ(selected, L"Home");
    EXPECT_EQ(wait, L"7");
    EXPECT_TRUE(marked);
    EXPECT_EQ(PelnorValue(L"Dialup"), DwordValue(1));
    EXPECT_EQ(PelnorValue(L"EntryName"), TextValue(L"Office"));
    EXPECT_EQ(PelnorValue(L"DisconnectWaitTime"), DwordValue(30));

    /* Without a phone book there is nothing to dial. */
    ras.enum_error = ERROR_CANNOT_OPEN_PHONEBOOK;
    bool box_off = false;
    EXPECT_EQ(Run([&](HWND sheet) {
                  HWND page = GoTo(sheet, kConnection);
                  HWND box = GetDlgItem(page, IDC_CONN_DIALUP);
                  box_off = !IsWindowEnabled(box) && SendMessageW(box, BM_GETCHECK, 0, 0) == BST_UNCHECKED &&
                            !IsWindowEnabled(GetDlgItem(page, IDC_CONN_ENTRY));
                  ClickButton(sheet, IDOK);
              }),
              1);
    EXPECT_TRUE(box_off);
    EXPECT_EQ(PelnorValue(L"Dialup"), DwordValue(0));
}

TEST_F(SettingsSheetTest, CharactersAndColoursAreSavedAsChosen)
{
    SeedCompleteSettings(data_.path());
    SetPelnorDword(L"FontSizeS", 20);
    SetPelnorDword(L"KeyMode", 1);
    const COLORREF header = RGB(0x12, 0x34, 0x56);
    SetPelnorString(L"FontName", L"no such face");
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\marrowby\\Pelnor", L"HeaderColor", REG_BINARY, &header, 4);
    std::vector<std::wstring> faces;
    COLORREF sample_shown = 0;
    EXPECT_EQ(Run([&](HWND sheet) {
                  ClickButton(GoTo(sheet, kKeys), IDC_KEYS_ONE_LINE); /* off */
                  HWND chars = GoTo(sheet, kCharacters);
                  HWND fonts = GetDlgItem(chars, IDC_CHARS_FONT);
                  for (int i = 0; i < (int)SendMessageW(fonts, CB_GETCOUNT, 0, 0); i++) {
                      wchar_t face[LF_FACESIZE]; /* names come from LOGFONT */
                      SendMessageW(fonts, CB_GETLBTEXT, i, (LPARAM)face);
                      faces.push_back(face);
                  }

                  HWND colour = GoTo(sheet, kColour);
                  HWND red = GetDlgItem(colour, IDC_COLOUR_RED), items = GetDlgItem(colour, IDC_COLOUR_ITEM);
                  auto pick = [&](int item) {
                      SendMessageW(items, CB_SETCURSEL, item, 0);
                      SendMessageW(colour, WM_COMMAND, MAKEWPARAM(IDC_COLOUR_ITEM, CBN_SELCHANGE), (LPARAM)items);
                  };
                  /* Header lines: red 0x12 + 1 + 10, blue 0x56 - 10 */
                  SendMessageW(colour, WM_HSCROLL, SB_LINERIGHT, (LPARAM)red);
                  SendMessageW(colour, WM_HSCROLL, SB_PAGERIGHT, (LPARAM)red);
                  SendMessageW(colour, WM_HSCROLL, SB_PAGELEFT, (LPARAM)GetDlgItem(colour, IDC_COLOUR_BLUE));
                  sample_shown = (COLORREF)GetWindowLongPtrW(GetDlgItem(colour, IDC_COLOUR_SAMPLE), GWLP_USERDATA);
                  /* Quoted lines: from black, red to 255 by the thumb, green page left stays 0 */
                  pick(1);
                  SendMessageW(colour, WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, 250), (LPARAM)red);
                  SendMessageW(colour, WM_HSCROLL, SB_PAGERIGHT, (LPARAM)red);
                  SendMessageW(colour, WM_HSCROLL, SB_PAGELEFT, (LPARAM)GetDlgItem(colour, IDC_COLOUR_GREEN));
                  pick(0); /* and back: the header's edits are kept */
                  ClickButton(sheet, IDOK);
              }),
              1);
    /* Each family once, whatever number of character sets it has. */
    ASSERT_FALSE(faces.empty());
    EXPECT_EQ(std::set<std::wstring>(faces.begin(), faces.end()).size(), faces.size());
    const COLORREF edited = RGB(0x12 + 11, 0x34, 0x56 - 10);
    EXPECT_EQ(sample_shown, edited);
    auto bytes = [](COLORREF c) { return StoredValue{REG_BINARY, std::string((const char *)&c, 4)}; };
    EXPECT_EQ(PelnorValue(L"HeaderColor"), bytes(edited));
    EXPECT_EQ(PelnorValue(L"ReferenceLine"), bytes(RGB(255, 0, 0)));
    EXPECT_EQ(PelnorValue(L"FontSizeS"), DwordValue(8)); /* 20 is not offered */
    EXPECT_EQ(PelnorValue(L"KeyMode"), DwordValue(0));
    EXPECT_EQ(PelnorValue(L"FontName"), TextValue(faces[0])); /* the first face for an unknown one */
}

TEST_F(SettingsSheetTest, BrowseFillsTheFolderAndTheEditorAndTheUserPageIsSaved)
{
    SeedCompleteSettings(data_.path());
    SetPelnorDword(L"Posting", 1);
    SetPelnorString(L"UserName", L"山田");
    SetPelnorString(L"MailAddress", L"taro@example.jp");
    ASSERT_TRUE(CreateDirectoryW(data_.file(L"news").c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"edit.exe"), "MZ"));
    EXPECT_EQ(Run(
                  [&](HWND sheet) {
                      ClickButton(CurrentPage(sheet), IDC_BROWSE);
                      HWND user = GoTo(sheet, kUser);
                      SetDlgItemTextW(user, IDC_USER_MAIL, L"");
                      SetDlgItemTextW(user, IDC_USER_ORGANIZATION, L"京都大学");
                      ClickButton(GoTo(sheet, kPosting), IDC_BROWSE);
                      ClickButton(sheet, IDOK);
                  },
                  [&](HWND chooser) {
                      /* A folder for the main page, a program for the posting page. */
                      bool folder = WindowText(chooser) == L"Choose folder";
                      HWND tree = GetDlgItem(chooser, IDC_CHOOSER_TREE);
                      HTREEITEM item = OpenTreeTo(tree, data_.path());
                      TreeView_SelectItem(tree, TreeChild(tree, item, folder ? L"news" : L"edit.exe"));
                      ClickButton(chooser, IDC_CHOOSER_OK);
                  }),
              1);
    EXPECT_EQ(_wcsicmp(settings_.DataPath, data_.file(L"news\\").c_str()), 0) << settings_.DataPath;
    EXPECT_EQ(PelnorValue(L"EditorPath"), TextValue(data_.file(L"edit.exe")));
    EXPECT_EQ(PelnorValue(L"UserName"), TextValue(L"山田")); /* shown and kept */
    EXPECT_EQ(PelnorValue(L"MailAddress"), TextValue(L""));
    EXPECT_EQ(PelnorValue(L"Organization"), TextValue(L"京都大学"));
}

/* The user and posting pages are in the sheet only while posting is on;
 * the main page's box adds and removes them at once, and OK saves it. */
TEST_F(SettingsSheetTest, PostingBoxShowsTheUserAndPostingPages)
{
    const struct {
        DWORD stored;
        int clicks;
        int tabs_before, tabs_after;
        DWORD saved;
    } cases[] = {
        {0, 0, 6, 6, 0}, {1, 0, 8, 8, 1}, {0, 1, 6, 8, 1}, {1, 1, 8, 6, 0}, {0, 2, 6, 6, 0},
    };
    for (const auto &c : cases) {
        SeedCompleteSettings(data_.path());
        SetPelnorDword(L"Posting", c.stored);
        SetPelnorString(L"MailAddress", L"old@example.jp");
        int before = 0, after = 0;
        LRESULT shown = 0;
        std::wstring title;
        std::vector<int> hidden;
        EXPECT_EQ(Run([&](HWND sheet) {
                      HWND tabs = PropSheet_GetTabControl(sheet);
                      before = TabCtrl_GetItemCount(tabs);
                      shown = SendDlgItemMessageW(CurrentPage(sheet), IDC_MAIN_POSTING, BM_GETCHECK, 0, 0);
                      for (int i = 0; i < c.clicks; i++)
                          ClickButton(CurrentPage(sheet), IDC_MAIN_POSTING);
                      after = TabCtrl_GetItemCount(tabs);
                      if (after == 8) {
                          HWND user = GoTo(sheet, kUser);
                          hidden = ControlsOutOfSight(sheet);
                          SetDlgItemTextW(user, IDC_USER_MAIL, L"new@example.jp");
                          wchar_t text[32] = L"";
                          TCITEMW item = {};
                          item.mask = TCIF_TEXT;
                          item.pszText = text;
                          item.cchTextMax = 32;
                          TabCtrl_GetItem(tabs, kPosting, &item);
                          title = text;
                      }
                      ClickButton(sheet, IDOK);
                  }),
                  1);
        EXPECT_EQ(before, c.tabs_before) << c.stored << c.clicks;
        EXPECT_EQ(shown, c.stored ? BST_CHECKED : BST_UNCHECKED) << c.stored << c.clicks;
        EXPECT_EQ(after, c.tabs_after) << c.stored << c.clicks;
        EXPECT_EQ(PelnorValue(L"Posting"), DwordValue(c.saved)) << c.stored << c.clicks;
        EXPECT_EQ(hidden, std::vector<int>{});
        EXPECT_EQ(title, c.tabs_after == 8 ? L"投稿" : L"");
        EXPECT_EQ(PelnorValue(L"MailAddress"), TextValue(c.tabs_after == 8 ? L"new@example.jp" : L"old@example.jp"))
            << c.stored << c.clicks;
    }
}

TEST_F(SettingsSheetTest, EveryPageShowsItsWholeTextsAndIsPictured)
{
    SetPelnorDword(L"Posting", 1);
    static const wchar_t *const names[] = {L"properties-main",       L"properties-auth",  L"properties-keys",
                                           L"properties-connection", L"properties-chars", L"properties-colour",
                                           L"properties-user",       L"properties-posting"};
    EXPECT_EQ(Run([&](HWND sheet) {
                  RECT outer;
                  GetWindowRect(sheet, &outer);
                  EXPECT_TRUE(outer.right - outer.left <= 240 && outer.bottom - outer.top <= 320); /* the device's */
                  for (int page = kMain; page <= kPosting; page++) {
                      GoTo(sheet, page);
                      UpdateWindow(sheet);
                      EXPECT_EQ(CutTexts(sheet), std::vector<std::wstring>{}) << page;
                      EXPECT_EQ(ControlsOutOfSight(sheet), std::vector<int>{}) << page;
                      SaveScreenshot(sheet, names[page]);
                      if (page == kMain)
                          FillMain(CurrentPage(sheet));
                  }
                  ClickButton(sheet, IDCANCEL);
              }),
              2);
}

} // namespace
