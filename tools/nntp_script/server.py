#!/usr/bin/env python3
"""A scripted NNTP server for the protocol tests.

A control server on a loopback port takes scripts; each script gets a new
listening port, accepts one client there and plays the dialogue: send these
bytes, read one line, close in the middle of a reply, stall, reset. Every
byte the client sends is recorded (inside TLS, the decrypted bytes), and the
test asks for the record when its client has finished.

    server.py start DIR   start the daemon; prints nothing, returns once the
                          control port is in DIR/port. It first makes the
                          test certificates of DIR/tls if missing (inn.sh
                          certs: ca.pem, good.pem, good2.pem, wronghost.pem,
                          expired.pem, selfsigned.pem, each with its .key)
    server.py stop DIR    stop it (waits until it has exited)
    server.py serve DIR   run in the foreground

Control protocol, one request per connection, lines of text:
    SCRIPT <json list of steps>   -> PORT <n>   (already listening)
    TLSSCRIPT <certfile> <keyfile> <json list of steps>
                                  -> PORT <n>   the same over TLS from the
                                     first byte: the handshake, with this
                                     certificate and key (PEM; a relative
                                     path is under DIR, no spaces), comes
                                     before the first step
    RESULT <port> <seconds>       -> DONE <hex> | TIMEOUT <hex>
                                     (waits for the client to close)
    TLSINFO <port>                -> TLS <version> <cipher> once a handshake
                                     has been made | FAILED <reason> when it
                                     failed (the client refused the
                                     certificate, or spoke no TLS) | NONE;
                                     still answered after RESULT
    FREEPORT                      -> PORT <n>   (nothing listens there)
    BUSYPORT                      -> PORT <n>   (a listener whose queue is full:
                                     a connect there waits, for a minute)
    SHUTDOWN                      -> BYE, then the daemon exits
A request that fails is answered ERROR <reason>.

Steps, each a JSON list:
    ["send", text]   send text; each character is one byte (code point < 256)
    ["recv"]         read one line (through its LF) from the client
    ["recvdot"]      read lines up to and including a line of "." alone
                     (an article the client posts)
    ["close"]        close the connection (the client sees end of stream);
                     inside TLS, a close_notify alert comes first
    ["close", "abrupt"]
                     inside TLS, end the TCP stream without close_notify
                     (a truncation); in plain text the same as ["close"]
    ["reset"]        abort the connection (the client's recv fails)
    ["stall"]        send nothing more; wait for the client to give up
    ["starttls"]     take the client's TLS handshake now (after sending
                     "382 ..."): the rest of the dialogue is inside TLS. The
                     certificate is the script's own (TLSSCRIPT) or else
                     DIR/tls/good.pem; ["starttls", certfile, keyfile]
                     names another
    ["sendraw", text]
                     send these bytes on the TCP stream as they are, even
                     inside TLS (a corrupt record there)
When the steps run out, the server reads until the client closes. A failed
handshake ends the session: the record holds what came before it.
"""
import json
import os
import socket
import ssl
import struct
import subprocess
import sys
import threading
import time

ACCEPT_TIMEOUT = 120   # a script nobody connects to is dropped
SESSION_LIMIT = 600    # no session outlives this
IDLE_EXIT = 3 * 3600   # the daemon exits after this long without requests


class Channel:
    """The client's connection, plain or inside TLS: TLS runs over memory
    buffers so that the bytes on the socket stay under the script's
    control (raw bytes, a close without close_notify)."""

    def __init__(self, conn):
        self.conn = conn
        self.tls = None
        self.incoming = None
        self.outgoing = None

    def start_tls(self, context, early=b""):
        """Takes the client's handshake; `early` holds bytes already read
        from the socket after the line before it."""
        self.incoming = ssl.MemoryBIO()
        self.outgoing = ssl.MemoryBIO()
        self.tls = context.wrap_bio(self.incoming, self.outgoing, server_side=True)
        if early:
            self.incoming.write(early)
        while True:
            try:
                self.tls.do_handshake()
                break
            except ssl.SSLWantReadError:
                self.feed()
            except ssl.SSLError:
                self.flush()  # the alert that says why
                raise
        self.flush()

    def feed(self):
        """What TLS wants next: our pending output out, the client's bytes in."""
        self.flush()
        data = self.conn.recv(65536)
        if not data:
            self.incoming.write_eof()
        else:
            self.incoming.write(data)

    def flush(self):
        data = self.outgoing.read() if self.outgoing else b""
        if data:
            self.conn.sendall(data)

    def send(self, data):
        if self.tls is None:
            self.conn.sendall(data)
        else:
            self.tls.write(data)
            self.flush()

    def send_raw(self, data):
        self.flush()
        self.conn.sendall(data)

    def recv(self):
        """Some bytes from the client; b"" at the end of its stream."""
        if self.tls is None:
            return self.conn.recv(65536)
        while True:
            try:
                return self.tls.read(65536)
            except ssl.SSLWantReadError:
                self.feed()
            except (ssl.SSLZeroReturnError, ssl.SSLEOFError):
                return b""
            finally:
                self.flush()

    def close(self, notify=True):
        if self.tls is not None and notify:
            try:
                self.tls.unwrap()
            except ssl.SSLError:
                pass  # the client's close_notify is not awaited
            self.flush()
        self.conn.shutdown(socket.SHUT_WR)


