#include "about_box.h"

#include "resources/resource.h"

namespace {

INT_PTR CALLBACK AboutProc(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    (void)lp;
    switch (msg) {
    case WM_INITDIALOG:
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wp) == IDOK || LOWORD(wp) == IDCANCEL) {
            EndDialog(dialog, LOWORD(wp));
            return TRUE;
        }
        break;
    }
    return FALSE;
}

} // namespace

void RunAboutBox(HINSTANCE instance, HWND owner)
{
    DialogBoxParamW(instance, MAKEINTRESOURCEW(IDD_ABOUT), owner, AboutProc, 0);
}
