/*
 * The pages of the properties sheet, each with its controls and checks.
 */
#include "settings_sheet.h"

#include <stdlib.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "base/scoped_win.h"
#include "drafts/file_chooser.h"
#include "platform/ras.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

enum { kFieldChars = 260, kIdentityChars = 256 };

void SetNumber(HWND dialog, int control, long number)
{
    wchar_t text[16];
    wsprintfW(text, L"%d", (int)number);
    SetDlgItemTextW(dialog, control, text);
}

const wchar_t *SkipSpaces(const wchar_t *text)
{
    while (*text == L' ')
        text++;
    return text;
}

/* An owned 8-bit text shown in an edit ("" for none). */
void SetNarrowText(HWND dialog, int control, const char *text)
{
    wchar_t *wide = text ? ToWide(text) : nullptr;
    SetDlgItemTextW(dialog, control, wide ? wide : L"");
    free(wide);
}

/* The chooser's answer in an edit; nothing when the user cancelled. */
void ChooseInto(HWND dialog, int edit, HINSTANCE instance, UINT title_id, const wchar_t *pattern,
                const wchar_t *near_path)
{
    wchar_t title[64];
    LoadResText(title_id, title, 64);
    FileChooser chooser;
    InitFileChooser(&chooser);
    SetFileChooserDrive(&chooser, near_path);
    if (RunFileChooser(&chooser, instance, dialog, title, pattern) == kDialogOk)
        SetDlgItemTextW(dialog, edit, chooser.result);
    FreeFileChooser(&chooser);
}

} // namespace

/* ---- main page ---- */

namespace {

DWORD DefaultPort(DWORD tls_mode)
{
    return tls_mode == kTlsImplicit ? (DWORD)kTlsPort : (DWORD)kPlainPort;
}

} // namespace

MainPage::MainPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_MAIN, IDS_PAGE_MAIN, settings, instance)
{
}

void MainPage::Init(HWND dialog)
{
    SetDlgItemTextW(dialog, IDC_MAIN_SERVER, settings->Server);
    SetNumber(dialog, IDC_MAIN_PORT, (long)settings->Port);
    SetDlgItemTextW(dialog, IDC_MAIN_FOLDER, settings->DataPath);
    SetNumber(dialog, IDC_MAIN_LIMIT, (long)settings->Limit);
    static const UINT kModeTexts[kTlsModeCount] = {IDS_TLS_MODE_NONE, IDS_TLS_MODE_IMPLICIT, IDS_TLS_MODE_STARTTLS};
    for (UINT id : kModeTexts)
        SendDlgItemMessageW(dialog, IDC_MAIN_TLS, CB_ADDSTRING, 0, (LPARAM)LoadResString(id));
    shown_tls_mode = settings->TlsMode < kTlsModeCount ? settings->TlsMode : (DWORD)kTlsNone;
    SendDlgItemMessageW(dialog, IDC_MAIN_TLS, CB_SETCURSEL, shown_tls_mode, 0);
    SendDlgItemMessageW(dialog, IDC_MAIN_COMPRESS, BM_SETCHECK, settings->Compress ? BST_CHECKED : BST_UNCHECKED, 0);
    SendDlgItemMessageW(dialog, IDC_MAIN_CHARSETS, BM_SETCHECK, settings->DecodeCharsets ? BST_CHECKED : BST_UNCHECKED,
                        0);
    SendDlgItemMessageW(dialog, IDC_MAIN_POSTING, BM_SETCHECK, postingPagesShown ? BST_CHECKED : BST_UNCHECKED, 0);
}

void MainPage::ShowPostingPages(HWND sheet, bool show)
{
    if (show == postingPagesShown)
        return;
    if (show) {
        for (SettingsPage *page : postingPages) {
            PROPSHEETPAGEW description = DescribeSettingsPage(page);
            HPROPSHEETPAGE added = CreatePropertySheetPageW(&description);
            if (added && !PropSheet_AddPage(sheet, added))
                DestroyPropertySheetPage(added);
        }
    } else {
        /* They are the last two: the last goes first so the index stays. */
        for (int i = SettingsSheet::kPageCount - 1; i >= SettingsSheet::kPostingOffPageCount; i--)
            PropSheet_RemovePage(sheet, i, nullptr);
    }
    postingPagesShown = show;
}