def server_context(certfile, keyfile):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certfile, keyfile)
    return context


class Session:
    def __init__(self, steps, folder, certificate=None):
        self.steps = steps
        self.folder = folder
        self.context = server_context(*certificate) if certificate else None
        self.tls_info = "NONE"
        self.received = bytearray()
        self.done = threading.Event()
        self.lock = threading.Lock()
        self.listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.listener.bind(("127.0.0.1", 0))
        self.listener.listen(1)
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self.run, daemon=True).start()

    def record(self, data):
        with self.lock:
            self.received += data

    def run(self):
        conn = None
        try:
            self.listener.settimeout(ACCEPT_TIMEOUT)
            conn, _ = self.listener.accept()
            self.listener.close()
            conn.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            conn.settimeout(SESSION_LIMIT)
            channel = Channel(conn)
            if self.context is not None:
                self.handshake(channel, self.context)
            self.play(channel)
        except (OSError, socket.timeout):
            pass
        finally:
            try:
                self.listener.close()
            except OSError:
                pass
            if conn is not None:
                try:
                    conn.close()
                except OSError:
                    pass
            self.done.set()

    def handshake(self, channel, context, early=b""):
        try:
            channel.start_tls(context, early)
        except ssl.SSLError as error:
            self.tls_info = "FAILED %s" % (error.reason or error.__class__.__name__)
            raise
        except OSError:
            self.tls_info = "FAILED connection lost"
            raise
        version = channel.tls.version()
        self.tls_info = "TLS %s %s" % (version, channel.tls.cipher()[0])

    def play(self, channel):
        pending = bytearray()
        for step in self.steps:
            kind = step[0]
            if kind == "send":
                channel.send(step[1].encode("latin-1"))
            elif kind == "sendraw":
                channel.send_raw(step[1].encode("latin-1"))
            elif kind in ("recv", "recvdot"):
                while True:
                    while b"\n" not in pending:
                        data = channel.recv()
                        if not data:
                            return
                        self.record(data)
                        pending += data
                    cut = pending.index(b"\n") + 1
                    line = bytes(pending[:cut])
                    del pending[:cut]
                    if kind == "recv" or line == b".\r\n":
                        break
            elif kind == "close":
                channel.close(notify=step[1:] != ["abrupt"])
                self.drain(channel)
                return
            elif kind == "reset":
                channel.conn.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                return
            elif kind == "stall":
                break
            elif kind == "starttls":
                if len(step) == 3:
                    context = server_context(*self.paths(step[1], step[2]))
                elif self.context is not None:
                    context = self.context
                else:
                    context = server_context(*self.paths("tls/good.pem", "tls/good.key"))
                early = bytes(pending)
                pending.clear()
                self.handshake(channel, context, early)
            else:
                raise ValueError("unknown step %r" % (kind,))
        self.drain(channel)

    def paths(self, *names):
        return [os.path.join(self.folder, name) for name in names]

    def drain(self, channel):
        while True:
            data = channel.recv()
            if not data:
                return
            self.record(data)


class Daemon:
    def __init__(self, folder):
        self.folder = folder
        self.sessions = {}
        self.finished = {}  # port -> TLSINFO answer of a script whose RESULT was taken
        self.lock = threading.Lock()
        self.last_request = time.monotonic()
        self.control = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self.control.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.control.bind(("127.0.0.1", 0))
        self.control.listen(16)
        self.port = self.control.getsockname()[1]

    def serve(self):
        self.control.settimeout(60)
        while True:
            try:
                conn, _ = self.control.accept()
            except socket.timeout:
                if time.monotonic() - self.last_request > IDLE_EXIT:
                    return
                continue
            self.last_request = time.monotonic()
            line = b""
            conn.settimeout(30)
            try:
                while not line.endswith(b"\n"):
                    data = conn.recv(1 << 20)
                    if not data:
                        break
                    line += data
            except OSError:
                conn.close()
                continue
            request = line.decode("latin-1").rstrip("\r\n")
            if request == "SHUTDOWN":
                conn.sendall(b"BYE\n")
                conn.close()
                return
            threading.Thread(target=self.answer, args=(conn, request), daemon=True).start()

    def answer(self, conn, request):
        try:
            verb, _, rest = request.partition(" ")
            if verb in ("SCRIPT", "TLSSCRIPT"):
                certificate = None
                if verb == "TLSSCRIPT":
                    certfile, keyfile, rest = rest.split(" ", 2)
                    certificate = [os.path.join(self.folder, name) for name in (certfile, keyfile)]
                session = Session(json.loads(rest), self.folder, certificate)
                with self.lock:
                    self.sessions[session.port] = session
                reply = "PORT %d" % session.port
            elif verb == "TLSINFO":
                with self.lock:
                    session = self.sessions.get(int(rest))
                    reply = session.tls_info if session else self.finished.get(int(rest), "ERROR no such script")
            elif verb == "RESULT":
                port, seconds = rest.split()
                with self.lock:
                    session = self.sessions.get(int(port))
                if session is None:
                    reply = "ERROR no such script"
                else:
                    finished = session.done.wait(float(seconds))
                    with session.lock:
                        data = bytes(session.received)
                    reply = ("DONE " if finished else "TIMEOUT ") + data.hex()
                    if finished:
                        with self.lock:
                            self.sessions.pop(int(port), None)
                            self.finished[int(port)] = session.tls_info
            elif verb == "BUSYPORT":
                reply = "PORT %d" % busy_port()
            elif verb == "FREEPORT":
                probe = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
                probe.bind(("127.0.0.1", 0))
                reply = "PORT %d" % probe.getsockname()[1]
                probe.close()
            else:
                reply = "ERROR unknown request"
        except Exception as error:  # the test sees the reason
            reply = "ERROR %s" % error
        try:
            conn.sendall(reply.encode("ascii") + b"\n")
        finally:
            conn.close()


