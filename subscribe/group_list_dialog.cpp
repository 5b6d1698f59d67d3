#include "group_list_dialog.h"

#include <stdlib.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "nntp/group_list.h"
#include "resources/resource.h"

namespace {

struct GroupListDialogState {
    HWND dialog;
    DWORD group_count;
    const wchar_t *server;
    DWORD port;
    const char *user;
    const char *password;
    const wchar_t *active_path;
    const wchar_t *category_path;
    GroupListJob *job;
    LONG references; /* the dialog and the worker: the last one frees */
};

/* Drops one hold on the state (the dialog's or the worker's); the last one
 * frees the job and the state. */
void ReleaseState(GroupListDialogState *state)
{
    if (InterlockedDecrement(&state->references) == 0) {
        GroupListJobFree(state->job);
        free(state);
    }
}

/* The counter is set from the worker's thread; the system hands the text
 * to the dialog's thread. Once the dialog has gone nothing is shown. */
void OnGroupStored(void *context)
{
    GroupListDialogState *state = (GroupListDialogState *)context;
    state->group_count++;
    wchar_t format[64], text[64];
    LoadResText(IDS_GL_COUNT, format, 64);
    _snwprintf(text, 63, format, (int)state->group_count);
    text[63] = L'\0';
    if (state->dialog)
        SetDlgItemTextW(state->dialog, IDC_GROUP_COUNT, text);
}

void OnFinished(void *context)
{
    GroupListDialogState *state = (GroupListDialogState *)context;
    if (state->dialog)
        PostMessageW(state->dialog, WM_COMMAND, MAKEWPARAM(IDC_GROUP_LIST_DONE, 0), 0);
}

DWORD WINAPI Worker(LPVOID parameter)
{
    GroupListDialogState *state = (GroupListDialogState *)parameter;
    GroupListRun(state->job);
    ReleaseState(state);
    return 0;
}

void OnInit(HWND dialog, GroupListDialogState *state)
{
    state->dialog = dialog;
    GroupListEvents events = {state, OnGroupStored, OnFinished};
    state->job = GroupListJobCreate(state->active_path, state->category_path, state->server, state->port,
                                    state->user, state->password, &events);
    if (state->job) {
        InterlockedIncrement(&state->references);
        HANDLE thread = CreateThread(nullptr, 0, Worker, state, 0, nullptr);
        if (thread) {
            CloseHandle(thread);
            return;
        }
        InterlockedDecrement(&state->references);
    }
    ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_ICONHAND);
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
}

void OnDone(GroupListJob *job)
{
    if (job && job->error_text && job->error_text[0])
        ShowTextBox(job->error_text, IDS_CAPTION_PELNOR, MB_ICONEXCLAMATION);
    else if (job && job->out_of_memory)
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_ICONEXCLAMATION);
}

INT_PTR GroupListHandler(HWND dialog, UINT message, WPARAM wp, LPARAM, GroupListDialogState *state)
{
    switch (message) {
    case WM_INITDIALOG:
        OnInit(dialog, state);
        return TRUE;
    case WM_COMMAND:
        switch (LOWORD(wp)) {
        case IDC_GROUP_LIST_DONE:
            OnDone(state->job);
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
            break;
        case IDOK:
            EndDialog(dialog, kDialogOk);
            break;
        case IDCANCEL:
            EndDialog(dialog, kDialogCancel);
            break;
        }
        return TRUE;
    }
    return FALSE;
}

} // namespace

int RunGroupListDownload(HINSTANCE instance, HWND parent, const wchar_t *active_path, const wchar_t *category_path,
                         const wchar_t *server, DWORD port, const char *user, const char *password)
{
    GroupListDialogState *state = (GroupListDialogState *)calloc(1, sizeof(GroupListDialogState));
    if (!state) {
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_ICONHAND);
        return 0;
    }
    state->server = server;
    state->port = port;
    state->user = user;
    state->password = password;
    state->active_path = active_path;
    state->category_path = category_path;
    state->references = 1; /* the dialog's; the worker takes its own */
    RunDialog<GroupListHandler>(instance, IDD_GROUP_LIST, parent, state);
    /* The worker may still run (the dialog was closed early): it finds the
     * dialog gone and frees the job when it ends. */
    state->dialog = nullptr;
    ReleaseState(state);
    return 0;
}
