#include "catchup_command.h"

#include "base/dialog.h"
#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "shell/group_checks.h"
#include "store/group_store.h"
#include "store/index_file.h"
#include "store/read_marks.h"

namespace {

struct CatchUpDialog {
    HWND dialog;
    DWORD local;  /* mark the stored articles read */
    DWORD server; /* skip what the server holds now */
};

INT_PTR CatchUpHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, CatchUpDialog *state)
{
    switch (msg) {
    case WM_INITDIALOG:
        state->dialog = dialog;
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wp) == IDOK) {
            state->local = IsButtonChecked(dialog, IDC_CATCHUP_LOCAL);
            state->server = IsButtonChecked(dialog, IDC_CATCHUP_SERVER);
            EndDialog(dialog, kDialogOk);
            return TRUE;
        }
        if (LOWORD(wp) == IDCANCEL) {
            EndDialog(dialog, kDialogCancel);
            return TRUE;
        }
        break;
    }
    return FALSE;
}

} // namespace

void CatchUpCommand(AppFrame *frame)
{
    frame->busy = 1;
    wchar_t group[1024];
    int row;
    if (!GroupViewSelected(frame->groupView, group, 1024, &row)) {
        frame->busy = 0;
        return;
    }

    GroupChecksWait(frame, (DWORD)row, group);
    GroupStore store;
    GroupStoreInit(&store);
    if (!GroupStoreSetNames(&store, frame->settings.DataPath, group) || !IndexReadHeader(&store)) {
        ShowLastErrorBoxRes(IDS_INDEX_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        GroupStoreRelease(&store);
        frame->busy = 0;
        return;
    }

    CatchUpDialog choice = {nullptr, 0, 0};
    RunDialog<CatchUpHandler>(frame->instance, IDD_CATCHUP, frame->mainWindow, &choice);

    if (choice.local) {
        if (IndexMarkAllRead(&store))
            GroupViewSetUnread(frame->groupView, row, 0);
        else
            ShowLastErrorBoxRes(IDS_MARK_READ_FAILED, IDS_CAPTION_CATCHUP_LOCAL, MB_ICONERROR);
    }
    if (choice.server) {
        if (CatchUpServer(&store))
            ReloadData(frame);
        else
            ShowLastErrorBoxRes(IDS_CATCHUP_SET_FAILED, IDS_CAPTION_CATCHUP_SERVER, MB_ICONERROR);
    }
    frame->busy = 0;
    GroupStoreRelease(&store);
}
