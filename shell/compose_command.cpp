#include "compose_command.h"

#include <stdlib.h>

#include "base/message_box.h"
#include "base/path.h"
#include "base/res_text.h"
#include "drafts/compose.h"
#include "drafts/draft_editor.h"
#include "platform/program.h"
#include "resources/resource.h"
#include "shell/drafts_pane.h"
#include "store/article_reader.h"
#include "text/widestr.h"

namespace {

/* Who posts must be known before anything is written. */
bool IdentitySet(AppFrame *frame)
{
    if (!frame->settings.UserName) {
        ShowResBox(frame->mainWindow, IDS_SET_USER_NAME, IDS_PROPERTIES_UNSET, MB_OK | MB_ICONWARNING);
        return false;
    }
    if (!frame->settings.MailAddress) {
        ShowResBox(frame->mainWindow, IDS_SET_MAIL_ADDRESS, IDS_PROPERTIES_UNSET, MB_OK | MB_ICONWARNING);
        return false;
    }
    return true;
}

bool Reading(const AppFrame *frame)
{
    return frame->currentView == kSubjectView || frame->currentView == kArticleView;
}

/* The open group as stored text when the user is reading it; else null. */
char *ReadGroup(const AppFrame *frame)
{
    return Reading(frame) && frame->openGroup[0] ? ToStored(frame->openGroup) : nullptr;
}

/* A new draft's file, or null after telling the user. */
wchar_t *NewPath(AppFrame *frame)
{
    wchar_t *folder = DraftFolder(frame);
    wchar_t *path = folder ? NewDraftPath(folder, kDraftsDrafts) : nullptr;
    free(folder);
    if (!path)
        ShowLastErrorBoxRes(IDS_DRAFT_WRITE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
    return path;
}

} // namespace

wchar_t *DraftFolder(const AppFrame *frame)
{
    return JoinPath(frame->settings.DataPath, L"draft\\");
}

/* A draft just made (when `made`) in the editor, under a new name. */
void OpenNewDraft(AppFrame *frame, int made, Draft *draft)
{
    if (!made) {
        ShowLastErrorBoxRes(IDS_DRAFT_WRITE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return;
    }
    wchar_t *path = NewPath(frame);
    if (path)
        EditDraft(frame, draft, path, true);
    else
        DraftFree(draft);
}

void ComposeCommand(AppFrame *frame)
{
    if (!IdentitySet(frame))
        return;
    if (!frame->settings.Posting) {
        ShowResBox(frame->mainWindow, IDS_COMPOSE, IDS_CAPTION_COMPOSE, MB_OK);
        return;
    }
    char *group = ReadGroup(frame);
    Draft draft;
    int made = NewDraftFor(&draft, group);
    free(group);
    OpenNewDraft(frame, made, &draft);
}

void FollowUpCommand(AppFrame *frame)
{
    SubjectView *view = frame->subjectView;
    const IndexRecord *record = frame->settings.Posting && Reading(frame) ? SubjectViewCurrent(view) : nullptr;
    if (!record || !IdentitySet(frame))
        return;
    DWORD length = 0;
    char *article = SubjectViewReadArticleBytes(view, &length);
    if (!article) {
        ShowLastErrorBoxRes(IDS_ARTICLE_READ_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return;
    }
    char *group = ReadGroup(frame);
    char *attribution = ToStored(LoadResString(IDS_ATTRIBUTION));
    Draft draft;
    int made = attribution && MakeFollowUp(article, length, group, attribution, &draft);
    free(article);
    free(group);
    free(attribution);
    OpenNewDraft(frame, made, &draft);
}

void EditDraft(AppFrame *frame, Draft *draft, wchar_t *path, bool is_new)
{
    const wchar_t *program = frame->settings.EditorPath;
    if (program && *program) {
        /* The other program edits the file; the user files it with the
         * pane's move commands afterwards. */
        if (is_new && !(AddEmptyHeaders(draft) && WriteDraft(path, draft)))
            ShowLastErrorBoxRes(IDS_DRAFT_WRITE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        else if (!StartProgramOnFile(program, path))
            ShowReasonBox(frame->mainWindow, IDS_EDITOR_START_FAILED, program, GetLastError(), IDS_CAPTION_PELNOR,
                          MB_OK | MB_ICONERROR);
        RefreshDraftsPane(frame, DraftFileName(path));
        DraftFree(draft);
        free(path);
        return;
    }
    DraftEditor editor = {*draft, path};
    DraftInit(draft);
    frame->busy = 1;
    INT_PTR closed = RunDraftEditor(&editor, frame->instance, frame->mainWindow);
    frame->busy = 0;
    if (closed == kEditorQueued || closed == kEditorSaved)
        RefreshDraftsPane(frame, DraftFileName(editor.path));
    DraftFree(&editor.draft);
    free(editor.path);
}
