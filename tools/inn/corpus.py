#!/usr/bin/env python3
"""Japanese test articles for a private INN, and the bytes Pelnor's store
must hold after downloading them.

    corpus.py e2e DIR INN_SH GROUPS PER_GROUP   post the end-to-end corpus and
                                                write DIR/expected/<group>.log,
                                                <group>.idx and groups.txt
    corpus.py seed DIR INN_SH                   sample groups for the main job
    corpus.py bench DIR INN_SH GROUP COUNT [utf-8]
                                                COUNT articles (about 1 KB each
                                                on the wire) in one group; with
                                                utf-8 the same texts as UTF-8
                                                words and 8-bit UTF-8 bodies

The expected files are built here from the documented formats (article log
and index, version 5), independently of Pelnor's code: header lines decoded
from their encoded words and converted to Shift_JIS, the sequence line, the
body un-stuffed and converted, the separator; index records with the
subject cut to 47 bytes, the date as MMDD and the sender's name cut to 15.
"""
import base64
import os
import random
import struct
import subprocess
import sys

SEPARATOR = b"================\r\n"
KANA = "あいうえおかきくけこさしすせそたちつてとなにぬねのはひふへほまみむめもやゆよらりるれろわをん"
KANJI = "日本語記事新聞東京大阪京都天気予報試験電車時間会議資料報告確認連絡質問回答計算機通信"
NAMES = ["山田太郎", "佐藤花子", "鈴木一郎", "高橋次郎", "田中美咲", "渡辺健太郎", "伊藤", "中村由美子"]
MONTHS = ["Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"]
DAYS = ["Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"]


def sjis(text):
    return text.encode("shift_jis")


def jis(text):
    return text.encode("iso-2022-jp")


def word(text, lower=False, utf8=False):
    if utf8:
        return (b"=?utf-8?B?" if lower else b"=?UTF-8?B?") + base64.b64encode(text.encode("utf-8")) + b"?="
    opening = b"=?iso-2022-jp?B?" if lower else b"=?ISO-2022-JP?B?"
    return opening + base64.b64encode(jis(text)) + b"?="


def japanese(rng, length):
    return "".join(rng.choice(KANA + KANJI) for _ in range(length))


