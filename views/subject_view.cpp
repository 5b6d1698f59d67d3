#include "subject_view.h"

#include <commctrl.h>
#include <string.h>

#include "base/record_window.h"
#include "base/res_text.h"
#include "base/scoped_win.h"
#include "resources/resource.h"
#include "settings/settings.h"
#include "store/header_fields.h"
#include "store/thread_order.h"
#include "text/stored_text.h"
#include "text/widestr.h"

namespace {

struct HeaderColumn {
    UINT heading;
    const wchar_t *value_name;
    int default_width;
};

const HeaderColumn kColumns[4] = {
    {IDS_COL_MARKS, L"markWidth", 25},
    {IDS_COL_DATE, L"dateWidth", 40},
    {IDS_COL_FROM, L"fromWidth", 160},
    {IDS_COL_SUBJECT, L"subjectWidth", 400},
};

const wchar_t kWidthKey[] = PELNOR_REGISTRY_KEY L"\\SubjectView";

enum { kHeaderHeight = 20, kScrollWidth = 16, kMarkSize = 10, kMinRowHeight = 10 };
enum : unsigned { kIndentPixels = 8, kMostIndentLevels = 6 };

void Notify(SubjectView *view, UINT code)
{
    NotifyParent(view->parent, view->control_id, code, view->window);
}

long PageSize(const SubjectView *view)
{
    return (long)view->page_size;
}
long TopRow(const SubjectView *view)
{
    return (long)ArticleListFirstRow(view->list);
}
long RowCount(const SubjectView *view)
{
    return (long)ArticleListRowCount(view->list);
}
DWORD RowsInPage(const SubjectView *view)
{
    return ArticleListRowsInPage(view->list);
}

void SetCursorRow(SubjectView *view, DWORD row)
{
    view->cursor = row;
}

/* The order the options ask for. */
RowOrder OrderOf(const ViewOptions &options)
{
    return options.thread_view ? ThreadOrder : PriorityRunsOrder;
}

ListFilter FilterOf(const ViewOptions &options)
{
    return {(int)options.view_read_article, options.priority_level};
}

/* The cursor's row counted from the list's first. */
DWORD CursorRow(const SubjectView *view)
{
    return ArticleListFirstRow(view->list) + view->cursor;
}

/* Pixels the subject of page row `row` is indented by its depth: a few
 * levels only, so that the text keeps room at 240 pixels. */
int SubjectIndent(const SubjectView *view, DWORD row)
{
    unsigned depth = ArticleListRowDepth(view->list, ArticleListFirstRow(view->list) + row);
    return (int)(depth < kMostIndentLevels ? depth : kMostIndentLevels) * kIndentPixels;
}

RECT RowRect(const SubjectView *view, long row)
{
    RECT rc = view->rows;
    rc.top = view->rows.top + (int)row * view->row_height;
    rc.bottom = rc.top + view->row_height;
    return rc;
}

void InvalidateRow(SubjectView *view, long row)
{
    if (row < 0 || row >= PageSize(view))
        return;
    RECT rc = RowRect(view, row);
    InvalidateRect(view->window, &rc, TRUE);
}

void SetScrollRangeAndPosition(SubjectView *view)
{
    /* With exactly one page of rows the maximum is the page size. */
    long range = RowCount(view) - PageSize(view);
    if (range == 0)
        range = PageSize(view);
    SetScrollRange(view->scroll_bar, SB_CTL, 0, range > 0 ? (int)range : 0, FALSE);
    SetScrollPos(view->scroll_bar, SB_CTL, (int)TopRow(view), TRUE);
}

/* Places the header and the scroll bar for the current client size. */
void PlaceChildren(SubjectView *view)
{
    GetClientRect(view->window, &view->client);
    view->rows = view->client;
    view->rows.left += 1;
    view->rows.top += 1 + kHeaderHeight;
    view->rows.right -= 1 + kScrollWidth;
    view->rows.bottom -= 1;
    MoveWindow(view->header, 1, 1, view->client.right - 2, kHeaderHeight, TRUE);
    MoveWindow(view->scroll_bar, view->client.right - 1 - kScrollWidth, view->rows.top, kScrollWidth,
               view->rows.bottom - view->rows.top, TRUE);
    view->layout_valid = 0;
}

/* Loads the page from `top` (kept within the list) and keeps the cursor on
 * it. */
int ShowFrom(SubjectView *view, long top)
{
    long last_top = RowCount(view) > PageSize(view) ? RowCount(view) - PageSize(view) : 0;
    if (top > last_top)
        top = last_top;
    if (top < 0)
        top = 0;
    int ok = ArticleListLoadPage(view->list, (DWORD)top);
    DWORD rows = RowsInPage(view);
    SetCursorRow(view, view->cursor < rows ? view->cursor : (rows ? rows - 1 : 0));
    SetScrollPos(view->scroll_bar, SB_CTL, (int)TopRow(view), TRUE);
    InvalidateRect(view->window, &view->rows, TRUE);
    return ok;
}

/* Row height and page size from the font, then the list made for that page
 * when it is not yet or the page size changed. */
int Layout(SubjectView *view)
{
    if (view->layout_valid)
        return 1;
    view->layout_valid = 1;
    int height = kMinRowHeight;
    if (view->font) {
        ScopedGetDC dc(view->window);
        ScopedSelectObject font(dc, view->font);
        TEXTMETRICW metrics;
        GetTextMetricsW(dc, &metrics);
        view->font_height = metrics.tmHeight;
        if (metrics.tmHeight > height)
            height = metrics.tmHeight;
    }
    view->row_height = height;
    SendMessageW(view->header, WM_SETFONT, (WPARAM)view->font, TRUE);
    long page = (view->rows.bottom - view->rows.top) / height;
    if (page < 1)
        page = 1;
    int ok = 1;
    if (view->group_open && (!view->built || (DWORD)page != view->page_size)) {
        DWORD top = ArticleListFirstRow(view->list);
        /* The list reads the header anew: the unread count kept in memory
         * so far is written first. */
        if (view->built && !ArticleListSaveCounts(view->list))
            return 0;
        ok = ArticleListBuild(view->list, FilterOf(view->options), OrderOf(view->options), (DWORD)page);
        view->built = ok;
        view->page_size = (DWORD)page;
        if (ok && top > 0)
            ok = ShowFrom(view, (long)top);
    } else if (!view->group_open) {
        view->page_size = (DWORD)page;
    }
    DWORD rows = RowsInPage(view);
    SetCursorRow(view, view->cursor < rows ? view->cursor : (rows ? rows - 1 : 0));
    SetScrollRangeAndPosition(view);
    return ok;
}

/* The next page: two rows overlap; on the last page the parent hears of
 * the end instead. */
void PageDown(SubjectView *view)
{
    long p = PageSize(view), t = TopRow(view), n = RowCount(view);
    long step = p > 2 ? p - 2 : 1;
    long top;
    if (t + p + step > n) {
        top = n > p ? n - p : 0;
        if (t == top) {
            Notify(view, kSubjectEndOfList);
            return;
        }
    } else {
        top = t + step;
    }
    ShowFrom(view, top);
}

void PageUp(SubjectView *view)
{
    long p = PageSize(view), t = TopRow(view);
    if (t == 0)
        return;
    long top = t - (p > 2 ? p - 2 : 1);
    ShowFrom(view, top < 0 ? 0 : top);
}

/* One row: the row area scrolls by a row height, the rows that changed are
 * drawn again; keys wait for that paint. */
void LineScroll(SubjectView *view, long delta)
{
    if (view->scroll_pending)
        return;
    long p = PageSize(view), t = TopRow(view), n = RowCount(view);
    if (delta > 0 ? t + p + 1 > n : t == 0)
        return;
    ArticleListLoadPage(view->list, (DWORD)(t + delta));
    SetScrollPos(view->scroll_bar, SB_CTL, (int)TopRow(view), TRUE);
    ScrollWindowEx(view->window, 0, (int)-delta * view->row_height, &view->rows, &view->rows, nullptr, nullptr, 0);
    long c = (long)view->cursor;
    InvalidateRow(view, c);
    InvalidateRow(view, c - delta);
    InvalidateRow(view, delta > 0 ? p - 1 : 0);
    view->scroll_pending = 1;
}

/* Up or Down at the page's edge: one row with KeyMode, else a page that
 * keeps the cursor on its article. */
void CursorStep(SubjectView *view, long delta)
{
    long c = (long)view->cursor, t = TopRow(view);
    long target = c + delta;
    if (target >= 0 && target < (long)RowsInPage(view)) {
        SetCursorRow(view, (DWORD)target);
        InvalidateRow(view, c);
        InvalidateRow(view, target);
        return;
    }
    if (view->line_scroll) {
        LineScroll(view, delta);
        return;
    }
    long absolute = t + c;
    if (delta > 0)
        PageDown(view);
    else
        PageUp(view);
    long moved = absolute - TopRow(view);
    if (moved >= 0 && moved < (long)RowsInPage(view) && moved != c) {
        SetCursorRow(view, (DWORD)moved);
        InvalidateRect(view->window, &view->rows, TRUE);
    }
}

void OnKey(SubjectView *view, WPARAM key)
{
    Layout(view);
    switch (key) {
    case VK_UP:
        CursorStep(view, -1);
        break;
    case VK_DOWN:
        CursorStep(view, 1);
        break;
    case VK_LEFT:
    case VK_PRIOR:
        PageUp(view);
        break;
    case VK_RIGHT:
    case VK_NEXT:
        PageDown(view);
        break;
    case VK_RETURN:
    case VK_SPACE:
        if (RowCount(view) > 0)
            Notify(view, kSubjectOpen);
        break;
    case VK_ESCAPE:
        Notify(view, kSubjectBack);
        break;
    }
}

void OnScroll(SubjectView *view, WPARAM wp)
{
    Layout(view);
    switch (LOWORD(wp)) {
    case SB_LINEUP:
        LineScroll(view, -1);
        break;
    case SB_LINEDOWN:
        LineScroll(view, 1);
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

/* A tap moves the cursor to the row under it; true when it hit one. */
bool OnTap(SubjectView *view, LPARAM lp)
{
    SetFocus(view->window);
    Layout(view);
    int y = (short)HIWORD(lp);
    if (y < view->rows.top)
        return false;
    long row = (y - view->rows.top) / view->row_height;
    if (row >= (long)RowsInPage(view))
        return false;
    InvalidateRow(view, (long)view->cursor);
    SetCursorRow(view, (DWORD)row);
    InvalidateRow(view, row);
    return true;
}

int ColumnWidth(const SubjectView *view, int column)
{
    HDITEMW item = {};
    item.mask = HDI_WIDTH;
    SendMessageW(view->header, HDM_GETITEMW, column, (LPARAM)&item);
    return item.cxy;
}

/* A double click on a divider fits the sender and subject columns to the
 * longest text on the page; the others go back to their default. */
void FitColumn(SubjectView *view, int column)
{
    int width = kColumns[column].default_width;
    if (column == kColumnFrom)
        width = (int)(ArticleListLongestFrom(view->list) + 1) * view->row_height / 2 + 4;
    else if (column == kColumnSubject)
        width = (int)(ArticleListLongestSubject(view->list) + 1) * view->row_height / 2 + 4;
    HDITEMW item = {};
    item.mask = HDI_WIDTH;
    item.cxy = width;
    SendMessageW(view->header, HDM_SETITEMW, column, (LPARAM)&item);
    InvalidateRect(view->window, nullptr, TRUE);
}

LRESULT OnNotify(SubjectView *view, const NMHDR *header)
{
    switch (header->code) {
    case HDN_ENDTRACKW:
    case HDN_ENDTRACKA:
        InvalidateRect(view->window, nullptr, TRUE);
        break;
    case HDN_DIVIDERDBLCLICKW:
    case HDN_DIVIDERDBLCLICKA: {
        int column = ((const NMHEADERW *)header)->iItem;
        if (column >= 0 && column < 4)
            FitColumn(view, column);
        break;
    }
    }
    return 0;
}

void CopyMark(HDC dc, HDC marks, HBITMAP bitmap, int x, int y)
{
    HGDIOBJ old = SelectObject(marks, bitmap);
    BitBlt(dc, x, y, kMarkSize, kMarkSize, marks, 0, 0, SRCCOPY);
    SelectObject(marks, old);
}

void PaintRows(SubjectView *view, HDC dc)
{
    int edges[5] = {view->rows.left};
    for (int i = 0; i < 4; i++)
        edges[i + 1] = edges[i] + ColumnWidth(view, i);
    HDC marks = CreateCompatibleDC(dc);
    for (DWORD row = 0; row < RowsInPage(view); row++) {
        RECT rc = RowRect(view, (long)row);
        if (rc.top >= view->rows.bottom)
            break;
        const IndexRecord *record = ArticleListPageRecord(view->list, row);
        int mark_y = rc.top + (view->row_height - kMarkSize) / 2;
        if (record->flags & kRecordRead)
            CopyMark(dc, marks, view->marks[0], edges[0], mark_y);
        DWORD priority = RecordPriority(record);
        if (priority != 0)
            CopyMark(dc, marks, view->marks[priority == kPriorityHigh ? 2 : 1], edges[0] + kMarkSize, mark_y);
        for (int column = kColumnDate; view->font && column <= kColumnSubject; column++) {
            wchar_t text[64];
            SubjectViewCellText(view, row, column, text, 64);
            RECT cell = {edges[column] + 2, rc.top, edges[column + 1] - 4, rc.bottom};
            if (column == kColumnSubject)
                cell.left += SubjectIndent(view, row);
            DrawTextW(dc, text, -1, &cell, DT_SINGLELINE | DT_EXPANDTABS | DT_NOPREFIX);
        }
        if (row == view->cursor)
            PatBlt(dc, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top, DSTINVERT);
    }
    DeleteDC(marks);
}

void OnPaint(SubjectView *view)
{
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(view->window, &ps);
    Layout(view);
    {
        ScopedSelectObject font(dc, view->font);
        if (view->group_open)
            PaintRows(view, dc);
        ScopedSelectObject brush(dc, GetStockObject(NULL_BRUSH));
        Rectangle(dc, view->client.left, view->client.top, view->client.right, view->client.bottom);
    }
    view->scroll_pending = 0;
    EndPaint(view->window, &ps);
}

int OpenWidthKey(ScopedRegKey *key)
{
    LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, kWidthKey, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                              key->receive(), nullptr);
    if (rc != ERROR_SUCCESS) {
        SetLastError((DWORD)rc);
        return 0;
    }
    return 1;
}

/* The header's four columns with their stored widths. */
int MakeHeader(SubjectView *view)
{
    view->header = CreateWindowExW(0, WC_HEADERW, L"", WS_CHILD | WS_VISIBLE | HDS_BUTTONS, 0, 0, 0, 0,
                                   view->window, (HMENU)IDC_SUBJECT_HEADER, view->instance, nullptr);
    view->scroll_bar = CreateWindowExW(0, L"SCROLLBAR", L"VSSUBJ", WS_CHILD | SBS_VERT, 0, 0, 0, 0, view->window,
                                       (HMENU)IDC_SUBJECT_SCROLL, view->instance, nullptr);
    if (!view->header || !view->scroll_bar)
        return 0;
    ScopedRegKey key;
    OpenWidthKey(&key);
    for (int i = 0; i < 4; i++) {
        wchar_t heading[32];
        LoadResText(kColumns[i].heading, heading, 32);
        DWORD width = 0, size = sizeof width;
        if (!key.get() ||
            RegQueryValueExW(key.get(), kColumns[i].value_name, nullptr, nullptr, (BYTE *)&width, &size) !=
                ERROR_SUCCESS)
            width = (DWORD)kColumns[i].default_width;
        HDITEMW item = {};
        item.mask = HDI_TEXT | HDI_WIDTH | HDI_FORMAT;
        item.fmt = HDF_LEFT | HDF_STRING;
        item.cxy = (int)width;
        item.pszText = heading;
        SendMessageW(view->header, HDM_INSERTITEMW, i, (LPARAM)&item);
    }
    PlaceChildren(view);
    return 1;
}

LRESULT CALLBACK SubjectViewProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    SubjectView *view = WindowRecord<SubjectView>(window, msg, lp);
    switch (msg) {
    case WM_CREATE:
        view->window = window;
        return MakeHeader(view) ? 0 : -1;
    case WM_SIZE:
        if (view && view->header)
            PlaceChildren(view);
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
        OnTap(view, lp);
        return 0;
    case WM_LBUTTONDBLCLK:
        if (OnTap(view, lp))
            Notify(view, kSubjectOpen);
        return 0;
    case WM_NOTIFY:
        return OnNotify(view, (const NMHDR *)lp);
    case WM_DESTROY:
        if (view)
            SubjectViewSaveWidths(view);
        return 0;
    }
    return DefWindowProcW(window, msg, wp, lp);
}

/* The page and its list made again. */
int Rebuild(SubjectView *view)
{
    if (!view->group_open)
        return 1;
    view->layout_valid = 0;
    view->page_size = 0; /* forces the list to be made */
    int ok = Layout(view);
    InvalidateRect(view->window, nullptr, TRUE);
    return ok;
}

} // namespace

