"""
The way between the browser and the tool: a proxy that keeps what the browser was sent, lets nothing out of this machine,
and can be cut.
"""

import socket
import threading
from urllib.parse import urlsplit


class Relay:
    def __init__(self):
        self._lock = threading.Lock()
        self._open = set()
        self._is_cut = False
        self._received = []
        self._requests = []
        self.strangers = []  # what was asked of others than this machine

    def __enter__(self):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.address = "127.0.0.1:%d" % self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()
        return self

    def __exit__(self, *_):
        self._listener.close()
        self.cut()

    def reset(self):
        with self._lock:
            self._received.clear()
            self._requests.clear()
            self.strangers.clear()

    def received(self):
        """All bytes that the browser was sent since the last reset, heads and streams included."""
        with self._lock:
            return b"".join(self._received)

    def requests(self):
        """The paths of the interface that the browser has asked for since the last reset, without their queries."""
        with self._lock:
            return list(self._requests)

    def cut(self):
        """Ends every connection, and lets none through any more."""
        with self._lock:
            self._is_cut = True
            for connection in self._open:
                shut(connection)

    def restore(self):
        with self._lock:
            self._is_cut = False

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        with connection:
            with self._lock:
                if self._is_cut:
                    return
                self._open.add(connection)
            try:
                self._pass_on(connection)
            except OSError:
                pass  # one of the two has gone
            finally:
                with self._lock:
                    self._open.discard(connection)

    def _pass_on(self, connection):
        """One request and its answer; the browser makes another connection for the next."""
        request = b""
        while b"\r\n\r\n" not in request:
            part = connection.recv(65536)
            if not part:
                return
            request += part
        head, body = request.split(b"\r\n\r\n", 1)
        first, *fields = head.decode("latin-1").split("\r\n")
        method, url, version = first.split(" ")
        target = urlsplit(url)
        if target.hostname != "127.0.0.1":
            # The browser's own services know no language.
            if any(field.lower().startswith("accept-language:") for field in fields):
                self.strangers.append(url)
            connection.sendall(b"HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
            return
        path = target.path + ("?" + target.query if target.query else "")
        _, isForApi, name = target.path.partition("/api/")
        if isForApi:
            with self._lock:
                self._requests.append(name)
        kept = [field for field in fields if not field.lower().startswith(("proxy-connection:", "connection:"))]
        length = next((int(field.split(":")[1]) for field in fields if field.lower().startswith("content-length:")), 0)
        while len(body) < length:
            body += connection.recv(65536)
        with socket.create_connection((target.hostname, target.port)) as upstream:
            lines = [f"{method} {path} {version}", *kept, "Connection: close", "", ""]
            upstream.sendall("\r\n".join(lines).encode("latin-1") + body)
            self._bring_back(upstream, connection)

    def _bring_back(self, upstream, connection):
        # A page that is closed takes its streams along.
        threading.Thread(target=end_with, args=(connection, upstream), daemon=True).start()
        while part := upstream.recv(65536):
            with self._lock:
                self._received.append(part)
            connection.sendall(part)
        shut(connection)


def end_with(connection, other):
    try:
        while connection.recv(65536):
            pass
    except OSError:
        pass
    shut(other)


def shut(connection):
    try:
        connection.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass
