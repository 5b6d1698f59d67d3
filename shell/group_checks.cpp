#include "group_checks.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/background_job.h"
#include "base/message_box.h"
#include "resources/resource.h"
#include "store/data_folder.h"
#include "store/index_file.h"
#include "views/group_view.h"

namespace {

/* Rows checked before the reload returns: more than a screen holds, so
 * that the rows first seen are complete, and a folder of a few groups is
 * done at once, without a job. */
const DWORD kRowsCheckedFirst = 32;

/* How often the job has the frame show the rows it checked: often enough
 * for the counts to fill in smoothly, without a message per group. */
const DWORD kShowPeriodMs = 100;

enum RowState : BYTE { kUnchecked, kChecking, kChecked };

struct RowCheck {
    BYTE state;
    DWORD error; /* once checked: 0 when the row shows its header, else why it cannot */
};

struct CheckedRow {
    DWORD row;
    GroupRow shown;
};

} // namespace

struct GroupChecks {
    CRITICAL_SECTION lock; /* everything below that changes */
    HANDLE checked;        /* set whenever a row's check ends */
    wchar_t *data_path;    /* owned */
    wchar_t *names;        /* owned: each ended by a NUL, the list by an empty name */
    const wchar_t **name_of; /* owned: each row's name, inside names */
    RowCheck *rows;        /* owned */
    DWORD count;
    DWORD next;            /* the job's next row to look at */
    DWORD done;            /* rows checked */
    int unknown_version;   /* an index of a version this program does not know */
    CheckedRow *unshown;   /* owned: checked rows the view does not show yet */
    DWORD unshown_count, unshown_capacity;
    bool told;             /* the frame has a message on its way to show them */
    DWORD told_at;
    BackgroundJob *job;    /* null until the job is made; it then owns the record */
};

