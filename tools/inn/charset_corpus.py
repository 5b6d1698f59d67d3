#!/usr/bin/env python3
"""Articles as today's posters send them, one of each kind, for the group
fj.test.charsets of the end-to-end INN:
    charset_corpus.py DIR    writes DIR/charsets/NN.art (wire format) and
                             prints their paths in posting order
Each article's Subject says what it is; the tests know what a reader must
see of each (tests/e2e)."""
import base64
import os
import quopri
import sys

GROUP = "fj.test.charsets"


def article(number, subject, headers, body):
    """Wire bytes: the common headers, the article's own, an empty line and
    the body (CR LF lines, dot-stuffed)."""
    head = [
        b"Path: pelnor!not-for-mail",
        b"From: charsets@example.jp",
        b"Newsgroups: " + GROUP.encode(),
        b"Subject: " + subject,
        b"Date: Wed, 25 Nov 2026 12:%02d:00 +0900" % number,
        b"Message-ID: <charsets.%d@pelnor.test>" % number,
        b"MIME-Version: 1.0",
    ] + headers
    lines = body.split(b"\r\n")
    if lines and lines[-1] == b"":
        lines.pop()
    stuffed = [b"." + line if line.startswith(b".") else line for line in lines]
    return b"\r\n".join(head) + b"\r\n\r\n" + b"\r\n".join(stuffed) + b"\r\n"


def b_word(charset, text):
    return b"=?" + charset + b"?B?" + base64.b64encode(text) + b"?="


def plain(charset, encoding=b"8bit"):
    return [b"Content-Type: text/plain; charset=" + charset, b"Content-Transfer-Encoding: " + encoding]


def articles():
    utf8 = "UTF-8の本文です。絵文字😀も。\r\n二行目: café\r\n".encode("utf-8")
    long_line = ("とても長い行をquoted-printableで送ると、ソフト改行で分けられます。" * 2).encode("utf-8")
    split = "漢字の件名".encode("utf-8")
    return [
        (b_word(b"UTF-8", "UTF-8 8bit 😀".encode("utf-8")), plain(b"UTF-8"), utf8),
        (b"UTF-8 base64", plain(b"utf-8", b"base64"),
         base64.encodebytes(utf8).replace(b"\n", b"\r\n")),
        (b"UTF-8 quoted-printable", plain(b"UTF-8", b"quoted-printable"),
         quopri.encodestring(long_line + b"\n").replace(b"\n", b"\r\n")),
        (b"=?utf-8?q?Q=E3=81=AE=E4=BB=B6=E5=90=8D_caf=C3=A9?=", plain(b"UTF-8"), "Q語の件名\r\n".encode("utf-8")),
        # One character's three bytes split between two words side by side.
        (b"=?UTF-8?B?" + base64.b64encode(split[:4]) + b"?= =?UTF-8?B?" + base64.b64encode(split[4:]) + b"?=",
         plain(b"UTF-8"), "語の途中で分かれた件名\r\n".encode("utf-8")),
        (b"Shift_JIS 8bit", plain(b"Shift_JIS"), "シフトJISの本文。ﾊﾝｶｸ\r\n".encode("cp932")),
        (b"EUC-JP 8bit", plain(b"EUC-JP"), "EUC-JPの本文。\r\n".encode("euc_jp")),
        (b"ISO-8859-1", plain(b"ISO-8859-1"), "Café déjà vu, naïve.\r\n".encode("latin-1")),
        (b"multipart/mixed", [b'Content-Type: multipart/mixed; boundary="XyZ"'],
         b"This is a multi-part message in MIME format.\r\n"
         b"--XyZ\r\nContent-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n"
         + "添付があります。\r\n".encode("utf-8") +
         b"--XyZ\r\nContent-Type: application/octet-stream; name=\"data.bin\"\r\n"
         b"Content-Transfer-Encoding: base64\r\nContent-Disposition: attachment; filename=\"data.bin\"\r\n\r\n"
         + base64.encodebytes(bytes(range(256)) * 4).replace(b"\n", b"\r\n") +
         b"--XyZ--\r\n"),
        (b"multipart/alternative", [b'Content-Type: multipart/alternative; boundary="alt"'],
         b"--alt\r\nContent-Type: text/plain; charset=UTF-8\r\n\r\n" + "テキスト版\r\n".encode("utf-8") +
         b"--alt\r\nContent-Type: text/html; charset=UTF-8\r\n\r\n<p>HTML</p>\r\n--alt--\r\n"),
        (b"format=flowed", [b"Content-Type: text/plain; charset=UTF-8; format=flowed",
                            b"Content-Transfer-Encoding: 8bit"],
         "流れる行は \r\n続きます。\r\n".encode("utf-8")),
        (b"malformed base64", plain(b"UTF-8", b"base64"), b"5pel5pys6Kqe!!\r\n@@@@\r\n"),
        (b"unknown charset", plain(b"x-unknown"), b"plain ASCII in an unknown charset\r\n"),
        (b"literal reference", plain(b"UTF-8"), b"&#x1F600; is written, not an emoji\r\n"),
    ]


def main():
    folder = os.path.join(sys.argv[1], "charsets")
    os.makedirs(folder, exist_ok=True)
    for number, (subject, headers, body) in enumerate(articles(), 1):
        path = os.path.join(folder, "%02d.art" % number)
        with open(path, "wb") as f:
            f.write(article(number, subject, headers, body))
        print(path)


if __name__ == "__main__":
    main()