class Article:
    """One article: the wire bytes offered to INN and the bytes Pelnor
    stores for it (without the sequence line)."""

    def __init__(self, group, index, rng, body_lines=(2, 12), utf8=False):
        self.group = group
        self.message_id = "<%s.%d@pelnor.test>" % (group, index)
        wire = []     # header lines as sent, CR LF each
        stored = []   # the kept lines as stored: (name, bytes with CR LF)

        # From: three forms the index takes the sender's name from.
        name = rng.choice(NAMES)
        form = index % 3
        if form == 0:
            wire.append(b"From: " + word(name, utf8=utf8) + b" <user%d@example.jp>\r\n" % index)
            stored.append(b"From: " + sjis(name) + b" <user%d@example.jp>\r\n" % index)
        elif form == 1:
            wire.append(b"From: user%d@example.jp (" % index + word(name, True, utf8) + b")\r\n")
            stored.append(b"From: user%d@example.jp (" % index + sjis(name) + b")\r\n")
        else:
            wire.append(b"From: user%d@example.jp\r\n" % index)
            stored.append(b"From: user%d@example.jp\r\n" % index)
        wire.append(b"X-Mailer: not kept\r\n")

        # Subject: one word, two words folded over two lines, or plain.
        first = japanese(rng, rng.randint(3, 12))
        if index % 4 == 1:
            second = japanese(rng, rng.randint(10, 20))
            wire.append(b"Subject: " + word(first, utf8=utf8) + b"\r\n")
            wire.append(b" " + word(second, utf8=utf8) + b"\r\n")
            stored.append(b"Subject: " + sjis(first) + sjis(second) + b"\r\n")
        elif index % 4 == 2:
            wire.append(b"Subject: Re: " + word(first, True, utf8) + b" (%d)\r\n" % index)
            stored.append(b"Subject: Re: " + sjis(first) + b" (%d)\r\n" % index)
        else:
            wire.append(b"Subject: test article %d\r\n" % index)
            stored.append(b"Subject: test article %d\r\n" % index)

        wire.append(b"Newsgroups: " + group.encode() + b"\r\n")
        stored.append(b"Newsgroups: " + group.encode() + b"\r\n")
        day = rng.randint(1, 28)
        month = rng.randint(1, 12)
        date = "%s, %d %s 2024 %02d:%02d:00 +0900" % (rng.choice(DAYS), day, MONTHS[month - 1],
                                                      rng.randint(0, 23), rng.randint(0, 59))
        wire.append(b"Date: " + date.encode() + b"\r\n")
        stored.append(b"Date: " + date.encode() + b"\r\n")
        wire.append(b"Message-ID: " + self.message_id.encode() + b"\r\n")
        stored.append(b"Message-ID: " + self.message_id.encode() + b"\r\n")
        if index % 5 == 3:
            ref = "<%s.%d@pelnor.test>" % (group, index - 1)
            wire.append(b"References: " + ref.encode() + b"\r\n")
            wire.append(b"\t<older.%d@pelnor.test>\r\n" % index)  # a folded, kept header
            stored.append(b"References: " + ref.encode() + b"<older.%d@pelnor.test>\r\n" % index)
        wire.append(b"Path: pelnor!not-for-mail\r\n")
        wire.append(b"Organization: " + word("テスト組織", utf8=utf8) + b"\r\n")
        if utf8:
            wire.append(b"MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
                        b"Content-Transfer-Encoding: 8bit\r\n")

        body = []
        for line_number in range(rng.randint(*body_lines)):
            kind = rng.randint(0, 9)
            if kind == 0:
                body.append("")
            elif kind == 1:
                body.append("." + japanese(rng, 5))       # dot-stuffed on the wire
            elif kind == 2:
                body.append("..x")
            elif kind == 3:
                body.append("> " + japanese(rng, 20) + " quoted")
            else:
                body.append(japanese(rng, rng.randint(1, 35)) + " %d" % line_number)
        self.wire = b"".join(wire) + b"\r\n"
        for line in body:
            encoded = (line.encode("utf-8") if utf8 else jis(line)) + b"\r\n"
            self.wire += (b"." if encoded.startswith(b".") else b"") + encoded
        self.head = b"".join(stored)
        self.body = b"".join(sjis(line) + b"\r\n" for line in body)
        self.lines = stored

    def stored_bytes(self, number):
        return self.head + b"X-Local-Seq: %d\r\n" % number + b"\r\n" + self.body + SEPARATOR


def cut(text, limit):
    """Bytes of text up to CR, LF or NUL, at most limit, never splitting a
    Shift_JIS character."""
    out = bytearray()
    i = 0
    while i < len(text) and text[i] not in (0x0D, 0x0A, 0x00):
        c = text[i]
        size = 2 if (0x81 <= c <= 0x9F or 0xE0 <= c <= 0xFC) else 1
        if len(out) + size > limit:
            break
        out += text[i:i + size]
        i += size
    return bytes(out)


def from_field(line):
    text = line[6:].rstrip(b"\r\n")
    if text.endswith(b">"):
        lt = text.rfind(b"<")
        name = text[:max(lt - 1, 0)]
        if name.startswith(b'"'):
            name = name[1:-1]
    elif text.endswith(b")"):
        name = text[text.find(b"(") + 1:-1]
    else:
        name = text
    name = cut(name, 15)
    return name or b"(Unknown)"


def date_field(line):
    text = line[6:]
    i = 0
    while i < len(text) and not text[i:i + 1].isdigit():
        if text[i] in (0x0D, 0x0A):
            return b"0000"
        i += 1
    if i == len(text):
        return b"0000"
    day = text[i:i + 1]
    i += 1
    if text[i:i + 1].isdigit():
        day += text[i:i + 1]
        i += 1
    month = text[i + 1:i + 4].decode("latin-1")
    if month not in MONTHS:
        return b"0000"
    return b"%02d" % (MONTHS.index(month) + 1) + day.rjust(2, b"0")