INT_PTR MainPage::Command(HWND dialog, WORD id, WORD code, HWND)
{
    if (id == IDC_MAIN_POSTING && code == BN_CLICKED) {
        ShowPostingPages(GetParent(dialog), IsButtonChecked(dialog, IDC_MAIN_POSTING));
        return 1;
    }
    if (id == IDC_MAIN_TLS && code == CBN_SELCHANGE) {
        /* The port follows the mode while it is the old mode's usual one;
         * a port the user typed stays. */
        DWORD mode = (DWORD)SendDlgItemMessageW(dialog, IDC_MAIN_TLS, CB_GETCURSEL, 0, 0);
        wchar_t text[16];
        GetDlgItemTextW(dialog, IDC_MAIN_PORT, text, ARRAYSIZE(text));
        DWORD port;
        if (mode < kTlsModeCount && ParseDecimal(text, &port) && port == DefaultPort(shown_tls_mode))
            SetNumber(dialog, IDC_MAIN_PORT, (long)DefaultPort(mode));
        if (mode < kTlsModeCount)
            shown_tls_mode = mode;
        return 1;
    }
    if (id != IDC_BROWSE || code != BN_CLICKED)
        return 0;
    wchar_t folder[kFieldChars];
    GetDlgItemTextW(dialog, IDC_MAIN_FOLDER, folder, kFieldChars);
    ChooseInto(dialog, IDC_MAIN_FOLDER, instance, IDS_CHOOSE_FOLDER, nullptr, SkipSpaces(folder));
    return 1;
}

int MainPage::Apply(HWND dialog)
{
    wchar_t text[kFieldChars];
    GetDlgItemTextW(dialog, IDC_MAIN_SERVER, text, kFieldChars);
    const wchar_t *server = SkipSpaces(text);
    if (!*server)
        return FailOn(dialog, IDC_MAIN_SERVER);
    wcscpy(settings->Server, server);

    DWORD number;
    GetDlgItemTextW(dialog, IDC_MAIN_PORT, text, kFieldChars);
    if (!ParseDecimal(text, &number))
        return FailOn(dialog, IDC_MAIN_PORT);
    settings->Port = number;

    GetDlgItemTextW(dialog, IDC_MAIN_FOLDER, text, kFieldChars);
    wchar_t *folder = (wchar_t *)SkipSpaces(text);
    if (!*folder)
        return FailOn(dialog, IDC_MAIN_FOLDER);
    StripTrailingBackslashes(folder);
    WIN32_FIND_DATAW found;
    ScopedFindFile exists(FindFirstFileW(folder, &found));
    if (!exists.valid())
        return FailOn(dialog, IDC_MAIN_FOLDER);
    wcscpy(settings->DataPath, folder);

    GetDlgItemTextW(dialog, IDC_MAIN_LIMIT, text, kFieldChars);
    if (!ParseDecimal(text, &number))
        return FailOn(dialog, IDC_MAIN_LIMIT);
    settings->Limit = number;
    settings->TlsMode = shown_tls_mode;
    settings->Compress = IsButtonChecked(dialog, IDC_MAIN_COMPRESS) ? 1 : 0;
    settings->DecodeCharsets = IsButtonChecked(dialog, IDC_MAIN_CHARSETS) ? 1 : 0;
    settings->Posting = IsButtonChecked(dialog, IDC_MAIN_POSTING) ? 1 : 0;
    return 1;
}

/* ---- authentication page ---- */

AuthPage::AuthPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_AUTH, IDS_PAGE_AUTH, settings, instance)
{
}

int AuthPage::SetPassMode(HWND dialog)
{
    bool use = IsButtonChecked(dialog, IDC_AUTH_USE);
    if (use) {
        SetNarrowText(dialog, IDC_AUTH_ID, settings->UserID);
        SetNarrowText(dialog, IDC_AUTH_PASSWORD, settings->Password);
        SetNarrowText(dialog, IDC_AUTH_REENTER, settings->Password);
    }
    static const int kEdits[] = {IDC_AUTH_ID, IDC_AUTH_PASSWORD, IDC_AUTH_REENTER};
    for (int control : kEdits)
        EnableWindow(GetDlgItem(dialog, control), use);
    return 1;
}

void AuthPage::Init(HWND dialog)
{
    SendDlgItemMessageW(dialog, IDC_AUTH_USE, BM_SETCHECK, settings->UserID ? BST_CHECKED : BST_UNCHECKED, 0);
    if (!SetPassMode(dialog))
        ShowLastErrorBoxRes(IDS_SET_PASS_MODE, IDS_CAPTION_PELNOR, MB_ICONERROR);
}

