#include "search_dialog.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include <commctrl.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

const UINT_PTR kProgressTimer = 1;
const UINT kProgressPeriodMs = 100;

/* Column heading string and width in pixels. */
const struct {
    UINT heading;
    int width;
} kColumns[] = {
    {IDS_SEARCH_COL_GROUP, 64},
    {IDS_SEARCH_COL_SUBJECT, 110},
    {IDS_SEARCH_COL_SENDER, 60},
    {IDS_SEARCH_COL_DATE, 40},
};

HWND List(HWND dialog)
{
    return GetDlgItem(dialog, IDC_SEARCH_RESULTS);
}

int SelectedRow(HWND dialog)
{
    return (int)SendMessageW(List(dialog), LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED);
}

void SelectRow(HWND dialog, int row)
{
    LVITEMW item = {};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    item.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(List(dialog), LVM_SETITEMSTATE, row, (LPARAM)&item);
    SendMessageW(List(dialog), LVM_ENSUREVISIBLE, row, FALSE);
}

void SetCell(HWND list, int row, int column, const wchar_t *text)
{
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = (wchar_t *)text;
    SendMessageW(list, LVM_SETITEMTEXTW, row, (LPARAM)&item);
}

/* A record's text field (stored text, NUL-padded) for the list. */
void CellText(const char *field, size_t size, wchar_t *out)
{
    StoredToWide(field, strnlen(field, size), out);
}

/* The rows of the results the list does not show yet. */
void AddRows(HWND dialog, SearchSession *session)
{
    HWND list = List(dialog);
    EnterCriticalSection(&session->lock);
    for (; session->rows_shown < session->result_count; session->rows_shown++) {
        const SearchResult &result = session->results[session->rows_shown];
        const IndexRecord &r = result.hit.record;
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = (int)session->rows_shown;
        item.pszText = session->groups[result.group];
        int row = (int)SendMessageW(list, LVM_INSERTITEMW, 0, (LPARAM)&item);
        if (row < 0)
            break;
        wchar_t text[sizeof r.subject + 1];
        CellText(r.subject, sizeof r.subject, text);
        SetCell(list, row, 1, text);
        CellText(r.from, sizeof r.from, text);
        SetCell(list, row, 2, text);
        wchar_t date[6] = {(wchar_t)r.date[0], (wchar_t)r.date[1], L'/', (wchar_t)r.date[2], (wchar_t)r.date[3], 0};
        SetCell(list, row, 3, date);
    }
    LeaveCriticalSection(&session->lock);
}

void SetStatus(HWND dialog, UINT id, DWORD count)
{
    wchar_t text[256];
    FormatResError(id, count, text, 256);
    SetDlgItemTextW(dialog, IDC_SEARCH_STATUS, text);
}

/* The inputs can be changed while no search runs. */
void EnableInputs(HWND dialog, const SearchSession *session, bool enable)
{
    static const int inputs[] = {IDC_SEARCH_TEXT, IDC_SEARCH_SUBJECT, IDC_SEARCH_SENDER, IDC_SEARCH_BODY,
                                 IDC_SEARCH_ALL_GROUPS};
    for (int id : inputs)
        EnableWindow(GetDlgItem(dialog, id), enable);
    EnableWindow(GetDlgItem(dialog, IDC_SEARCH_THIS_GROUP), enable && session->this_group);
    EnableWindow(GetDlgItem(dialog, IDC_SEARCH_STOP), !enable);
}

void ShowProgress(HWND dialog, SearchSession *session)
{
    JobProgress progress;
    BackgroundJobProgress(session->job, &progress);
    wchar_t text[kJobLabelChars + 64];
    FormatResText(IDS_SEARCH_SEARCHING, progress.label, text, (int)(sizeof text / sizeof text[0]));
    SetDlgItemTextW(dialog, IDC_SEARCH_STATUS, text);
    HWND bar = GetDlgItem(dialog, IDC_SEARCH_PROGRESS);
    SendMessageW(bar, PBM_SETRANGE32, 0, progress.range ? progress.range : 1);
    SendMessageW(bar, PBM_SETPOS, progress.position, 0);
    AddRows(dialog, session);
}

