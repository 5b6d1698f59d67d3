/*
 * The download as a user starts it, timed through the program's window: the
 * real main frame created in this process (as the frame tests do) over a
 * fresh data folder whose group.dat lists GROUP, the settings pointing at
 * 127.0.0.1:PORT with a per-run limit of LIMIT articles, the I key pressed in
 * the group view, and the time taken until the end-of-run box
 * ("ダウンロードが終了しました。") shows. The box is answered as a user
 * would and the frame's reload after it is timed apart.
 *
 *   bench_window_download PORT DATA_FOLDER GROUP [LIMIT] [--count]
 *
 * DATA_FOLDER is a Windows path ending in a backslash; the program's
 * registry key (in the running prefix) is replaced for the run and deleted
 * after it. Prints one line:
 *   articles ms articles/s key>dialog session dialog>box box>idle
 * with articles as stored (the group index's record count), ms from the key
 * to the box and the phases in ms: from the key to the progress dialog's
 * creation, the dialog's life (the session runs while it is up), from the
 * dialog's end to the box, and from the box's answer to the frame being idle
 * again (the group view's reload). PELNOR_BENCH_TRACE=1 writes each window
 * event seen, with its time, to stderr. --count also counts the messages the
 * frame's thread handles during the run (messages sent from other threads,
 * what it handles while it handles one of them, and messages taken from its
 * queue) and writes them to stderr; its hooks slow the run, so its time is
 * not the figure to quote.
 */
#include <winsock2.h>
#include <windows.h>
#include <commctrl.h>

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "base/res_text.h"
#include "bench_clock.h"
#include "shell/app_frame.h"
#include "shell/pelnor_main.h"
#include "support/gui_helper.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

/* The times of the window events that mark the run's phases, as the frame's
 * thread sees them (a WH_CBT hook: window made, activated, destroyed). */
struct Marks {
    double key = 0;
    double dialog_made = 0;     /* the progress dialog is created */
    double dialog_gone = 0;     /* ... and hidden or destroyed at the session's end */
    double box = 0;             /* the end-of-run box is activated */
    HWND dialog = nullptr;
    HWND main = nullptr;
    bool trace = false;
};
Marks g_marks;
HHOOK g_cbt;

bool IsMessageBox(HWND window)
{
    return ClassNameOf(window) == L"#32770" && GetDlgItem(window, 0xFFFF) != nullptr;
}

void Trace(const char *what, HWND window)
{
    if (!g_marks.trace)
        return;
    fwprintf(stderr, L"%10.1f ms  %-9hs %p %ls \"%ls\"\n", Now() - g_marks.key, what, (void *)window,
             ClassNameOf(window).c_str(), WindowText(window).c_str());
}

LRESULT CALLBACK MarkEvents(int code, WPARAM wp, LPARAM lp)
{
    if (g_marks.key != 0) {
        HWND window = (HWND)wp;
        double now = Now();
        switch (code) {
        case HCBT_CREATEWND: {
            const CBT_CREATEWNDW *create = (const CBT_CREATEWNDW *)lp;
            Trace("create", window);
            if (!g_marks.dialog && ClassNameOf(window) == L"#32770" && create->lpcs->lpszName &&
                !IS_INTRESOURCE(create->lpcs->lpszName) && wcscmp(create->lpcs->lpszName, L"Articles") == 0) {
                g_marks.dialog = window;
                g_marks.dialog_made = now;
            }
            break;
        }
        case HCBT_ACTIVATE:
            Trace("activate", window);
            if (!g_marks.box && IsMessageBox(window)) {
                g_marks.box = now;
                if (g_marks.dialog && !g_marks.dialog_gone)
                    g_marks.dialog_gone = now;
            }
            /* The frame is active again once the ended dialog is hidden. */
            if (window == g_marks.main && g_marks.dialog && !g_marks.dialog_gone)
                g_marks.dialog_gone = now;
            break;
        case HCBT_DESTROYWND:
            Trace("destroy", window);
            if (window == g_marks.dialog && !g_marks.dialog_gone)
                g_marks.dialog_gone = now;
            break;
        }
    }
    return CallNextHookEx(nullptr, code, wp, lp);
}

