#!/usr/bin/env python3
"""Offers wire-format articles (CR LF lines, dot-stuffed, no final dot line)
to innd by IHAVE: post.py INND_PORT FILE..."""
import re
import socket
import sys


def offer(sock_file, sock, article):
    match = re.search(rb"^Message-ID: (<[^>]+>)", article, re.M | re.I)
    if not match:
        sys.exit("article without Message-ID")
    sock.sendall(b"IHAVE " + match.group(1) + b"\r\n")
    reply = sock_file.readline()
    if not reply.startswith(b"335"):
        sys.exit("IHAVE refused: %r" % reply)
    sock.sendall(article + b".\r\n")
    reply = sock_file.readline()
    if not reply.startswith(b"235"):
        sys.exit("article %s refused: %r" % (match.group(1), reply))


def main():
    port = int(sys.argv[1])
    with socket.create_connection(("127.0.0.1", port), timeout=30) as sock:
        sock_file = sock.makefile("rb")
        greeting = sock_file.readline()
        if not greeting.startswith(b"2"):
            sys.exit("innd: %r" % greeting)
        for path in sys.argv[2:]:
            with open(path, "rb") as f:
                offer(sock_file, sock, f.read())
        sock.sendall(b"QUIT\r\n")


if __name__ == "__main__":
    main()
