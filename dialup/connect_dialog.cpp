#include "connect_dialog.h"

#include <stdlib.h>
#include <wchar.h>

#include "platform/ras.h"
#include "resources/resource.h"
#include "base/dialog.h"
#include "base/frame_messages.h"
#include "base/message_box.h"
#include "base/res_text.h"

namespace {

enum { kConnectedTimer = 1, kConnectedDelayMs = 500 };

/* Status text of each dial state shown; other states leave the text. */
const struct {
    UINT state;
    UINT text_id;
} kStateTexts[] = {
    {RASCS_OpenPort, IDS_RAS_OPEN_PORT},
    {RASCS_PortOpened, IDS_RAS_PORT_OPENED},
    {RASCS_ConnectDevice, IDS_RAS_CONNECT_DEVICE},
    {RASCS_DeviceConnected, IDS_RAS_DEVICE_CONNECTED},
    {RASCS_Authenticate, IDS_RAS_AUTHENTICATE},
    {RASCS_Authenticated, IDS_RAS_AUTHENTICATED},
};

/* Lives as long as the window: made with it and freed when it goes. */
struct ConnectDialog {
    HWND frame;
    const wchar_t *entry_name; /* for the title, at creation only */
};

void SetStatus(HWND dialog, UINT text_id)
{
    SetDlgItemTextW(dialog, IDC_DIALUP_STATUS, LoadResString(text_id));
}

void Connected(HWND dialog)
{
    SetStatus(dialog, IDS_RAS_CONNECTED);
    EnableWindow(GetDlgItem(dialog, IDCANCEL), FALSE);
    SetTimer(dialog, kConnectedTimer, kConnectedDelayMs, nullptr);
}

/* The line dropped or was refused: the user learns only that it failed. */
void Disconnected(HWND dialog, const ConnectDialog *state)
{
    SetStatus(dialog, IDS_RAS_DISCONNECTED);
    ShowWindow(dialog, SW_HIDE);
    ShowResBox(dialog, IDS_RAS_FAILED, IDS_CAPTION_DIALUP_ERROR, MB_ICONEXCLAMATION);
    PostMessageW(state->frame, WM_PELNOR_HANG_UP, 0, 0);
    PostMessageW(dialog, WM_CLOSE, 0, 0);
}

/* The title names the entry before the dialog is first shown. */
void Init(HWND dialog, const ConnectDialog *start)
{
    const wchar_t *format = LoadResString(IDS_RAS_CONNECTING_TO);
    wchar_t title[256];
    _snwprintf(title, 255, format ? format : L"%s", start->entry_name);
    title[255] = L'\0';
    SetWindowTextW(dialog, title);
}

void DialEvent(HWND dialog, UINT dial_state, const ConnectDialog *state)
{
    if (dial_state == RASCS_Connected) {
        Connected(dialog);
        return;
    }
    if (dial_state == RASCS_Disconnected) {
        Disconnected(dialog, state);
        return;
    }
    for (const auto &entry : kStateTexts) {
        if (entry.state == dial_state) {
            SetStatus(dialog, entry.text_id);
            return;
        }
    }
}

void Timer(HWND dialog, UINT_PTR id, const ConnectDialog *state)
{
    if (id != kConnectedTimer) {
        DestroyWindow(dialog);
        return;
    }
    KillTimer(dialog, kConnectedTimer);
    PostMessageW(state->frame, WM_PELNOR_START_RUN, 0, 0);
    PostMessageW(dialog, WM_CLOSE, 0, 0);
}

INT_PTR ConnectHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, ConnectDialog *state)
{
    if (IsRasDialEvent(msg)) {
        DialEvent(dialog, (UINT)wp, state);
        return TRUE;
    }
    switch (msg) {
    case WM_INITDIALOG:
        Init(dialog, state);
        return TRUE;
    case WM_TIMER:
        Timer(dialog, wp, state);
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wp) == IDCANCEL) {
            PostMessageW(state->frame, WM_PELNOR_HANG_UP, 0, 0);
            PostMessageW(dialog, WM_CLOSE, 0, 0);
            return TRUE;
        }
        break;
    case WM_CLOSE:
        DestroyWindow(dialog);
        return TRUE;
    case WM_DESTROY:
        SetWindowLongPtrW(dialog, DWLP_USER, 0);
        free(state);
        return TRUE;
    }
    return FALSE;
}

} // namespace

HWND CreateConnectDialog(HWND frame, HINSTANCE instance, const wchar_t *entry_name)
{
    ConnectDialog *state = (ConnectDialog *)malloc(sizeof(ConnectDialog));
    if (!state) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    state->frame = frame;
    state->entry_name = entry_name;
    HWND dialog = CreateModelessDialog<ConnectHandler>(instance, IDD_DIALUP, frame, state);
    if (!dialog) {
        DWORD error = GetLastError();
        free(state);
        SetLastError(error);
        return nullptr;
    }
    ShowWindow(dialog, SW_SHOW);
    return dialog;
}
