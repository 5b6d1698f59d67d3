/*
 * The subject view: one row per stored article of the open group, with its
 * read and priority marks, the date as MM/DD, the sender and the subject. A
 * child window of the frame with its own header control and scroll bar,
 * drawn by hand from the one page of index records its ArticleList holds.
 * Column widths persist under Software\marrowby\Pelnor\SubjectView.
 *
 * The view tells its parent by WM_COMMAND (low word its control id, high
 * word the code, the view's window as parameter): code 1 back (Escape),
 * code 2 page down at the end of the list, code 3 open the cursor row's
 * article (Enter, Space, double tap).
 */
#ifndef PELNOR_SUBJECT_VIEW_H
#define PELNOR_SUBJECT_VIEW_H

#include <windows.h>

#include "settings/settings.h"
#include "store/article_list.h"

#define PELNOR_SUBJECT_VIEW_CLASS L"PELNORSubjectViewWnd"

enum SubjectNotice : UINT { kSubjectBack = 1, kSubjectEndOfList = 2, kSubjectOpen = 3 };

enum SubjectColumn { kColumnMarks = 0, kColumnDate = 1, kColumnFrom = 2, kColumnSubject = 3 };

struct SubjectView {
    HWND window;
    HWND scroll_bar;
    HWND header;
    HWND parent;
    UINT control_id;
    RECT client;
    RECT rows;          /* client inset 1 left, 21 top, 17 right, 1 bottom */
    HINSTANCE instance;
    int row_height;
    int layout_valid;
    int line_scroll;    /* KeyMode */
    ViewOptions options; /* the frame's, as last handed over */
    ArticleList *list;  /* owned: the open group's rows, a page of them from the top row */
    DWORD page_size;    /* rows the row area holds */
    DWORD cursor;       /* row of the cursor, counted from the top row */
    HFONT font;         /* none: only the marks and the cursor are drawn */
    int font_height;
    int scroll_pending;
    int group_open;
    int built;          /* the list's row map is made */
    HBITMAP marks[3];   /* read, low, high */
};

/* Registers "PELNORSubjectViewWnd" (double taps reach it). */
int RegisterSubjectViewClass(HINSTANCE instance);

void SubjectViewInit(SubjectView *view);

/* Creates the view (hidden) over `rect`, with its scroll bar and header,
 * whose widths come from the registry. The view options decide which
 * records the list shows. 0 when the window cannot be made. */
int SubjectViewCreate(SubjectView *view, HINSTANCE instance, HWND parent, UINT id, const RECT *rect,
                      ViewOptions options);

/* Shows or hides the view and its scroll bar, then updates it. */
void SubjectViewShow(SubjectView *view, int show);

/* The font and KeyMode the frame hands the view each time it shows it. */
void SubjectViewSetLook(SubjectView *view, HFONT font, int line_scroll);

/* Writes back a group still open, then opens `group` at its top row. 0 with
 * the last error when its index cannot be read. */
int SubjectViewOpenGroup(SubjectView *view, const wchar_t *data_folder, const wchar_t *group);

/* Writes back the open group's read marks and saved position; *unread gets
 * its unread count. 0 when nothing was open or the header write failed. */
int SubjectViewCloseGroup(SubjectView *view, DWORD *unread);

/* New view options: the list is made again (the unread count kept so far is
 * written first). 0 with the last error when that fails. */
int SubjectViewSetOptions(SubjectView *view, ViewOptions options);

/* Makes the list again from the index, as after a change of filter. */
int SubjectViewReload(SubjectView *view);
/* Applies the open group's keyword filter file to its records again and
 * makes the list anew. */
int SubjectViewRefilter(SubjectView *view);
/* The open group's keyword filter file, or null when none is open. */
const wchar_t *SubjectViewFilterPath(const SubjectView *view);

/* The rows: how many, the top one, and the cursor's (counted from the
 * list's first row). */
DWORD SubjectViewRowCount(const SubjectView *view);
DWORD SubjectViewTopRow(const SubjectView *view);
DWORD SubjectViewCursorRow(const SubjectView *view);
/* The cursor row's subject text and whole article from the log; the
 * caller frees them. Null with the last error (87 when no row). */
wchar_t *SubjectViewReadSubject(SubjectView *view);
wchar_t *SubjectViewReadArticle(SubjectView *view);
/* The same as the log holds it (stored text); *length gets its bytes. */
char *SubjectViewReadArticleBytes(SubjectView *view, DWORD *length);

/* The cursor row's record, or null when the list is empty. */
const IndexRecord *SubjectViewCurrent(SubjectView *view);

/* Flips / sets the read mark of the cursor row and writes its record. */
int SubjectViewToggleRead(SubjectView *view);
int SubjectViewMarkRead(SubjectView *view);

/* Moves the cursor to the next row, paging as needed; 0 on the last row. */
int SubjectViewNext(SubjectView *view);

/* In thread order: the cursor to the first row of the next / previous
 * thread (0 when there is none or the list is flat), and every row of the
 * cursor's thread marked read (the cursor then on the next thread). */
int SubjectViewNextThread(SubjectView *view);
int SubjectViewPreviousThread(SubjectView *view);
int SubjectViewMarkThreadRead(SubjectView *view);

/* The text drawn in `column` of page row `row` ("MM/DD", sender, subject;
 * the marks column has none). 0 beyond the page. */
int SubjectViewCellText(const SubjectView *view, DWORD row, int column, wchar_t *out, int out_chars);

/* Writes the four column widths back to the registry. */
int SubjectViewSaveWidths(SubjectView *view);

/* Frees what the view holds once its window is gone (the list is not
 * written back: close the group first). */
void SubjectViewRelease(SubjectView *view);

#endif
