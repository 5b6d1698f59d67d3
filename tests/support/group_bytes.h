/*
 * A group of stored articles written from the documented log and index
 * layouts, for the reading tests: each head is a From, a Subject and a
 * Date line, and each record carries the flags given.
 */
#ifndef PELNOR_TEST_GROUP_BYTES_H
#define PELNOR_TEST_GROUP_BYTES_H

#include <windows.h>

#include <string>
#include <vector>

#include "support/store_bytes.h"
#include "support/temp_folder.h"

/* Shift_JIS bytes of a text. */
inline std::string Sjis(const std::wstring &text)
{
    std::string bytes(text.size() * 2 + 1, '\0');
    int n = WideCharToMultiByte(932, 0, text.c_str(), (int)text.size(), &bytes[0], (int)bytes.size(), nullptr,
                                nullptr);
    bytes.resize(n > 0 ? n : 0);
    return bytes;
}

struct GroupArticle {
    std::wstring from;    /* a bare name: the record's sender as it is */
    std::wstring subject;
    std::string date;     /* the record's "MMDD" */
    std::vector<std::wstring> body;
    uint32_t flags = 0;   /* bit 0 read, bits 1-2 priority */
    std::string message_id = {}, references = {}; /* lines left out when empty */
};

/* The log bytes of each article (for reading back) and the files written. */
inline std::vector<std::string> WriteGroupFiles(const TempFolder &data, const std::wstring &group,
                                                const std::vector<GroupArticle> &articles)
{
    GroupBytes g;
    HeaderFields h;
    for (const GroupArticle &a : articles) {
        std::vector<std::string> body;
        for (const std::wstring &line : a.body)
            body.push_back(Sjis(line) + "\r\n");
        std::vector<std::string> head = {"From: " + Sjis(a.from) + "\r\n", "Subject: " + Sjis(a.subject) + "\r\n",
                                         "Date: 5 Mar 2024\r\n"};
        if (!a.message_id.empty())
            head.push_back("Message-ID: " + a.message_id + "\r\n");
        if (!a.references.empty())
            head.push_back("References: " + a.references + "\r\n");
        g.Add(head, body, RecordFields{a.flags, 10 + h.record_count, 0, 0, Sjis(a.subject).substr(0, 47), a.date,
                                 Sjis(a.from).substr(0, 15)});
        h.record_count++;
        h.unread += (a.flags & 1) ? 0 : 1;
        h.high += (a.flags >> 1) == 2;
        h.low += (a.flags >> 1) == 1;
    }
    WriteFileBytes(data.file(group + L".log"), g.log);
    WriteFileBytes(data.file(group + L".idx"), g.Index(h));
    return g.articles;
}

#endif
