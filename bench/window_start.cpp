/*
 * Start-up on a folder of many subscribed groups, timed through the
 * program's window: the real main frame created in this process (as the
 * frame tests do) over a data folder whose group.dat lists GROUPS groups,
 * first with no index files (a first start), then again with every index
 * made (a later start). For each it prints
 *   - the time from creating the frame until the group view lists every
 *     group and a Down key posted to it has been answered (the frame is
 *     usable), and
 *   - the time until the check of every group's files in the background is
 *     over (every row filled);
 * beside the baseline measured in the same run on a folder of its own: the
 * data-folder start and the group view's reload done at once, every group
 * before the first row (StartDataFolder and GroupViewReload, as the frame
 * did before it listed the rows first).
 *
 *   bench_window_start [GROUPS] [RUNS]
 *
 * GROUPS defaults to 10000, RUNS to 3 (each figure is the best of RUNS; a
 * first start gets a fresh folder each run). The program's registry key (in
 * the running prefix) is replaced for the run and deleted after it.
 */
#include <winsock2.h>
#include <windows.h>
#include <commctrl.h>

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include <string>

#include "base/res_text.h"
#include "bench_util.h"
#include "shell/app_frame.h"
#include "shell/pelnor_main.h"
#include "shell/group_checks.h"
#include "store/data_folder.h"
#include "support/gui_helper.h"
#include "support/registry_fixture.h"
#include "views/group_view.h"

namespace {

struct StartTimes {
    double listed = 1e300; /* the frame made with every row listed */
    double usable = 1e300; /* ... and a key answered */
    double done = 1e300;   /* every group's files checked */
};

void WriteGroupFile(const std::wstring &folder, int groups)
{
    CreateDirectoryW(folder.c_str(), nullptr);
    Output list(folder + L"group.dat");
    for (int g = 0; g < groups; g++)
        list.Put("fj.bench.group" + std::to_string(g) + "\r\n");
}

/* Removes the index files a start made, for the next first start. */
void RemoveIndexes(const std::wstring &folder, int groups)
{
    for (int g = 0; g < groups; g++)
        DeleteFileW((folder + L"fj.bench.group" + std::to_wstring(g) + L".idx").c_str());
}

void RemoveFolder(const std::wstring &folder, int groups)
{
    RemoveIndexes(folder, groups);
    for (const wchar_t *name : {L"group.dat", L"active.dat", L"category.dat"})
        DeleteFileW((folder + name).c_str());
    RemoveDirectoryW((folder + L"draft").c_str());
    RemoveDirectoryW(folder.c_str());
}

int SelectedRow(HWND list)
{
    return (int)SendMessageW(list, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED);
}

/* One start of the frame over `folder`: until usable, then until done. */
void TimeFrameStart(const std::wstring &folder, int groups, StartTimes *best)
{
    HINSTANCE instance = GetModuleHandleW(nullptr);
    SeedCompleteSettings(folder);
    ModalWatcher watcher;
    AppFrame frame;
    AppFrameInit(&frame, instance);
    double start = Now();
    if (!CreateMainFrame(&frame, SW_SHOWNORMAL))
        Fail("frame");
    double listed = Now() - start;
    HWND list = frame.groupView->list;
    if (ListViewRowCount(list) != groups)
        Fail("every row listed");
    PostMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
    PostMessageW(list, WM_KEYUP, VK_DOWN, 0);
    if (!PumpUntil([&] { return SelectedRow(list) == 1; }, 60000, frame.mainWindow, frame.accelerators))
        Fail("key answered");
    double usable = Now() - start;
    if (!PumpUntil([&] { return !GroupChecksRunning(&frame); }, 600000, frame.mainWindow, frame.accelerators))
        Fail("check done");
    double done = Now() - start;
    if (!watcher.boxes().empty())
        Fail("start without a box");
    best->listed = std::min(best->listed, listed);
    best->usable = std::min(best->usable, usable);
    best->done = std::min(best->done, done);
    DestroyWindow(frame.mainWindow);
    PumpPending();
    AppFrameDestroy(&frame);
}

/* The same folder started all at once: every index, then every row. */
double TimeAllAtOnce(const std::wstring &folder, GroupView *view)
{
    double start = Now();
    int unknown;
    if (!StartDataFolder(folder.c_str(), &unknown))
        Fail("data folder start");
    if (!GroupViewReload(view, folder.c_str()))
        Fail("group view reload");
    UpdateWindow(view->list);
    return Now() - start;
}

void Print(const char *what, const StartTimes &window, double baseline, int groups)
{
    printf("  %-12s %9.1f %9.1f %10.1f %12.1f %10.3f %10.2f %9.3f\n", what, window.listed, window.usable,
           window.done, baseline, window.usable / baseline, window.done / baseline, baseline / groups);
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    int groups = argc > 1 ? _wtoi(argv[1]) : 10000;
    int runs = argc > 2 ? _wtoi(argv[2]) : kRuns;
    if (groups < 2 || runs < 1) {
        fwprintf(stderr, L"usage: bench_window_start [GROUPS] [RUNS]\n");
        return 2;
    }
    /* As the program's entry does before its frame. */
    HINSTANCE instance = GetModuleHandleW(nullptr);
    StartProcessServices(instance);
    if (!RegisterFrameClass(instance))
        Fail("frame class");
    DeletePelnorKey();

    std::wstring top = NewBenchFolder();
    std::wstring window_folder = top + L"window\\", baseline_folder = top + L"at-once\\";
    WriteGroupFile(window_folder, groups);
    WriteGroupFile(baseline_folder, groups);

    /* The baseline's view: the frame's group view alone, in a window of the
     * frame's size. */
    HWND parent = CreateWindowExW(0, L"STATIC", L"Pelnor", WS_POPUP | WS_VISIBLE, 0, 0, 240, 320, nullptr, nullptr,
                                  instance, nullptr);
    RECT pane = {0, 0, 240, 294};
    GroupView view;
    GroupViewInit(&view);
    if (!parent || !GroupViewCreate(&view, parent, L"Group", &pane, 101, instance))
        Fail("group view");

    StartTimes first, later;
    Best first_at_once, later_at_once;
    for (int run = 0; run < runs; run++) {
        RemoveIndexes(window_folder, groups);
        RemoveIndexes(baseline_folder, groups);
        first_at_once.ms = std::min(first_at_once.ms, TimeAllAtOnce(baseline_folder, &view));
        TimeFrameStart(window_folder, groups, &first);
    }
    for (int run = 0; run < runs; run++) {
        later_at_once.ms = std::min(later_at_once.ms, TimeAllAtOnce(baseline_folder, &view));
        TimeFrameStart(window_folder, groups, &later);
    }

    printf("Start-up with %d subscribed groups, best of %d runs, ms from creating the frame: every row listed,\n"
           "a key answered (usable), every group's files checked; against checking every group before the first\n"
           "row (all at once)\n",
           groups, runs);
    printf("  %-12s %9s %9s %10s %12s %10s %10s %9s\n", "", "listed", "usable", "checked", "all at once",
           "usable/all", "check/all", "ms/group");
    Print("first start", first, first_at_once.ms, groups);
    Print("later start", later, later_at_once.ms, groups);

    DestroyWindow(parent);
    DeletePelnorKey();
    RemoveFolder(window_folder, groups);
    RemoveFolder(baseline_folder, groups);
    RemoveDirectoryW(top.c_str());
    return 0;
}