def index_record(article, number, offset, data):
    head = article.head + b"X-Local-Seq: %d\r\n" % number
    subject_line = next((l for l in article.lines if l.startswith(b"Subject: ")), None)
    from_line = next((l for l in article.lines if l.startswith(b"From:")), None)
    date_line = next((l for l in article.lines if l.startswith(b"Date:")), None)
    if subject_line is None:
        subject, text_offset, text_length = b"(none)", offset, 0
    else:
        subject = cut(subject_line[9:], 47)
        text_offset = offset + head.index(subject_line) + 9
        text_length = len(subject_line) - 11
    return struct.pack("<IIII48s4s16sII", 0, number, offset, len(data), subject,
                       date_field(date_line) if date_line else b"0000",
                       from_field(from_line) if from_line else b"(Unknown)", text_offset, text_length)


def index_header(last, records, status):
    status_bytes = cut(status.encode("cp932"), 63)
    return struct.pack("<IIIIII64sIII", 5, last, last, 0, records, 0, status_bytes, records, 0, 0)


def run(inn_sh, folder, *args):
    subprocess.run([inn_sh, args[0], folder] + list(args[1:]), check=True, stdout=subprocess.DEVNULL)


def post_groups(folder, inn_sh, groups, per_group, seed, cancel_every, body_lines=(2, 12), utf8=False):
    """Posts per_group articles to each group, cancels some, and returns
    {group: [(number, article) present on the server]}."""
    rng = random.Random(seed)
    art_dir = os.path.join(folder, "corpus")
    os.makedirs(art_dir, exist_ok=True)
    run(inn_sh, folder, "newgroup", *groups)
    present = {}
    paths = []
    cancelled = []
    for group in groups:
        present[group] = []
        for i in range(1, per_group + 1):
            article = Article(group, i, rng, body_lines, utf8)
            path = os.path.join(art_dir, "%s.%d" % (group, i))
            with open(path, "wb") as f:
                f.write(article.wire)
            paths.append(path)
            # Articles get the numbers 1.. in posting order; some are then
            # cancelled, leaving gaps (never the first or the last).
            if cancel_every and i % cancel_every == 0 and 1 < i < per_group:
                cancelled.append(article.message_id)
            else:
                present[group].append((i, article))
    run(inn_sh, folder, "post", *paths)
    if cancelled:
        run(inn_sh, folder, "cancel", *cancelled)
    return present


def write_expected(folder, present):
    out = os.path.join(folder, "expected")
    os.makedirs(out, exist_ok=True)
    with open(os.path.join(out, "groups.txt"), "w") as f:
        for group in present:
            f.write(group + "\n")
    for group, articles in present.items():
        log = bytearray()
        records = bytearray()
        for number, article in articles:
            data = article.stored_bytes(number)
            records += index_record(article, number, len(log), data)
            log += data
        last = articles[-1][0]
        status = "%d件の記事を取得しました。" % len(articles)
        with open(os.path.join(out, group + ".log"), "wb") as f:
            f.write(log)
        with open(os.path.join(out, group + ".idx"), "wb") as f:
            f.write(index_header(last, len(articles), status) + records)


def main():
    command = sys.argv[1]
    if command == "e2e":
        folder, inn_sh, groups, per_group = sys.argv[2], sys.argv[3], sys.argv[4].split(","), int(sys.argv[5])
        present = post_groups(folder, inn_sh, groups, per_group, seed=4, cancel_every=13)
        write_expected(folder, present)
    elif command == "bench":
        folder, inn_sh, group, count = sys.argv[2], sys.argv[3], sys.argv[4], int(sys.argv[5])
        utf8 = sys.argv[6:7] == ["utf-8"]
        post_groups(folder, inn_sh, [group], count, seed=11, cancel_every=0, body_lines=(13, 23), utf8=utf8)
    elif command == "seed":
        folder, inn_sh = sys.argv[2], sys.argv[3]
        groups = ["fj.comp.misc", "fj.rec.animation", "japan.test"]
        post_groups(folder, inn_sh, groups, 30, seed=7, cancel_every=0)
        with open(os.path.join(folder, "groups.txt"), "w") as f:
            f.write("\n".join(groups) + "\n")
        # Pelnor's subscription file: one name and CR LF per group.
        with open(os.path.join(folder, "group.dat"), "wb") as f:
            f.write(b"".join(g.encode() + b"\r\n" for g in groups))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