namespace {

void FreeChecks(void *context)
{
    GroupChecks *checks = (GroupChecks *)context;
    free(checks->unshown);
    free(checks->rows);
    free(checks->name_of);
    free(checks->names);
    free(checks->data_path);
    if (checks->checked)
        CloseHandle(checks->checked);
    DeleteCriticalSection(&checks->lock);
    free(checks);
}

/* Drops the frame's hold on the record: the job's, when there is one. */
void LetGo(GroupChecks *checks)
{
    if (checks->job) {
        BackgroundJobLetGo(checks->job);
        BackgroundJobRelease(checks->job);
    } else {
        FreeChecks(checks);
    }
}

/* One group's check, on whichever thread takes it: its index brought up,
 * then its header read for the row. 0, or why the row cannot show it. A
 * group that could not be brought up is still shown when its header
 * reads. */
DWORD CheckGroup(GroupStore *store, const wchar_t *data_path, const wchar_t *group, GroupRow *shown,
                 int *unknown_version)
{
    if (!PrepareGroupIndex(store, data_path, group, unknown_version) && !store->index_path)
        return GetLastError() ? GetLastError() : ERROR_INVALID_NAME;
    if (!IndexReadHeader(store))
        return GetLastError() ? GetLastError() : ERROR_INVALID_DATA;
    GroupRowFromStore(shown, store);
    return 0;
}

/* Takes `row` for the calling thread: true when it is to check it now,
 * false once it is checked by another (waiting while another checks it).
 * The event is reset only under the lock while a row is being checked and
 * set under the lock at every check's end, so a waiter wakes at the end it
 * waits for or, should another waiter have reset the event first, at the
 * next one. */
bool TakeRow(GroupChecks *checks, DWORD row)
{
    EnterCriticalSection(&checks->lock);
    while (checks->rows[row].state == kChecking) {
        ResetEvent(checks->checked);
        LeaveCriticalSection(&checks->lock);
        WaitForSingleObject(checks->checked, INFINITE);
        EnterCriticalSection(&checks->lock);
    }
    bool take = checks->rows[row].state == kUnchecked;
    if (take)
        checks->rows[row].state = kChecking;
    LeaveCriticalSection(&checks->lock);
    return take;
}

bool KeepUnshown(GroupChecks *checks, DWORD row, const GroupRow *shown)
{
    if (checks->unshown_count == checks->unshown_capacity) {
        DWORD capacity = checks->unshown_capacity ? checks->unshown_capacity * 2 : 64;
        CheckedRow *larger = (CheckedRow *)realloc(checks->unshown, capacity * sizeof(CheckedRow));
        if (!larger)
            return false;
        checks->unshown = larger;
        checks->unshown_capacity = capacity;
    }
    checks->unshown[checks->unshown_count].row = row;
    checks->unshown[checks->unshown_count].shown = *shown;
    checks->unshown_count++;
    return true;
}

/* Checks a row taken by the calling thread and leaves the result for the
 * view; tells the frame when it has not been told for a while, and always
 * at the last row. */
void CheckRow(GroupChecks *checks, DWORD row, GroupStore *store)
{
    GroupRow shown;
    int unknown = 0;
    DWORD error = CheckGroup(store, checks->data_path, checks->name_of[row], &shown, &unknown);

    EnterCriticalSection(&checks->lock);
    if (error == 0 && !KeepUnshown(checks, row, &shown))
        error = ERROR_NOT_ENOUGH_MEMORY; /* named with the others at the end */
    checks->rows[row].error = error;
    checks->rows[row].state = kChecked;
    checks->done++;
    if (unknown)
        checks->unknown_version = 1;
    SetEvent(checks->checked);
    DWORD now = GetTickCount();
    /* Rows checked before the job is made are shown by the reload itself. */
    bool tell = checks->job && !checks->told &&
                (checks->done == checks->count || now - checks->told_at >= kShowPeriodMs);
    if (tell) {
        checks->told = true;
        checks->told_at = now;
    }
    LeaveCriticalSection(&checks->lock);
    if (tell)
        BackgroundJobNotify(checks->job);
}

/* The job: every row nobody has taken, in order, until cancelled. */
void CheckInBackground(BackgroundJob *job, void *context)
{
    GroupChecks *checks = (GroupChecks *)context;
    GroupStore store;
    GroupStoreInit(&store);
    while (!JobCancelRequested(&job->cancel)) {
        EnterCriticalSection(&checks->lock);
        while (checks->next < checks->count && checks->rows[checks->next].state != kUnchecked)
            checks->next++;
        DWORD row = checks->next;
        if (row < checks->count)
            checks->rows[row].state = kChecking;
        LeaveCriticalSection(&checks->lock);
        if (row >= checks->count)
            break;
        CheckRow(checks, row, &store);
    }
    GroupStoreRelease(&store);
}

/* Any thread: returns once the group's row is checked, checking it here
 * when nobody has taken it. */
void WaitForGroup(GroupChecks *checks, DWORD row, const wchar_t *group)
{
    if (row >= checks->count || wcscmp(checks->name_of[row], group) != 0) {
        for (row = 0; row < checks->count && wcscmp(checks->name_of[row], group) != 0; row++) {
        }
        if (row >= checks->count)
            return; /* not a group being checked */
    }
    if (!TakeRow(checks, row))
        return;
    GroupStore store;
    GroupStoreInit(&store);
    CheckRow(checks, row, &store);
    GroupStoreRelease(&store);
}

void WaitOnRunWorker(void *context, DWORD row, const wchar_t *group)
{
    WaitForGroup((GroupChecks *)context, row, group);
}

/* Shows the rows checked since the last time; true once every row is
 * checked. */
bool ShowChecked(AppFrame *frame, GroupChecks *checks)
{
    EnterCriticalSection(&checks->lock);
    CheckedRow *rows = checks->unshown;
    DWORD count = checks->unshown_count;
    checks->unshown = nullptr;
    checks->unshown_count = checks->unshown_capacity = 0;
    checks->told = false;
    bool all = checks->done == checks->count;
    LeaveCriticalSection(&checks->lock);
    for (DWORD i = 0; i < count; i++)
        GroupViewShowRow(frame->groupView, (int)rows[i].row, &rows[i].shown);
    free(rows);
    return all;
}

/* Every row is checked: the frame lets the check go, then tells the user
 * what the check could not do, as the start of a folder always has: an
 * index of an unknown version first, then the groups whose rows show no
 * header. */
int EndChecks(AppFrame *frame)
{
    GroupChecks *checks = frame->groupChecks;
    frame->groupChecks = nullptr;
    int unknown_version = checks->unknown_version;
    GroupViewFailures failed = {};
    for (DWORD row = 0; row < checks->count; row++)
        if (checks->rows[row].error)
            GroupViewNoteFailure(&failed, checks->name_of[row], checks->rows[row].error);
    LetGo(checks);
    if (unknown_version)
        ShowResBox(nullptr, IDS_INDEX_INVALID, IDS_CAPTION_PELNOR, MB_OK | MB_ICONEXCLAMATION);
    return GroupViewShowFailures(&failed);
}

bool StartJob(AppFrame *frame, GroupChecks *checks)
{
    BackgroundJob *job = BackgroundJobCreate(CheckInBackground, checks, FreeChecks);
    if (!job)
        return false;
    checks->job = job;
    BackgroundJobLowerPriority(job);
    BackgroundJobRun(job, frame->mainWindow, WM_PELNOR_GROUPS_CHECKED, 0);
    return true;
}

} // namespace

