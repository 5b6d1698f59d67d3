#include "reading.h"

#include <stdlib.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "resources/resource.h"
#include "shell/frame_commands.h"
#include "store/article_reader.h"
#include "text/widestr.h"
#include "views/keyword_dialog.h"

namespace {

/* A font size of -1 leaves the settings without a font: the views then
 * draw with the system font. */
HFONT ViewFont(HFONT font)
{
    return font ? font : (HFONT)GetStockObject(SYSTEM_FONT);
}

void ShowFailure(UINT text_id)
{
    ShowLastErrorBoxRes(text_id, IDS_CAPTION_PELNOR, MB_ICONERROR);
}

/* A view option toggled by the user stays toggled even when the view or
 * the registry refuses it; the user is told. */
void ApplyOption(int shown, int stored)
{
    if (!shown)
        ShowFailure(IDS_SWITCH_FAILED);
    else if (!stored)
        ShowFailure(IDS_SAVE_OPTION_FAILED);
}

void SetPriorityLevel(AppFrame *frame, DWORD level)
{
    frame->viewOptions.priority_level = level;
    UpdateCheckMarks(frame);
    WritePriorityViewLevel(level); /* a failed write is of no consequence */
    ApplyOption(SubjectViewSetOptions(frame->subjectView, frame->viewOptions), 1);
}

/* One of the subject view's on/off options, kept in the registry by
 * `write`. */
void ToggleSubjectOption(AppFrame *frame, DWORD &option, int (*write)(DWORD))
{
    option = !option;
    UpdateCheckMarks(frame);
    int shown = SubjectViewSetOptions(frame->subjectView, frame->viewOptions);
    ApplyOption(shown, shown && write(option));
}

void ToggleShowHeader(AppFrame *frame)
{
    DWORD &option = frame->viewOptions.show_article_header;
    option = !option;
    UpdateCheckMarks(frame);
    ArticleViewSetShowHeaders(frame->articleView, (int)option);
    int shown = ArticleViewLayout(frame->articleView);
    ApplyOption(shown, shown && WriteShowArticleHeader(option));
}

/* The keyword dialog for the open group, the cursor row's subject
 * proposed; after OK the group is re-filtered and the list made again. */
void FilterCommand(AppFrame *frame)
{
    SubjectView *view = frame->subjectView;
    const wchar_t *filter_path = SubjectViewFilterPath(view);
    if (!filter_path)
        return;
    wchar_t *proposed = SubjectViewReadSubject(view);
    KeywordDialogState state;
    if (RunKeywordDialog(&state, frame->instance, frame->mainWindow, filter_path, proposed,
                         (int)frame->settings.DecodeCharsets) == kDialogOk) {
        if (!SubjectViewRefilter(view))
            ShowFailure(IDS_SWITCH_FAILED);
    }
    free(proposed);
}

} // namespace

int EnterGroupPane(AppFrame *frame, const PaneSwitch *how)
{
    SubjectView *view = frame->subjectView;
    if (how->initial || !view->group_open)
        return 1;
    DWORD unread;
    if (!SubjectViewCloseGroup(view, &unread))
        ShowFailure(IDS_MARK_READ_FAILED);
    GroupViewSetUnread(frame->groupView, (int)frame->currentGroupRow, unread);
    return 1;
}

LRESULT GroupPaneNotify(AppFrame *frame, const NMHDR *header)
{
    if (header->code != (UINT)NM_DBLCLK && header->code != (UINT)NM_RETURN)
        return 0;
    wchar_t name[1024];
    int row;
    if (GroupViewSelected(frame->groupView, name, 1024, &row)) {
        PaneSwitch open = {false, name, row};
        SwitchToPane(frame, kSubjectView, &open);
    }
    return 0;
}

HWND SubjectPaneWindow(const AppFrame *frame)
{
    return frame->subjectView->window;
}

void ShowSubjectPane(AppFrame *frame, int show)
{
    SubjectViewShow(frame->subjectView, show);
}

