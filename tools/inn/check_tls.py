#!/usr/bin/env python3
"""Talks to a reader of inn.sh the way a TLS news client would and prints
the dialogue: the CAPABILITIES at each stage, the replies, the certificate
seen. Exits non-zero at the first reply that is not the expected one.

    check_tls.py PORT MODE CAFILE [USER:PASSWORD] [--require-tls-login]
                 [--group GROUP]

MODE is implicit (TLS from the first byte), starttls (plain, then
STARTTLS) or plain (CAFILE unused). The certificate must verify against CAFILE for the
name localhost. With USER:PASSWORD the client logs in (inside TLS); with
--require-tls-login it first checks that AUTHINFO USER on the plain
connection is answered 483. Then COMPRESS DEFLATE (206), and over the
compressed stream CAPABILITIES, GROUP (default japan.test, from inn.sh
seed), ARTICLE of its first article and QUIT.

    check_tls.py PORT verify CAFILE
prints only whether the implicit TLS certificate verifies, and why not.
"""
import hashlib
import socket
import ssl
import sys
import zlib


class Failure(Exception):
    pass


class Connection:
    def __init__(self, port):
        self.sock = socket.create_connection(("127.0.0.1", port), timeout=15)
        self.pending = b""
        self.inflate = None
        self.deflate = None

    def wrap(self, context):
        if self.pending:
            raise Failure("bytes after the 382 before the handshake")
        self.sock = context.wrap_socket(self.sock, server_hostname="localhost")
        der = self.sock.getpeercert(binary_form=True)
        print("   [TLS %s %s, certificate SHA-256 %s]" % (
            self.sock.version(), self.sock.cipher()[0], hashlib.sha256(der).hexdigest()))

    def compress(self):
        self.inflate = zlib.decompressobj(wbits=-15)
        self.deflate = zlib.compressobj(wbits=-15)

    def send(self, line):
        data = line.encode("utf-8") + b"\r\n"
        if self.deflate:
            data = self.deflate.compress(data) + self.deflate.flush(zlib.Z_SYNC_FLUSH)
        self.sock.sendall(data)

    def line(self):
        while b"\n" not in self.pending:
            data = self.sock.recv(65536)
            if not data:
                raise Failure("connection closed")
            if self.inflate:
                data = self.inflate.decompress(data)
            self.pending += data
        cut = self.pending.index(b"\n") + 1
        line, self.pending = self.pending[:cut], self.pending[cut:]
        return line.decode("utf-8", "replace").rstrip("\r\n")

    def block(self):
        lines = []
        while True:
            line = self.line()
            if line == ".":
                return lines
            lines.append(line[1:] if line.startswith("..") else line)


def expect(conn, command, code, multi=False, show_block=False, shown=None):
    if command is not None:
        conn.send(command)
        print(">  " + (shown or command))
    reply = conn.line()
    print("<  " + reply)
    if not reply.startswith(code):
        raise Failure("expected %s, got %r" % (code, reply))
    if multi:
        lines = conn.block()
        for line in lines if show_block else lines[:3]:
            print("     " + line)
        if not show_block and len(lines) > 3:
            print("     ... (%d lines)" % len(lines))
        return lines
    return reply


def capabilities(conn, stage):
    print("-- CAPABILITIES %s" % stage)
    return expect(conn, "CAPABILITIES", "101", multi=True, show_block=True)


def context_for(cafile):
    context = ssl.create_default_context(cafile=cafile)
    context.check_hostname = True
    return context


def verify_only(port, cafile):
    conn = Connection(port)
    try:
        conn.wrap(context_for(cafile))
        print("verified")
        return 0
    except ssl.SSLCertVerificationError as error:
        print("not verified: %s" % error.verify_message)
        return 1


def main():
    args = sys.argv[1:]
    require = "--require-tls-login" in args
    if require:
        args.remove("--require-tls-login")
    group = "japan.test"
    if "--group" in args:
        i = args.index("--group")
        group = args[i + 1]
        del args[i:i + 2]
    if len(args) < 3:
        sys.exit(__doc__)
    port, mode, cafile = int(args[0]), args[1], args[2]
    login = args[3] if len(args) > 3 else None
    if mode == "verify":
        return verify_only(port, cafile)
    context = context_for(cafile) if mode != "plain" else None
    conn = Connection(port)
    print("-- connect (%s)" % mode)
    if mode == "implicit":
        conn.wrap(context)
    expect(conn, None, "20")
    caps = capabilities(conn, "after the greeting")
    if mode == "starttls":
        if "STARTTLS" not in caps:
            raise Failure("STARTTLS not listed")
        if login and require:
            expect(conn, "AUTHINFO USER " + login.split(":")[0], "483")
        expect(conn, "STARTTLS", "382")
        conn.wrap(context)
        caps = capabilities(conn, "after STARTTLS")
    elif login and require:
        pass  # implicit TLS: encrypted from the start
    if login:
        user, password = login.split(":", 1)
        expect(conn, "AUTHINFO USER " + user, "381")
        expect(conn, "AUTHINFO PASS " + password, "281", shown="AUTHINFO PASS ****")
        caps = capabilities(conn, "after login")
    if "COMPRESS DEFLATE" not in caps:
        raise Failure("COMPRESS DEFLATE not listed")
    expect(conn, "COMPRESS DEFLATE", "206")
    conn.compress()
    capabilities(conn, "inside COMPRESS")
    reply = expect(conn, "GROUP " + group, "211")
    first = reply.split()[2]
    article = expect(conn, "ARTICLE " + first, "220", multi=True)
    if not any(line.lower().startswith("message-id:") for line in article):
        raise Failure("no Message-ID in the article")
    expect(conn, "QUIT", "205")
    print("-- all as expected")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (Failure, OSError, ssl.SSLError) as error:
        print("FAILED: %s" % error)
        sys.exit(1)