INT_PTR AuthPage::Command(HWND dialog, WORD id, WORD code, HWND)
{
    if (id != IDC_AUTH_USE || code != BN_CLICKED)
        return 0;
    if (!SetPassMode(dialog))
        ShowLastErrorBoxRes(IDS_SET_PASS_MODE, IDS_CAPTION_PELNOR, MB_ICONERROR);
    return 1;
}

int AuthPage::Apply(HWND dialog)
{
    if (!IsButtonChecked(dialog, IDC_AUTH_USE)) {
        free(settings->UserID);
        free(settings->Password);
        settings->UserID = nullptr;
        settings->Password = nullptr;
        return 1;
    }
    wchar_t id[kIdentityChars], password[kIdentityChars], again[kIdentityChars];
    GetDlgItemTextW(dialog, IDC_AUTH_ID, id, kIdentityChars);
    GetDlgItemTextW(dialog, IDC_AUTH_PASSWORD, password, kIdentityChars);
    GetDlgItemTextW(dialog, IDC_AUTH_REENTER, again, kIdentityChars);
    const wchar_t *user = SkipSpaces(id);
    if (!*user)
        return FailOn(dialog, IDC_AUTH_ID);
    char *narrow = ToNarrow(user);
    if (!narrow)
        return 0;
    free(settings->UserID);
    settings->UserID = narrow;
    if (wcscmp(password, again) != 0)
        return FailOn(dialog, again[0] ? IDC_AUTH_REENTER : IDC_AUTH_PASSWORD);
    char *secret = nullptr;
    if (password[0] && !(secret = ToNarrow(password)))
        return 0;
    free(settings->Password);
    settings->Password = secret;
    return 1;
}

/* ---- keys page ---- */

KeysPage::KeysPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_KEYS, IDS_PAGE_KEYS, settings, instance)
{
}

void KeysPage::Init(HWND dialog)
{
    SendDlgItemMessageW(dialog, IDC_KEYS_ONE_LINE, BM_SETCHECK, settings->KeyMode ? BST_CHECKED : BST_UNCHECKED, 0);
    SendDlgItemMessageW(dialog, IDC_KEYS_AUTO_NEXT, BM_SETCHECK,
                        settings->AutoNextArticle ? BST_CHECKED : BST_UNCHECKED, 0);
}

int KeysPage::Apply(HWND dialog)
{
    settings->KeyMode = IsButtonChecked(dialog, IDC_KEYS_ONE_LINE) ? 1 : 0;
    settings->AutoNextArticle = IsButtonChecked(dialog, IDC_KEYS_AUTO_NEXT) ? 1 : 0;
    return 1;
}

/* ---- connection page ---- */

ConnectionPage::ConnectionPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_CONNECTION, IDS_PAGE_CONNECTION, settings, instance)
{
}

int ConnectionPage::SetDialupMode(HWND dialog)
{
    EnableWindow(GetDlgItem(dialog, IDC_CONN_ENTRY), IsButtonChecked(dialog, IDC_CONN_DIALUP));
    return 1;
}

void ConnectionPage::Init(HWND dialog)
{
    HWND box = GetDlgItem(dialog, IDC_CONN_DIALUP);
    HWND list = GetDlgItem(dialog, IDC_CONN_ENTRY);
    SendMessageW(box, BM_SETCHECK, settings->Dialup ? BST_CHECKED : BST_UNCHECKED, 0);

    enum { kEntries = 100 };
    RASENTRYNAMEW *entries = (RASENTRYNAMEW *)calloc(kEntries, sizeof(RASENTRYNAMEW));
    DWORD bytes = kEntries * sizeof(RASENTRYNAMEW), count = 0;
    if (entries)
        entries[0].dwSize = sizeof(RASENTRYNAMEW);
    if (!entries || GetRasTable()->EnumEntries(nullptr, nullptr, entries, &bytes, &count) != 0) {
        SendMessageW(box, BM_SETCHECK, BST_UNCHECKED, 0);
        EnableWindow(box, FALSE);
        EnableWindow(list, FALSE);
    } else {
        for (DWORD i = 0; i < count && i < kEntries; i++) {
            if (entries[i].szEntryName[0] == L'`')
                continue;
            LRESULT at = SendMessageW(list, CB_ADDSTRING, 0, (LPARAM)entries[i].szEntryName);
            if (at >= 0 && wcscmp(entries[i].szEntryName, settings->EntryName) == 0)
                SendMessageW(list, CB_SETCURSEL, at, 0);
        }
    }
    free(entries);
    if (!SetDialupMode(dialog))
        ShowLastErrorBoxRes(IDS_SET_DIALUP_MODE, IDS_CAPTION_PELNOR, MB_ICONERROR);
    SetNumber(dialog, IDC_CONN_WAIT, (long)settings->DisconnectWaitTime);
}

