#include "password_prompt.h"

#include <stdlib.h>
#include <string.h>

#include "base/dialog.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

enum { kPasswordChars = 260 };

INT_PTR PasswordHandler(HWND dialog, UINT message, WPARAM wp, LPARAM, PasswordPrompt *prompt)
{
    switch (message) {
    case WM_INITDIALOG: {
        wchar_t *user = ToWide(prompt->user ? prompt->user : "");
        SetDlgItemTextW(dialog, IDC_PASSWORD_USER, user ? user : L"");
        free(user);
        SetFocus(GetDlgItem(dialog, IDC_PASSWORD));
        return FALSE; /* the focus is set */
    }
    case WM_COMMAND:
        if (LOWORD(wp) == IDOK) {
            wchar_t text[kPasswordChars];
            GetDlgItemTextW(dialog, IDC_PASSWORD, text, kPasswordChars);
            free(prompt->password);
            prompt->password = ToNarrow(text);
            EndDialog(dialog, kDialogOk);
        } else if (LOWORD(wp) == IDCANCEL) {
            EndDialog(dialog, kDialogCancel);
        }
        return TRUE;
    }
    return FALSE;
}

} // namespace

INT_PTR RunPasswordPrompt(PasswordPrompt *prompt, HWND owner)
{
    prompt->password = nullptr;
    return RunDialog<PasswordHandler>(prompt->instance, IDD_PASSWORD, owner, prompt);
}

ServerReady ReadyServer(HINSTANCE instance, HWND owner, const Settings *settings, NntpServer *server)
{
    PasswordPrompt prompt = {instance, settings->UserID, nullptr};
    if (settings->UserID && !settings->Password) {
        if (RunPasswordPrompt(&prompt, owner) != kDialogOk || !prompt.password) {
            free(prompt.password);
            return kServerCancelled;
        }
    }
    int made = NntpServerFromSettings(server, settings, prompt.password);
    if (prompt.password) {
        SecureZeroMemory(prompt.password, strlen(prompt.password));
        free(prompt.password);
    }
    return made ? kServerReady : kServerNoMemory;
}
