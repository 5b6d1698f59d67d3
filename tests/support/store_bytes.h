/*
 * Expected bytes of a group's index and log, built field by field from
 * their documented layouts (never from the code under test).
 */
#ifndef PELNOR_TEST_STORE_BYTES_H
#define PELNOR_TEST_STORE_BYTES_H

#include <stdint.h>

#include <string>
#include <vector>

/* Little-endian 32-bit word. */
inline std::string U32(uint32_t v)
{
    std::string s(4, '\0');
    for (int i = 0; i < 4; i++)
        s[i] = (char)((v >> (8 * i)) & 0xFF);
    return s;
}

/* `text` NUL-padded to `size` bytes (the text must fit). */
inline std::string Padded(const std::string &text, size_t size)
{
    std::string s = text;
    s.resize(size, '\0');
    return s;
}

inline uint32_t ReadU32(const std::string &bytes, size_t at)
{
    uint32_t v = 0;
    for (int i = 3; i >= 0; i--)
        v = (v << 8) | (unsigned char)bytes[at + i];
    return v;
}

struct HeaderFields {
    uint32_t version = 5;
    uint32_t last_fetched = 0;
    uint32_t server_last = 0;
    uint32_t reserved = 0;
    uint32_t record_count = 0;
    uint32_t saved_position = 0;
    std::string status;
    uint32_t unread = 0;
    uint32_t high = 0;
    uint32_t low = 0;
};

/* The 100-byte version 5 header: offsets 0..20 six words, 24 the 64-byte
 * status text, 88 unread, 92 high, 96 low. */
inline std::string HeaderBytes(const HeaderFields &h)
{
    return U32(h.version) + U32(h.last_fetched) + U32(h.server_last) + U32(h.reserved) + U32(h.record_count) +
           U32(h.saved_position) + Padded(h.status, 64) + U32(h.unread) + U32(h.high) + U32(h.low);
}

struct RecordFields {
    uint32_t flags = 0;
    uint32_t number = 0;
    uint32_t offset = 0;
    uint32_t length = 0;
    std::string subject;
    std::string date = "0000";
    std::string from;
    uint32_t subject_offset = 0;
    uint32_t subject_length = 0;
};

/* The 92-byte version 5 record: four words, subject 48, date 4, from 16,
 * two words. */
inline std::string RecordBytes(const RecordFields &r)
{
    return U32(r.flags) + U32(r.number) + U32(r.offset) + U32(r.length) + Padded(r.subject, 48) + r.date +
           Padded(r.from, 16) + U32(r.subject_offset) + U32(r.subject_length);
}

/* One stored article: header lines (each given with its CR LF), the
 * sequence line, a blank line, the body lines, the separator. */
inline std::string ArticleBytes(const std::vector<std::string> &head, uint32_t number,
                                const std::vector<std::string> &body)
{
    std::string s;
    for (const std::string &line : head)
        s += line;
    s += "X-Local-Seq: " + std::to_string(number) + "\r\n\r\n";
    for (const std::string &line : body)
        s += line;
    return s + "================\r\n";
}

/* A group's log and records built one article at a time: the record's
 * offset, length and subject range (just after "Subject: ", up to its
 * CR LF; none without the line) come from where the article lands. */
struct GroupBytes {
    std::vector<std::string> articles;
    std::string log;
    std::vector<RecordFields> records;

    void Add(const std::vector<std::string> &head, const std::vector<std::string> &body, RecordFields r)
    {
        std::string article = ArticleBytes(head, r.number, body);
        size_t subject = article.find("Subject: ");
        r.offset = r.subject_offset = (uint32_t)log.size();
        r.length = (uint32_t)article.size();
        if (subject != std::string::npos) {
            r.subject_offset += (uint32_t)subject + 9;
            r.subject_length = (uint32_t)(article.find("\r\n", subject) - subject - 9);
        }
        articles.push_back(article);
        records.push_back(r);
        log += article;
    }
    std::string Records() const
    {
        std::string bytes;
        for (const RecordFields &r : records)
            bytes += RecordBytes(r);
        return bytes;
    }
    std::string Index(const HeaderFields &header) const { return HeaderBytes(header) + Records(); }
};

#endif
