#include "dialog.h"

#include <prsht.h>

#include "base/message_box.h"
#include "resources/resource.h"

void *dialog_detail::KeptState(HWND dialog, UINT msg, LPARAM lp)
{
    if (msg == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)lp);
        return (void *)lp;
    }
    void *state = (void *)GetWindowLongPtrW(dialog, DWLP_USER);
    if (!state && msg == WM_COMMAND)
        ShowResBox(nullptr, IDS_NOT_INITIALIZED, IDS_CAPTION_UPPER_ERROR, MB_ICONERROR);
    return state;
}

void *dialog_detail::KeptPageState(HWND dialog, UINT msg, LPARAM lp)
{
    if (msg == WM_INITDIALOG) {
        void *state = lp ? (void *)((const PROPSHEETPAGEW *)lp)->lParam : nullptr;
        SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)state);
        return state;
    }
    return (void *)GetWindowLongPtrW(dialog, DWLP_USER);
}
