#include "about_box.h"

#include "base/dialog.h"
#include "resources/resource.h"

namespace {

/* The box shows its template's texts; it keeps no state of its own. */
struct AboutBox {
};

INT_PTR AboutHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, AboutBox *)
{
    switch (msg) {
    case WM_INITDIALOG:
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wp) == IDOK || LOWORD(wp) == IDCANCEL) {
            EndDialog(dialog, LOWORD(wp) == IDOK ? kDialogOk : kDialogCancel);
            return TRUE;
        }
        break;
    }
    return FALSE;
}

} // namespace

void RunAboutBox(HINSTANCE instance, HWND owner)
{
    AboutBox box;
    RunDialog<AboutHandler>(instance, IDD_ABOUT, owner, &box);
}