int RegisterSubjectViewClass(HINSTANCE instance)
{
    return RegisterRecordWindowClass(instance, PELNOR_SUBJECT_VIEW_CLASS, SubjectViewProc, CS_DBLCLKS);
}

void SubjectViewInit(SubjectView *view)
{
    memset(view, 0, sizeof *view);
    view->row_height = kMinRowHeight;
}

int SubjectViewCreate(SubjectView *view, HINSTANCE instance, HWND parent, UINT id, const RECT *rect,
                      ViewOptions options)
{
    view->instance = instance;
    view->parent = parent;
    view->control_id = id;
    view->options = options;
    view->list = ArticleListCreate();
    if (!view->list)
        return 0;
    const UINT marks[3] = {IDB_READ_MARK, IDB_PRIORITY_LOW, IDB_PRIORITY_HIGH};
    for (int i = 0; i < 3; i++)
        view->marks[i] = LoadBitmapW(instance, MAKEINTRESOURCEW(marks[i]));
    HWND window = CreateWindowExW(0, PELNOR_SUBJECT_VIEW_CLASS, L"", WS_CHILD, rect->left, rect->top,
                                  rect->right - rect->left, rect->bottom - rect->top, parent, (HMENU)(UINT_PTR)id,
                                  instance, view);
    return window != nullptr;
}

