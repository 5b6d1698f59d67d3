#!/usr/bin/env python3
"""The baseline of the download benchmark: a plain client that sends what
Pelnor sends (GROUP, then HEAD n and BODY n for every number, one command at
a time, each reply read whole before the next command) and stores nothing.

    nntp_plain.py PORT GROUP[,GROUP...] [quickack]

Prints one line: articles, seconds, articles per second, and the replies
that took longer than 20 ms (stalls). With "quickack" the client's kernel
acknowledges every segment at once (TCP_QUICKACK, re-armed after each
receive), which removes the delayed-acknowledgement stalls and leaves the
cost of the dialogue itself.
"""
import socket
import sys
import time

STALL = 0.020


def main():
    port = int(sys.argv[1])
    groups = sys.argv[2].split(",")
    quickack = len(sys.argv) > 3 and sys.argv[3] == "quickack"
    s = socket.create_connection(("127.0.0.1", port))
    s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    buffer = bytearray()

    def recv_more():
        data = s.recv(65536)
        if quickack:
            s.setsockopt(socket.IPPROTO_TCP, socket.TCP_QUICKACK, 1)
        if not data:
            raise SystemExit("connection closed")
        buffer.extend(data)

    def line():
        while True:
            i = buffer.find(b"\r\n")
            if i >= 0:
                out = bytes(buffer[:i + 2])
                del buffer[:i + 2]
                return out
            recv_more()

    def command(text, multi):
        start = time.perf_counter()
        s.sendall(text + b"\r\n")
        status = line()
        if multi and status.startswith(b"2"):
            while line() != b".\r\n":
                pass
        return status, time.perf_counter() - start

    line()
    articles = stalls = 0
    started = time.perf_counter()
    for group in groups:
        status, _ = command(b"GROUP " + group.encode(), False)
        fields = status.split()
        first, last = int(fields[2]), int(fields[3])
        for n in range(first, last + 1):
            status, took = command(b"HEAD %d" % n, True)
            stalls += took > STALL
            if not status.startswith(b"2"):
                continue
            status, took = command(b"BODY %d" % n, True)
            stalls += took > STALL
            articles += 1
    elapsed = time.perf_counter() - started
    s.sendall(b"QUIT\r\n")
    print("%d %.3f %.1f %d" % (articles, elapsed, articles / elapsed, stalls))


if __name__ == "__main__":
    main()
