/*
 * Speed of the local news store on a large group, each figure beside a
 * baseline measured in the same run on the same files:
 *   - rebuilding the index of a 100,000-article log, against reading the
 *     log once from start to end;
 *   - deleting the read half of the group, against copying its log and
 *     index;
 *   - building the ArticleList row map of the 100,000 records, against
 *     reading the index once, and against one 92-byte read per record;
 *   - searching the bodies of the group (a word found nowhere, so every
 *     body is read and compared) and its subjects, against reading the log
 *     once.
 * Every figure is the best of several runs. Usage: store_bench [articles]
 */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include <algorithm>
#include <string>

#include "filters/keyword_filter.h"
#include "store/article_list.h"
#include "store/article_search.h"
#include "store/group_store.h"
#include "store/index_file.h"
#include "store/log_scanner.h"
#include "store/read_marks.h"
#include "store/thread_order.h"

#include "bench_util.h"

namespace {

/* A log of `count` articles of about a kilobyte each, as the download
 * writes them. */
unsigned long long WriteLog(const std::wstring &path, int count)
{
    Output log(path);
    unsigned long long size = 0;
    char line[256];
    std::string body;
    for (int i = 0; i < 10; i++)
        body += "The quick brown fox jumps over the lazy dog, line by line. 0123\r\n";
    for (int n = 1; n <= count; n++) {
        std::string article;
        snprintf(line, sizeof line, "From: User %d <user%d@example.jp>\r\n", n % 97, n % 97);
        article += line;
        snprintf(line, sizeof line, "Subject: Re: topic %d and a discussion of things\r\n", n % 1000);
        article += line;
        article += "Newsgroups: fj.test\r\n";
        snprintf(line, sizeof line, "Date: Tue, %d Mar 2002 10:00:00 +0900\r\n", n % 28 + 1);
        article += line;
        /* Conversations of ten: each article answers the one before. */
        int root = n - (n - 1) % 10;
        snprintf(line, sizeof line, "Message-ID: <%d@example.jp>\r\n", n);
        article += line;
        if (n != root) {
            snprintf(line, sizeof line, "References: <%d@example.jp> <%d@example.jp>\r\n", root, n - 1);
            article += line;
        }
        snprintf(line, sizeof line, "X-Local-Seq: %d\r\n\r\n", n);
        article += line;
        article += body;
        article += "================\r\n";
        log.Put(article);
        size += article.size();
    }
    return size;
}

void CopyWhole(const std::wstring &from, const std::wstring &to)
{
    HANDLE in = CreateFileW(from.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    HANDLE out = CreateFileW(to.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (in == INVALID_HANDLE_VALUE || out == INVALID_HANDLE_VALUE)
        Fail("copy");
    static char buffer[kCopyBuffer];
    DWORD got, written;
    while (ReadFile(in, buffer, sizeof buffer, &got, nullptr) && got)
        if (!WriteFile(out, buffer, got, &written, nullptr))
            Fail("copy write");
    CloseHandle(in);
    CloseHandle(out);
}

/* One ReadFile of 92 bytes per record, the index opened once. */
unsigned long ReadRecordByRecord(const std::wstring &path)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        Fail("open index");
    SetFilePointer(file, kIndexHeaderSize, nullptr, FILE_BEGIN);
    IndexRecord record;
    DWORD got;
    unsigned long records = 0;
    while (ReadFile(file, &record, sizeof record, &got, nullptr) && got == sizeof record)
        records++;
    CloseHandle(file);
    return records;
}

/* The scan alone: every article's head into a header block. */
unsigned long ScanOnly(const std::wstring &path)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    LogScanner scanner;
    HeaderBlock block;
    HeaderBlockInit(&block);
    if (file == INVALID_HANDLE_VALUE || !LogScannerInit(&scanner, file))
        Fail("scan");
    unsigned long articles = 0;
    DWORD start, end;
    while (LogScanArticle(&scanner, &block, &start, &end))
        articles++;
    LogScannerFree(&scanner);
    HeaderBlockFree(&block);
    CloseHandle(file);
    return articles;
}

/* The scan and the records made from it, without writing them. */
unsigned long ScanFill(const std::wstring &path, const std::wstring &filter_path)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    LogScanner scanner;
    HeaderBlock block;
    HeaderBlockInit(&block);
    KeywordFilter filter;
    KeywordFilterInit(&filter);
    LoadKeywordFilter(&filter, filter_path.c_str());
    if (file == INVALID_HANDLE_VALUE || !LogScannerInit(&scanner, file))
        Fail("scan");
    unsigned long articles = 0;
    DWORD start, end;
    IndexRecord record;
    while (LogScanArticle(&scanner, &block, &start, &end)) {
        IndexFillRecord(&record, start, end, &block, &filter, INVALID_HANDLE_VALUE);
        articles++;
    }
    LogScannerFree(&scanner);
    HeaderBlockFree(&block);
    CloseHandle(file);
    return articles;
}

