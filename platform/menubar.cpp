#include "menubar.h"

#include <commctrl.h>

namespace {

const wchar_t kMenuBarClass[] = L"PelnorMenuBar";

enum : WORD {
    kNoImage = 0xFFFE,
    kNoSubmenu = 0xFFFF,
    kStyleDropDown = 0x08, /* with auto-size 0x10: 0x18 */
    kStateEnabled = 0x04,
};

enum { kMaxButtons = 16, kImageSize = 16, kImageButtonWidth = 28, kTextPadding = 16, kMinHeight = 26 };

struct MenuBarButton {
    WORD image;
    WORD command;
    WORD state;
    WORD style;
    WORD string_id;
    WORD submenu;
    wchar_t text[64];
    RECT rect; /* client coordinates */
};

struct MenuBar {
    HWND window;
    HWND parent;
    HMENU menu;            /* MENU resource of the bar's id; owns the popups */
    HIMAGELIST images;
    HFONT font;
    int height;
    int count;
    int pressed;           /* button shown pressed, or -1 */
    MenuBarButton buttons[kMaxButtons];
};

MenuBar *BarOf(HWND window)
{
    return (MenuBar *)GetWindowLongPtrW(window, 0);
}

/* Reads the SHMENUBAR words: menu id, button count, 7 words a button. */
bool ParseMenuBarResource(HINSTANCE instance, UINT id, MenuBar *bar)
{
    HRSRC found = FindResourceW(instance, MAKEINTRESOURCEW(id), (LPCWSTR)RT_RCDATA);
    if (!found)
        return false;
    DWORD size = SizeofResource(instance, found);
    HGLOBAL loaded = LoadResource(instance, found);
    const WORD *words = loaded ? (const WORD *)LockResource(loaded) : nullptr;
    if (!words)
        return false;
    if (size < 4 || words[1] > kMaxButtons || size < (DWORD)(4 + words[1] * 14)) {
        SetLastError(ERROR_INVALID_DATA);
        return false;
    }
    bar->count = words[1];
    for (int i = 0; i < bar->count; i++) {
        const WORD *w = words + 2 + 7 * i;
        MenuBarButton *b = &bar->buttons[i];
        b->image = w[0];
        b->command = w[1];
        b->state = w[2];
        b->style = w[3];
        b->string_id = w[4];
        b->submenu = w[6];
        b->text[0] = L'\0';
        if (b->string_id && LoadStringW(instance, b->string_id, b->text, 64) < 1)
            b->text[0] = L'\0';
    }
    return true;
}

HFONT CreateMenuFont()
{
    NONCLIENTMETRICSW ncm = {};
    ncm.cbSize = sizeof(ncm);
    if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(ncm), &ncm, 0))
        return CreateFontIndirectW(&ncm.lfMenuFont);
    return nullptr;
}

/* Buttons left to right; a text button is as wide as its text. */
void LayoutButtons(MenuBar *bar)
{
    HDC dc = GetDC(bar->window);
    HGDIOBJ old = bar->font ? SelectObject(dc, bar->font) : nullptr;
    TEXTMETRICW tm;
    GetTextMetricsW(dc, &tm);
    bar->height = tm.tmHeight + 10 > (int)kMinHeight ? tm.tmHeight + 10 : (int)kMinHeight;
    int x = 2;
    for (int i = 0; i < bar->count; i++) {
        MenuBarButton *b = &bar->buttons[i];
        int width = (int)kImageButtonWidth;
        if (b->image == kNoImage) {
            SIZE extent = {0, 0};
            GetTextExtentPoint32W(dc, b->text, lstrlenW(b->text), &extent);
            width = extent.cx + kTextPadding;
        }
        SetRect(&b->rect, x, 2, x + width, bar->height - 1);
        x += width + 2;
    }
    if (old)
        SelectObject(dc, old);
    ReleaseDC(bar->window, dc);
}

int HitTest(MenuBar *bar, int x, int y)
{
    POINT pt = {x, y};
    for (int i = 0; i < bar->count; i++)
        if (PtInRect(&bar->buttons[i].rect, pt))
            return i;
    return -1;
}

