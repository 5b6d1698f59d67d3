#include "gui_helper.h"

#include <commctrl.h>

#include "pelnor_process.h"
#include "png_write.h"
#include "temp_folder.h"

namespace {

thread_local ModalWatcher *t_watcher;

/* The message box's icon, told apart by the shared system icon it shows. */
UINT IconOfBox(HWND box)
{
    static const struct {
        const wchar_t *id;
        UINT icon;
    } icons[] = {{IDI_HAND, MB_ICONERROR},
                 {IDI_EXCLAMATION, MB_ICONEXCLAMATION},
                 {IDI_QUESTION, MB_ICONQUESTION},
                 {IDI_ASTERISK, MB_ICONINFORMATION}};
    for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        HICON shown = (GetWindowLongW(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON
                          ? (HICON)SendMessageW(child, STM_GETICON, 0, 0)
                          : nullptr;
        if (!shown)
            continue;
        for (const auto &i : icons)
            if (shown == LoadIconW(nullptr, i.id))
                return i.icon;
        return 0xFFFFFFFF; /* an icon, but not a system one */
    }
    return 0;
}

} // namespace

ModalWatcher::ModalWatcher()
{
    t_watcher = this;
    hook_ = SetWindowsHookExW(WH_CBT, Hook, nullptr, GetCurrentThreadId());
}

ModalWatcher::~ModalWatcher()
{
    if (hook_)
        UnhookWindowsHookEx(hook_);
    t_watcher = nullptr;
}

LRESULT CALLBACK ModalWatcher::Hook(int code, WPARAM wp, LPARAM lp)
{
    if (code == HCBT_ACTIVATE && t_watcher)
        t_watcher->Activated((HWND)wp);
    return CallNextHookEx(nullptr, code, wp, lp);
}

void ModalWatcher::Activated(HWND window)
{
    if (ClassNameOf(window) != L"#32770")
        return;
    for (HWND seen : seen_)
        if (seen == window)
            return; /* activated again after a box over it closed */
    seen_.push_back(window);

    HWND text = GetDlgItem(window, 0xFFFF); /* only message boxes have it */
    if (!text) {
        dialogs_.push_back(WindowText(window));
        if (dialog_handler_)
            dialog_handler_(window);
        return;
    }
    RecordedBox box;
    box.caption = WindowText(window);
    box.text = WindowText(text);
    box.icon = IconOfBox(window);
    box.owner = GetWindow(window, GW_OWNER);
    box.has_owner = box.owner != nullptr;
    for (int id : {IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO}) {
        HWND button = GetDlgItem(window, id);
        /* The box itself may not be shown yet: look at the button's own style. */
        if (button && (GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE))
            box.buttons.push_back(id);
    }
    int answer;
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.erase(answers_.begin());
    } else {
        LRESULT def = SendMessageW(window, DM_GETDEFID, 0, 0);
        answer = HIWORD(def) == DC_HASDEFID ? LOWORD(def) : (box.buttons.empty() ? IDOK : box.buttons.front());
    }
    boxes_.push_back(box);
    PostMessageW(window, WM_COMMAND, MAKEWPARAM(answer, BN_CLICKED), (LPARAM)GetDlgItem(window, answer));
}