/* Searches the group for `text` (stored bytes) in `fields`; the hits. */
unsigned long Search(const std::wstring &folder, const std::wstring &group, const char *text, unsigned fields)
{
    TextPattern pattern;
    if (!TextPatternCompile(&pattern, text, strlen(text)))
        Fail("pattern");
    unsigned long hits = 0;
    GroupSearch search = {};
    search.pattern = &pattern;
    search.fields = fields;
    search.context = &hits;
    search.hit = [](void *context, const SearchHit *) {
        ++*(unsigned long *)context;
        return 1;
    };
    if (!SearchGroup(&search, folder.c_str(), group.c_str()))
        Fail("search");
    TextPatternFree(&pattern);
    return hits;
}

/* Marks every other record read, as a reader who opened half the group. */
void MarkHalfRead(GroupStore *store)
{
    if (!IndexReadHeader(store) || !GroupStoreOpenIndex(store))
        Fail("open index for marking");
    IndexRecord record;
    DWORD read = 0;
    for (DWORD n = 1; n < store->record_count; n += 2) {
        DWORD count = 1;
        if (!IndexReadRecords(store, &record, n, &count) || count != 1)
            Fail("read record");
        record.flags |= kRecordRead;
        if (!IndexWriteRecord(store, &record, n))
            Fail("write record");
        read++;
    }
    store->unread_count -= read;
    if (!IndexWriteHeader(store, INVALID_HANDLE_VALUE))
        Fail("write header");
    GroupStoreCloseIndex(store);
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    int articles = argc > 1 ? _wtoi(argv[1]) : 100000;
    std::wstring folder = NewBenchFolder();
    const std::wstring group = L"fj.bench", copy = L"fj.bench.copy";
    std::wstring log = folder + group + L".log", index = folder + group + L".idx";
    std::wstring copy_log = folder + copy + L".log", copy_index = folder + copy + L".idx";

    unsigned long long log_size = WriteLog(log, articles);
    {
        Output filter(folder + group + L".flt");
        filter.Put("+ topic 7\r\n- discussion of nothing\r\n");
    }

    GroupStore store;
    GroupStoreInit(&store);
    if (!GroupStoreSetNames(&store, folder.c_str(), group.c_str()))
        Fail("names");

    /* Rebuild against one read of the log. */
    Best read_log, scan, rebuild, fill;
    for (int run = 0; run < kRuns; run++) {
        double start = Now();
        if (ReadWhole(log) != log_size)
            Fail("read log");
        read_log.Take(start);
        start = Now();
        if (ScanOnly(log) != (unsigned long)articles)
            Fail("scan count");
        scan.Take(start);
        start = Now();
        ScanFill(log, folder + group + L".flt");
        fill.Take(start);
        DeleteFileW(index.c_str());
        GroupStoreReset(&store);
        start = Now();
        if (!IndexRebuild(&store))
            Fail("rebuild");
        rebuild.Take(start);
    }
    if (store.record_count != (DWORD)articles)
        Fail("record count");
    unsigned long long index_size = ReadWhole(index);

    /* Row map against reading the index. */
    Best read_index, read_records, row_map;
    for (int run = 0; run < kRuns; run++) {
        double start = Now();
        ReadWhole(index);
        read_index.Take(start);
        start = Now();
        if (ReadRecordByRecord(index) != (unsigned long)articles)
            Fail("record by record");
        read_records.Take(start);
        ArticleList *list = ArticleListCreate();
        start = Now();
        if (!list || !ArticleListOpen(list, folder.c_str(), group.c_str()) ||
            !ArticleListBuild(list, ListFilter{1, 1}, PriorityRunsOrder, 20))
            Fail("article list");
        row_map.Take(start);
        if (ArticleListRowCount(list) != (DWORD)articles)
            Fail("visible rows");
        ArticleListDestroy(list); /* the header is left as it is */
    }

    /* The thread file made from the log, against one read of the log; the
     * rows in thread order with the file there, against the flat rows. */
    Best thread_file, thread_rows;
    std::wstring threads = folder + group + L".thr";
    for (int run = 0; run < kRuns; run++) {
        DeleteFileW(threads.c_str());
        if (!IndexReadHeader(&store))
            Fail("header");
        DWORD made = 0;
        double start = Now();
        if (!RefreshThreadFile(&store, &made) || made != (DWORD)articles)
            Fail("thread file");
        thread_file.Take(start);
        ArticleList *list = ArticleListCreate();
        start = Now();
        if (!list || !ArticleListOpen(list, folder.c_str(), group.c_str()) ||
            !ArticleListBuild(list, ListFilter{1, 1}, ThreadOrder, 20))
            Fail("thread rows");
        thread_rows.Take(start);
        if (ArticleListRowCount(list) != (DWORD)articles || ArticleListRowDepth(list, 9) != 9)
            Fail("thread rows counted");
        ArticleListDestroy(list);
    }

    /* Searching against one read of the log: a word no article has, in
     * ASCII and in Japanese, so every body is gone through; a word every
     * body has, so every article is a hit. */
    Best read_for_search, body_absent, body_japanese, body_every, subjects;
    for (int run = 0; run < kRuns; run++) {
        double start = Now();
        ReadWhole(log);
        read_for_search.Take(start);
        start = Now();
        if (Search(folder, group, "xylophone", kSearchBody) != 0)
            Fail("search hits");
        body_absent.Take(start);
        start = Now();
        if (Search(folder, group, "\x8C\x9F\x8D\xF5", kSearchBody) != 0) /* 検索 */
            Fail("search hits");
        body_japanese.Take(start);
        start = Now();
        if (Search(folder, group, "LAZY DOG", kSearchBody) != (unsigned long)articles)
            Fail("search hits");
        body_every.Take(start);
        start = Now();
        if (Search(folder, group, "topic 7 ", kSearchSubject) != (unsigned long)articles / 1000)
            Fail("subject hits");
        subjects.Take(start);
    }

    /* Deleting the read half against copying both files. */
    MarkHalfRead(&store);
    GroupStore copied;
    GroupStoreInit(&copied);
    if (!GroupStoreSetNames(&copied, folder.c_str(), copy.c_str()))
        Fail("copy names");
    Best copy_files, delete_read;
    DWORD kept = 0;
    for (int run = 0; run < kRuns; run++) {
        double start = Now();
        CopyWhole(log, copy_log);
        CopyWhole(index, copy_index);
        copy_files.Take(start);
        start = Now();
        if (!DeleteReadArticles(&copied))
            Fail("delete read");
        delete_read.Take(start);
        kept = copied.record_count;
    }
    if (kept != (DWORD)(articles + 1) / 2)
        Fail("kept records");

    printf("Store benchmarks: %d articles, log %.1f MB, index %.1f MB; best of %d runs\n", articles,
           (double)log_size / 1048576.0, (double)index_size / 1048576.0, kRuns);
    Row("rebuild index from log", rebuild.ms, "read log once", read_log.ms);
    Row("  of which the scan alone", scan.ms, "read log once", read_log.ms);
    Row("  of which scan and records", fill.ms, "read log once", read_log.ms);
    Row("delete read half", delete_read.ms, "copy log and index", copy_files.ms);
    Row("build row map", row_map.ms, "read index once", read_index.ms);
    Row("build row map", row_map.ms, "one 92-byte read per record", read_records.ms);
    Row("make thread file from log", thread_file.ms, "read log once", read_log.ms);
    Row("build row map in thread order", thread_rows.ms, "build row map", row_map.ms);
    Row("search bodies, no hit", body_absent.ms, "read log once", read_for_search.ms);
    Row("search bodies, no hit (Japanese)", body_japanese.ms, "read log once", read_for_search.ms);
    Row("search bodies, a hit in each", body_every.ms, "read log once", read_for_search.ms);
    Row("search subjects", subjects.ms, "read log once", read_for_search.ms);
    printf("  per article: rebuild %.2f us, delete %.2f us, row map %.2f us\n", rebuild.ms * 1000.0 / articles,
           delete_read.ms * 1000.0 / articles, row_map.ms * 1000.0 / articles);

    GroupStoreRelease(&store);
    GroupStoreRelease(&copied);
    for (const std::wstring &name : {log, index, copy_log, copy_index, folder + group + L".flt", threads})
        DeleteFileW(name.c_str());
    RemoveDirectoryW(folder.c_str());
    return 0;
}
