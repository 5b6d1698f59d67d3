#include "drafts_pane.h"

#include "base/message_box.h"
#include "base/res_text.h"
#include "drafts/file_chooser.h"
#include "resources/resource.h"

namespace {

/* Posting is not offered yet: compose checks that the poster's name and
 * address are set, then only says so. */
void ComposeCommand(AppFrame *frame)
{
    if (!frame->settings.UserName)
        ShowResBox(frame->mainWindow, IDS_SET_USER_NAME, IDS_PROPERTIES_UNSET, MB_OK | MB_ICONWARNING);
    else if (!frame->settings.MailAddress)
        ShowResBox(frame->mainWindow, IDS_SET_MAIL_ADDRESS, IDS_PROPERTIES_UNSET, MB_OK | MB_ICONWARNING);
    else
        ShowResBox(frame->mainWindow, IDS_COMPOSE, IDS_CAPTION_COMPOSE, MB_OK);
}

/* Picks a program with the file chooser and shows its path. On the desktop
 * the tree is that of the data folder's drive. */
void ChooseExeCommand(AppFrame *frame)
{
    FileChooser chooser;
    InitFileChooser(&chooser);
    SetFileChooserDrive(&chooser, frame->settings.DataPath);
    wchar_t title[64], caption[64];
    LoadResText(IDS_CHOOSE_EXE, title, 64);
    if (RunFileChooser(&chooser, frame->instance, frame->mainWindow, title, L"*.exe") == 1) {
        LoadResText(IDS_CAPTION_SELECTED, caption, 64);
        ShowBox(frame->mainWindow, chooser.result, caption, MB_OK);
    }
    FreeFileChooser(&chooser);
}

} // namespace

HWND DraftsPaneWindow(const AppFrame *frame)
{
    return frame->draftTree ? frame->draftTree->tree : nullptr;
}

void ShowDraftsPane(AppFrame *frame, int show)
{
    ShowWindow(frame->draftTree->tree, show);
}

int EnterDraftsPane(AppFrame *frame, const PaneSwitch *)
{
    /* A tree cut short by a failed insert still shows what it holds. */
    FillDraftTree(frame->draftTree, frame->settings.DraftPath, (int)frame->settings.Posting);
    return 1;
}

bool DraftsCommand(AppFrame *frame, UINT id)
{
    switch (id) {
    case IDM_DRAFTS_VIEW:
        SwitchToPane(frame, kDraftsView);
        return true;
    case IDM_COMPOSE:
        ComposeCommand(frame);
        return true;
    case IDM_CHOOSE_EXE:
        ChooseExeCommand(frame);
        return true;
    }
    return false;
}
