/*
 * The article view: one article as wrapped display lines, header lines in
 * the header colour and drawn bold, quoted body lines in the quote colour,
 * scrolled by line or by page with its own scroll bar. Only "From:" and
 * "Subject:" of the header are shown unless every header line is asked for.
 *
 * The view tells its parent by WM_COMMAND (low word its control id, high
 * word the code, the view's window as parameter): code 1 back to the
 * subject view (Escape), code 2 on to the next article (Tab, Enter, and the
 * end of the text with AutoNextArticle).
 */
#ifndef PELNOR_ARTICLE_VIEW_H
#define PELNOR_ARTICLE_VIEW_H

#include <windows.h>

#define PELNOR_ARTICLE_VIEW_CLASS L"PELNORArticleViewWnd"

enum ArticleNotice : UINT { kArticleBack = 1, kArticleNext = 2 };

/* One display line: `length` units at `text` (an empty text for blank
 * lines); the table ends with a null text. */
struct DisplayLine {
    const wchar_t *text;
    DWORD length;
    DWORD quote; /* 1: a quoted body line or its continuation */
};

struct ArticleView;

/* The article shown: header, empty line, body, lines ended by CR LF. Owned
 * by the frame. */
struct ArticleText {
    wchar_t *text; /* owned */
    ArticleView *view;
};

struct ArticleView {
    UINT control_id;
    HWND window;
    HWND scroll_bar;
    HWND parent;
    RECT client;
    RECT text_area;     /* client inset 1 left and top, 17 right, 1 bottom */
    DWORD top_line;
    DWORD rows_per_page;
    int line_height;
    DWORD total_lines;  /* the trailing blank page included */
    HFONT font;         /* none: nothing but the frame is drawn */
    ArticleText *holder;
    DisplayLine *lines; /* owned */
    int line_scroll;    /* KeyMode */
    int auto_next;      /* AutoNextArticle */
    int show_all_headers;
    int by_cluster;     /* DecodeCharsets: lines break between text clusters, not Shift_JIS pairs */
    DWORD header_lines; /* display lines of the header */
    COLORREF header_color;
    COLORREF quote_color;
    int layout_valid;
    int scroll_pending;
    DWORD mark_start;   /* a text found, shown inverted: its units in the text */
    DWORD mark_length;  /* 0: none */
    DWORD find_from;    /* where the next find starts, in the text's stored bytes */
};

int RegisterArticleViewClass(HINSTANCE instance);

/* An empty view showing `holder`'s text. */
void ArticleViewInit(ArticleView *view, ArticleText *holder);

/* Creates the view (hidden) over `rect` with its scroll bar. */
int ArticleViewCreate(ArticleView *view, HINSTANCE instance, HWND parent, UINT id, const RECT *rect);

void ArticleViewShow(ArticleView *view, int show);

/* What the frame hands the view each time it shows it. With `by_cluster`
 * a line breaks only between text clusters: a surrogate pair, a character
 * with its combining marks, variation selectors and skin tones, or
 * characters joined by ZWJ stay on one line. Without it a unit whose low
 * byte is a Shift_JIS lead byte goes with the unit after it. */
void ArticleViewSetLook(ArticleView *view, HFONT font, COLORREF header_color, COLORREF quote_color, int line_scroll,
                        int auto_next, int by_cluster);

void ArticleViewSetShowHeaders(ArticleView *view, int show_all);

/* Frees the line table, goes back to the top and repaints; the next paint
 * lays the text out again. */
void ArticleViewInvalidate(ArticleView *view);

/* Lays the text out now when it is not; 0 with error 8 when the table
 * cannot be allocated. */
int ArticleViewLayout(ArticleView *view);

/* Puts the whole article text on the clipboard as CF_UNICODETEXT. 0 when
 * the clipboard cannot be opened or the text not stored there. */
int ArticleViewCopy(ArticleView *view, HWND owner);

/* Marks `length` units of the text from `start` (a text found) and scrolls
 * so that the line it starts on shows, unless it shows already. 0, and no
 * mark, when no display line holds `start` (a header line not shown). */
int ArticleViewShowMark(ArticleView *view, DWORD start, DWORD length);
void ArticleViewClearMark(ArticleView *view);

/* Finds the next place of `pattern` in the text shown after the one
 * marked (from the top when none is), as the search matches, and marks
 * it. 0 when there is none further: the mark goes, and the next find
 * starts from the top again. */
struct TextPattern;
int ArticleViewFindNext(ArticleView *view, const TextPattern *pattern);

/* Destroys the window and frees the table. */
void ArticleViewRelease(ArticleView *view);

/* A copy of `text` replaces the article (0 with error 8, the view then
 * empty); Take takes over a malloc'd buffer. Both lay the view out anew. */
int ArticleTextSet(ArticleText *holder, const wchar_t *text);
void ArticleTextTake(ArticleText *holder, wchar_t *text);
void ArticleTextFree(ArticleText *holder);

#endif
