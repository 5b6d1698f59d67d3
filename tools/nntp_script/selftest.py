#!/usr/bin/env python3
"""Checks the scripted NNTP server from a Python client: plain scripts as
the C++ tests send them, the same faults over TLS (TLSSCRIPT), STARTTLS
dialogues (the starttls step), corrupt records, refused certificates.

    selftest.py DIR   starts the server on DIR, runs the checks, stops it
"""
import json
import os
import socket
import ssl
import subprocess
import sys
import time

here = os.path.dirname(os.path.abspath(__file__))
server = os.path.join(here, "server.py")
failures = []


def control(folder, request):
    with open(os.path.join(folder, "port")) as f:
        port = int(f.read())
    with socket.create_connection(("127.0.0.1", port), timeout=60) as s:
        s.sendall(request.encode("latin-1") + b"\n")
        reply = b""
        while True:
            data = s.recv(1 << 20)
            if not data:
                return reply.decode("latin-1").rstrip("\n")
            reply += data


def script(folder, steps, tls=None):
    if tls:
        request = "TLSSCRIPT tls/%s.pem tls/%s.key %s" % (tls, tls, json.dumps(steps))
    else:
        request = "SCRIPT " + json.dumps(steps)
    reply = control(folder, request)
    if not reply.startswith("PORT "):
        raise SystemExit("server: " + reply)
    return int(reply[5:])


def result(folder, port, seconds=10):
    reply = control(folder, "RESULT %d %d" % (port, seconds))
    verb, _, hexed = reply.partition(" ")
    return verb, bytes.fromhex(hexed)


def check(name, got, want):
    ok = got == want
    print("%s %s: %r" % ("ok  " if ok else "FAIL", name, got))
    if not ok:
        print("     wanted %r" % (want,))
        failures.append(name)


def client_context(folder, cafile="ca"):
    context = ssl.create_default_context(cafile=os.path.join(folder, "tls", cafile + ".pem"))
    return context


def tls_connect(folder, port, timeout=10):
    """A TLS client that tells a stream ended without close_notify."""
    raw = socket.create_connection(("127.0.0.1", port), timeout=timeout)
    return client_context(folder).wrap_socket(raw, server_hostname="localhost", suppress_ragged_eofs=False)


def read_all(sock):
    """What the client reads until the stream ends, and how it ended."""
    data = b""
    try:
        while True:
            chunk = sock.recv(65536)
            if not chunk:
                return data, "end"
            data += chunk
    except ssl.SSLEOFError:
        return data, "eof without close_notify"
    except ssl.SSLError as error:
        return data, "ssl error %s" % error.reason
    except ConnectionResetError:
        return data, "reset"
    except socket.timeout:
        return data, "timeout"


GREETING = "200 ready\r\n"


def main():
    folder = os.path.abspath(sys.argv[1])
    subprocess.check_call([sys.executable, server, "start", folder])
    try:
        run(folder)
    finally:
        subprocess.call([sys.executable, server, "stop", folder])
    if failures:
        print("%d failed: %s" % (len(failures), ", ".join(failures)))
        return 1
    print("all passed")
    return 0


