/* Dialog 110: the group counter while the group-list worker runs. */
#include <stdlib.h>

#include "nntp/run_result.h"
#include "resources/resource.h"
#include "subscribe/group_list.h"

namespace {

void ShowPelnorBox(const wchar_t *text, UINT icon)
{
    wchar_t caption[64];
    LoadResText(IDS_CAPTION_PELNOR, caption, 64);
    MessageBoxW(nullptr, text, caption, icon);
}

void OnInit(HWND dialog, GroupListDialogState *state)
{
    SetWindowLongPtrW(dialog, DWLP_USER, (LONG_PTR)state);
    state->dialog = dialog;
    state->job = GroupListJobCreate(state->active_path, state->category_path, state->server, state->port,
                                    state->user, state->password, dialog);
    if (state->job) {
        state->job->dialog_state = state;
        InterlockedIncrement(&state->references);
        HANDLE thread = CreateThread(nullptr, 0, GroupListWorker, state->job, 0, nullptr);
        if (thread) {
            CloseHandle(thread);
            return;
        }
        InterlockedDecrement(&state->references);
    }
    wchar_t text[kRunResultChars];
    LoadResText(IDS_NO_MEMORY, text, kRunResultChars);
    ShowPelnorBox(text, MB_ICONHAND);
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
}

void OnCommand(HWND dialog, WORD id)
{
    GroupListDialogState *state = (GroupListDialogState *)GetWindowLongPtrW(dialog, DWLP_USER);
    if (id == IDC_GROUP_LIST_DONE) {
        GroupListJob *job = state ? state->job : nullptr;
        if (job && job->error_text && job->error_text[0]) {
            ShowPelnorBox(job->error_text, MB_ICONEXCLAMATION);
        } else if (job && job->out_of_memory) {
            wchar_t text[kRunResultChars];
            LoadResText(IDS_NO_MEMORY, text, kRunResultChars);
            ShowPelnorBox(text, MB_ICONEXCLAMATION);
        }
        PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    } else if (id == IDOK) {
        EndDialog(dialog, 1);
    } else if (id == IDCANCEL) {
        EndDialog(dialog, 2);
    }
}

INT_PTR CALLBACK GroupListProc(HWND dialog, UINT message, WPARAM wp, LPARAM lp)
{
    switch (message) {
    case WM_INITDIALOG:
        OnInit(dialog, (GroupListDialogState *)lp);
        return TRUE;
    case WM_COMMAND:
        OnCommand(dialog, LOWORD(wp));
        return TRUE;
    }
    return FALSE;
}

} // namespace

void GroupListReleaseState(GroupListDialogState *state)
{
    if (InterlockedDecrement(&state->references) == 0) {
        GroupListJobFree(state->job);
        free(state);
    }
}

int RunGroupListDownload(HINSTANCE instance, HWND parent, const wchar_t *active_path, const wchar_t *category_path,
                         const wchar_t *server, DWORD port, const char *user, const char *password)
{
    GroupListDialogState *state = (GroupListDialogState *)calloc(1, sizeof(GroupListDialogState));
    if (!state) {
        wchar_t text[kRunResultChars];
        LoadResText(IDS_NO_MEMORY, text, kRunResultChars);
        ShowPelnorBox(text, MB_ICONHAND);
        return 0;
    }
    state->server = server;
    state->port = port;
    state->user = user;
    state->password = password;
    state->active_path = active_path;
    state->category_path = category_path;
    state->references = 1; /* the dialog's; the worker takes its own */
    DialogBoxParamW(instance, MAKEINTRESOURCEW(IDD_GROUP_LIST), parent, GroupListProc, (LPARAM)state);
    /* The worker may still run (the dialog was closed early): it finds the
     * dialog gone and frees the job when it ends. */
    state->dialog = nullptr;
    GroupListReleaseState(state);
    return 0;
}