void SubjectViewShow(SubjectView *view, int show)
{
    ShowWindow(view->window, show);
    ShowWindow(view->scroll_bar, show);
    UpdateWindow(view->window);
}

void SubjectViewSetLook(SubjectView *view, HFONT font, int line_scroll)
{
    view->line_scroll = line_scroll;
    if (font != view->font) {
        view->font = font;
        view->layout_valid = 0;
        InvalidateRect(view->window, nullptr, TRUE);
    }
}

int SubjectViewOpenGroup(SubjectView *view, const wchar_t *data_folder, const wchar_t *group)
{
    DWORD unread;
    SubjectViewCloseGroup(view, &unread);
    if (!ArticleListOpen(view->list, data_folder, group)) {
        DWORD error = GetLastError();
        ArticleListClose(view->list, 0);
        SetLastError(error);
        return 0;
    }
    view->group_open = 1;
    view->built = 0;
    view->layout_valid = 0;
    SetCursorRow(view, 0);
    if (!Layout(view)) {
        DWORD error = GetLastError();
        ArticleListClose(view->list, 0);
        view->group_open = 0;
        SetLastError(error);
        return 0;
    }
    InvalidateRect(view->window, nullptr, TRUE);
    return 1;
}

int SubjectViewCloseGroup(SubjectView *view, DWORD *unread)
{
    *unread = view->group_open ? ArticleListUnread(view->list) : 0;
    if (!view->group_open)
        return 0;
    view->group_open = 0;
    view->built = 0;
    return ArticleListClose(view->list, ArticleListFirstRow(view->list) + view->cursor);
}

