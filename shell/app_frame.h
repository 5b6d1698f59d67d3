/*
 * The main frame: one top-level window that owns the panes, each pane's
 * Pocket PC menu bar, the settings and the view options for the program's
 * life.
 */
#ifndef PELNOR_APP_FRAME_H
#define PELNOR_APP_FRAME_H

#include <windows.h>

#include "base/frame_messages.h"
#include "drafts/draft_tree.h"
#include "platform/ras.h"
#include "settings/settings.h"
#include "views/article_view.h"
#include "views/group_view.h"
#include "views/subject_view.h"

struct SearchState;
struct GroupChecks;

enum ViewKind { kGroupView = 0, kSubjectView = 1, kArticleView = 2, kDraftsView = 3 };

struct AppFrame {
    HWND mainWindow;
    HINSTANCE instance;
    Settings settings;
    HWND groupMenuBar;
    HWND subjectMenuBar;
    HWND articleMenuBar;
    HWND draftsMenuBar;   /* menu 151 */
    HMENU subjectPopup;   /* drop-down of subject bar button 40087 */
    HMENU articlePopup;   /* drop-down of article bar button 40088 */
    HACCEL accelerators;  /* table 131 */
    HACCEL postingAccelerators; /* keys read after table 131 while Posting is on */
    DWORD busy;           /* 1 while a modal operation or a run is under way */
    ArticleView *articleView; /* owned, as the three below; made before the window */
    SubjectView *subjectView;
    GroupView *groupView;
    DraftTree *draftTree;
    ArticleText articleText;  /* the article shown */
    ViewKind currentView;
    DWORD currentGroupRow;
    wchar_t openGroup[kGroupViewNameChars]; /* the group the subject view shows, "" before any */
    ViewOptions viewOptions; /* the one record of them; the views get copies */
    DWORD dialled;           /* 1 when this program dialled the line */
    DWORD runInProgress;     /* 1 from a download worker's start to its end */
    DWORD runSendOnly;       /* the run asked for (or dialling for) only sends the waiting drafts */
    GroupChecks *groupChecks; /* the groups' files still being checked, or null */
    GroupChecks *runChecks;   /* the same, held for the run's worker until the run's end */
    HRASCONN rasConnection;
    SearchState *search;     /* what the searches asked and found; made at the first */
};

/* Settings cleared to their empty state, busy 0, dialled 0. */
void AppFrameInit(AppFrame *frame, HINSTANCE instance);
/* Frees what the frame owns once its window has gone. */
void AppFrameDestroy(AppFrame *frame);

/* Registers "PelnorMainFrmWnd". Returns 1, or 0 with the last error set. */
int RegisterFrameClass(HINSTANCE instance);

/* Creates, sizes and shows the frame; loads accelerator table 131. Returns
 * the window, or null when creation failed (the frame may then have posted
 * WM_QUIT, e.g. when the settings are missing). */
HWND CreateMainFrame(AppFrame *frame, int show);

/* Translates one message with table 131 against the frame, then, while
 * posting is on and the subjects or an article show, with the posting
 * keys; true when it was an accelerator. The message loop and the tests
 * share it. */
bool TranslateFrameAccelerator(AppFrame *frame, MSG *msg);

/* Runs the loop until WM_QUIT; returns its exit code. */
int RunMessageLoop(AppFrame *frame);

/* The data-folder start-up and the group view's reload: the folder's own
 * files at once, then every group listed and its files checked, the first
 * ones at once and the rest in the background (shell/group_checks.h).
 * Shows the failure boxes. Returns 1, or 0. */
int ReloadData(AppFrame *frame);

/* The frame of a window created by CreateMainFrame. */
AppFrame *FrameOf(HWND window);

#endif