GroupChecks *GroupChecksMake(const wchar_t *data_path, wchar_t *names, DWORD count)
{
    GroupChecks *checks = (GroupChecks *)calloc(1, sizeof(GroupChecks));
    if (!checks) {
        free(names);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    InitializeCriticalSection(&checks->lock);
    checks->names = names;
    checks->count = count;
    checks->data_path = (wchar_t *)malloc((wcslen(data_path) + 1) * sizeof(wchar_t));
    checks->name_of = (const wchar_t **)malloc((count + 1) * sizeof(const wchar_t *));
    checks->rows = (RowCheck *)calloc(count + 1, sizeof(RowCheck));
    checks->checked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!checks->data_path || !checks->name_of || !checks->rows || !checks->checked) {
        DWORD error = checks->checked ? (DWORD)ERROR_NOT_ENOUGH_MEMORY : GetLastError();
        FreeChecks(checks);
        SetLastError(error);
        return nullptr;
    }
    wcscpy(checks->data_path, data_path);
    const wchar_t *name = names;
    for (DWORD row = 0; row < count; row++, name += wcslen(name) + 1)
        checks->name_of[row] = name;
    return checks;
}

int GroupChecksStart(AppFrame *frame, GroupChecks *checks)
{
    GroupChecksStop(frame);
    GroupViewSetGroups(frame->groupView, checks->names);
    frame->groupChecks = checks;

    GroupStore store;
    GroupStoreInit(&store);
    for (DWORD row = 0; row < checks->count && row < kRowsCheckedFirst; row++)
        if (TakeRow(checks, row))
            CheckRow(checks, row, &store);
    /* Without a job (no thread to be had) the rest are checked here, as
     * they all were before there was one. */
    if (checks->done < checks->count && !StartJob(frame, checks))
        for (DWORD row = kRowsCheckedFirst; row < checks->count; row++)
            if (TakeRow(checks, row))
                CheckRow(checks, row, &store);
    GroupStoreRelease(&store);

    if (ShowChecked(frame, checks))
        return EndChecks(frame);
    return 1;
}

void GroupChecksShow(AppFrame *frame)
{
    if (frame->groupChecks && ShowChecked(frame, frame->groupChecks))
        EndChecks(frame);
}

void GroupChecksStop(AppFrame *frame)
{
    GroupChecks *checks = frame->groupChecks;
    if (!checks)
        return;
    frame->groupChecks = nullptr;
    if (checks->job) {
        BackgroundJobLetGo(checks->job);
        BackgroundJobCancel(checks->job);
        BackgroundJobWait(checks->job);
    }
    LetGo(checks);
}

void GroupChecksWait(AppFrame *frame, DWORD row, const wchar_t *group)
{
    if (!frame->groupChecks)
        return;
    WaitForGroup(frame->groupChecks, row, group);
    /* The row shows its check before the caller changes it, so that no
     * older result shown later overwrites what the caller shows. */
    ShowChecked(frame, frame->groupChecks);
}

GroupGate GroupChecksHoldGate(AppFrame *frame)
{
    GroupChecksDropGate(frame);
    GroupChecks *checks = frame->groupChecks;
    if (!checks)
        return GroupGate{nullptr, nullptr};
    BackgroundJobHold(checks->job);
    frame->runChecks = checks;
    return GroupGate{checks, WaitOnRunWorker};
}

void GroupChecksDropGate(AppFrame *frame)
{
    if (frame->runChecks)
        BackgroundJobRelease(frame->runChecks->job);
    frame->runChecks = nullptr;
}

bool GroupChecksRunning(const AppFrame *frame)
{
    return frame->groupChecks != nullptr;
}