void ModalWatcher::WorkDialogs(std::function<void(HWND dialog)> act)
{
    SetDialogHandler([act](HWND dialog) {
        RunSoon([act, dialog] {
            act(dialog);
            if (IsWindow(dialog))
                PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
    });
}

void PumpPending(HWND accel_window, HACCEL accel)
{
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (accel && accel_window && TranslateAcceleratorW(accel_window, accel, &msg))
            continue;
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

bool PumpUntil(const std::function<bool()> &done, DWORD timeout_ms, HWND accel_window, HACCEL accel)
{
    DWORD start = GetTickCount();
    for (;;) {
        PumpPending(accel_window, accel);
        if (done())
            return true;
        DWORD elapsed = GetTickCount() - start;
        if (elapsed >= timeout_ms)
            return false;
        /* Wakes on any new message; the short cap also lets conditions that
         * change in other threads or processes be seen. */
        DWORD wait = timeout_ms - elapsed;
        MsgWaitForMultipleObjectsEx(0, nullptr, wait < 20 ? wait : 20, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

void PressKey(WORD vk, bool ctrl, bool alt, bool shift)
{
    const WORD held[] = {(WORD)(ctrl ? VK_CONTROL : 0), (WORD)(alt ? VK_MENU : 0), (WORD)(shift ? VK_SHIFT : 0)};
    std::vector<WORD> order;
    for (WORD key : held)
        if (key)
            order.push_back(key);
    order.push_back(vk);
    std::vector<INPUT> in(order.size() * 2);
    for (size_t i = 0; i < order.size(); i++) {
        /* Down in order, up in reverse. */
        in[i].type = in[in.size() - 1 - i].type = INPUT_KEYBOARD;
        in[i].ki.wVk = in[in.size() - 1 - i].ki.wVk = order[i];
        in[in.size() - 1 - i].ki.dwFlags = KEYEVENTF_KEYUP;
    }
    SendInput((UINT)in.size(), in.data(), sizeof(INPUT));
}

namespace {

thread_local UINT t_popup_command;
thread_local HHOOK t_menu_hook;
thread_local UINT_PTR t_wake_timer;

/* A thread timer wakes the menu loop, so the filter below runs even when no
 * other message arrives while the popup is shown. */
void CALLBACK WakeMenuLoop(HWND, UINT, UINT_PTR, DWORD)
{
}

/* The popup menu window shown now; earlier ones may linger hidden. */
BOOL CALLBACK FindVisiblePopup(HWND window, LPARAM found)
{
    if (IsWindowVisible(window) && ClassNameOf(window) == L"#32768") {
        *(HWND *)found = window;
        return FALSE;
    }
    return TRUE;
}

/* While a popup menu is tracked, the system passes each message through this
 * filter: the wanted item is reached with the arrow keys and chosen with
 * Enter, as a user would. The filter stays installed for the thread (Wine
 * stops reading the posted keys when it is removed from inside itself). */
LRESULT CALLBACK MenuFilter(int code, WPARAM wp, LPARAM lp)
{
    HWND popup = nullptr;
    if (code == MSGF_MENU && t_popup_command)
        EnumThreadWindows(GetCurrentThreadId(), FindVisiblePopup, (LPARAM)&popup);
    HMENU menu = popup ? (HMENU)SendMessageW(popup, 0x01E1 /* MN_GETHMENU */, 0, 0) : nullptr;
    if (menu) {
        UINT wanted = t_popup_command;
        t_popup_command = 0;
        KillTimer(nullptr, t_wake_timer);
        t_wake_timer = 0;
        int steps = 0;
        bool found = false;
        for (int i = 0, n = GetMenuItemCount(menu); i < n && !found; i++) {
            MENUITEMINFOW mii = {sizeof(mii), MIIM_FTYPE | MIIM_ID};
            GetMenuItemInfoW(menu, i, TRUE, &mii);
            if (mii.fType & MFT_SEPARATOR)
                continue;
            steps++;
            found = mii.wID == wanted;
        }
        for (int i = 0; found && i < steps; i++)
            PostMessageW(popup, WM_KEYDOWN, VK_DOWN, 0);
        PostMessageW(popup, WM_KEYDOWN, found ? VK_RETURN : VK_ESCAPE, 0);
    }
    return CallNextHookEx(nullptr, code, wp, lp);
}

std::vector<std::function<void()>> g_soon;

void CALLBACK RunSoonTimer(HWND, UINT, UINT_PTR id, DWORD)
{
    KillTimer(nullptr, id);
    if (g_soon.empty())
        return;
    std::function<void()> work = g_soon.front();
    g_soon.erase(g_soon.begin());
    work();
}

} // namespace

void ChooseNextPopupCommand(UINT command_id)
{
    t_popup_command = command_id;
    if (!t_wake_timer)
        t_wake_timer = SetTimer(nullptr, 0, 50, WakeMenuLoop);
    if (!t_menu_hook)
        t_menu_hook = SetWindowsHookExW(WH_MSGFILTER, MenuFilter, nullptr, GetCurrentThreadId());
}

void RunSoon(std::function<void()> work)
{
    g_soon.push_back(std::move(work));
    SetTimer(nullptr, 0, 0, RunSoonTimer);
}

void ClickButton(HWND dialog, int id)
{
    SendMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
}

void DoubleClickListRow(HWND list, int row)
{
    /* What the list does on a double tap: the row becomes selected and the
     * parent is told with NM_DBLCLK. (Synthetic button messages would start
     * the control's drag detection, which waits for a real mouse.) */
    LVITEMW state = {};
    state.stateMask = state.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, row, (LPARAM)&state);
    NMITEMACTIVATE nm = {};
    nm.hdr = {list, (UINT_PTR)GetDlgCtrlID(list), (UINT)NM_DBLCLK};
    nm.iItem = row;
    SendMessageW(GetParent(list), WM_NOTIFY, nm.hdr.idFrom, (LPARAM)&nm);
}

std::wstring WindowText(HWND window)
{
    std::wstring s(GetWindowTextLengthW(window) + 1, L'\0');
    s.resize(GetWindowTextW(window, &s[0], (int)s.size()));
    return s;
}

std::wstring ClassNameOf(HWND window)
{
    wchar_t name[256];
    return std::wstring(name, GetClassNameW(window, name, 256));
}

std::wstring ListViewText(HWND list, int row, int column)
{
    return RemoteListViewText(GetCurrentProcess(), list, row, column);
}

int ListViewRowCount(HWND list)
{
    return (int)SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
}

int ListViewRow(HWND list, const std::wstring &text)
{
    for (int i = 0; i < ListViewRowCount(list); i++)
        if (ListViewText(list, i, 0) == text)
            return i;
    return -1;
}

std::wstring SaveScreenshot(HWND window, const wchar_t *name)
{
    std::wstring folder = WinePathOf(PELNOR_BUILD_DIR "/screenshots");
    CreateDirectoryW(folder.c_str(), nullptr);
    std::wstring path = folder + L"\\" + name + L".png";
    return CaptureWindowPng(window, path.c_str()) ? path : std::wstring();
}

namespace {

BOOL CALLBACK CheckFit(HWND control, LPARAM out)
{
    std::wstring kind = ClassNameOf(control), text = WindowText(control);
    if ((kind != L"Button" && kind != L"Static") || text.empty())
        return TRUE;
    LONG style = GetWindowLongW(control, GWL_STYLE);
    int room_x = 0, room_y = 0;
    if (kind == L"Button") {
        switch (style & BS_TYPEMASK) {
        case BS_CHECKBOX:
        case BS_AUTOCHECKBOX:
        case BS_3STATE:
        case BS_AUTO3STATE:
        case BS_RADIOBUTTON:
        case BS_AUTORADIOBUTTON:
            room_x = GetSystemMetrics(SM_CXMENUCHECK) + 4; /* the box and its gap */
            break;
        case BS_GROUPBOX:
            room_x = 8;
            break;
        default:
            room_x = 6; /* the edges of a push button */
            room_y = 4;
        }
    } else if ((style & SS_TYPEMASK) > SS_RIGHT) {
        return TRUE; /* icons, frames and pictures */
    }
    RECT area;
    GetClientRect(control, &area);
    HDC dc = GetDC(control);
    HGDIOBJ old = SelectObject(dc, (HFONT)SendMessageW(control, WM_GETFONT, 0, 0));
    SIZE extent = {};
    if (kind == L"Static") {
        /* A label wraps at its width as it draws: what it needs is the
         * height of the wrapped lines. */
        RECT needed = {0, 0, area.right, 0};
        DrawTextW(dc, text.c_str(), (int)text.size(), &needed, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EXPANDTABS);
        extent.cx = needed.right;
        extent.cy = needed.bottom;
    } else {
        GetTextExtentPoint32W(dc, text.c_str(), (int)text.size(), &extent);
    }
    SelectObject(dc, old);
    ReleaseDC(control, dc);
    if (extent.cx + room_x > area.right || extent.cy + room_y > area.bottom)
        ((std::vector<std::wstring> *)out)->push_back(text);
    return TRUE;
}

std::wstring TreeItemText(HWND tree, HTREEITEM item)
{
    wchar_t text[MAX_PATH] = L"";
    TVITEMW query = {};
    query.mask = TVIF_TEXT;
    query.hItem = item;
    query.pszText = text;
    query.cchTextMax = MAX_PATH;
    SendMessageW(tree, TVM_GETITEMW, 0, (LPARAM)&query);
    return text;
}

} // namespace

std::vector<std::wstring> CutTexts(HWND window)
{
    std::vector<std::wstring> cut;
    EnumChildWindows(window, CheckFit, (LPARAM)&cut);
    return cut;
}

std::vector<std::wstring> TreeChildren(HWND tree, HTREEITEM parent)
{
    std::vector<std::wstring> names;
    for (HTREEITEM item = TreeView_GetChild(tree, parent); item; item = TreeView_GetNextSibling(tree, item)) {
        TVITEMW query = {};
        query.mask = TVIF_IMAGE;
        query.hItem = item;
        SendMessageW(tree, TVM_GETITEMW, 0, (LPARAM)&query);
        names.push_back(TreeItemText(tree, item) + (query.iImage == 2 ? L"" : L"/"));
    }
    return names;
}

HTREEITEM TreeChild(HWND tree, HTREEITEM parent, const std::wstring &name)
{
    for (HTREEITEM item = TreeView_GetChild(tree, parent); item; item = TreeView_GetNextSibling(tree, item))
        if (_wcsicmp(TreeItemText(tree, item).c_str(), name.c_str()) == 0)
            return item;
    return nullptr;
}

void TreeKey(HWND tree, HTREEITEM item, bool open)
{
    /* TVM_EXPAND would not ask the parent again once an item was opened:
     * the keys do, as a tap on the item's button does. */
    TreeView_SelectItem(tree, item);
    SendMessageW(tree, WM_KEYDOWN, open ? VK_ADD : VK_SUBTRACT, 0);
    SendMessageW(tree, WM_KEYUP, open ? VK_ADD : VK_SUBTRACT, 0);
}

HTREEITEM OpenTreeTo(HWND tree, const std::wstring &path)
{
    HTREEITEM item = TreeView_GetRoot(tree);
    TreeKey(tree, item, true);
    size_t start = path.find(L'\\') + 1;
    for (size_t end; item && (end = path.find(L'\\', start)) != std::wstring::npos; start = end + 1) {
        item = TreeChild(tree, item, path.substr(start, end - start));
        if (item)
            TreeKey(tree, item, true);
    }
    return item;
}
