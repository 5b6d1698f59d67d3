#include "group_list_dialog.h"

#include <stdlib.h>
#include <wchar.h>

#include "base/background_job.h"
#include "base/dialog.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "nntp/certificate_dialog.h"
#include "nntp/group_list.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

/* How often the counter shows the groups stored so far. */
const UINT kCounterTimer = 1;
const UINT kCounterPeriodMs = 100;

struct GroupListDialogState {
    HINSTANCE instance;
    int decode_charsets;
    const wchar_t *active_path;
    const wchar_t *category_path;
    const NntpServer *server;
    BackgroundJob *job; /* shared with the worker; its context is the GroupListJob */
    DWORD shown_count;
};

void OnGroupStored(void *context)
{
    BackgroundJobStep((BackgroundJob *)context);
}

void OnFileFailed(void *context)
{
    BackgroundJobNotify((BackgroundJob *)context);
}

void Work(BackgroundJob *job, void *context)
{
    NntpTrust trust = JobTrust(job);
    GroupListEvents events = {job, OnGroupStored, OnFileFailed, &trust};
    GroupListRun((GroupListJob *)context, &events, &job->cancel);
}

void FreeWork(void *context)
{
    GroupListJobFree((GroupListJob *)context);
}

/* The job and its worker, which waits to be run. Null with the last error. */
BackgroundJob *MakeJob(GroupListDialogState *state)
{
    GroupListJob *list = GroupListJobCreate(state->active_path, state->category_path, state->server);
    if (!list)
        return nullptr;
    BackgroundJob *job = BackgroundJobCreate(Work, list, FreeWork);
    if (!job)
        GroupListJobFree(list);
    return job;
}

void ShowCount(HWND dialog, GroupListDialogState *state)
{
    JobProgress progress;
    BackgroundJobProgress(state->job, &progress);
    if (progress.position == state->shown_count)
        return;
    state->shown_count = progress.position;
    wchar_t format[64], text[64];
    LoadResText(IDS_GL_COUNT, format, 64);
    _snwprintf(text, 63, format, (int)progress.position);
    text[63] = L'\0';
    SetDlgItemTextW(dialog, IDC_GROUP_COUNT, text);
}

/* How each failure is told: its string, and what fills it in. */
enum FailureForm {
    kFormPlain,     /* the string alone */
    kFormError,     /* with the system error for its %d */
    kFormReply,     /* with the server's line for its %s */
    kFormReplyOnly, /* the server's line itself */
};

struct FailureWords {
    GroupListFailure failure;
    UINT id;
    FailureForm form;
    UINT no_memory_id; /* when the server's line cannot be converted */
};

const FailureWords kFailureWords[] = {
    {kListConnectFailed, IDS_GL_CONNECT, kFormPlain, 0},
    {kListNoGreeting, IDS_GL_RECV_CONNECT, kFormPlain, 0},
    {kListRefused, IDS_GL_REFUSED, kFormReply, IDS_NO_MEMORY},
    {kListLoginSendFailed, IDS_GL_SEND, kFormPlain, 0},
    {kListLoginReceiveFailed, IDS_GL_RECV, kFormPlain, 0},
    {kListLoginRefused, 0, kFormReplyOnly, IDS_NO_MEMORY},
    {kListActiveOpenFailed, IDS_GL_OPEN_ACTIVE, kFormError, 0},
    {kListCategoryOpenFailed, IDS_GL_OPEN_CATEGORY, kFormError, 0},
    {kListHashInitFailed, IDS_GL_HASH_INIT, kFormPlain, 0},
    {kListSendFailed, IDS_GL_SEND_FAILED, kFormPlain, 0},
    {kListReceiveFailed, IDS_GL_RECV_FAILED, kFormPlain, 0},
    {kListFallbackSendFailed, IDS_GL_LIST_FAILED, kFormPlain, 0},
    {kListUnexpected, IDS_GL_UNEXPECTED, kFormReply, IDS_GL_UNEXPECTED_NOMEM},
    {kListWriteFailed, IDS_GL_WRITE_FAILED, kFormError, 0},
    {kListHashWriteFailed, IDS_GL_HASH_WRITE, kFormError, 0},
    {kListIncomplete, IDS_GL_INCOMPLETE, kFormError, 0},
    {kListTlsFailed, IDS_TLS_FAILED, kFormError, 0},
    {kListCaFileFailed, IDS_TLS_CA_FILE, kFormError, 0},
    {kListCertificateRefused, IDS_TLS_CERT_REFUSED, kFormPlain, 0},
    {kListStartTlsRefused, IDS_TLS_STARTTLS_REFUSED, kFormReply, IDS_NO_MEMORY},
    {kListEncryptionRequired, IDS_TLS_REQUIRED, kFormReply, IDS_NO_MEMORY},
};

/* The run's failure in words; false when it did not fail. */
bool FailureText(const GroupListJob *list, bool decode, wchar_t *text, int chars)
{
    for (const FailureWords &words : kFailureWords) {
        if (words.failure != list->failure)
            continue;
        if (words.form == kFormPlain) {
            LoadResText(words.id, text, chars);
        } else if (words.form == kFormError) {
            FormatResFailure(words.id, list->last_error, text, chars);
        } else {
            /* The server's line as received, line end included. */
            wchar_t *reply = ServerTextToWide(list->line, decode);
            if (!reply)
                LoadResText(words.no_memory_id, text, chars);
            else if (words.form == kFormReply)
                FormatResText(words.id, reply, text, chars);
            else
                CopyWideText(text, reply, (size_t)chars);
            free(reply);
        }
        return true;
    }
    return false;
}

INT_PTR GroupListHandler(HWND dialog, UINT message, WPARAM wp, LPARAM lp, GroupListDialogState *state)
{
    if (AnswerCertificateQuestion(state->instance, dialog, message, lp))
        return TRUE;
    switch (message) {
    case WM_INITDIALOG:
        state->job = MakeJob(state);
        if (!state->job) {
            ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_ICONHAND);
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
            return TRUE;
        }
        BackgroundJobRun(state->job, dialog, WM_COMMAND, IDC_GROUP_LIST_DONE);
        SetTimer(dialog, kCounterTimer, kCounterPeriodMs, nullptr);
        return TRUE;
    case WM_TIMER:
        if (wp == kCounterTimer)
            ShowCount(dialog, state);
        return TRUE;
    case WM_COMMAND:
        switch (LOWORD(wp)) {
        case IDC_GROUP_LIST_DONE: {
            ShowCount(dialog, state);
            wchar_t text[1024];
            if (FailureText((GroupListJob *)state->job->context, state->decode_charsets != 0, text, 1024))
                ShowTextBox(text, IDS_CAPTION_PELNOR, MB_ICONEXCLAMATION);
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
            break;
        }
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
                         const NntpServer *server, int decode_charsets)
{
    GroupListDialogState state = {instance, decode_charsets, active_path, category_path, server, nullptr, 0};
    RunDialog<GroupListHandler>(instance, IDD_GROUP_LIST, parent, &state);
    if (state.job) {
        /* Closed early, the worker is stopped at once; its notice then finds
         * no window, and it frees the job when it ends. */
        BackgroundJobLetGo(state.job);
        BackgroundJobCancel(state.job);
        BackgroundJobRelease(state.job);
    }
    return 0;
}
