#include "password_prompt.h"

#include <stdlib.h>

#include "resources/resource.h"
#include "text/widestr.h"

namespace {

enum { kPasswordChars = 260 };

void OnInit(HWND dialog, PasswordPrompt *prompt)
{
    SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)prompt);
    wchar_t *user = ToWide(prompt->user ? prompt->user : "");
    SetDlgItemTextW(dialog, IDC_PASSWORD_USER, user ? user : L"");
    free(user);
    SetFocus(GetDlgItem(dialog, IDC_PASSWORD));
}

void OnCommand(HWND dialog, WORD id)
{
    PasswordPrompt *prompt = (PasswordPrompt *)GetWindowLongPtrW(dialog, DWLP_USER);
    if (id == IDOK) {
        wchar_t text[kPasswordChars];
        GetDlgItemTextW(dialog, IDC_PASSWORD, text, kPasswordChars);
        free(prompt->password);
        prompt->password = ToNarrow(text);
        EndDialog(dialog, IDOK);
    } else if (id == IDCANCEL) {
        EndDialog(dialog, IDCANCEL);
    }
}

INT_PTR CALLBACK PasswordProc(HWND dialog, UINT message, WPARAM wp, LPARAM lp)
{
    switch (message) {
    case WM_INITDIALOG:
        OnInit(dialog, (PasswordPrompt *)lp);
        return FALSE; /* the focus is set */
    case WM_COMMAND:
        OnCommand(dialog, LOWORD(wp));
        return TRUE;
    }
    return FALSE;
}

} // namespace

INT_PTR RunPasswordPrompt(PasswordPrompt *prompt, HWND owner)
{
    prompt->password = nullptr;
    return DialogBoxParamW(prompt->instance, MAKEINTRESOURCEW(IDD_PASSWORD), owner, PasswordProc, (LPARAM)prompt);
}