/* --count: messages the frame's thread handles, by number: those another
 * thread sends it, those its window procedures handle while one of these is
 * being handled (the sender still waiting), and those it takes from its
 * queue. */
std::map<UINT, unsigned long> g_sent, g_nested, g_posted;
bool g_counting;
int g_depth;          /* window procedures running, outermost first */
int g_sent_depth = -1; /* the depth of the cross-thread message being handled */

LRESULT CALLBACK CountSent(int code, WPARAM wp, LPARAM lp)
{
    if (code == HC_ACTION) {
        UINT message = ((const CWPSTRUCT *)lp)->message;
        if (g_sent_depth >= 0) {
            if (g_counting)
                g_nested[message]++;
        } else if (InSendMessageEx(nullptr) & ISMEX_SEND) {
            g_sent_depth = g_depth;
            if (g_counting)
                g_sent[message]++;
        }
        g_depth++;
    }
    return CallNextHookEx(nullptr, code, wp, lp);
}

LRESULT CALLBACK CountReturned(int code, WPARAM wp, LPARAM lp)
{
    if (code == HC_ACTION && g_depth > 0 && --g_depth == g_sent_depth)
        g_sent_depth = -1;
    return CallNextHookEx(nullptr, code, wp, lp);
}

LRESULT CALLBACK CountPosted(int code, WPARAM wp, LPARAM lp)
{
    if (code == HC_ACTION && g_counting && wp == PM_REMOVE)
        g_posted[((const MSG *)lp)->message]++;
    return CallNextHookEx(nullptr, code, wp, lp);
}

const wchar_t *MessageName(UINT message)
{
    switch (message) {
    case PBM_DELTAPOS: return L"PBM_DELTAPOS";
    case PBM_SETRANGE: return L"PBM_SETRANGE";
    case PBM_SETPOS: return L"PBM_SETPOS";
    case WM_COMMAND: return L"WM_COMMAND";
    case WM_SETTEXT: return L"WM_SETTEXT";
    case WM_PAINT: return L"WM_PAINT";
    case WM_TIMER: return L"WM_TIMER";
    case WM_KEYDOWN: return L"WM_KEYDOWN";
    case WM_KEYUP: return L"WM_KEYUP";
    case WM_CHAR: return L"WM_CHAR";
    case WM_ERASEBKGND: return L"WM_ERASEBKGND";
    case WM_NCPAINT: return L"WM_NCPAINT";
    case WM_MOUSEMOVE: return L"WM_MOUSEMOVE";
    case 0x8001: return L"WM_PELNOR_RUN_FINISHED";
    }
    return L"";
}

void PrintCounts(const wchar_t *title, const std::map<UINT, unsigned long> &counts)
{
    std::vector<std::pair<unsigned long, UINT>> rows;
    unsigned long total = 0;
    for (const auto &c : counts) {
        rows.push_back({c.second, c.first});
        total += c.second;
    }
    std::sort(rows.rbegin(), rows.rend());
    fwprintf(stderr, L"%ls: %lu\n", title, total);
    for (const auto &r : rows)
        fwprintf(stderr, L"  %8lu  0x%04X %ls\n", r.first, r.second, MessageName(r.second));
}

