/*
 * Draft files: one article the user writes per "*.txt" file in the draft
 * folder. A draft is its header lines ("Name: value", CR LF each), an empty
 * line and the body, all stored text (Shift_JIS with references). The first
 * letter of the file name files it: 'o' waiting to send, 's' sent, any
 * other letter a draft. Moving a draft between folders renames it.
 */
#ifndef PELNOR_DRAFT_FILE_H
#define PELNOR_DRAFT_FILE_H

#include <windows.h>

enum DraftRoot { kDraftsWaiting = 0, kDraftsDrafts = 1, kDraftsSent = 2, kDraftRootCount = 3 };

struct Draft {
    char *head;         /* owned: header lines, each ending in CR LF, continuations joined; NUL-terminated */
    size_t head_length;
    char *body;         /* owned: the bytes after the empty line; NUL-terminated */
    size_t body_length;
};

/* The folder a draft file of this name is shown in. */
DraftRoot DraftRootOf(const wchar_t *file_name);

/* An empty draft (no header line, no body). */
void DraftInit(Draft *draft);
void DraftFree(Draft *draft);

/* Reads the whole file. Lines may end in CR LF or LF alone; a file without
 * an empty line is all header. 1, or 0 with the last error. */
int ReadDraft(const wchar_t *path, Draft *draft);

/* Writes the draft (head, an empty line, body; every line end CR LF)
 * through a temporary file, so a failed write leaves the old file whole. */
int WriteDraft(const wchar_t *path, const Draft *draft);

/* The value of the last header line named `name` (no colon; names compare
 * without regard to case), blanks around it dropped, newly allocated; null
 * with ERROR_NOT_FOUND when there is none or it is empty, or with 8. */
char *DraftHeaderValue(const Draft *draft, const char *name);

/* Sets the header `name` to `value`: the first line of that name is
 * replaced (any later ones removed), or a line is appended. An empty or
 * null value removes the header. 1, or 0 with 8. */
int DraftSetHeader(Draft *draft, const char *name, const char *value);

/* Replaces the body with `length` bytes of `body`. 1, or 0 with 8. */
int DraftSetBody(Draft *draft, const char *body, size_t length);

/* A path for a new draft file in `draft_path` filed under `root`, whose
 * name no draft file uses in any folder. Newly allocated, or null with the
 * last error. */
wchar_t *NewDraftPath(const wchar_t *draft_path, DraftRoot root);

/* Files the draft at `path` under `root` by renaming it (the name's first
 * letter is the folder's, added before a name of another letter). The new
 * path, newly allocated (the same path when it is already there), or null
 * with the last error and the file where it was. */
wchar_t *MoveDraft(const wchar_t *path, DraftRoot root);

#endif
