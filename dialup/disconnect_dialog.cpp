#include "dialup.h"

#include "resources/resource.h"
#include "base/dialog.h"
#include "base/frame_messages.h"
#include "base/res_text.h"

namespace {

enum {
    kConnectTimer = 1, /* the connect dialog's timer id */
    kWaitTimer = 2,
    kClosingTimer = 3,
    kClosingDelayMs = 500,
};

struct DisconnectDialog {
    HWND frame;
    DWORD wait_seconds;
};

/* Hangs up through the frame and shows the result for half a second. */
void HangUpAndClose(HWND dialog, const DisconnectDialog *record)
{
    SendMessageW(record->frame, WM_PELNOR_HANG_UP, 0, 0);
    EnableWindow(GetDlgItem(dialog, IDCANCEL), FALSE);
    SetDlgItemTextW(dialog, IDC_DIALUP_STATUS, LoadResString(IDS_RAS_DISCONNECTED));
    SetTimer(dialog, kClosingTimer, kClosingDelayMs, nullptr);
}

void Init(HWND dialog, const DisconnectDialog *record)
{
    SetWindowTextW(dialog, LoadResString(IDS_RAS_DISCONNECTING));
    if (record->wait_seconds == 0) {
        HangUpAndClose(dialog, record);
        return;
    }
    SetDlgItemTextW(dialog, IDC_DIALUP_STATUS, LoadResString(IDS_RAS_WILL_DISCONNECT));
    /* SetTimer takes at most 0x7FFFFFFF ms (about 24 days). */
    DWORD ms = record->wait_seconds > 0x7FFFFFFF / 1000 ? 0x7FFFFFFF : record->wait_seconds * 1000;
    SetTimer(dialog, kWaitTimer, ms, nullptr);
}

void Timer(HWND dialog, UINT_PTR id, const DisconnectDialog *record)
{
    if (id == kWaitTimer) {
        /* Kills the connect timer's id, so the wait timer keeps running;
         * it cannot fire again before the closing timer ends the dialog,
         * since the wait is at least a second. */
        KillTimer(dialog, kConnectTimer);
        HangUpAndClose(dialog, record);
    } else if (id == kClosingTimer) {
        KillTimer(dialog, kClosingTimer);
        PostMessageW(dialog, WM_CLOSE, 0, 0);
    }
}

INT_PTR DisconnectHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, DisconnectDialog *record)
{
    switch (msg) {
    case WM_INITDIALOG:
        Init(dialog, record);
        return TRUE;
    case WM_TIMER:
        Timer(dialog, wp, record);
        return TRUE;
    case WM_COMMAND:
        /* Cancel during the wait keeps the line up. */
        if (LOWORD(wp) == IDCANCEL) {
            PostMessageW(dialog, WM_CLOSE, 0, 0);
            return TRUE;
        }
        break;
    case WM_CLOSE:
        EndDialog(dialog, kDialogOk);
        return TRUE;
    }
    return FALSE;
}

} // namespace

INT_PTR RunDisconnectDialog(HWND frame, HINSTANCE instance, DWORD wait_seconds)
{
    DisconnectDialog record = {frame, wait_seconds};
    return RunDialog<DisconnectHandler>(instance, IDD_DIALUP, frame, &record);
}
