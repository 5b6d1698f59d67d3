#include "drafts_pane.h"

#include <stdlib.h>

#include "base/message_box.h"
#include "base/path.h"
#include "base/res_text.h"
#include "drafts/compose.h"
#include "drafts/file_chooser.h"
#include "resources/resource.h"
#include "shell/compose_command.h"
#include "text/widestr.h"

namespace {

enum { kItemTextChars = 1024 };

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

HTREEITEM SelectedItem(const AppFrame *frame)
{
    return TreeView_GetSelection(frame->draftTree->tree);
}

/* The path of the selected draft, newly allocated; null when a folder or
 * nothing is selected (or memory ran out). */
wchar_t *SelectedDraftPath(const AppFrame *frame)
{
    if (!frame->settings.Posting || frame->currentView != kDraftsView)
        return nullptr;
    const wchar_t *name = DraftTreeFileOf(frame->draftTree, SelectedItem(frame));
    wchar_t *folder = name ? DraftFolder(frame) : nullptr;
    wchar_t *path = folder ? JoinPath(folder, name) : nullptr;
    free(folder);
    return path;
}

void OpenSelectedDraft(AppFrame *frame)
{
    wchar_t *path = SelectedDraftPath(frame);
    if (!path)
        return;
    Draft draft;
    if (!ReadDraft(path, &draft)) {
        ShowLastErrorBoxRes(IDS_DRAFT_READ_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        free(path);
        return;
    }
    EditDraft(frame, &draft, path, false);
}

/* Asked first, No the default; the draft is named by its subject. */
void DeleteSelectedDraft(AppFrame *frame)
{
    wchar_t *path = SelectedDraftPath(frame);
    if (!path)
        return;
    wchar_t subject[kItemTextChars] = L"", text[kItemTextChars + 64], caption[64];
    TVITEMW item = {};
    item.mask = TVIF_TEXT;
    item.hItem = SelectedItem(frame);
    item.pszText = subject;
    item.cchTextMax = kItemTextChars;
    SendMessageW(frame->draftTree->tree, TVM_GETITEMW, 0, (LPARAM)&item);
    FormatResText(IDS_ASK_DELETE_DRAFT, subject, text, ARRAYSIZE(text));
    LoadResText(IDS_CAPTION_PELNOR, caption, 64);
    if (ShowBox(frame->mainWindow, text, caption, MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2) == IDYES) {
        if (!DeleteFileW(path))
            ShowLastErrorBoxRes(IDS_DRAFT_DELETE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        RefreshDraftsPane(frame, nullptr);
    }
    free(path);
}

/* A draft waits to be sent only with newsgroups and a subject. */
bool ReadyToSend(HWND owner, const wchar_t *path)
{
    Draft draft;
    if (!ReadDraft(path, &draft)) {
        ShowLastErrorBoxRes(IDS_DRAFT_READ_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return false;
    }
    DraftLack lack = DraftLackForSending(&draft);
    DraftFree(&draft);
    if (lack != kDraftComplete)
        ShowResBox(owner, lack == kDraftNoNewsgroups ? IDS_NEED_NEWSGROUPS : IDS_NEED_SUBJECT, IDS_CAPTION_PELNOR,
                   MB_OK | MB_ICONEXCLAMATION);
    return lack == kDraftComplete;
}

void MoveSelectedDraft(AppFrame *frame, DraftRoot root)
{
    wchar_t *path = SelectedDraftPath(frame);
    if (!path)
        return;
    if (root != kDraftsWaiting || ReadyToSend(frame->mainWindow, path)) {
        wchar_t *moved = RefileDraft(path, root);
        if (!moved)
            ShowLastErrorBoxRes(IDS_DRAFT_MOVE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        RefreshDraftsPane(frame, moved ? DraftFileName(moved) : nullptr);
        free(moved);
    }
    free(path);
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

LRESULT DraftsPaneNotify(AppFrame *frame, const NMHDR *header)
{
    if (header->code == (UINT)NM_DBLCLK || header->code == (UINT)NM_RETURN)
        OpenSelectedDraft(frame);
    return 0;
}

void RefreshDraftsPane(AppFrame *frame, const wchar_t *file_name)
{
    DraftTree *tree = frame->draftTree;
    if (!tree || !tree->tree)
        return;
    /* The names go with the old items: copied first. */
    wchar_t keep[MAX_PATH] = L"";
    const wchar_t *wanted = file_name ? file_name : DraftTreeFileOf(tree, TreeView_GetSelection(tree->tree));
    if (wanted)
        CopyWideText(keep, wanted, MAX_PATH);
    FillDraftTree(tree, frame->settings.DraftPath, (int)frame->settings.Posting);
    HTREEITEM item = keep[0] ? DraftTreeFindFile(tree, keep) : nullptr;
    if (item) {
        TreeView_EnsureVisible(tree->tree, item);
        TreeView_SelectItem(tree->tree, item);
    }
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
    case IDM_FOLLOW_UP:
        FollowUpCommand(frame);
        return true;
    case IDM_CHOOSE_EXE:
        ChooseExeCommand(frame);
        return true;
    case IDM_DRAFT_EDIT:
        OpenSelectedDraft(frame);
        return true;
    case IDM_DRAFT_DELETE:
        DeleteSelectedDraft(frame);
        return true;
    case IDM_DRAFT_TO_WAITING:
        MoveSelectedDraft(frame, kDraftsWaiting);
        return true;
    case IDM_DRAFT_TO_DRAFTS:
        MoveSelectedDraft(frame, kDraftsDrafts);
        return true;
    }
    return false;
}