/* The worker's side. */
struct SearchWorker {
    BackgroundJob *job;
    SearchSession *session;
    DWORD group;
};

int KeepHit(void *context, const SearchHit *hit)
{
    SearchWorker *worker = (SearchWorker *)context;
    SearchSession *session = worker->session;
    EnterCriticalSection(&session->lock);
    int kept = 1;
    if (session->result_count == session->result_capacity) {
        DWORD capacity = session->result_capacity ? session->result_capacity * 2 : 64;
        SearchResult *bigger = (SearchResult *)realloc(session->results, capacity * sizeof(SearchResult));
        if (bigger) {
            session->results = bigger;
            session->result_capacity = capacity;
        } else {
            kept = 0; /* out of memory: what was found stays */
        }
    }
    if (kept) {
        session->results[session->result_count].group = worker->group;
        session->results[session->result_count].hit = *hit;
        session->result_count++;
    }
    LeaveCriticalSection(&session->lock);
    if (kept && session->hit_hook)
        session->hit_hook(session->hit_hook_context);
    return kept;
}

void ShowSearched(void *context, DWORD done, DWORD total)
{
    SearchWorker *worker = (SearchWorker *)context;
    BackgroundJobSetPosition(worker->job, done, total);
}

void SearchWork(BackgroundJob *job, void *context)
{
    SearchSession *session = (SearchSession *)context;
    SearchWorker worker = {job, session, 0};
    GroupSearch search = {};
    search.pattern = &session->pattern;
    search.fields = session->fields;
    search.cancel = &job->cancel;
    search.hit = KeepHit;
    search.progress = ShowSearched;
    search.context = &worker;
    for (; worker.group < session->group_count; worker.group++) {
        if (JobCancelRequested(&job->cancel))
            break;
        BackgroundJobBeginStage(job, session->groups[worker.group], 0);
        if (!SearchGroup(&search, session->data_folder, session->groups[worker.group])) {
            DWORD error = GetLastError();
            EnterCriticalSection(&session->lock);
            if (session->failed_group == 0xFFFFFFFF) {
                session->failed_group = worker.group;
                session->failed_error = error;
            }
            LeaveCriticalSection(&session->lock);
        }
    }
    EnterCriticalSection(&session->lock);
    session->stopped = JobCancelRequested(&job->cancel);
    LeaveCriticalSection(&session->lock);
}

/* The groups to search, copied into the session. */
int SetGroups(SearchSession *session)
{
    free(session->groups);
    session->groups = nullptr;
    session->group_count = 0;
    DWORD count = 0;
    if (!session->every_group)
        count = session->this_group ? 1 : 0;
    else
        for (const wchar_t *name = session->all_groups; name && *name; name += wcslen(name) + 1)
            count++;
    session->groups = (wchar_t(*)[kSearchGroupChars])calloc(count ? count : 1, sizeof *session->groups);
    if (!session->groups)
        return 0;
    if (!session->every_group) {
        if (session->this_group)
            CopyWideText(session->groups[0], session->this_group, kSearchGroupChars);
    } else {
        DWORD i = 0;
        for (const wchar_t *name = session->all_groups; name && *name; name += wcslen(name) + 1)
            CopyWideText(session->groups[i++], name, kSearchGroupChars);
    }
    session->group_count = count;
    return 1;
}

