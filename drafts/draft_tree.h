/*
 * The drafts pane: a tree of the draft files in the draft folder under three
 * fixed folders (waiting to send, drafts, sent), each draft filed under its
 * newsgroups value and shown by its subject.
 */
#ifndef PELNOR_DRAFT_TREE_H
#define PELNOR_DRAFT_TREE_H

#include <windows.h>
#include <commctrl.h>

#include "store/draft_file.h"


/* Images of bitmap 116 the tree uses. */
enum { kDraftFolderImage = 0, kDraftFileImage = 2 };

struct DraftTree {
    HWND tree;                         /* "SysTreeView32" child */
    HIMAGELIST images;                 /* owned; 16 x 16 from bitmap 116 */
    HTREEITEM roots[kDraftRootCount];  /* waiting, drafts, sent */
};

/* No window, no image list. */
void DraftTreeInit(DraftTree *tree);

/* Creates the tree control over `rect` of `parent` and
 * its image list. 1, or 0 with the last error set when either cannot be
 * made (nothing is left behind). */
int CreateDraftTree(DraftTree *tree, HWND parent, const RECT *rect, HINSTANCE instance);

/* Empties the tree, inserts the three roots and files every "*.txt" of
 * `draft_path` (which ends in a backslash). A missing folder or an
 * unreadable draft is no failure: such drafts are left out. 0 with the last
 * error set only when a folder item cannot be inserted. */
int FillDraftTree(DraftTree *tree, const wchar_t *draft_path);

/* Destroys the image list (the control goes with its parent). */
void DraftTreeRelease(DraftTree *tree);

#endif
