/*
 * The search command ("検索", Ctrl+F) of the group and subject views, and
 * "次を検索" (F3) of the article view.
 *
 * A hit opened from the results is shown in the article view and marked
 * read, as the subject view does. Back from it (Escape, the bar's back
 * button) shows the results again over the view the search started from,
 * the hit just read selected; Tab or Enter opens the next hit, and past
 * the last one the results come back. Closing the results leaves the
 * reader in that view: the subject view reads its group again, so what
 * was read from the results shows as read.
 */
#ifndef PELNOR_SEARCH_COMMAND_H
#define PELNOR_SEARCH_COMMAND_H

#include "shell/app_frame.h"
#include "views/search_dialog.h"

struct SearchState {
    SearchSession session;
    ViewKind origin; /* the group or subject view the search started from */
    wchar_t origin_group[kSearchGroupChars];
    int origin_row;
    int showing_hit; /* the article view shows result `current` */
    DWORD current;
};

/* Frees what the searches kept (null allowed). */
void SearchStateFree(SearchState *state);

/* IDM_SEARCH, IDM_FIND_NEXT, and the article view's back and next while
 * it shows a hit; false for anything else. */
bool SearchCommand(AppFrame *frame, UINT id, UINT code);

#endif
