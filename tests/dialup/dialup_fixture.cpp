#include "dialup_fixture.h"

#include "resources/resource.h"
#include "shell/app_frame.h"

#include "dialup/dialup.h"

namespace {

ScriptedRas *g_ras;
StandInFrame *g_frame;

DWORD WINAPI EnumConnections(RASCONNW *connections, DWORD *bytes, DWORD *count)
{
    g_ras->connection_enums.push_back({connections ? connections->dwSize : 0, bytes ? *bytes : 0});
    *count = 0;
    if (g_ras->active_connections > 0 && connections && *bytes >= sizeof(RASCONNW)) {
        connections->hrasconn = (HRASCONN)(ULONG_PTR)0x0DD;
        lstrcpyW(connections->szEntryName, L"other line");
        *count = 1;
    }
    return 0;
}

DWORD WINAPI EnumEntries(const wchar_t *, const wchar_t *, RASENTRYNAMEW *, DWORD *, DWORD *count)
{
    g_ras->entry_enums++;
    *count = 0;
    return 0;
}

DWORD WINAPI GetEntryDialParams(const wchar_t *phonebook, RASDIALPARAMSW *params, BOOL *password_saved)
{
    g_ras->param_queries.push_back({phonebook == nullptr, params->dwSize, params->szEntryName});
    lstrcpynW(params->szUserName, g_ras->stored_user.c_str(), UNLEN + 1);
    lstrcpynW(params->szPassword, g_ras->stored_password.c_str(), PWLEN + 1);
    *password_saved = TRUE;
    return 0;
}

DWORD WINAPI Dial(RASDIALEXTENSIONS *extensions, const wchar_t *phonebook, RASDIALPARAMSW *params,
                  DWORD notifier_type, void *notifier, HRASCONN *connection)
{
    DialCall call;
    call.extensions_null = extensions == nullptr;
    call.phonebook_null = phonebook == nullptr;
    call.record_size = params->dwSize;
    call.entry = params->szEntryName;
    call.phone = params->szPhoneNumber;
    call.user = params->szUserName;
    call.password = params->szPassword;
    call.notifier_type = notifier_type;
    call.notifier = (HWND)notifier;
    call.handle_was_null = *connection == nullptr;
    g_ras->dials.push_back(call);
    *connection = g_ras->handle;
    return 0;
}

DWORD WINAPI HangUp(HRASCONN connection)
{
    g_ras->hang_ups.push_back(connection);
    return 0;
}

const wchar_t kStandInClass[] = L"PelnorDialupTestFrame";

BOOL CALLBACK CollectDialog(HWND window, LPARAM found)
{
    if (ClassNameOf(window) == L"#32770" && !GetDlgItem(window, 0xFFFF))
        ((std::vector<HWND> *)found)->push_back(window);
    return TRUE;
}

} // namespace

ScriptedRas::ScriptedRas()
{
    table_ = {EnumConnections, EnumEntries, GetEntryDialParams, Dial, HangUp};
    g_ras = this;
    SetRasTable(&table_);
}

ScriptedRas::~ScriptedRas()
{
    SetRasTable(nullptr);
    g_ras = nullptr;
}

void ScriptedRas::Notify(UINT state, DWORD error) const
{
    PostMessageW(dial_window(), WM_RASDIALEVENT, state, error);
}

StandInFrame::StandInFrame(const ModalWatcher *watcher) : watcher_(watcher)
{
    static ATOM registered = [] {
        WNDCLASSW wc = {};
        wc.lpfnWndProc = Proc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = kStandInClass;
        wc.hbrBackground = (HBRUSH)GetStockObject(WHITE_BRUSH);
        return RegisterClassW(&wc);
    }();
    (void)registered;
    g_frame = this;
    /* Only sent messages pass the WH_CALLWNDPROC hook; posted ones do not. */
    sent_hook_ = SetWindowsHookExW(WH_CALLWNDPROC, SentHook, nullptr, GetCurrentThreadId());
    window_ = CreateWindowExW(0, kStandInClass, L"Pelnor", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 240, 320,
                              nullptr, nullptr, GetModuleHandleW(nullptr), this);
}

StandInFrame::~StandInFrame()
{
    for (HWND dialog : ThreadDialogs())
        DestroyWindow(dialog);
    if (IsWindow(window_))
        DestroyWindow(window_);
    PumpPending();
    UnhookWindowsHookEx(sent_hook_);
    g_frame = nullptr;
}

LRESULT CALLBACK StandInFrame::SentHook(int code, WPARAM wp, LPARAM lp)
{
    const CWPSTRUCT *call = (const CWPSTRUCT *)lp;
    if (code == HC_ACTION && g_frame && call->hwnd == g_frame->window_ &&
        (call->message == WM_PELNOR_START_RUN || call->message == WM_PELNOR_HANG_UP))
        g_frame->next_is_sent_ = true;
    return CallNextHookEx(nullptr, code, wp, lp);
}

int StandInFrame::Count(UINT message) const
{
    int n = 0;
    for (const FrameMessage &m : log)
        n += m.message == message;
    return n;
}

LRESULT CALLBACK StandInFrame::Proc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    if (msg == WM_NCCREATE)
        SetWindowLongPtrW(window, GWLP_USERDATA, (LONG_PTR)((CREATESTRUCTW *)lp)->lpCreateParams);
    StandInFrame *self = (StandInFrame *)GetWindowLongPtrW(window, GWLP_USERDATA);
    if (self && (msg == WM_PELNOR_START_RUN || msg == WM_PELNOR_HANG_UP)) {
        FrameMessage m;
        m.message = msg;
        m.sent = self->next_is_sent_;
        self->next_is_sent_ = false;
        m.frame_was_enabled = IsWindowEnabled(window) != FALSE;
        m.boxes_shown = self->watcher_ ? self->watcher_->boxes().size() : 0;
        m.dialog_visible = false;
        if (self->watched_dialog && IsWindow(self->watched_dialog)) {
            m.dialog_status = WindowText(GetDlgItem(self->watched_dialog, IDC_DIALUP_STATUS));
            m.dialog_visible = IsWindowVisible(self->watched_dialog) != FALSE;
        }
        self->log.push_back(m);
        /* What the frame does with them. */
        EnableWindow(window, TRUE);
        if (msg == WM_PELNOR_HANG_UP)
            HangUpDialup(self->connection);
        return 0;
    }
    return DefWindowProcW(window, msg, wp, lp);
}

std::vector<HWND> ThreadDialogs()
{
    std::vector<HWND> found;
    EnumThreadWindows(GetCurrentThreadId(), CollectDialog, (LPARAM)&found);
    return found;
}
