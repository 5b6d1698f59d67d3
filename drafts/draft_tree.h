/*
 * The drafts pane: a tree of the draft files in the draft folder under three
 * fixed folders (waiting to send, drafts, sent), each draft filed under its
 * newsgroups value and shown by its subject. Each leaf knows its file: its
 * item parameter is its place in the tree's list of file names plus one (0
 * for the folders).
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
    wchar_t **files;                   /* owned: the leaves' file names, each owned */
    DWORD file_count;
    DWORD file_capacity;
};

/* No window, no image list. */
void DraftTreeInit(DraftTree *tree);

/* Creates the tree control over `rect` of `parent`, with the child id `id`
 * (its notifications' id), and its image list. 1, or 0 with the last error
 * set when either cannot be made (nothing is left behind). */
int CreateDraftTree(DraftTree *tree, HWND parent, const RECT *rect, HINSTANCE instance, UINT id);

/* Empties the tree, inserts the three roots and files every "*.txt" of
 * `draft_path` (which ends in a backslash). A draft is filed by its
 * "Newsgroup: " line, the name the group logs keep; with `standard_header`
 * a "Newsgroups: " line, as posted articles have, is read first. A missing
 * folder or an unreadable draft is no failure: such drafts are left out. 0
 * with the last error set only when a folder item cannot be inserted or
 * memory runs out. */
int FillDraftTree(DraftTree *tree, const wchar_t *draft_path, int standard_header);

/* The file name (no folder) of a draft leaf; null for a folder item or
 * none. */
const wchar_t *DraftTreeFileOf(const DraftTree *tree, HTREEITEM item);

/* The leaf of the file named `file_name` (no folder, compared without
 * regard to case), or null. */
HTREEITEM DraftTreeFindFile(const DraftTree *tree, const wchar_t *file_name);

/* Destroys the image list and the file names (the control goes with its
 * parent). */
void DraftTreeRelease(DraftTree *tree);

#endif