int EnterSubjectPane(AppFrame *frame, const PaneSwitch *how)
{
    if (how->group) {
        frame->currentGroupRow = (DWORD)how->group_row;
        if (!SubjectViewOpenGroup(frame->subjectView, frame->settings.DataPath, how->group)) {
            ShowFailure(IDS_INDEX_INIT_FAILED);
            return 0;
        }
        CopyWideText(frame->openGroup, how->group, ARRAYSIZE(frame->openGroup));
    }
    SubjectViewSetLook(frame->subjectView, ViewFont(frame->settings.SubjectFont), (int)frame->settings.KeyMode);
    return 1;
}

void SubjectPaneCommand(AppFrame *frame, UINT code)
{
    if (code == kSubjectBack)
        SwitchToPane(frame, kGroupView);
    else if (code == kSubjectOpen)
        OpenCurrentArticle(frame);
}

HWND ArticlePaneWindow(const AppFrame *frame)
{
    return frame->articleView->window;
}

void ShowArticlePane(AppFrame *frame, int show)
{
    ArticleViewShow(frame->articleView, show);
}

int EnterArticlePane(AppFrame *frame, const PaneSwitch *)
{
    const Settings &s = frame->settings;
    ArticleViewSetLook(frame->articleView, ViewFont(s.ArticleFont), s.HeaderColor, s.ReferenceLine, (int)s.KeyMode,
                       (int)s.AutoNextArticle, (int)s.DecodeCharsets);
    return 1;
}

/* Past the group's last article the reader is back at the list, its last
 * row under the cursor. */
void ArticlePaneCommand(AppFrame *frame, UINT code)
{
    if (code == kArticleNext && SubjectViewNext(frame->subjectView))
        OpenCurrentArticle(frame);
    else if (code == kArticleBack || code == kArticleNext)
        SwitchToPane(frame, kSubjectView);
}

void OpenCurrentArticle(AppFrame *frame)
{
    SubjectView *view = frame->subjectView;
    const IndexRecord *record = SubjectViewCurrent(view);
    if (!record)
        return;
    if (!SubjectViewMarkRead(view))
        ShowFailure(IDS_MARK_READ_FAILED);
    wchar_t *text = SubjectViewReadArticle(view);
    if (!text) {
        ShowFailure(IDS_INDEX_INIT_FAILED);
        return;
    }
    ArticleTextTake(&frame->articleText, text);
    if (frame->currentView == kArticleView)
        EnterArticlePane(frame, nullptr);
    else
        SwitchToPane(frame, kArticleView);
}

bool ReadingCommand(AppFrame *frame, UINT id)
{
    switch (id) {
    case IDM_TOGGLE_READ:
        if (SubjectViewCurrent(frame->subjectView) && !SubjectViewToggleRead(frame->subjectView))
            ShowFailure(IDS_MARK_READ_FAILED);
        return true;
    case IDM_COPY:
        ArticleViewCopy(frame->articleView, frame->mainWindow);
        return true;
    case IDM_VIEW_READ:
        ToggleSubjectOption(frame, frame->viewOptions.view_read_article, WriteViewReadArticle);
        return true;
    case IDM_THREAD_VIEW:
        ToggleSubjectOption(frame, frame->viewOptions.thread_view, WriteThreadView);
        return true;
    case IDM_NEXT_THREAD:
        SubjectViewNextThread(frame->subjectView);
        return true;
    case IDM_PREVIOUS_THREAD:
        SubjectViewPreviousThread(frame->subjectView);
        return true;
    case IDM_THREAD_READ:
        if (frame->viewOptions.thread_view && SubjectViewCurrent(frame->subjectView) &&
            !SubjectViewMarkThreadRead(frame->subjectView))
            ShowFailure(IDS_MARK_READ_FAILED);
        return true;
    case IDM_FILTER:
        FilterCommand(frame);
        return true;
    case IDM_SHOW_HEADER:
        ToggleShowHeader(frame);
        return true;
    case IDM_PRIORITY_HIGH:
        SetPriorityLevel(frame, 2);
        return true;
    case IDM_PRIORITY_NORMAL:
        SetPriorityLevel(frame, 0);
        return true;
    case IDM_PRIORITY_LOW:
        SetPriorityLevel(frame, 1);
        return true;
    case IDM_ARTICLE_BACK:
        SwitchToPane(frame, kSubjectView);
        return true;
    }
    return false;
}
