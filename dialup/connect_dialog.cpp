#include "connect_dialog.h"

#include <wchar.h>

#include "platform/ras.h"
#include "resources/resource.h"
#include "base/frame_messages.h"
#include "base/res_text.h"
#include "text/widestr.h"

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

struct ConnectDialogStart {
    HWND frame;
    const wchar_t *entry_name;
};

HWND FrameOfDialog(HWND dialog)
{
    return (HWND)GetWindowLongPtrW(dialog, DWLP_USER);
}

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
void Disconnected(HWND dialog)
{
    SetStatus(dialog, IDS_RAS_DISCONNECTED);
    ShowWindow(dialog, SW_HIDE);
    wchar_t caption[256];
    CopyWideText(caption, LoadResString(IDS_CAPTION_DIALUP_ERROR), 256);
    MessageBoxW(dialog, LoadResString(IDS_RAS_FAILED), caption, MB_ICONEXCLAMATION);
    PostMessageW(FrameOfDialog(dialog), WM_PELNOR_HANG_UP, 0, 0);
    PostMessageW(dialog, WM_CLOSE, 0, 0);
}

/* The title names the entry before the dialog is first shown. */
void Init(HWND dialog, const ConnectDialogStart *start)
{
    SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)start->frame);
    const wchar_t *format = LoadResString(IDS_RAS_CONNECTING_TO);
    wchar_t title[256];
    _snwprintf(title, 255, format ? format : L"%s", start->entry_name);
    title[255] = L'\0';
    SetWindowTextW(dialog, title);
}

void DialEvent(HWND dialog, UINT state)
{
    if (state == RASCS_Connected) {
        Connected(dialog);
        return;
    }
    if (state == RASCS_Disconnected) {
        Disconnected(dialog);
        return;
    }
    for (const auto &entry : kStateTexts) {
        if (entry.state == state) {
            SetStatus(dialog, entry.text_id);
            return;
        }
    }
}

void Timer(HWND dialog, UINT_PTR id)
{
    if (id != kConnectedTimer) {
        DestroyWindow(dialog);
        return;
    }
    KillTimer(dialog, kConnectedTimer);
    PostMessageW(FrameOfDialog(dialog), WM_PELNOR_START_RUN, 0, 0);
    PostMessageW(dialog, WM_CLOSE, 0, 0);
}

INT_PTR CALLBACK ConnectDialogProc(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    if (IsRasDialEvent(msg)) {
        DialEvent(dialog, (UINT)wp);
        return TRUE;
    }
    switch (msg) {
    case WM_INITDIALOG:
        Init(dialog, (const ConnectDialogStart *)lp);
        return TRUE;
    case WM_TIMER:
        Timer(dialog, wp);
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wp) == IDCANCEL) {
            PostMessageW(FrameOfDialog(dialog), WM_PELNOR_HANG_UP, 0, 0);
            PostMessageW(dialog, WM_CLOSE, 0, 0);
            return TRUE;
        }
        break;
    case WM_CLOSE:
        DestroyWindow(dialog);
        return TRUE;
    }
    return FALSE;
}

} // namespace

HWND CreateConnectDialog(HWND frame, HINSTANCE instance, const wchar_t *entry_name)
{
    ConnectDialogStart start = {frame, entry_name};
    HWND dialog =
        CreateDialogParamW(instance, MAKEINTRESOURCEW(IDD_DIALUP), frame, ConnectDialogProc, (LPARAM)&start);
    if (dialog)
        ShowWindow(dialog, SW_SHOW);
    return dialog;
}