void Paint(MenuBar *bar)
{
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(bar->window, &ps);
    RECT rc;
    GetClientRect(bar->window, &rc);
    FillRect(dc, &rc, GetSysColorBrush(COLOR_BTNFACE));
    HPEN pen = CreatePen(PS_SOLID, 1, GetSysColor(COLOR_BTNSHADOW));
    HGDIOBJ old_pen = SelectObject(dc, pen);
    MoveToEx(dc, 0, 0, nullptr);
    LineTo(dc, rc.right, 0);
    SelectObject(dc, old_pen);
    DeleteObject(pen);

    HGDIOBJ old_font = bar->font ? SelectObject(dc, bar->font) : nullptr;
    SetBkMode(dc, TRANSPARENT);
    for (int i = 0; i < bar->count; i++) {
        MenuBarButton *b = &bar->buttons[i];
        bool enabled = (b->state & kStateEnabled) != 0;
        if (i == bar->pressed) {
            FillRect(dc, &b->rect, GetSysColorBrush(COLOR_HIGHLIGHT));
            SetTextColor(dc, GetSysColor(COLOR_HIGHLIGHTTEXT));
        } else {
            SetTextColor(dc, GetSysColor(enabled ? COLOR_BTNTEXT : COLOR_GRAYTEXT));
        }
        if (b->image != kNoImage && bar->images) {
            int x = (b->rect.left + b->rect.right - kImageSize) / 2;
            int y = (b->rect.top + b->rect.bottom - kImageSize) / 2;
            ImageList_Draw(bar->images, b->image, dc, x, y, ILD_TRANSPARENT);
        } else {
            DrawTextW(dc, b->text, -1, &b->rect, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
        }
    }
    if (old_font)
        SelectObject(dc, old_font);
    EndPaint(bar->window, &ps);
}

void SetPressed(MenuBar *bar, int index)
{
    bar->pressed = index;
    InvalidateRect(bar->window, nullptr, TRUE);
    UpdateWindow(bar->window);
}

/* A drop-down button shows its popup above itself, as on the device; the
 * chosen command goes to the bar's parent as a menu command. */
void DropDown(MenuBar *bar, int index)
{
    MenuBarButton *b = &bar->buttons[index];
    HMENU popup = bar->menu ? GetSubMenu(bar->menu, b->submenu) : nullptr;
    if (!popup)
        return;
    SetPressed(bar, index);
    POINT pt = {b->rect.left, b->rect.top};
    ClientToScreen(bar->window, &pt);
    TrackPopupMenuEx(popup, TPM_LEFTALIGN | TPM_BOTTOMALIGN | TPM_LEFTBUTTON, pt.x, pt.y, bar->parent, nullptr);
    SetPressed(bar, -1);
}

LRESULT CALLBACK MenuBarProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    MenuBar *bar = BarOf(window);
    switch (msg) {
    case WM_NCCREATE: {
        bar = (MenuBar *)((CREATESTRUCTW *)lp)->lpCreateParams;
        bar->window = window;
        SetWindowLongPtrW(window, 0, (LONG_PTR)bar);
        break;
    }
    case WM_PAINT:
        if (bar) {
            Paint(bar);
            return 0;
        }
        break;
    case WM_LBUTTONDOWN: {
        int index = bar ? HitTest(bar, (short)LOWORD(lp), (short)HIWORD(lp)) : -1;
        if (index < 0 || !(bar->buttons[index].state & kStateEnabled))
            return 0;
        if (bar->buttons[index].submenu != kNoSubmenu) {
            DropDown(bar, index);
        } else {
            SetCapture(window);
            SetPressed(bar, index);
        }
        return 0;
    }
    case WM_LBUTTONUP:
        if (bar && bar->pressed >= 0 && GetCapture() == window) {
            int index = bar->pressed;
            ReleaseCapture();
            SetPressed(bar, -1);
            if (HitTest(bar, (short)LOWORD(lp), (short)HIWORD(lp)) == index)
                SendMessageW(bar->parent, WM_COMMAND, MAKEWPARAM(bar->buttons[index].command, 0), (LPARAM)window);
        }
        return 0;
    case WM_CAPTURECHANGED:
        if (bar && bar->pressed >= 0 && (HWND)lp != window)
            SetPressed(bar, -1);
        return 0;
    case SHCMBM_GETSUBMENU:
        if (bar && bar->menu) {
            for (int i = 0; i < bar->count; i++)
                if (bar->buttons[i].command == (WORD)lp && bar->buttons[i].submenu != kNoSubmenu)
                    return (LRESULT)GetSubMenu(bar->menu, bar->buttons[i].submenu);
        }
        return 0;
    case WM_NCDESTROY:
        if (bar) {
            if (bar->menu)
                DestroyMenu(bar->menu);
            if (bar->images)
                ImageList_Destroy(bar->images);
            if (bar->font)
                DeleteObject(bar->font);
            HeapFree(GetProcessHeap(), 0, bar);
            SetWindowLongPtrW(window, 0, 0);
        }
        break;
    }
    return DefWindowProcW(window, msg, wp, lp);
}

