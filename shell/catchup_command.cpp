#include "catchup_command.h"

#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "store/group_store.h"
#include "store/index_file.h"
#include "store/read_marks.h"

namespace {

struct CatchUpDialog {
    HWND dialog;
    DWORD local;  /* mark the stored articles read */
    DWORD server; /* skip what the server holds now */
};

INT_PTR CALLBACK CatchUpProc(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    CatchUpDialog *state = (CatchUpDialog *)GetWindowLongPtrW(dialog, DWLP_USER);
    switch (msg) {
    case WM_INITDIALOG:
        state = (CatchUpDialog *)lp;
        state->dialog = dialog;
        SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)state);
        return TRUE;
    case WM_COMMAND:
        if (!state)
            break;
        if (LOWORD(wp) == IDOK) {
            state->local = SendDlgItemMessageW(dialog, IDC_CATCHUP_LOCAL, BM_GETCHECK, 0, 0) == BST_CHECKED;
            state->server = SendDlgItemMessageW(dialog, IDC_CATCHUP_SERVER, BM_GETCHECK, 0, 0) == BST_CHECKED;
            EndDialog(dialog, 1);
            return TRUE;
        }
        if (LOWORD(wp) == IDCANCEL) {
            EndDialog(dialog, 2);
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

    GroupStore store;
    GroupStoreInit(&store);
    if (!GroupStoreSetNames(&store, frame->settings.DataPath, group) || !IndexReadHeader(&store)) {
        ShowLastErrorBoxRes(IDS_INDEX_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        GroupStoreRelease(&store);
        frame->busy = 0;
        return;
    }

    CatchUpDialog choice = {nullptr, 0, 0};
    DialogBoxParamW(frame->instance, MAKEINTRESOURCEW(IDD_CATCHUP), frame->mainWindow, CatchUpProc,
                    (LPARAM)&choice);

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