void StartSearch(HWND dialog, SearchSession *session)
{
    wchar_t text[kSearchTextChars];
    GetDlgItemTextW(dialog, IDC_SEARCH_TEXT, text, kSearchTextChars);
    if (!text[0])
        return;
    unsigned fields = (IsButtonChecked(dialog, IDC_SEARCH_SUBJECT) ? (unsigned)kSearchSubject : 0u) |
                      (IsButtonChecked(dialog, IDC_SEARCH_SENDER) ? (unsigned)kSearchSender : 0u) |
                      (IsButtonChecked(dialog, IDC_SEARCH_BODY) ? (unsigned)kSearchBody : 0u);
    if (!fields) {
        ShowResBox(dialog, IDS_SEARCH_NO_FIELD, IDS_CAPTION_SEARCH, MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    CopyWideText(session->text, text, kSearchTextChars);
    session->fields = fields;
    session->every_group = IsButtonChecked(dialog, IDC_SEARCH_ALL_GROUPS) || !session->this_group;

    char *stored = ToStored(text);
    TextPatternFree(&session->pattern);
    if (!stored || !TextPatternCompile(&session->pattern, stored, strlen(stored)) || !SetGroups(session)) {
        free(stored);
        ShowLastErrorBoxRes(IDS_NO_MEMORY, IDS_CAPTION_SEARCH, MB_ICONERROR);
        return;
    }
    free(session->stored);
    session->stored = stored;
    session->stored_length = strlen(stored);

    SendMessageW(List(dialog), LVM_DELETEALLITEMS, 0, 0);
    EnterCriticalSection(&session->lock);
    session->result_count = 0;
    session->stopped = 0;
    session->failed_group = 0xFFFFFFFF;
    LeaveCriticalSection(&session->lock);
    session->rows_shown = 0;

    session->job = BackgroundJobCreate(SearchWork, session, nullptr);
    if (!session->job) {
        ShowLastErrorBoxRes(IDS_NO_MEMORY, IDS_CAPTION_SEARCH, MB_ICONERROR);
        return;
    }
    EnableInputs(dialog, session, false);
    SetTimer(dialog, kProgressTimer, kProgressPeriodMs, nullptr);
    BackgroundJobRun(session->job, dialog, WM_COMMAND, IDC_SEARCH_DONE);
    ShowProgress(dialog, session);
}

void EndWithChoice(HWND dialog, SearchSession *session, int row)
{
    session->chosen = row;
    session->selected = row;
    EndDialog(dialog, kDialogOk);
}

/* The search has ended (or been stopped): the last hits, the count, and
 * the group that could not be searched. */
void SearchDone(HWND dialog, SearchSession *session)
{
    KillTimer(dialog, kProgressTimer);
    AddRows(dialog, session);
    BackgroundJobRelease(session->job);
    session->job = nullptr;
    EnableInputs(dialog, session, true);
    HWND bar = GetDlgItem(dialog, IDC_SEARCH_PROGRESS);
    SendMessageW(bar, PBM_SETRANGE32, 0, 1);
    SendMessageW(bar, PBM_SETPOS, session->stopped ? 0 : 1, 0);
    if (session->chosen >= 0) {
        EndWithChoice(dialog, session, session->chosen);
        return;
    }
    SetStatus(dialog, session->stopped ? IDS_SEARCH_STOPPED : IDS_SEARCH_FOUND, session->result_count);
    if (session->result_count) {
        SetFocus(List(dialog));
        SelectRow(dialog, 0);
    }
    if (session->failed_group != 0xFFFFFFFF) {
        SetLastError(session->failed_error);
        ShowLastErrorBox(IDS_SEARCH_GROUP_FAILED, session->groups[session->failed_group], MB_ICONEXCLAMATION);
    }
}

/* A hit chosen: opened at once, or once a running search has stopped. */
void Choose(HWND dialog, SearchSession *session, int row)
{
    if (row < 0)
        return;
    if (!session->job) {
        EndWithChoice(dialog, session, row);
        return;
    }
    session->chosen = row;
    BackgroundJobCancel(session->job);
}

void InitDialog(HWND dialog, SearchSession *session)
{
    session->chosen = -1;
    HWND list = List(dialog);
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
    for (int i = 0; i < (int)(sizeof kColumns / sizeof kColumns[0]); i++) {
        wchar_t heading[64];
        LoadResText(kColumns[i].heading, heading, 64);
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.pszText = heading;
        column.cx = kColumns[i].width;
        column.iSubItem = i;
        SendMessageW(list, LVM_INSERTCOLUMNW, i, (LPARAM)&column);
    }
    SendDlgItemMessageW(dialog, IDC_SEARCH_TEXT, EM_LIMITTEXT, kSearchTextChars - 1, 0);
    SetDlgItemTextW(dialog, IDC_SEARCH_TEXT, session->text);
    SendDlgItemMessageW(dialog, IDC_SEARCH_SUBJECT, BM_SETCHECK, session->fields & kSearchSubject ? BST_CHECKED : 0, 0);
    SendDlgItemMessageW(dialog, IDC_SEARCH_SENDER, BM_SETCHECK, session->fields & kSearchSender ? BST_CHECKED : 0, 0);
    SendDlgItemMessageW(dialog, IDC_SEARCH_BODY, BM_SETCHECK, session->fields & kSearchBody ? BST_CHECKED : 0, 0);
    bool every = session->every_group || !session->this_group;
    SendDlgItemMessageW(dialog, every ? IDC_SEARCH_ALL_GROUPS : IDC_SEARCH_THIS_GROUP, BM_SETCHECK, BST_CHECKED, 0);
    EnableInputs(dialog, session, true);
    SendDlgItemMessageW(dialog, IDC_SEARCH_PROGRESS, PBM_SETRANGE32, 0, 1);

    /* Back from an article: the hits as they were, the one read selected. */
    session->rows_shown = 0;
    AddRows(dialog, session);
    if (session->result_count) {
        SetStatus(dialog, session->stopped ? IDS_SEARCH_STOPPED : IDS_SEARCH_FOUND, session->result_count);
        SetFocus(list);
        SelectRow(dialog, session->selected >= 0 && (DWORD)session->selected < session->result_count
                              ? session->selected
                              : 0);
    } else {
        SetFocus(GetDlgItem(dialog, IDC_SEARCH_TEXT));
    }
}

INT_PTR SearchHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, SearchSession *session)
{
    switch (msg) {
    case WM_INITDIALOG:
        InitDialog(dialog, session);
        return FALSE; /* the focus is set */
    case WM_TIMER:
        if (wp == kProgressTimer && session->job)
            ShowProgress(dialog, session);
        return TRUE;
    case WM_NOTIFY: {
        const NMHDR *header = (const NMHDR *)lp;
        if (header->idFrom == IDC_SEARCH_RESULTS && header->code == (UINT)NM_DBLCLK)
            Choose(dialog, session, SelectedRow(dialog));
        return TRUE;
    }
    case WM_COMMAND:
        switch (LOWORD(wp)) {
        case IDOK: /* Enter: opens the hit under the cursor, or searches */
            if (GetFocus() == List(dialog) && SelectedRow(dialog) >= 0)
                Choose(dialog, session, SelectedRow(dialog));
            else if (!session->job)
                StartSearch(dialog, session);
            return TRUE;
        case IDC_SEARCH_STOP:
            if (session->job)
                BackgroundJobCancel(session->job);
            return TRUE;
        case IDCANCEL: /* Escape stops a search; when none runs, closes */
            if (session->job) {
                BackgroundJobCancel(session->job);
            } else {
                session->selected = SelectedRow(dialog);
                EndDialog(dialog, kDialogCancel);
            }
            return TRUE;
        case IDC_SEARCH_DONE:
            if (session->job)
                SearchDone(dialog, session);
            return TRUE;
        }
        return FALSE;
    case WM_DESTROY:
        /* Never left with a search running; should it be, it is stopped
         * and waited for, as it writes into the session. */
        KillTimer(dialog, kProgressTimer);
        if (session->job) {
            BackgroundJobLetGo(session->job);
            BackgroundJobCancel(session->job);
            BackgroundJobWait(session->job);
            BackgroundJobRelease(session->job);
            session->job = nullptr;
        }
        return FALSE;
    }
    return FALSE;
}

} // namespace

void SearchSessionInit(SearchSession *session)
{
    memset(session, 0, sizeof *session);
    session->fields = kSearchSubject;
    session->failed_group = 0xFFFFFFFF;
    session->chosen = -1;
    session->selected = -1;
    InitializeCriticalSection(&session->lock);
}

void SearchSessionFree(SearchSession *session)
{
    TextPatternFree(&session->pattern);
    free(session->all_groups);
    free(session->stored);
    free(session->groups);
    free(session->results);
    DeleteCriticalSection(&session->lock);
}

const wchar_t *SearchResultGroup(const SearchSession *session, DWORD index)
{
    return session->groups[session->results[index].group];
}

INT_PTR RunSearchDialog(SearchSession *session, HINSTANCE instance, HWND owner)
{
    return RunDialog<SearchHandler>(instance, IDD_SEARCH, owner, session);
}