bool RegisterMenuBarClass(HINSTANCE instance)
{
    WNDCLASSW wc = {};
    if (GetClassInfoW(instance, kMenuBarClass, &wc))
        return true;
    wc.lpfnWndProc = MenuBarProc;
    wc.cbWndExtra = sizeof(MenuBar *);
    wc.hInstance = instance;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.lpszClassName = kMenuBarClass;
    return RegisterClassW(&wc) != 0;
}

} // namespace

BOOL SHCreateMenuBar(SHMENUBARINFO *info)
{
    if (!info || !info->hwndParent) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    info->hwndMB = nullptr;
    HINSTANCE instance = info->hInstRes;
    if (!RegisterMenuBarClass(instance))
        return FALSE;

    MenuBar *bar = (MenuBar *)HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(MenuBar));
    if (!bar) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    bar->parent = info->hwndParent;
    bar->pressed = -1;
    if (!ParseMenuBarResource(instance, info->nToolBarId, bar)) {
        HeapFree(GetProcessHeap(), 0, bar);
        return FALSE;
    }
    bar->menu = LoadMenuW(instance, MAKEINTRESOURCEW(info->nToolBarId));
    if (info->nBmpId) {
        bar->images = ImageList_LoadImageW(instance, MAKEINTRESOURCEW(info->nBmpId), kImageSize, 0, CLR_DEFAULT,
                                           IMAGE_BITMAP, LR_CREATEDIBSECTION);
        if (!bar->images || ImageList_GetImageCount(bar->images) < info->cBmpImages) {
            if (bar->images)
                ImageList_Destroy(bar->images);
            if (bar->menu)
                DestroyMenu(bar->menu);
            HeapFree(GetProcessHeap(), 0, bar);
            SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
            return FALSE;
        }
    }
    bar->font = CreateMenuFont();

    /* From here the window owns the record and frees it on WM_NCDESTROY. */
    HWND window = CreateWindowExW(0, kMenuBarClass, L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, 0, 0, 0, 0,
                                  info->hwndParent, (HMENU)(UINT_PTR)info->nToolBarId, instance, bar);
    if (!window) {
        if (bar->images)
            ImageList_Destroy(bar->images);
        if (bar->menu)
            DestroyMenu(bar->menu);
        if (bar->font)
            DeleteObject(bar->font);
        HeapFree(GetProcessHeap(), 0, bar);
        return FALSE;
    }
    LayoutButtons(bar);
    PlaceMenuBar(window);
    info->hwndMB = window;
    return TRUE;
}

void PlaceMenuBar(HWND window)
{
    MenuBar *bar = BarOf(window);
    if (!bar)
        return;
    RECT rc;
    GetClientRect(bar->parent, &rc);
    /* No pixels are carried over from the old place: the parent repaints
     * what a resize uncovers, over the bar too when it does not clip its
     * children, and only the bar's new part would be drawn again. */
    SetWindowPos(window, nullptr, 0, rc.bottom - bar->height, rc.right, bar->height,
                 SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
}

BOOL GetMenuBarButtonRect(HWND window, UINT command, RECT *rect)
{
    MenuBar *bar = BarOf(window);
    if (!bar)
        return FALSE;
    for (int i = 0; i < bar->count; i++) {
        if (bar->buttons[i].command == command) {
            *rect = bar->buttons[i].rect;
            MapWindowPoints(window, nullptr, (POINT *)rect, 2);
            return TRUE;
        }
    }
    return FALSE;
}
