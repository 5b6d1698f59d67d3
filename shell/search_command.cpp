#include "search_command.h"

#include <stdlib.h>
#include <wchar.h>

#include <commctrl.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "resources/resource.h"
#include "shell/panes.h"
#include "shell/reading.h"
#include "store/article_reader.h"
#include "store/article_search.h"
#include "text/widestr.h"
#include "views/search_dialog.h"

namespace {

SearchState *State(AppFrame *frame)
{
    if (!frame->search) {
        frame->search = (SearchState *)calloc(1, sizeof(SearchState));
        if (!frame->search)
            return nullptr;
        SearchSessionInit(&frame->search->session);
    }
    return frame->search;
}

/* The group view's row of `group`, or -1. */
int GroupRow(AppFrame *frame, const wchar_t *group)
{
    LVFINDINFOW find = {};
    find.flags = LVFI_STRING;
    find.psz = group;
    return (int)SendMessageW(frame->groupView->list, LVM_FINDITEMW, (WPARAM)-1, (LPARAM)&find);
}

void ShowResults(AppFrame *frame, SearchState *state);

/* Shows result `index` in the article view, marked read. */
void OpenHit(AppFrame *frame, SearchState *state, DWORD index)
{
    SearchSession *session = &state->session;
    const SearchResult result = session->results[index];
    const wchar_t *group = SearchResultGroup(session, index);
    /* The subject view writes back its own marks first: it is read again
     * when the reader goes back to it. */
    if (frame->currentView == kSubjectView)
        SwitchToPane(frame, kGroupView);
    session->selected = (int)index;
    DWORD unread;
    if (MarkHitRead(frame->settings.DataPath, group, &result.hit, &unread)) {
        int row = GroupRow(frame, group);
        if (row >= 0)
            GroupViewSetUnread(frame->groupView, row, unread);
    } else {
        ShowLastErrorBoxRes(IDS_MARK_READ_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
    }
    GroupStore store;
    GroupStoreInit(&store);
    wchar_t *text = nullptr;
    if (GroupStoreSetNames(&store, frame->settings.DataPath, group))
        text = ReadArticle(&store, result.hit.record.log_offset, result.hit.record.log_length);
    DWORD error = GetLastError();
    GroupStoreRelease(&store);
    if (!text) {
        SetLastError(error);
        ShowLastErrorBoxRes(IDS_INDEX_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        if (frame->currentView == kArticleView) {
            state->showing_hit = 0;
            SwitchToPane(frame, state->origin == kSubjectView ? kSubjectView : kGroupView);
        }
        ShowResults(frame, state);
        return;
    }
    ArticleTextTake(&frame->articleText, text);
    state->showing_hit = 1;
    state->current = index;
    if (frame->currentView == kArticleView)
        EnterArticlePane(frame, nullptr);
    else
        SwitchToPane(frame, kArticleView);
}

/* The results over the view the search started from. */
void ShowResults(AppFrame *frame, SearchState *state)
{
    frame->busy = 1;
    INT_PTR chosen = RunSearchDialog(&state->session, frame->instance, frame->mainWindow);
    frame->busy = 0;
    if (chosen == kDialogOk && state->session.chosen >= 0)
        OpenHit(frame, state, (DWORD)state->session.chosen);
}

void BackToResults(AppFrame *frame, SearchState *state)
{
    state->showing_hit = 0;
    if (state->origin == kSubjectView) {
        PaneSwitch open = {false, state->origin_group, state->origin_row};
        SwitchToPane(frame, kSubjectView, &open);
    } else {
        SwitchToPane(frame, kGroupView);
    }
    ShowResults(frame, state);
}

void StartSearch(AppFrame *frame)
{
    if (frame->runInProgress || (frame->currentView != kGroupView && frame->currentView != kSubjectView))
        return;
    SearchState *state = State(frame);
    if (!state)
        return;
    SearchSession *session = &state->session;
    /* "This group": the open one, or the one selected in the group list. */
    state->origin = frame->currentView;
    state->origin_group[0] = L'\0';
    state->origin_row = -1;
    if (frame->currentView == kSubjectView) {
        state->origin_row = (int)frame->currentGroupRow;
        LVITEMW item = {};
        item.pszText = state->origin_group;
        item.cchTextMax = kSearchGroupChars;
        SendMessageW(frame->groupView->list, LVM_GETITEMTEXTW, frame->currentGroupRow, (LPARAM)&item);
    } else if (!GroupViewSelected(frame->groupView, state->origin_group, kSearchGroupChars, &state->origin_row)) {
        state->origin_group[0] = L'\0';
    }
    session->this_group = state->origin_group[0] ? state->origin_group : nullptr;
    free(session->all_groups);
    session->all_groups = GroupViewNames(frame->groupView);
    session->data_folder = frame->settings.DataPath;
    ShowResults(frame, state);
}

void FindNext(AppFrame *frame)
{
    if (frame->currentView != kArticleView)
        return;
    const SearchSession *session = frame->search ? &frame->search->session : nullptr;
    if (!session || !session->stored) {
        ShowResBox(nullptr, IDS_SEARCH_NO_TEXT, IDS_CAPTION_SEARCH, MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    TextPattern pattern;
    if (!TextPatternCompile(&pattern, session->stored, session->stored_length)) {
        ShowLastErrorBoxRes(IDS_NO_MEMORY, IDS_CAPTION_SEARCH, MB_ICONERROR);
        return;
    }
    if (!ArticleViewFindNext(frame->articleView, &pattern))
        ShowResBox(nullptr, IDS_SEARCH_NOT_FOUND, IDS_CAPTION_SEARCH, MB_OK | MB_ICONINFORMATION);
    TextPatternFree(&pattern);
}

} // namespace

void SearchStateFree(SearchState *state)
{
    if (!state)
        return;
    SearchSessionFree(&state->session);
    free(state);
}

bool SearchCommand(AppFrame *frame, UINT id, UINT code)
{
    if (id == IDM_SEARCH) {
        StartSearch(frame);
        return true;
    }
    if (id == IDM_FIND_NEXT) {
        FindNext(frame);
        return true;
    }
    SearchState *state = frame->search;
    if (!state || !state->showing_hit || frame->currentView != kArticleView)
        return false;
    bool next = id == IDC_ARTICLE_VIEW && code == kArticleNext;
    bool back = (id == IDC_ARTICLE_VIEW && code == kArticleBack) || id == IDM_ARTICLE_BACK;
    if (next && state->current + 1 < state->session.result_count)
        OpenHit(frame, state, state->current + 1);
    else if (next || back)
        BackToResults(frame, state);
    else
        return false;
    return true;
}