unsigned long StoredArticles(const std::wstring &index)
{
    HANDLE f = CreateFileW(index.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                           nullptr);
    if (f == INVALID_HANDLE_VALUE)
        return 0;
    DWORD count = 0, got = 0;
    SetFilePointer(f, 16, nullptr, FILE_BEGIN);
    ReadFile(f, &count, 4, &got, nullptr);
    CloseHandle(f);
    return got == 4 ? count : 0;
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    if (argc < 4) {
        fwprintf(stderr, L"usage: bench_window_download PORT DATA_FOLDER GROUP [LIMIT] [--count]\n");
        return 2;
    }
    DWORD port = (DWORD)_wtoi(argv[1]);
    std::wstring data = argv[2];
    std::wstring group = argv[3];
    DWORD limit = 100000;
    bool count = false;
    for (int i = 4; i < argc; i++) {
        if (wcscmp(argv[i], L"--count") == 0)
            count = true;
        else
            limit = (DWORD)_wtoi(argv[i]);
    }
    const char *trace = getenv("PELNOR_BENCH_TRACE");
    g_marks.trace = trace && *trace == '1';

    /* As the program's entry does before its frame. */
    HINSTANCE instance = GetModuleHandleW(nullptr);
    StartProcessServices(instance);

    /* The group subscribed in a fresh folder; the settings a frame needs. */
    std::string group_line(group.begin(), group.end());
    if (!WriteFileBytes(data + L"group.dat", group_line + "\r\n")) {
        fwprintf(stderr, L"bench: cannot write %lsgroup.dat\n", data.c_str());
        return 1;
    }
    DeletePelnorKey();
    SeedCompleteSettings(data);
    SetPelnorDword(L"Port", port);
    SetPelnorDword(L"Limit", limit);

    ModalWatcher watcher; /* answers the end-of-run box with its default button */
    g_cbt = SetWindowsHookExW(WH_CBT, MarkEvents, nullptr, GetCurrentThreadId());
    HHOOK sent_hook = nullptr, returned_hook = nullptr, posted_hook = nullptr;
    if (count) {
        sent_hook = SetWindowsHookExW(WH_CALLWNDPROC, CountSent, nullptr, GetCurrentThreadId());
        returned_hook = SetWindowsHookExW(WH_CALLWNDPROCRET, CountReturned, nullptr, GetCurrentThreadId());
        posted_hook = SetWindowsHookExW(WH_GETMESSAGE, CountPosted, nullptr, GetCurrentThreadId());
    }

    AppFrame frame;
    AppFrameInit(&frame, instance);
    if (!RegisterFrameClass(instance) || !CreateMainFrame(&frame, SW_SHOWNORMAL)) {
        fwprintf(stderr, L"bench: the main frame was not created\n");
        DeletePelnorKey();
        return 1;
    }
    g_marks.main = frame.mainWindow;
    HWND list = frame.groupView->list;
    int rows = ListViewRowCount(list);
    if (rows != 1 || ListViewText(list, 0, 0) != group) {
        fwprintf(stderr, L"bench: the group view shows %d rows, not %ls\n", rows, group.c_str());
        return 1;
    }

    /* The group view has the keyboard, as after a start. */
    SetForegroundWindow(frame.mainWindow);
    SetFocus(list);
    PumpUntil([&] { return GetFocus() == list; }, 20000, frame.mainWindow, frame.accelerators);
    PumpPending(frame.mainWindow, frame.accelerators);
    watcher.Clear();

    g_counting = count;
    g_marks.key = Now();
    PressKey('I');
    bool ended = PumpUntil([&] { return !watcher.boxes().empty() && frame.busy == 0; }, 600000, frame.mainWindow,
                           frame.accelerators);
    double idle = Now();
    g_counting = false;
    if (!ended || watcher.boxes().empty()) {
        fwprintf(stderr, L"bench: no end-of-run box within 10 minutes\n");
        return 1;
    }
    const RecordedBox &box = watcher.boxes().front();
    if (box.text != L"ダウンロードが終了しました。") {
        fwprintf(stderr, L"bench: the run ended with \"%ls\" (%ls)\n", box.text.c_str(), box.caption.c_str());
        return 1;
    }

    unsigned long articles = StoredArticles(data + group + L".idx");
    double ms = g_marks.box - g_marks.key;
    printf("%lu %.1f %.1f %.1f %.1f %.1f %.1f\n", articles, ms, articles * 1000.0 / ms,
           g_marks.dialog_made - g_marks.key, g_marks.dialog_gone - g_marks.dialog_made,
           g_marks.box - g_marks.dialog_gone, idle - g_marks.box);
    fflush(stdout);
    if (count) {
        PrintCounts(L"sent to the frame's thread from other threads", g_sent);
        PrintCounts(L"handled while one of these was (the sender waiting)", g_nested);
        PrintCounts(L"taken from the frame's thread's queue", g_posted);
    }

    if (sent_hook)
        UnhookWindowsHookEx(sent_hook);
    if (returned_hook)
        UnhookWindowsHookEx(returned_hook);
    if (posted_hook)
        UnhookWindowsHookEx(posted_hook);
    UnhookWindowsHookEx(g_cbt);
    DestroyWindow(frame.mainWindow);
    PumpPending();
    AppFrameDestroy(&frame);
    DeletePelnorKey();
    WSACleanup();
    return 0;
}
