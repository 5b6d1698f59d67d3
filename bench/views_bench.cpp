/*
 * Speed and memory of the reading views on a large group, each figure
 * beside a baseline measured in the same run on the same files:
 *   - opening a 100,000-article group to a painted subject view, against
 *     reading its index once;
 *   - paging from the first to the last page, against the same read;
 *   - laying out and painting a 1 MB article, against reading it from the
 *     log;
 * the process's private bytes before the group is opened and at their peak
 * while it is open; and start-up with many subscribed groups (the data
 * folder's first and later starts, and the group view's reload). Every
 * time but the first start is the best of several runs.
 * Usage: views_bench [articles] [groups]
 */
#include <windows.h>
#include <commctrl.h>
#include <psapi.h>

#include <stdio.h>
#include <wchar.h>

#include <string>

#include "base/res_text.h"
#include "settings/settings.h"
#include "store/article_reader.h"
#include "store/index_file.h"
#include "store/data_folder.h"
#include "views/article_view.h"
#include "views/group_view.h"
#include "views/subject_view.h"

#include "bench_util.h"

namespace {

const char *const kWords[] = {"\x8B\x9E\x93\x73", "\x93\x56\x8B\x43", "\x89\xEF\x8B\x63", "\x8E\x91\x97\xBF",
                              "\x93\x64\x8E\xD4", "\x8A\x6D\x94\x46", "\x98\x41\x97\x8D", "\x8E\xBF\x96\xE2"};

/* `count` articles as the download stores them, Japanese subjects and
 * senders; one body of `body_lines` lines for all, every fifth line quoted.
 * With `emoji`, every subject also holds a character Shift_JIS lacks, kept
 * as a reference, as UTF-8 subjects are stored. */
void WriteLog(const std::wstring &path, int count, int body_lines, bool emoji = false)
{
    Output log(path);
    std::string body;
    for (int i = 0; i < body_lines; i++) {
        body += i % 5 == 4 ? "> " : "";
        for (int w = 0; w < 9; w++)
            body += kWords[(i + w) % 8];
        body += " " + std::to_string(i) + "\r\n";
    }
    char line[512];
    for (int n = 1; n <= count; n++) {
        /* Conversations of ten: each article answers the one before, its
         * thread's first named first. */
        int root = n - (n - 1) % 10;
        char references[96] = "";
        if (n != root)
            snprintf(references, sizeof references, "References: <%d@example.jp> <%d@example.jp>\r\n", root, n - 1);
        snprintf(line, sizeof line,
                 "From: %s%s <user%d@example.jp>\r\nSubject: Re: %s%s%s %d\r\nNewsgroups: fj.bench\r\n"
                 "Date: Tue, %d Mar 2002 10:%02d:00 +0900\r\nMessage-ID: <%d@example.jp>\r\n%sX-Local-Seq: %d\r\n\r\n",
                 kWords[n % 8], kWords[(n / 8) % 8], n % 97, kWords[(n / 3) % 8], emoji ? "&#x1F600;" : "",
                 kWords[n % 5], n % 1000, n % 28 + 1, n % 60, n, references, n);
        log.Put(line, strlen(line));
        log.Put(body);
        log.Put("================\r\n");
    }
}

void MakeIndex(const std::wstring &folder, const wchar_t *group)
{
    GroupStore store;
    GroupStoreInit(&store);
    if (!GroupStoreSetNames(&store, folder.c_str(), group) || !IndexRebuild(&store))
        Fail("index");
    GroupStoreRelease(&store);
}

LRESULT CALLBACK ParentProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
{
    if (msg == WM_COMMAND && HIWORD(wp) == kSubjectEndOfList)
        SetWindowLongPtrW(window, GWLP_USERDATA, 1);
    return DefWindowProcW(window, msg, wp, lp);
}

SIZE_T PrivateBytes(SIZE_T *peak)
{
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    counters.cb = sizeof counters;
    GetProcessMemoryInfo(GetCurrentProcess(), (PROCESS_MEMORY_COUNTERS *)&counters, sizeof counters);
    if (peak)
        *peak = counters.PeakPagefileUsage;
    return counters.PagefileUsage; /* private committed bytes; Wine leaves PrivateUsage at 0 */
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    int articles = argc > 1 ? _wtoi(argv[1]) : 100000;
    HINSTANCE instance = GetModuleHandleW(nullptr);
    SetResourceInstance(instance);
    INITCOMMONCONTROLSEX icc = {sizeof(icc), ICC_WIN95_CLASSES};
    InitCommonControlsEx(&icc);
    std::wstring folder = NewBenchFolder();
    const std::wstring group = L"fj.bench", big = L"fj.big";
    WriteLog(folder + group + L".log", articles, 12);
    WriteLog(folder + big + L".log", 1, 1024 * 1024 / 40);
    const std::wstring emoji = L"fj.emoji";
    WriteLog(folder + emoji + L".log", 2000, 12, true);
    WriteLog(folder + group + L"2k.log", 2000, 12);
    MakeIndex(folder, emoji.c_str());
    MakeIndex(folder, (group + L"2k").c_str());
    MakeIndex(folder, group.c_str());
    MakeIndex(folder, big.c_str());
    std::wstring index = folder + group + L".idx";

    WNDCLASSW wc = {};
    wc.lpfnWndProc = ParentProc;
    wc.hInstance = instance;
    wc.lpszClassName = L"PelnorBenchParent";
    HFONT font = nullptr;
    if (!RegisterClassW(&wc) || !RegisterSubjectViewClass(instance) || !RegisterArticleViewClass(instance) ||
        !MakeViewFont(L"Tahoma", 14, &font))
        Fail("classes");
    HWND parent = CreateWindowExW(0, L"PelnorBenchParent", L"bench", WS_POPUP | WS_VISIBLE, 0, 0, 240, 294, nullptr,
                                  nullptr, instance, nullptr);
    RECT pane = {0, 0, 240, 294};
    SubjectView subjects;
    SubjectViewInit(&subjects);
    if (!SubjectViewCreate(&subjects, instance, parent, 106, &pane, ViewOptions{1, 1, 0, 0}))
        Fail("subject view");
    SubjectViewSetLook(&subjects, font, 0);
    SubjectViewShow(&subjects, SW_SHOW);

    SIZE_T before = PrivateBytes(nullptr);
    Best read_index, open_group, paging;
    int pages = 0;
    for (int run = 0; run < kRuns; run++) {
        double start = Now();
        ReadWhole(index);
        read_index.Take(start);
        start = Now();
        if (!SubjectViewOpenGroup(&subjects, folder.c_str(), group.c_str()))
            Fail("open group");
        UpdateWindow(subjects.window);
        open_group.Take(start);
        start = Now();
        SetWindowLongPtrW(parent, GWLP_USERDATA, 0);
        for (pages = 1; !GetWindowLongPtrW(parent, GWLP_USERDATA); pages++) {
            SendMessageW(subjects.window, WM_KEYDOWN, VK_NEXT, 0);
            UpdateWindow(subjects.window);
        }
        paging.Take(start);
        DWORD unread;
        SubjectViewCloseGroup(&subjects, &unread);
    }

    /* The same group in thread order; the first open makes the thread
     * file, the best of the later ones is the figure. */
    SubjectViewSetOptions(&subjects, ViewOptions{1, 1, 0, 1});
    Best open_threads;
    for (int run = 0; run <= kRuns; run++) {
        double start = Now();
        if (!SubjectViewOpenGroup(&subjects, folder.c_str(), group.c_str()))
            Fail("open group in threads");
        UpdateWindow(subjects.window);
        if (run > 0)
            open_threads.Take(start);
        DWORD unread;
        SubjectViewCloseGroup(&subjects, &unread);
    }
    SubjectViewSetOptions(&subjects, ViewOptions{1, 1, 0, 0});
    SIZE_T group_peak;
    PrivateBytes(&group_peak);

    /* 2,000 subjects as UTF-8 ones are stored, against 2,000 in Shift_JIS. */
    Best open_sjis, open_emoji;
    for (int run = 0; run < kRuns; run++) {
        for (int which = 0; which < 2; which++) {
            double start = Now();
            if (!SubjectViewOpenGroup(&subjects, folder.c_str(), which ? emoji.c_str() : (group + L"2k").c_str()))
                Fail("open group");
            UpdateWindow(subjects.window);
            (which ? open_emoji : open_sjis).Take(start);
            DWORD unread;
            SubjectViewCloseGroup(&subjects, &unread);
        }
    }

    ArticleText text = {};
    ArticleView reader;
    ArticleViewInit(&reader, &text);
    if (!ArticleViewCreate(&reader, instance, parent, 104, &pane))
        Fail("article view");
    ArticleViewSetLook(&reader, font, RGB(0, 0, 160), RGB(0, 128, 0), 0, 1, 0);
    ArticleViewShow(&reader, SW_SHOW);
    GroupStore store;
    GroupStoreInit(&store);
    IndexRecord record;
    DWORD one = 1;
    if (!GroupStoreSetNames(&store, folder.c_str(), big.c_str()) || !IndexReadHeader(&store) ||
        !IndexReadRecords(&store, &record, 0, &one))
        Fail("big article");
    Best read_article, layout;
    DWORD lines = 0;
    for (int run = 0; run < kRuns; run++) {
        double start = Now();
        wchar_t *article = ReadArticle(&store, record.log_offset, record.log_length);
        if (!article)
            Fail("read article");
        read_article.Take(start);
        start = Now();
        ArticleTextTake(&text, article);
        if (!ArticleViewLayout(&reader))
            Fail("layout");
        UpdateWindow(reader.window);
        layout.Take(start);
        lines = reader.total_lines;
    }
    /* The same article wrapped between text clusters (DecodeCharsets). */
    Best cluster_layout;
    ArticleViewSetLook(&reader, font, RGB(0, 0, 160), RGB(0, 128, 0), 0, 1, 1);
    for (int run = 0; run < kRuns; run++) {
        wchar_t *article = ReadArticle(&store, record.log_offset, record.log_length);
        if (!article)
            Fail("read article");
        double start = Now();
        ArticleTextTake(&text, article);
        if (!ArticleViewLayout(&reader))
            Fail("layout");
        UpdateWindow(reader.window);
        cluster_layout.Take(start);
    }
    SIZE_T peak;
    PrivateBytes(&peak);

    printf("Reading views: %d articles (index %.1f MB), a %.1f MB article; best of %d runs\n", articles,
           (double)ReadWhole(index) / 1048576.0, (double)record.log_length / 1048576.0, kRuns);
    Row("open group, subject view painted", open_group.ms, "read index once", read_index.ms);
    Row("open group in thread order", open_threads.ms, "open group in priority runs", open_group.ms);
    Row("page to the last page", paging.ms, "read index once", read_index.ms);
    Row("open 2,000 subjects with references", open_emoji.ms, "2,000 in Shift_JIS", open_sjis.ms);
    printf("  %d pages of %lu rows: %.2f ms a page\n", pages, subjects.page_size, paging.ms / pages);
    Row("lay out and paint the article", layout.ms, "read it from the log", read_article.ms);
    printf("  %lu display lines: %.2f us a line\n", lines, layout.ms * 1000.0 / lines);
    Row("lay out and paint, text clusters", cluster_layout.ms, "Shift_JIS pairs", layout.ms);
    printf("  private bytes: %.1f MB before opening, peak %.1f MB with the group open, flat and in threads "
           "(+%.1f MB)\n",
           (double)before / 1048576.0, (double)group_peak / 1048576.0, (double)(group_peak - before) / 1048576.0);
    printf("  private bytes: peak %.1f MB with the group and the article open (+%.1f MB)\n",
           (double)peak / 1048576.0, (double)(peak - before) / 1048576.0);

    /* Start-up with many subscribed groups: the first start makes every
     * index, a later one checks them; then the group view shows them. */
    int groups = argc > 2 ? _wtoi(argv[2]) : 10000;
    std::wstring many = folder + L"many\\";
    CreateDirectoryW(many.c_str(), nullptr);
    {
        Output list(many + L"group.dat");
        for (int g = 0; g < groups; g++)
            list.Put("fj.bench.group" + std::to_string(g) + "\r\n");
    }
    int unknown;
    double start = Now();
    if (!StartDataFolder(many.c_str(), &unknown))
        Fail("first start");
    double first_start = Now() - start;
    Best later_start, reload;
    GroupView group_view;
    GroupViewInit(&group_view);
    if (!GroupViewCreate(&group_view, parent, L"Group", &pane, 105, instance))
        Fail("group view");
    for (int run = 0; run < kRuns; run++) {
        start = Now();
        if (!StartDataFolder(many.c_str(), &unknown))
            Fail("later start");
        later_start.Take(start);
        start = Now();
        if (!GroupViewReload(&group_view, many.c_str()))
            Fail("reload");
        UpdateWindow(group_view.list);
        reload.Take(start);
    }
    printf("Start-up with %d subscribed groups:\n", groups);
    printf("  first start (every index made)    %9.1f ms   %.2f ms a group\n", first_start, first_start / groups);
    printf("  later start (every index checked) %9.1f ms   %.2f ms a group\n", later_start.ms,
           later_start.ms / groups);
    printf("  group view reload                 %9.1f ms   %.2f ms a group\n", reload.ms, reload.ms / groups);

    GroupStoreRelease(&store);
    ArticleViewRelease(&reader);
    ArticleTextFree(&text);
    SubjectViewRelease(&subjects);
    DestroyWindow(parent);
    DeleteObject(font);
    for (const std::wstring &name : {group, big})
        for (const wchar_t *ending : {L".log", L".idx", L".thr"})
            DeleteFileW((folder + name + ending).c_str());
    for (int g = 0; g < groups; g++)
        DeleteFileW((many + L"fj.bench.group" + std::to_wstring(g) + L".idx").c_str());
    for (const wchar_t *name : {L"group.dat", L"active.dat", L"category.dat", L"draft"}) {
        DeleteFileW((many + name).c_str());
        RemoveDirectoryW((many + name).c_str());
    }
    RemoveDirectoryW(many.c_str());
    RemoveDirectoryW(folder.c_str());
    return 0;
}