int SubjectViewSetOptions(SubjectView *view, ViewOptions options)
{
    view->options = options;
    return Rebuild(view);
}

int SubjectViewReload(SubjectView *view)
{
    return Rebuild(view);
}

int SubjectViewRefilter(SubjectView *view)
{
    if (!view->group_open)
        return 1;
    return ArticleListRefilter(view->list) && Rebuild(view);
}

const wchar_t *SubjectViewFilterPath(const SubjectView *view)
{
    return view->group_open ? ArticleListFilterPath(view->list) : nullptr;
}

DWORD SubjectViewRowCount(const SubjectView *view)
{
    return view->group_open ? ArticleListRowCount(view->list) : 0;
}

DWORD SubjectViewTopRow(const SubjectView *view)
{
    return view->group_open ? ArticleListFirstRow(view->list) : 0;
}

DWORD SubjectViewCursorRow(const SubjectView *view)
{
    return view->group_open ? CursorRow(view) : 0;
}

wchar_t *SubjectViewReadSubject(SubjectView *view)
{
    if (!SubjectViewCurrent(view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return ArticleListReadSubject(view->list, CursorRow(view));
}

char *SubjectViewReadArticleBytes(SubjectView *view, DWORD *length)
{
    if (!SubjectViewCurrent(view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return ArticleListReadArticleBytes(view->list, CursorRow(view), length);
}

wchar_t *SubjectViewReadArticle(SubjectView *view)
{
    if (!SubjectViewCurrent(view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return ArticleListReadArticle(view->list, CursorRow(view));
}

const IndexRecord *SubjectViewCurrent(SubjectView *view)
{
    if (!view->group_open)
        return nullptr;
    Layout(view);
    return ArticleListPageRecord(view->list, view->cursor);
}

int SubjectViewToggleRead(SubjectView *view)
{
    if (!SubjectViewCurrent(view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    InvalidateRow(view, (long)view->cursor);
    return ArticleListToggleRead(view->list, CursorRow(view));
}

int SubjectViewMarkRead(SubjectView *view)
{
    if (!SubjectViewCurrent(view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    InvalidateRow(view, (long)view->cursor);
    return ArticleListSetFlags(view->list, CursorRow(view), kRecordRead);
}

int SubjectViewNext(SubjectView *view)
{
    if (!SubjectViewCurrent(view))
        return 0;
    long p = PageSize(view), t = TopRow(view), n = RowCount(view);
    long next = t + (long)view->cursor + 1;
    if (next >= n)
        return 0;
    if (next - t < (long)RowsInPage(view)) {
        InvalidateRow(view, (long)view->cursor);
        SetCursorRow(view, (DWORD)(next - t));
        InvalidateRow(view, next - t);
        return 1;
    }
    long top = t + (p > 2 ? p - 2 : 1);
    if (top > n - p)
        top = n - p;
    if (!ShowFrom(view, top))
        return 0;
    SetCursorRow(view, (DWORD)(next - TopRow(view)));
    return 1;
}

namespace {

/* Puts the cursor on list row `row`, paging so that it shows. */
int MoveCursorTo(SubjectView *view, DWORD row)
{
    long t = TopRow(view);
    InvalidateRow(view, (long)view->cursor);
    if ((long)row >= t && (long)row - t < (long)RowsInPage(view)) {
        SetCursorRow(view, (DWORD)((long)row - t));
        InvalidateRow(view, (long)view->cursor);
        return 1;
    }
    if (!ShowFrom(view, (long)row))
        return 0;
    SetCursorRow(view, (DWORD)((long)row - TopRow(view)));
    return 1;
}

/* The first row of the thread `row` is in. */
DWORD ThreadStart(const SubjectView *view, DWORD row)
{
    while (row > 0 && !ArticleListRowStartsThread(view->list, row))
        row--;
    return row;
}

/* The first row after the thread `row` is in, or the row count. */
DWORD ThreadEnd(const SubjectView *view, DWORD row)
{
    DWORD count = ArticleListRowCount(view->list);
    for (row++; row < count && !ArticleListRowStartsThread(view->list, row);)
        row++;
    return row;
}

bool InThreads(SubjectView *view)
{
    return view->options.thread_view && SubjectViewCurrent(view);
}

} // namespace

int SubjectViewNextThread(SubjectView *view)
{
    if (!InThreads(view))
        return 0;
    DWORD next = ThreadEnd(view, CursorRow(view));
    return next < ArticleListRowCount(view->list) && MoveCursorTo(view, next);
}

int SubjectViewPreviousThread(SubjectView *view)
{
    if (!InThreads(view))
        return 0;
    DWORD row = CursorRow(view), start = ThreadStart(view, row);
    if (start == row) {
        if (row == 0)
            return 0;
        start = ThreadStart(view, row - 1);
    }
    return MoveCursorTo(view, start);
}

int SubjectViewMarkThreadRead(SubjectView *view)
{
    if (!InThreads(view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DWORD start = ThreadStart(view, CursorRow(view)), end = ThreadEnd(view, start);
    for (DWORD row = start; row < end; row++)
        if (!ArticleListSetFlags(view->list, row, kRecordRead))
            return 0;
    InvalidateRect(view->window, &view->rows, TRUE);
    if (end < ArticleListRowCount(view->list))
        MoveCursorTo(view, end);
    return 1;
}

int SubjectViewCellText(const SubjectView *view, DWORD row, int column, wchar_t *out, int out_chars)
{
    const IndexRecord *record = ArticleListPageRecord(view->list, row);
    out[0] = L'\0';
    if (!record || out_chars < 6)
        return 0;
    const char *field = nullptr;
    int size = 0;
    switch (column) {
    case kColumnDate: {
        const char *d = record->date;
        const wchar_t date[6] = {(wchar_t)d[0], (wchar_t)d[1], L'/', (wchar_t)d[2], (wchar_t)d[3], 0};
        memcpy(out, date, sizeof date);
        return 1;
    }
    case kColumnFrom:
        field = record->from;
        size = (int)sizeof record->from;
        break;
    case kColumnSubject:
        field = record->subject;
        size = (int)sizeof record->subject;
        /* A reply under its parent says "Re:" by where it stands. */
        if (ArticleListRowDepth(view->list, ArticleListFirstRow(view->list) + row) > 0) {
            size_t skipped = SkipReplyPrefixes(field, (size_t)size);
            field += skipped;
            size -= (int)skipped;
        }
        break;
    default:
        return 1;
    }
    size_t length = strnlen(field, (size_t)size);
    if (length >= (size_t)out_chars)
        length = StoredCutLength(field, (size_t)out_chars - 1);
    StoredToWide(field, length, out);
    return 1;
}

int SubjectViewSaveWidths(SubjectView *view)
{
    ScopedRegKey key;
    if (!OpenWidthKey(&key))
        return 0;
    for (int i = 0; i < 4; i++) {
        DWORD width = (DWORD)ColumnWidth(view, i);
        LONG rc = RegSetValueExW(key.get(), kColumns[i].value_name, 0, REG_DWORD, (const BYTE *)&width, sizeof width);
        if (rc != ERROR_SUCCESS) {
            SetLastError((DWORD)rc);
            return 0;
        }
    }
    return 1;
}

void SubjectViewRelease(SubjectView *view)
{
    if (view->window && IsWindow(view->window))
        DestroyWindow(view->window);
    view->window = nullptr;
    ArticleListDestroy(view->list); /* nothing is written back from here */
    view->list = nullptr;
    view->group_open = 0;
    for (HBITMAP &mark : view->marks) {
        if (mark)
            DeleteObject(mark);
        mark = nullptr;
    }
}
