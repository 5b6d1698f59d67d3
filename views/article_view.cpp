#include "article_view.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/record_window.h"
#include "base/scoped_win.h"
#include "platform/clipboard.h"

namespace {

enum { kScrollWidth = 16, kNoFontLineHeight = 10, kFirstMeasure = 64 };

const wchar_t kEmpty[] = L"";

void Notify(ArticleView *view, UINT code)
{
    NotifyParent(view->parent, view->control_id, code, view->window);
}

/* A unit whose low byte is a Shift_JIS lead byte goes with the unit after
 * it, whatever its script. */
bool TakesPair(wchar_t unit)
{
    unsigned low = unit & 0xFF;
    return unit != 0 && ((low >= 0x81 && low <= 0x9F) || (low >= 0xE0 && low <= 0xFC));
}

/* The code point at text[0] of the `left` units there; *units is 2 for a
 * whole surrogate pair, else 1 (a lone surrogate stands for itself). */
unsigned CodePointAt(const wchar_t *text, int left, int *units)
{
    unsigned unit = text[0];
    if (unit >= 0xD800 && unit <= 0xDBFF && left > 1 && text[1] >= 0xDC00 && text[1] <= 0xDFFF) {
        *units = 2;
        return 0x10000 + ((unit - 0xD800) << 10) + (text[1] - 0xDC00u);
    }
    *units = 1;
    return unit;
}

/* Combining marks, the kana voiced marks, variation selectors and emoji
 * skin tones: they stay with the character before them. */
bool ExtendsCluster(unsigned c)
{
    return (c >= 0x0300 && c <= 0x036F) || (c >= 0x1AB0 && c <= 0x1AFF) || (c >= 0x1DC0 && c <= 0x1DFF) ||
           (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE20 && c <= 0xFE2F) || c == 0x3099 || c == 0x309A ||
           (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0xE0100 && c <= 0xE01EF) || (c >= 0x1F3FB && c <= 0x1F3FF);
}

const unsigned kZeroWidthJoiner = 0x200D;

/* The units of the text cluster at text[0] of the `left` units there: a
 * character with the marks after it, and a joiner with the character it
 * joins. */
int ClusterUnits(const wchar_t *text, int left)
{
    int taken, units;
    CodePointAt(text, left, &taken);
    while (taken < left) {
        unsigned c = CodePointAt(text + taken, left - taken, &units);
        if (c == kZeroWidthJoiner) {
            taken += units;
            if (taken < left) {
                CodePointAt(text + taken, left - taken, &units);
                taken += units;
            }
        } else if (ExtendsCluster(c)) {
            taken += units;
        } else {
            break;
        }
    }
    return taken;
}

bool StartsWith(const wchar_t *text, const wchar_t *prefix)
{
    return wcsncmp(text, prefix, wcslen(prefix)) == 0;
}

/* Widths of the prefixes of a logical line, measured in growing pieces. */
struct Measure {
    HDC dc;
    int *extents;
    int capacity;
    int measured;
};

bool MeasureUpTo(Measure *m, const wchar_t *start, int units, int available)
{
    if (units <= m->measured)
        return true;
    int want = m->measured ? m->measured * 2 : kFirstMeasure;
    if (want < units)
        want = units;
    if (want > available)
        want = available;
    if (want > m->capacity) {
        int *grown = (int *)realloc(m->extents, (size_t)want * sizeof(int));
        if (!grown)
            return false;
        m->extents = grown;
        m->capacity = want;
    }
    SIZE size;
    if (!GetTextExtentExPointW(m->dc, start, want, 0, nullptr, m->extents, &size))
        return false;
    m->measured = want;
    return true;
}

/* One display line from `start`: the units taken before the width is
 * reached (at least one character, so the layout always moves on); a
 * character is a text cluster when `by_cluster`, else a unit or a Shift_JIS
 * pair. *next is where the following display line starts; *ends_logical is
 * set when the line ends its logical line (a CR, then an LF after it, are
 * stepped over). */
DWORD WrapLine(Measure *m, const wchar_t *start, int width, bool by_cluster, const wchar_t **next,
               bool *ends_logical)
{
    *ends_logical = false;
    *next = start;
    if (width <= 0 || *start == 0)
        return 0;
    int logical = 0;
    while (start[logical] && start[logical] != L'\r')
        logical++;
    m->measured = 0;
    int taken = 0;
    while (taken < logical) {
        int units;
        if (by_cluster)
            units = ClusterUnits(start + taken, logical - taken);
        else
            units = TakesPair(start[taken]) && taken + 1 < logical ? 2 : 1;
        if (!MeasureUpTo(m, start, taken + units, logical))
            break;
        if (m->extents[taken + units - 1] >= width) {
            if (taken == 0)
                taken = units;
            break;
        }
        taken += units;
    }
    const wchar_t *after = start + taken;
    if (taken == logical) {
        *ends_logical = true;
        if (*after == L'\r' && *++after == L'\n')
            after++;
    }
    *next = after;
    return (DWORD)taken;
}

struct Table {
    DisplayLine *lines;
    DWORD count;
    DWORD capacity;
};

bool Append(Table *table, const wchar_t *text, DWORD length, DWORD quote)
{
    if (table->count + 1 >= table->capacity) {
        DWORD capacity = table->capacity ? table->capacity * 2 : 256;
        DisplayLine *grown = (DisplayLine *)realloc(table->lines, capacity * sizeof(DisplayLine));
        if (!grown)
            return false;
        table->lines = grown;
        table->capacity = capacity;
    }
    table->lines[table->count++] = {text, length, quote};
    return true;
}

bool AppendBlank(Table *table, DWORD count)
{
    for (DWORD i = 0; i < count; i++)
        if (!Append(table, kEmpty, 0, 0))
            return false;
    return true;
}

/* The display-line table of the whole text for the text area's width. */
bool BuildTable(ArticleView *view, HDC dc, Table *table)
{
    const wchar_t *p = view->holder && view->holder->text ? view->holder->text : kEmpty;
    int width = view->text_area.right - view->text_area.left;
    Measure measure = {dc, nullptr, 0, 0};
    bool in_header = true, logical_start = true, keep = true, ok = true;
    DWORD quote = 0;
    view->header_lines = 0;
    while (ok && *p) {
        if (logical_start) {
            if (in_header && p[0] == L'\r' && p[1] == L'\n') {
                in_header = false;
                view->header_lines = table->count;
            }
            keep = !in_header || view->show_all_headers || StartsWith(p, L"From:") || StartsWith(p, L"Subject:");
            quote = !in_header && (p[0] == L'>' || p[0] == 0xFF1E);
        }
        /* A form feed at the start of a display line is a page of blank
         * lines; the text goes on after it. */
        if (*p == L'\f' && keep) {
            ok = AppendBlank(table, view->rows_per_page);
            p++;
            continue;
        }
        const wchar_t *next;
        bool ends;
        DWORD length = WrapLine(&measure, p, width, view->by_cluster != 0, &next, &ends);
        if (next == p)
            break; /* no width to lay out in */
        if (keep)
            ok = Append(table, p, length, quote);
        logical_start = ends;
        p = next;
    }
    if (in_header)
        view->header_lines = table->count;
    free(measure.extents);
    /* A blank page after the text lets its last line come to the top. */
    return ok && AppendBlank(table, view->rows_per_page) && Append(table, nullptr, 0, 0);
}

void SetScrollRangeAndPosition(ArticleView *view)
{
    /* Taken as an unsigned number: a text shorter than a page gives a
     * wrapped maximum. */
    DWORD range = view->total_lines - 2 * view->rows_per_page;
    if (range == 0)
        range = view->rows_per_page;
    SetScrollRange(view->scroll_bar, SB_CTL, 0, (int)range, FALSE);
    SetScrollPos(view->scroll_bar, SB_CTL, (int)view->top_line, TRUE);
}

void PlaceChildren(ArticleView *view)
{
    GetClientRect(view->window, &view->client);
    view->text_area = view->client;
    view->text_area.left += 1;
    view->text_area.top += 1;
    view->text_area.right -= 1 + kScrollWidth;
    view->text_area.bottom -= 1;
    MoveWindow(view->scroll_bar, view->client.right - 1 - kScrollWidth, view->text_area.top, kScrollWidth,
               view->text_area.bottom - view->text_area.top, TRUE);
}

long Pages(const ArticleView *view, long *t, long *n)
{
    *t = (long)view->top_line;
    *n = (long)view->total_lines;
    return (long)view->rows_per_page;
}

bool EndVisible(const ArticleView *view)
{
    long t, n, p = Pages(view, &t, &n);
    return n - p <= t + p;
}

void ShowFrom(ArticleView *view, long top)
{
    view->top_line = (DWORD)(top < 0 ? 0 : top);
    SetScrollPos(view->scroll_bar, SB_CTL, (int)view->top_line, TRUE);
    InvalidateRect(view->window, &view->text_area, TRUE);
}

void PageDown(ArticleView *view)
{
    long t, n, p = Pages(view, &t, &n);
    if (view->auto_next && EndVisible(view)) {
        Notify(view, kArticleNext);
        return;
    }
    long step = p > 2 ? p - 2 : 1;
    if (t + p + step <= n) {
        ShowFrom(view, t + step);
        return;
    }
    long top = n > p ? n - p : 0;
    if (t == top) {
        if (view->auto_next)
            Notify(view, kArticleNext);
        return;
    }
    ShowFrom(view, top);
}

void PageUp(ArticleView *view)
{
    long t, n, p = Pages(view, &t, &n);
    if (t > 0)
        ShowFrom(view, t - (p > 2 ? p - 2 : 1));
}

RECT RowRect(const ArticleView *view, long row)
{
    RECT rc = view->text_area;
    rc.top += (int)row * view->line_height;
    rc.bottom = rc.top + view->line_height;
    return rc;
}

void LineDown(ArticleView *view)
{
    if (view->scroll_pending)
        return;
    long t, n, p = Pages(view, &t, &n);
    if (view->auto_next && EndVisible(view)) {
        Notify(view, kArticleNext);
        return;
    }
    if (t + p + 1 > n) {
        if (view->auto_next)
            Notify(view, kArticleNext);
        return;
    }
    view->top_line++;
    SetScrollPos(view->scroll_bar, SB_CTL, (int)view->top_line, TRUE);
    ScrollWindowEx(view->window, 0, -view->line_height, &view->text_area, &view->text_area, nullptr, nullptr, 0);
    RECT last = RowRect(view, p - 1);
    last.bottom = view->text_area.bottom;
    InvalidateRect(view->window, &last, TRUE);
    view->scroll_pending = 1;
}

void LineUp(ArticleView *view)
{
    if (view->scroll_pending || view->top_line == 0)
        return;
    view->top_line--;
    SetScrollPos(view->scroll_bar, SB_CTL, (int)view->top_line, TRUE);
    ScrollWindowEx(view->window, 0, view->line_height, &view->text_area, &view->text_area, nullptr, nullptr, 0);
    RECT first = RowRect(view, 0);
    InvalidateRect(view->window, &first, TRUE);
    view->scroll_pending = 1;
}

void OnKey(ArticleView *view, WPARAM key)
{
    ArticleViewLayout(view);
    switch (key) {
    case VK_UP:
        view->line_scroll ? LineUp(view) : PageUp(view);
        break;
    case VK_DOWN:
        view->line_scroll ? LineDown(view) : PageDown(view);
        break;
    case VK_LEFT:
    case VK_PRIOR:
        PageUp(view);
        break;
    case VK_RIGHT:
    case VK_NEXT:
    case VK_SPACE:
        PageDown(view);
        break;
    case VK_TAB:
    case VK_RETURN:
        Notify(view, kArticleNext);
        break;
    case VK_ESCAPE:
        Notify(view, kArticleBack);
        break;
    }
}

void OnScroll(ArticleView *view, WPARAM wp)
{
    ArticleViewLayout(view);
    switch (LOWORD(wp)) {
    case SB_LINEUP:
        LineUp(view);
        break;
    case SB_LINEDOWN:
        LineDown(view);
        break;
    case SB_PAGEUP:
        PageUp(view);
        break;
    case SB_PAGEDOWN:
        PageDown(view);
        break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK:
        ShowFrom(view, (short)HIWORD(wp));
        break;
    }
}

void DrawLine(HDC dc, const DisplayLine *line, RECT rc)
{
    DrawTextW(dc, line->text, (int)line->length, &rc, DT_SINGLELINE | DT_EXPANDTABS | DT_NOPREFIX);
}

/* The width of the first `units` of a line as drawn. */
int PrefixWidth(HDC dc, const wchar_t *text, DWORD units)
{
    RECT rc = {0, 0, 0, 0};
    if (units)
        DrawTextW(dc, text, (int)units, &rc, DT_CALCRECT | DT_SINGLELINE | DT_EXPANDTABS | DT_NOPREFIX);
    return rc.right - rc.left;
}

/* The part of the mark on this line, inverted. */
void InvertMark(const ArticleView *view, HDC dc, const DisplayLine *line, const RECT &rc)
{
    const wchar_t *text = view->holder->text;
    if (!view->mark_length || !text || line->text < text || line->text > text + view->mark_start + view->mark_length)
        return;
    DWORD line_start = (DWORD)(line->text - text);
    DWORD from = view->mark_start > line_start ? view->mark_start - line_start : 0;
    DWORD to = view->mark_start + view->mark_length - line_start;
    if (to > line->length)
        to = line->length;
    if (from >= to)
        return;
    int left = rc.left + PrefixWidth(dc, line->text, from);
    int right = rc.left + PrefixWidth(dc, line->text, to);
    PatBlt(dc, left, rc.top, right - left, rc.bottom - rc.top, DSTINVERT);
}

void PaintLines(ArticleView *view, HDC dc, const RECT *update)
{
    long first = (update->top - view->text_area.top) / view->line_height;
    long last = (update->bottom - view->text_area.top) / view->line_height;
    if (first < 0)
        first = 0;
    COLORREF text_color = GetTextColor(dc);
    for (long row = first; row <= last; row++) {
        DWORD index = view->top_line + (DWORD)row;
        if (index >= view->total_lines)
            break;
        const DisplayLine *line = &view->lines[index];
        RECT rc = RowRect(view, row);
        if (index < view->header_lines) {
            /* Twice, one pixel apart: bold. */
            SetTextColor(dc, view->header_color);
            int mode = SetBkMode(dc, TRANSPARENT);
            DrawLine(dc, line, rc);
            OffsetRect(&rc, 1, 0);
            DrawLine(dc, line, rc);
            SetBkMode(dc, mode);
            SetTextColor(dc, text_color);
        } else if (line->quote) {
            SetTextColor(dc, view->quote_color);
            DrawLine(dc, line, rc);
            SetTextColor(dc, text_color);
        } else {
            DrawLine(dc, line, rc);
        }
        InvertMark(view, dc, line, RowRect(view, row));
    }
}

void OnPaint(ArticleView *view)
{
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(view->window, &ps);
    {
        ScopedSelectObject font(dc, view->font);
        if (ArticleViewLayout(view) && view->font)
            PaintLines(view, dc, &ps.rcPaint);
        ScopedSelectObject brush(dc, GetStockObject(NULL_BRUSH));
        Rectangle(dc, view->client.left, view->client.top, view->client.right, view->client.bottom);
    }
    view->scroll_pending = 0;
    EndPaint(view->window, &ps);
}

LRESULT CALLBACK ArticleViewProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    ArticleView *view = WindowRecord<ArticleView>(window, msg, lp);
    switch (msg) {
    case WM_CREATE:
        view->window = window;
        view->scroll_bar = CreateWindowExW(0, L"SCROLLBAR", L"VSARTS", WS_CHILD | SBS_VERT, 0, 0, 0, 0, window,
                                           nullptr, GetModuleHandleW(nullptr), nullptr);
        if (!view->scroll_bar)
            return -1;
        PlaceChildren(view);
        return 0;
    case WM_SIZE:
        if (view && view->scroll_bar) {
            PlaceChildren(view);
            ArticleViewInvalidate(view);
        }
        return 0;
    case WM_PAINT:
        if (view) {
            OnPaint(view);
            return 0;
        }
        break;
    case WM_KEYDOWN:
        OnKey(view, wp);
        return 0;
    case WM_VSCROLL:
        OnScroll(view, wp);
        return 0;
    case WM_LBUTTONDOWN:
        SetFocus(window);
        return 0;
    }
    return DefWindowProcW(window, msg, wp, lp);
}

} // namespace

