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
    ArticleList list;   /* page_size rows from first_row, the top row */
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
int SubjectViewCreate(SubjectView *view, HINSTANCE instance, HWND parent, UINT id, const RECT *rect, int show_read,
                      DWORD priority_level);

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
int SubjectViewSetOptions(SubjectView *view, int show_read, DWORD priority_level);

/* Makes the list again from the index, as after a change of filter. */
int SubjectViewReload(SubjectView *view);

/* The cursor row's record, or null when the list is empty. */
const IndexRecord *SubjectViewCurrent(SubjectView *view);

/* Flips / sets the read mark of the cursor row and writes its record. */
int SubjectViewToggleRead(SubjectView *view);
int SubjectViewMarkRead(SubjectView *view);

/* Moves the cursor to the next row, paging as needed; 0 on the last row. */
int SubjectViewNext(SubjectView *view);

/* The text drawn in `column` of page row `row` ("MM/DD", sender, subject;
 * the marks column has none). 0 beyond the page. */
int SubjectViewCellText(const SubjectView *view, DWORD row, int column, wchar_t *out, int out_chars);

/* Writes the four column widths back to the registry. */
int SubjectViewSaveWidths(SubjectView *view);

/* Frees what the view holds once its window is gone (the list is not
 * written back: close the group first). */
void SubjectViewRelease(SubjectView *view);

#endif