INT_PTR ConnectionPage::Command(HWND dialog, WORD id, WORD code, HWND)
{
    if (id != IDC_CONN_DIALUP || code != BN_CLICKED)
        return 0;
    if (!SetDialupMode(dialog))
        ShowLastErrorBoxRes(IDS_SET_DIALUP_MODE, IDS_CAPTION_PELNOR, MB_ICONERROR);
    return 1;
}

int ConnectionPage::Apply(HWND dialog)
{
    HWND list = GetDlgItem(dialog, IDC_CONN_ENTRY);
    LRESULT selected = SendMessageW(list, CB_GETCURSEL, 0, 0);
    bool dial = IsButtonChecked(dialog, IDC_CONN_DIALUP);
    if (dial && selected == CB_ERR) {
        SendMessageW(list, CB_SHOWDROPDOWN, TRUE, 0);
        SetFocus(list);
        return 0;
    }
    settings->Dialup = dial ? 1 : 0;
    settings->EntryName[0] = 0;
    if (selected != CB_ERR && SendMessageW(list, CB_GETLBTEXTLEN, selected, 0) < 257) {
        wchar_t name[257];
        SendMessageW(list, CB_GETLBTEXT, selected, (LPARAM)name);
        CopyWideText(settings->EntryName, name, ARRAYSIZE(settings->EntryName));
    }
    wchar_t wait[20];
    DWORD seconds;
    GetDlgItemTextW(dialog, IDC_CONN_WAIT, wait, 20);
    if (!ParseDecimal(wait, &seconds))
        return FailOn(dialog, IDC_CONN_WAIT);
    settings->DisconnectWaitTime = seconds;
    return 1;
}

/* ---- characters page ---- */

namespace {

enum { kSmallestSize = 8, kLargestSize = 18 };

int CALLBACK AddFamily(const LOGFONTW *font, const TEXTMETRICW *, DWORD, LPARAM list)
{
    /* Families whose name begins with "@" write vertically. A family comes
     * once for each of its character sets on some systems: list it once. */
    if (font->lfFaceName[0] != L'@' &&
        SendMessageW((HWND)list, CB_FINDSTRINGEXACT, (WPARAM)-1, (LPARAM)font->lfFaceName) == CB_ERR)
        SendMessageW((HWND)list, CB_ADDSTRING, 0, (LPARAM)font->lfFaceName);
    return 1;
}

void SelectSize(HWND list, LONG size)
{
    SendMessageW(list, CB_SETCURSEL, size >= kSmallestSize && size <= kLargestSize ? size - kSmallestSize : 0, 0);
}

void EnableFontChoice(HWND dialog, bool enable)
{
    static const int kChoices[] = {IDC_CHARS_FONT, IDC_CHARS_SUBJECT_SIZE, IDC_CHARS_ARTICLE_SIZE};
    for (int control : kChoices)
        EnableWindow(GetDlgItem(dialog, control), enable);
}

} // namespace

CharactersPage::CharactersPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_CHARS, IDS_PAGE_CHARS, settings, instance)
{
}

void CharactersPage::Init(HWND dialog)
{
    HWND fonts = GetDlgItem(dialog, IDC_CHARS_FONT);
    {
        ScopedGetDC dc(dialog);
        EnumFontFamiliesW(dc, nullptr, (FONTENUMPROCW)AddFamily, (LPARAM)fonts);
    }
    LRESULT at = SendMessageW(fonts, CB_FINDSTRINGEXACT, (WPARAM)-1, (LPARAM)settings->FontName);
    SendMessageW(fonts, CB_SETCURSEL, at == CB_ERR ? 0 : at, 0);

    HWND article = GetDlgItem(dialog, IDC_CHARS_ARTICLE_SIZE);
    HWND subject = GetDlgItem(dialog, IDC_CHARS_SUBJECT_SIZE);
    for (int size = kSmallestSize; size <= kLargestSize; size++) {
        wchar_t text[8];
        wsprintfW(text, L"%d", size);
        SendMessageW(article, CB_ADDSTRING, 0, (LPARAM)text);
        SendMessageW(subject, CB_ADDSTRING, 0, (LPARAM)text);
    }
    SelectSize(article, settings->FontSizeA);
    SelectSize(subject, settings->FontSizeS);
    bool system_font = settings->FontSizeA == -1;
    SendDlgItemMessageW(dialog, IDC_CHARS_KCTRL, BM_SETCHECK, system_font ? BST_CHECKED : BST_UNCHECKED, 0);
    EnableFontChoice(dialog, !system_font);
}

