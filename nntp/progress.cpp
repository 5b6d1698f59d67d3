#include "progress.h"

#include <commctrl.h>

#include "resources/resource.h"

void ProgressInit(ProgressDialog *p)
{
    p->dialog = nullptr;
    p->range_count = 0;
    p->step_count = 0;
    p->stop_requested = 0;
}

void ProgressRequestStop(ProgressDialog *p)
{
    InterlockedExchange(&p->stop_requested, 1);
}

bool ProgressStopRequested(ProgressDialog *p)
{
    return InterlockedCompareExchange(&p->stop_requested, 0, 0) != 0;
}

void ProgressStartGroup(ProgressDialog *p, const wchar_t *group, DWORD count, DWORD limit)
{
    p->range_count = count;
    p->step_count = 0;
    if (!p->dialog)
        return;
    SetDlgItemTextW(p->dialog, IDC_PROGRESS_GROUP, group);
    DWORD top = count < limit ? count : limit;
    HWND bar = GetDlgItem(p->dialog, IDC_PROGRESS_BAR);
    SendMessageW(bar, PBM_SETRANGE, 0, MAKELPARAM(0, (WORD)top));
    SendMessageW(bar, PBM_SETPOS, 0, 0);
}

void ProgressStep(ProgressDialog *p)
{
    p->step_count++;
    if (p->dialog)
        SendDlgItemMessageW(p->dialog, IDC_PROGRESS_BAR, PBM_DELTAPOS, 1, 0);
}
