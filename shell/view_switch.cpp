#include "view_switch.h"

void SwitchToGroupView(AppFrame *frame, bool initial)
{
    if (frame->currentView == kGroupView && !initial)
        return;
    ShowWindow(frame->subjectMenuBar, SW_HIDE);
    ShowWindow(frame->articleMenuBar, SW_HIDE);
    ShowWindow(frame->groupMenuBar, SW_SHOW);
    GroupViewShow(frame->groupView, SW_SHOW);
    SetFocus(frame->groupView->list);
    frame->currentView = kGroupView;
}

void FocusCurrentView(AppFrame *frame)
{
    switch (frame->currentView) {
    case kGroupView:
        SetFocus(frame->groupView->list);
        break;
    default:
        break;
    }
}