INT_PTR CharactersPage::Command(HWND dialog, WORD id, WORD code, HWND)
{
    if (id != IDC_CHARS_KCTRL || code != BN_CLICKED)
        return 0;
    EnableFontChoice(dialog, !IsButtonChecked(dialog, IDC_CHARS_KCTRL));
    return 1;
}

int CharactersPage::Apply(HWND dialog)
{
    if (IsButtonChecked(dialog, IDC_CHARS_KCTRL)) {
        settings->FontName[0] = 0;
        settings->FontSizeA = -1;
        settings->FontSizeS = -1;
    } else {
        HWND fonts = GetDlgItem(dialog, IDC_CHARS_FONT);
        LRESULT at = SendMessageW(fonts, CB_GETCURSEL, 0, 0);
        settings->FontName[0] = 0;
        if (at != CB_ERR && SendMessageW(fonts, CB_GETLBTEXTLEN, at, 0) < LF_FACESIZE) {
            wchar_t face[LF_FACESIZE];
            SendMessageW(fonts, CB_GETLBTEXT, at, (LPARAM)face);
            CopyWideText(settings->FontName, face, ARRAYSIZE(settings->FontName));
        }
        settings->FontSizeA = (LONG)SendDlgItemMessageW(dialog, IDC_CHARS_ARTICLE_SIZE, CB_GETCURSEL, 0, 0) +
                              kSmallestSize;
        settings->FontSizeS = (LONG)SendDlgItemMessageW(dialog, IDC_CHARS_SUBJECT_SIZE, CB_GETCURSEL, 0, 0) +
                              kSmallestSize;
    }
    MakeViewFont(settings->FontName, settings->FontSizeA, &settings->ArticleFont);
    MakeViewFont(settings->FontName, settings->FontSizeS, &settings->SubjectFont);
    return 1;
}

/* ---- user page ---- */

UserPage::UserPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_USER, IDS_PAGE_USER, settings, instance)
{
}

void UserPage::Init(HWND dialog)
{
    SetNarrowText(dialog, IDC_USER_MAIL, settings->MailAddress);
    SetNarrowText(dialog, IDC_USER_NAME, settings->UserName);
    SetNarrowText(dialog, IDC_USER_ORGANIZATION, settings->Organization);
}

int UserPage::Apply(HWND dialog)
{
    struct Field {
        int control;
        char **text;
    } fields[] = {{IDC_USER_MAIL, &settings->MailAddress},
                  {IDC_USER_NAME, &settings->UserName},
                  {IDC_USER_ORGANIZATION, &settings->Organization}};
    for (const Field &field : fields) {
        wchar_t text[kIdentityChars];
        GetDlgItemTextW(dialog, field.control, text, kIdentityChars);
        free(*field.text);
        *field.text = text[0] ? ToNarrow(text) : nullptr;
    }
    return 1;
}

/* ---- posting page ---- */

PostingPage::PostingPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_POSTING, IDS_PAGE_POSTING, settings, instance)
{
}

void PostingPage::Init(HWND dialog)
{
    SetDlgItemTextW(dialog, IDC_POSTING_EDITOR, settings->EditorPath ? settings->EditorPath : L"");
}

INT_PTR PostingPage::Command(HWND dialog, WORD id, WORD code, HWND)
{
    if (id != IDC_BROWSE || code != BN_CLICKED)
        return 0;
    ChooseInto(dialog, IDC_POSTING_EDITOR, instance, IDS_CHOOSE_EDITOR, L"*.exe", settings->DataPath);
    return 1;
}

int PostingPage::Apply(HWND dialog)
{
    HWND edit = GetDlgItem(dialog, IDC_POSTING_EDITOR);
    int length = GetWindowTextLengthW(edit);
    wchar_t *path = (wchar_t *)malloc((length + 1) * sizeof(wchar_t));
    if (!path) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    GetWindowTextW(edit, path, length + 1);
    free(settings->EditorPath);
    settings->EditorPath = path;
    return 1;
}