int RegisterArticleViewClass(HINSTANCE instance)
{
    return RegisterRecordWindowClass(instance, PELNOR_ARTICLE_VIEW_CLASS, ArticleViewProc, 0);
}

void ArticleViewInit(ArticleView *view, ArticleText *holder)
{
    memset(view, 0, sizeof *view);
    view->holder = holder;
    holder->view = view;
    view->line_height = kNoFontLineHeight;
}

int ArticleViewCreate(ArticleView *view, HINSTANCE instance, HWND parent, UINT id, const RECT *rect)
{
    view->parent = parent;
    view->control_id = id;
    HWND window = CreateWindowExW(0, PELNOR_ARTICLE_VIEW_CLASS, L"", WS_CHILD, rect->left, rect->top,
                                  rect->right - rect->left, rect->bottom - rect->top, parent, (HMENU)(UINT_PTR)id,
                                  instance, view);
    return window != nullptr;
}

void ArticleViewShow(ArticleView *view, int show)
{
    ShowWindow(view->window, show);
    ShowWindow(view->scroll_bar, show);
    UpdateWindow(view->window);
}

void ArticleViewSetLook(ArticleView *view, HFONT font, COLORREF header_color, COLORREF quote_color, int line_scroll,
                        int auto_next, int by_cluster)
{
    view->header_color = header_color;
    view->quote_color = quote_color;
    view->line_scroll = line_scroll;
    view->auto_next = auto_next;
    by_cluster = by_cluster != 0;
    if (font != view->font || by_cluster != view->by_cluster) {
        view->font = font;
        view->by_cluster = by_cluster;
        ArticleViewInvalidate(view);
    }
    if (view->window)
        InvalidateRect(view->window, nullptr, TRUE);
}