def run(folder):
    # Plain, as before: close mid-reply, reset, stall.
    port = script(folder, [["send", GREETING], ["recv"], ["send", "211 3 1 3 fj.test\r\npart"], ["close"]])
    with socket.create_connection(("127.0.0.1", port), timeout=10) as s:
        s.recv(100)
        s.sendall(b"GROUP fj.test\r\n")
        check("plain close mid-reply: client reads", read_all(s), (b"211 3 1 3 fj.test\r\npart", "end"))
    check("plain close mid-reply: record", result(folder, port), ("DONE", b"GROUP fj.test\r\n"))

    port = script(folder, [["send", GREETING], ["recv"], ["reset"]])
    with socket.create_connection(("127.0.0.1", port), timeout=10) as s:
        s.recv(100)
        s.sendall(b"QUIT\r\n")
        check("plain reset", read_all(s)[1], "reset")
    check("plain reset: record", result(folder, port), ("DONE", b"QUIT\r\n"))
    check("plain: TLSINFO", control(folder, "TLSINFO %d" % port), "NONE")

    port = script(folder, [["send", GREETING], ["recv"], ["stall"]])
    with socket.create_connection(("127.0.0.1", port), timeout=1) as s:
        s.recv(100)
        s.sendall(b"GROUP fj.test\r\n")
        check("plain stall", read_all(s)[1], "timeout")
    check("plain stall: record", result(folder, port), ("DONE", b"GROUP fj.test\r\n"))

    # Implicit TLS: the same faults.
    port = script(folder, [["send", GREETING], ["recv"], ["send", "211 3 1 3 fj.test\r\npart"], ["close"]], tls="good")
    with tls_connect(folder, port) as s:
        check("TLS greeting", s.recv(100), GREETING.encode())
        s.sendall(b"GROUP fj.test\r\n")
        check("TLS close mid-reply: client reads", read_all(s), (b"211 3 1 3 fj.test\r\npart", "end"))
    check("TLS close mid-reply: record", result(folder, port), ("DONE", b"GROUP fj.test\r\n"))
    info = control(folder, "TLSINFO %d" % port)
    check("TLS: TLSINFO after RESULT", info.split()[0], "TLS")
    print("     " + info)

    port = script(folder, [["send", GREETING], ["recv"], ["send", "211 3 1 3 fj.test\r\npart"],
                           ["close", "abrupt"]], tls="good")
    with tls_connect(folder, port) as s:
        s.recv(100)
        s.sendall(b"GROUP fj.test\r\n")
        check("TLS abrupt close", read_all(s), (b"211 3 1 3 fj.test\r\npart", "eof without close_notify"))
    check("TLS abrupt close: record", result(folder, port), ("DONE", b"GROUP fj.test\r\n"))

    # Python's ssl sockets tell a reset as an end without close_notify:
    # the TLS layer runs over memory here, so the socket's error shows.
    port = script(folder, [["send", GREETING], ["recv"], ["reset"]], tls="good")
    raw = socket.create_connection(("127.0.0.1", port), timeout=10)
    incoming, outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
    tls = client_context(folder).wrap_bio(incoming, outgoing, server_hostname="localhost")
    greeting = b""
    while not greeting.endswith(b"\n"):
        try:
            tls.do_handshake()
            greeting += tls.read(100)
        except ssl.SSLWantReadError:
            raw.sendall(outgoing.read())
            incoming.write(raw.recv(65536))
    tls.write(b"QUIT\r\n")
    raw.sendall(outgoing.read())
    check("TLS reset", read_all(raw)[1], "reset")
    raw.close()
    check("TLS reset: record", result(folder, port), ("DONE", b"QUIT\r\n"))

    port = script(folder, [["send", GREETING], ["recv"], ["stall"]], tls="good")
    with tls_connect(folder, port, timeout=1) as s:
        s.recv(100)
        s.sendall(b"GROUP fj.test\r\n")
        check("TLS stall", read_all(s)[1], "timeout")
        s.sendall(b"QUIT\r\n")
    check("TLS stall: record", result(folder, port), ("DONE", b"GROUP fj.test\r\nQUIT\r\n"))

    port = script(folder, [["send", GREETING], ["recv"], ["sendraw", "\x17\x03\x03\x00\x05garbage"]], tls="good")
    with tls_connect(folder, port) as s:
        s.recv(100)
        s.sendall(b"GROUP fj.test\r\n")
        outcome = read_all(s)[1]
        check("TLS corrupt record", outcome.startswith("ssl error"), True)
        print("     " + outcome)
    result(folder, port)

    # STARTTLS: plain until 382, then inside TLS; the record holds both.
    steps = [["send", GREETING], ["recv"], ["send", "382 go ahead\r\n"], ["starttls"],
             ["recv"], ["send", "211 3 1 3 fj.test\r\n"], ["recv"], ["send", "205 bye\r\n"], ["close"]]
    port = script(folder, steps)
    raw = socket.create_connection(("127.0.0.1", port), timeout=10)
    raw.recv(100)
    raw.sendall(b"STARTTLS\r\n")
    check("STARTTLS reply", raw.recv(100), b"382 go ahead\r\n")
    with client_context(folder).wrap_socket(raw, server_hostname="localhost", suppress_ragged_eofs=False) as s:
        s.sendall(b"GROUP fj.test\r\n")
        check("inside STARTTLS", s.recv(100), b"211 3 1 3 fj.test\r\n")
        s.sendall(b"QUIT\r\n")
        check("STARTTLS end", read_all(s), (b"205 bye\r\n", "end"))
    check("STARTTLS record", result(folder, port), ("DONE", b"STARTTLS\r\nGROUP fj.test\r\nQUIT\r\n"))

    # STARTTLS with another certificate, named in the step.
    steps = [["send", GREETING], ["recv"], ["send", "382 go ahead\r\n"],
             ["starttls", "tls/good2.pem", "tls/good2.key"], ["send", "x\r\n"]]
    port = script(folder, steps)
    raw = socket.create_connection(("127.0.0.1", port), timeout=10)
    raw.recv(100)
    raw.sendall(b"STARTTLS\r\n")
    raw.recv(100)
    with client_context(folder).wrap_socket(raw, server_hostname="localhost") as s:
        der = s.getpeercert(binary_form=True)
    import hashlib
    with open(os.path.join(folder, "tls", "sha256")) as f:
        fingerprints = dict(line.split() for line in f)
    check("STARTTLS with good2", hashlib.sha256(der).hexdigest(), fingerprints["good2"])
    result(folder, port)

    # Refused certificates: the handshake fails, nothing is recorded.
    for name, reason in [("expired", "certificate has expired"), ("wronghost", "Hostname mismatch"),
                         ("selfsigned", "self-signed certificate")]:
        port = script(folder, [["send", GREETING], ["recv"]], tls=name)
        try:
            client_context(folder).wrap_socket(socket.create_connection(("127.0.0.1", port), timeout=10),
                                               server_hostname="localhost")
            check("%s refused" % name, "accepted", reason)
        except ssl.SSLCertVerificationError as error:
            check("%s refused" % name, error.verify_message.startswith(reason), True)
        check("%s: record" % name, result(folder, port), ("DONE", b""))
        print("     TLSINFO " + control(folder, "TLSINFO %d" % port))

    # A plain client on a TLS port.
    port = script(folder, [["send", GREETING]], tls="good")
    with socket.create_connection(("127.0.0.1", port), timeout=10) as s:
        s.sendall(b"QUIT\r\n")
        read_all(s)
    check("plain client on TLS: record", result(folder, port), ("DONE", b""))
    print("     TLSINFO " + control(folder, "TLSINFO %d" % port))

    check("missing certificate", control(folder, "TLSSCRIPT tls/none.pem tls/none.key []").split()[0], "ERROR")


if __name__ == "__main__":
    sys.exit(main())