def busy_port():
    """A listener that never accepts, its queue filled by our own
    connections: the kernel drops further connection requests, so a client
    waits in connect. Everything is closed after a minute."""
    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.bind(("127.0.0.1", 0))
    listener.listen(0)
    port = listener.getsockname()[1]
    fillers = []
    for _ in range(4):
        filler = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        filler.setblocking(False)
        filler.connect_ex(("127.0.0.1", port))
        fillers.append(filler)

    def close_later():
        time.sleep(60)
        for s in fillers + [listener]:
            s.close()
    threading.Thread(target=close_later, daemon=True).start()
    return port


def read_port(folder):
    try:
        with open(os.path.join(folder, "port")) as f:
            return int(f.read().strip())
    except (OSError, ValueError):
        return None


def request(port, text, timeout=30):
    with socket.create_connection(("127.0.0.1", port), timeout=timeout) as s:
        s.sendall(text.encode("latin-1") + b"\n")
        reply = b""
        while True:
            data = s.recv(1 << 20)
            if not data:
                return reply.decode("latin-1").rstrip("\n")
            reply += data


def stop(folder):
    port = read_port(folder)
    if port is None:
        return
    try:
        os.unlink(os.path.join(folder, "port"))
    except OSError:
        pass
    try:
        request(port, "SHUTDOWN")
    except OSError:
        return
    pid_path = os.path.join(folder, "pid")
    try:
        with open(pid_path) as f:
            pid = int(f.read().strip())
    except (OSError, ValueError):
        return
    # The daemon has answered BYE and is on its way out; wait for it to go
    # so that a following start never races it.
    deadline = time.monotonic() + 10
    while time.monotonic() < deadline:
        try:
            os.kill(pid, 0)
        except OSError:
            break
        time.sleep(0.02)


def start(folder):
    os.makedirs(folder, exist_ok=True)
    stop(folder)
    log = open(os.path.join(folder, "server.log"), "ab")
    # The certificates of TLSSCRIPT and starttls; without them (no openssl)
    # only the scripts over TLS fail.
    inn_sh = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "inn", "inn.sh")
    try:
        subprocess.call([inn_sh, "certs", folder], stdin=subprocess.DEVNULL, stdout=log, stderr=log)
    except OSError as error:
        log.write(b"no certificates: %s\n" % str(error).encode())
        log.flush()
    read_end, write_end = os.pipe()
    subprocess.Popen([sys.executable, os.path.abspath(__file__), "serve", folder, str(write_end)],
                     stdin=subprocess.DEVNULL, stdout=log, stderr=log, pass_fds=(write_end,),
                     start_new_session=True)
    os.close(write_end)
    # The daemon writes its port here once it listens, then closes the pipe.
    with os.fdopen(read_end) as ready:
        announced = ready.read().strip()
    if not announced.startswith("PORT "):
        sys.exit("nntp script server did not start; see %s" % os.path.join(folder, "server.log"))


def serve(folder, ready_fd=None):
    daemon = Daemon(folder)
    tmp = os.path.join(folder, "port.tmp")
    with open(tmp, "w") as f:
        f.write("%d\n" % daemon.port)
    os.replace(tmp, os.path.join(folder, "port"))
    with open(os.path.join(folder, "pid"), "w") as f:
        f.write("%d\n" % os.getpid())
    if ready_fd is not None:
        os.write(ready_fd, b"PORT %d\n" % daemon.port)
        os.close(ready_fd)
    daemon.serve()


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    command, folder = sys.argv[1], os.path.abspath(sys.argv[2])
    if command == "start":
        start(folder)
    elif command == "stop":
        stop(folder)
    elif command == "serve":
        serve(folder, int(sys.argv[3]) if len(sys.argv) > 3 else None)
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