void ArticleViewSetShowHeaders(ArticleView *view, int show_all)
{
    view->show_all_headers = show_all;
    ArticleViewInvalidate(view);
}

void ArticleViewInvalidate(ArticleView *view)
{
    free(view->lines);
    view->lines = nullptr;
    view->total_lines = 0;
    view->top_line = 0;
    view->layout_valid = 0;
    if (view->window)
        InvalidateRect(view->window, nullptr, TRUE);
}

int ArticleViewLayout(ArticleView *view)
{
    if (view->layout_valid)
        return view->lines != nullptr;
    view->layout_valid = 1;
    ScopedGetDC dc(view->window);
    ScopedSelectObject font(dc, view->font);
    view->line_height = kNoFontLineHeight;
    if (view->font) {
        TEXTMETRICW metrics;
        GetTextMetricsW(dc, &metrics);
        view->line_height = metrics.tmHeight > 0 ? (int)metrics.tmHeight : (int)kNoFontLineHeight;
    }
    view->rows_per_page = (DWORD)((view->text_area.bottom - view->text_area.top) / view->line_height);
    Table table = {nullptr, 0, 0};
    if (!BuildTable(view, dc, &table)) {
        free(table.lines);
        view->total_lines = 0;
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    view->lines = table.lines;
    view->total_lines = table.count - 1;
    view->top_line = 0;
    SetScrollRangeAndPosition(view);
    return 1;
}

int ArticleViewCopy(ArticleView *view, HWND owner)
{
    if (!OpenClipboard(owner))
        return 0;
    EmptyClipboard();
    const wchar_t *text = view->holder->text ? view->holder->text : kEmpty;
    HANDLE block = NewClipboardText(text, wcslen(text));
    int ok = block && SetClipboardData(CF_UNICODETEXT, block);
    if (block && !ok)
        FreeClipboardBlock(block);
    CloseClipboard();
    return ok;
}

void ArticleViewRelease(ArticleView *view)
{
    if (view->window && IsWindow(view->window))
        DestroyWindow(view->window);
    view->window = nullptr;
    free(view->lines);
    view->lines = nullptr;
}

void ArticleTextTake(ArticleText *holder, wchar_t *text)
{
    free(holder->text);
    holder->text = text;
    if (holder->view) {
        holder->view->mark_length = 0;
        holder->view->find_from = 0;
        ArticleViewInvalidate(holder->view);
    }
}

int ArticleViewShowMark(ArticleView *view, DWORD start, DWORD length)
{
    const wchar_t *text = view->holder->text;
    if (!text || !ArticleViewLayout(view))
        return 0;
    DWORD line = 0;
    for (; line < view->total_lines; line++) {
        const DisplayLine &l = view->lines[line];
        if (l.text >= text && start >= (DWORD)(l.text - text) && start < (DWORD)(l.text - text) + l.length)
            break;
    }
    if (line == view->total_lines)
        return 0;
    view->mark_start = start;
    view->mark_length = length;
    if (line < view->top_line || line >= view->top_line + view->rows_per_page) {
        /* A line of what comes before it stays in sight. */
        view->top_line = line > 0 ? line - 1 : 0;
        SetScrollPos(view->scroll_bar, SB_CTL, (int)view->top_line, TRUE);
    }
    InvalidateRect(view->window, &view->text_area, TRUE);
    return 1;
}

void ArticleViewClearMark(ArticleView *view)
{
    view->mark_length = 0;
    view->find_from = 0;
    InvalidateRect(view->window, &view->text_area, TRUE);
}

int ArticleTextSet(ArticleText *holder, const wchar_t *text)
{
    wchar_t *copy = _wcsdup(text);
    ArticleTextTake(holder, copy);
    if (!copy) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    return 1;
}

void ArticleTextFree(ArticleText *holder)
{
    free(holder->text);
    holder->text = nullptr;
}
