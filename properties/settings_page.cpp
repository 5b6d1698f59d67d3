/*
 * The base page, the procedure every page shares and the sheet itself.
 */
#include "settings_sheet.h"

#include <commctrl.h>
#include <prsht.h>

#include "base/dialog.h"
#include "base/res_text.h"
#include "platform/frame_size.h"
#include "resources/resource.h"

namespace {

/* The sheet asks a page whether it may be left (PSN_KILLACTIVE) and, on OK,
 * whether it may close (PSN_APPLY); both answers go in the message result. */
INT_PTR CommonPageHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, SettingsPage *page)
{
    switch (msg) {
    case WM_INITDIALOG:
        page->Init(dialog);
        return TRUE;
    case WM_NOTIFY: {
        const NMHDR *header = (const NMHDR *)lp;
        if (header->code == (UINT)PSN_KILLACTIVE) {
            SetWindowLongPtrW(dialog, DWLP_MSGRESULT, page->Apply(dialog) ? FALSE : TRUE);
            return TRUE;
        }
        if (header->code == (UINT)PSN_APPLY) {
            SetWindowLongPtrW(dialog, DWLP_MSGRESULT,
                              page->Apply(dialog) ? PSNRET_NOERROR : PSNRET_INVALID_NOCHANGEPAGE);
            return TRUE;
        }
        return FALSE;
    }
    case WM_COMMAND:
        return page->Command(dialog, LOWORD(wp), HIWORD(wp), (HWND)lp);
    }
    return FALSE;
}

/* The colour page offers every message to the common handler first and
 * then moves its bars itself. */
INT_PTR ColourPageHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, SettingsPage *page)
{
    INT_PTR handled = CommonPageHandler(dialog, msg, wp, lp, page);
    if (msg == WM_HSCROLL && lp) {
        static_cast<ColourPage *>(page)->Scroll(dialog, (HWND)lp, LOWORD(wp), (short)HIWORD(wp));
        return TRUE;
    }
    return handled;
}

/* The platform sizes a sheet for its button row and its tabs, which makes it
 * wider and taller than the screen: it is laid out again to fill the
 * screen, tabs at the top, OK and Cancel at the bottom right, and the
 * current page in the tabs' display area (pages opened later are placed
 * there by the sheet itself). */
void FitSheetToScreen(HWND sheet)
{
    const int margin = 2;
    SetWindowPos(sheet, nullptr, 0, 0, kDeviceClientWidth, kDeviceClientHeight, SWP_NOZORDER | SWP_NOACTIVATE);
    RECT client;
    GetClientRect(sheet, &client);
    int right = client.right - margin;
    int buttons_top = client.bottom;
    const int buttons[] = {IDCANCEL, IDOK};
    for (int id : buttons) {
        HWND button = GetDlgItem(sheet, id);
        if (!button)
            continue;
        RECT rc;
        GetWindowRect(button, &rc);
        int width = rc.right - rc.left, height = rc.bottom - rc.top;
        buttons_top = client.bottom - margin - height;
        SetWindowPos(button, nullptr, right - width, buttons_top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
        right -= width + margin;
    }
    HWND tab = PropSheet_GetTabControl(sheet);
    RECT area = {margin, margin, client.right - margin, buttons_top - margin};
    SetWindowPos(tab, nullptr, area.left, area.top, area.right - area.left, area.bottom - area.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    RECT display = {0, 0, area.right - area.left, area.bottom - area.top};
    TabCtrl_AdjustRect(tab, FALSE, &display);
    OffsetRect(&display, area.left, area.top);
    HWND page = PropSheet_GetCurrentPageHwnd(sheet);
    if (page)
        SetWindowPos(page, nullptr, display.left, display.top, display.right - display.left,
                     display.bottom - display.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

int CALLBACK SheetCallback(HWND sheet, UINT msg, LPARAM)
{
    if (msg == PSCB_INITIALIZED)
        FitSheetToScreen(sheet);
    return 0;
}

} // namespace

SettingsPage::SettingsPage(WORD dialog_id, UINT title_id, Settings *settings, HINSTANCE instance)
    : dialogId(dialog_id), dialogProcedure(PropertyPageProcedure<CommonPageHandler>()), settings(settings),
      instance(instance)
{
    LoadResText(title_id, title, 1024);
}

void SettingsPage::Init(HWND) {}

INT_PTR SettingsPage::Command(HWND, WORD, WORD, HWND)
{
    return 0;
}

int SettingsPage::Apply(HWND)
{
    return 1;
}

SettingsPage::~SettingsPage() {}

int SettingsPage::FailOn(HWND dialog, int control)
{
    HWND field = GetDlgItem(dialog, control);
    SetFocus(field);
    SendMessageW(field, EM_SETSEL, 0, -1);
    return 0;
}

ColourPage::ColourPage(Settings *settings, HINSTANCE instance)
    : SettingsPage(IDD_PAGE_COLOUR, IDS_PAGE_COLOUR, settings, instance)
{
    dialogProcedure = PropertyPageProcedure<ColourPageHandler>();
}

SettingsSheet::SettingsSheet(Settings *settings, HINSTANCE instance)
    : main(settings, instance), auth(settings, instance), keys(settings, instance), connection(settings, instance),
      characters(settings, instance), colour(settings, instance), user(settings, instance),
      posting(settings, instance),
      pages{&main, &auth, &keys, &connection, &characters, &colour, &user, &posting}
{
    main.postingPages[0] = &user;
    main.postingPages[1] = &posting;
}

PROPSHEETPAGEW DescribeSettingsPage(SettingsPage *page)
{
    PROPSHEETPAGEW description = {};
    description.dwSize = sizeof(description);
    description.dwFlags = PSP_USETITLE;
    description.hInstance = page->instance;
    description.pszTemplate = MAKEINTRESOURCEW(page->dialogId);
    description.pszTitle = page->title;
    description.pfnDlgProc = page->dialogProcedure;
    description.lParam = (LPARAM)page;
    return description;
}

int RunSettingsSheet(Settings *settings, HINSTANCE instance, HWND owner)
{
    RegisterColourSampleClass(instance);
    SettingsSheet sheet(settings, instance);
    int complete;
    LoadSettings(settings, &complete);

    /* The user and posting pages set who posts and with what editor:
     * they are shown only while posting is on. */
    sheet.main.postingPagesShown = settings->Posting != 0;
    int shown = sheet.main.postingPagesShown ? SettingsSheet::kPageCount : SettingsSheet::kPostingOffPageCount;
    PROPSHEETPAGEW pages[SettingsSheet::kPageCount] = {};
    for (int i = 0; i < shown; i++)
        pages[i] = DescribeSettingsPage(sheet.pages[i]);
    wchar_t caption[64];
    LoadResText(IDS_PROPERTIES, caption, 64);
    PROPSHEETHEADERW header = {};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_PROPSHEETPAGE | PSH_NOAPPLYNOW | PSH_USEICONID | PSH_USECALLBACK;
    header.pfnCallback = SheetCallback;
    header.hwndParent = owner;
    header.hInstance = instance;
    header.pszIcon = MAKEINTRESOURCEW(IDI_PELNOR);
    header.pszCaption = caption;
    header.nPages = (UINT)shown;
    header.nStartPage = 0;
    header.ppsp = pages;
    if (PropertySheetW(&header) <= 0)
        return kDialogCancel;
    SaveSettings(settings);
    return kDialogOk;
}
