/*
 * The colour page: the header-line and quoted-line colours set with three
 * bars, previewed in a sample that draws its text in the colour being set.
 */
#include "settings_sheet.h"


#include "base/res_text.h"
#include "resources/resource.h"

namespace {

const int kBars[3] = {IDC_COLOUR_RED, IDC_COLOUR_GREEN, IDC_COLOUR_BLUE};
const int kValues[3] = {IDC_COLOUR_RED_VALUE, IDC_COLOUR_GREEN_VALUE, IDC_COLOUR_BLUE_VALUE};

enum { kHeaderItem = 0, kQuotedItem = 1 };

/* Windows CE has no GetScrollPos. */
int BarPosition(HWND bar)
{
    SCROLLINFO info = {};
    info.cbSize = sizeof(info);
    info.fMask = SIF_POS;
    GetScrollInfo(bar, SB_CTL, &info);
    return info.nPos;
}

int Position(HWND dialog, int bar)
{
    return BarPosition(GetDlgItem(dialog, bar));
}

void SetPosition(HWND dialog, int index, int position)
{
    SetScrollPos(GetDlgItem(dialog, kBars[index]), SB_CTL, position, TRUE);
    wchar_t text[8];
    wsprintfW(text, L"%d", position);
    SetDlgItemTextW(dialog, kValues[index], text);
}

COLORREF BarsColour(HWND dialog)
{
    return (COLORREF)(Position(dialog, IDC_COLOUR_RED) + Position(dialog, IDC_COLOUR_GREEN) * 256 +
                      Position(dialog, IDC_COLOUR_BLUE) * 65536);
}

void ShowSample(HWND dialog, Settings *settings)
{
    settings->SampleColor = BarsColour(dialog);
    SendDlgItemMessageW(dialog, IDC_COLOUR_SAMPLE, kSampleColourMessage, settings->SampleColor, 0);
}

void LoadBars(HWND dialog, Settings *settings, COLORREF colour)
{
    SetPosition(dialog, 0, GetRValue(colour));
    SetPosition(dialog, 1, GetGValue(colour));
    SetPosition(dialog, 2, GetBValue(colour));
    ShowSample(dialog, settings);
}

COLORREF *ItemColour(Settings *settings, LRESULT item)
{
    return item == kQuotedItem ? &settings->ReferenceLine : &settings->HeaderColor;
}

/* The sample keeps its colour in its user data. */
LRESULT CALLBACK SampleProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    switch (msg) {
    case kSampleColourMessage:
        SetWindowLongPtrW(window, GWLP_USERDATA, (LONG_PTR)wp);
        InvalidateRect(window, nullptr, TRUE);
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT paint;
        HDC dc = BeginPaint(window, &paint);
        RECT area;
        GetClientRect(window, &area);
        FillRect(dc, &area, (HBRUSH)GetStockObject(WHITE_BRUSH));
        HFONT font = (HFONT)SendMessageW(GetParent(window), WM_GETFONT, 0, 0);
        HGDIOBJ old = font ? SelectObject(dc, font) : nullptr;
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, (COLORREF)GetWindowLongPtrW(window, GWLP_USERDATA));
        wchar_t text[64];
        GetWindowTextW(window, text, 64);
        DrawTextW(dc, text, -1, &area, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
        if (old)
            SelectObject(dc, old);
        EndPaint(window, &paint);
        return 0;
    }
    }
    return DefWindowProcW(window, msg, wp, lp);
}

} // namespace

int RegisterColourSampleClass(HINSTANCE instance)
{
    WNDCLASSW existing;
    if (GetClassInfoW(instance, PELNOR_COLOUR_SAMPLE_CLASS, &existing))
        return 1;
    WNDCLASSW sample = {};
    sample.lpfnWndProc = SampleProc;
    sample.hInstance = instance;
    sample.hbrBackground = (HBRUSH)GetStockObject(WHITE_BRUSH);
    sample.lpszClassName = PELNOR_COLOUR_SAMPLE_CLASS;
    return RegisterClassW(&sample) != 0;
}

void ColourPage::Init(HWND dialog)
{
    HWND items = GetDlgItem(dialog, IDC_COLOUR_ITEM);
    wchar_t text[64];
    LoadResText(IDS_HEADER_LINES, text, 64);
    SendMessageW(items, CB_ADDSTRING, 0, (LPARAM)text);
    LoadResText(IDS_QUOTED_LINES, text, 64);
    SendMessageW(items, CB_ADDSTRING, 0, (LPARAM)text);
    SendMessageW(items, CB_SETCURSEL, kHeaderItem, 0);
    for (int bar : kBars)
        SetScrollRange(GetDlgItem(dialog, bar), SB_CTL, 0, 255, FALSE);
    LoadBars(dialog, settings, settings->HeaderColor);
}

void ColourPage::Scroll(HWND dialog, HWND bar, int code, int tracked)
{
    int index = 0;
    while (index < 3 && GetDlgItem(dialog, kBars[index]) != bar)
        index++;
    if (index == 3)
        return;
    int position = BarPosition(bar);
    switch (code) {
    case SB_LINELEFT:
        position = position > 0 ? position - 1 : 0;
        break;
    case SB_LINERIGHT:
        position = position < 255 ? position + 1 : 255;
        break;
    case SB_PAGELEFT:
        position = position < 10 ? 0 : position - 10;
        break;
    case SB_PAGERIGHT:
        position = position > 245 ? 255 : position + 10;
        break;
    case SB_THUMBTRACK:
        position = tracked;
        break;
    }
    SetPosition(dialog, index, position);
    ShowSample(dialog, settings);
}

INT_PTR ColourPage::Command(HWND dialog, WORD id, WORD code, HWND)
{
    if (id != IDC_COLOUR_ITEM || code != CBN_SELCHANGE)
        return 0;
    /* With two items the one not selected now is the one shown before. */
    LRESULT selected = SendDlgItemMessageW(dialog, IDC_COLOUR_ITEM, CB_GETCURSEL, 0, 0);
    *ItemColour(settings, selected == kQuotedItem ? kHeaderItem : kQuotedItem) = BarsColour(dialog);
    LoadBars(dialog, settings, *ItemColour(settings, selected));
    return 1;
}

int ColourPage::Apply(HWND dialog)
{
    LRESULT selected = SendDlgItemMessageW(dialog, IDC_COLOUR_ITEM, CB_GETCURSEL, 0, 0);
    *ItemColour(settings, selected) = BarsColour(dialog);
    return 1;
}
