"""Measures on this machine what one client asks, and what one nginx spends on it.

A client is `corvidctl fetch` on a directory of its own, which reaches nginx by way of a proxy that counts connections
and bytes; the requests are those of nginx's log. What a request costs nginx is the processor time of its one process,
from /proc, over many requests of several clients at once, each with a connection and a full TLS handshake of its own:
it is right on a busy machine too, where the time that passes is not. The clients of this script spend more on a request
than nginx does, and so limit how many are answered in a second; what nginx could answer is derived from its time.
"""

import asyncio
import concurrent.futures
import json
import os
import pathlib
import platform
import re
import socket
import ssl
import statistics
import subprocess
import tempfile
import threading
import time

from . import costs

SERVED = "127.77.0.2"
COUNTED = "127.77.0.1"
PORTS = {costs.PLAIN_FILE: 6970, costs.SECURE_FILE: 6972, costs.VERSION: 8443}
PATHS = {costs.PLAIN_FILE: "/corvid-config.xml", costs.SECURE_FILE: "/corvid-config.xml",
         costs.VERSION: "/hubm-uds/version"}
KEYS = {"rsa2048": ["-newkey", "rsa:2048"], "ecdsa256": ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256"]}
CLIENTS = 8
REPETITIONS = 5

NGINX = """
daemon off;
master_process off;
pid nginx.pid;
error_log error.log warn;
events {{ worker_connections 768; }}
http {{
  access_log access.log;
  client_body_temp_path body; proxy_temp_path proxy; fastcgi_temp_path fastcgi; uwsgi_temp_path uwsgi;
  scgi_temp_path scgi;
  sendfile on;
  default_type application/xml;
  ssl_certificate chain.pem;
  ssl_certificate_key leaf.key;
  ssl_protocols TLSv1.2 TLSv1.3;
  root served;
  server {{ listen {address}:6970; }}
  server {{ listen {address}:6972 ssl; listen {address}:8443 ssl; }}
}}
"""

VERSION_DOCUMENT = ('<?xml version="1.0" encoding="UTF-8"?>\n'
                    "<versionResponse><version>{}</version></versionResponse>\n")


def run(*arguments, **options):
    return subprocess.run(arguments, check=True, capture_output=True, text=True, **options).stdout


def certify(folder, key, name, subject, extensions, issuer=None):
    """Makes NAME.key and NAME.pem, signed by an issuer of the same folder or by itself."""
    (folder / f"{name}.ext").write_text(extensions, encoding="utf-8")
    run("openssl", "req", *KEYS[key], "-nodes", "-keyout", f"{name}.key", "-out", f"{name}.csr",
        "-subj", f"/CN={subject}", cwd=folder)
    itself = ["-signkey", f"{name}.key"]
    signer = ["-CA", f"{issuer}.pem", "-CAkey", f"{issuer}.key", "-CAcreateserial"] if issuer else itself
    run("openssl", "x509", "-req", "-in", f"{name}.csr", "-days", "2", "-extfile", f"{name}.ext", "-out", f"{name}.pem",
        *signer, cwd=folder)


def make_chain(folder, key):
    """root.pem, which clients trust, and chain.pem: the server's certificate and that of the authority between."""
    authority = "basicConstraints=critical,CA:true\nkeyUsage=critical,keyCertSign\n"
    certify(folder, key, "root", "A root of the measurement", authority)
    certify(folder, key, "between", "An authority of the measurement", authority, "root")
    certify(folder, key, "leaf", "call-control.example.org", f"subjectAltName=IP:{SERVED},IP:{COUNTED}\n", "between")
    chain = "".join((folder / name).read_text(encoding="utf-8") for name in ("leaf.pem", "between.pem"))
    (folder / "chain.pem").write_text(chain, encoding="utf-8")


class Nginx:
    """One process of nginx that serves the file and a version, with one kind of key."""

    def __init__(self, folder, key, document):
        self.folder = folder
        (folder / "served/hubm-uds").mkdir(parents=True)
        (folder / "served/corvid-config.xml").write_bytes(document)
        make_chain(folder, key)
        (folder / "nginx.conf").write_text(NGINX.format(address=SERVED), encoding="utf-8")
        self.tell_version("12.5")

    def __enter__(self):
        self.process = subprocess.Popen(["nginx", "-p", str(self.folder), "-c", "nginx.conf", "-e", "error.log"])
        while self.process.poll() is None:
            try:
                socket.create_connection((SERVED, PORTS[costs.VERSION]), timeout=1).close()
                return self
            except OSError:
                time.sleep(0.05)
        raise SystemExit(f"fleet: nginx does not run: {(self.folder / 'error.log').read_text(encoding='utf-8')}")

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()

    def tell_version(self, version):
        (self.folder / "served/hubm-uds/version").write_text(VERSION_DOCUMENT.format(version), encoding="utf-8")

    def requests(self):
        """The paths that were asked for since the last call."""
        log = self.folder / "access.log"
        paths = re.findall(r'"GET (\S+) HTTP', log.read_text(encoding="utf-8"))
        os.truncate(log, 0)
        return paths

    def processor_seconds(self):
        """What the process has spent so far, its own work and the kernel's for it."""
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text(encoding="utf-8").rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class CountingProxy:
    """Passes the three ports on to nginx, and counts for each of them connections and bytes of TCP payload."""

    def __enter__(self):
        self.counts = {port: {"connections": 0, "up": 0, "down": 0} for port in PORTS.values()}
        self.loop = asyncio.new_event_loop()
        self.thread = threading.Thread(target=self.loop.run_forever)
        self.thread.start()
        self.servers = [self._do(asyncio.start_server(self._relay_of(port), COUNTED, port)) for port in self.counts]
        return self

    def __exit__(self, *_):
        for server in self.servers:
            self.loop.call_soon_threadsafe(server.close)
        self.loop.call_soon_threadsafe(self.loop.stop)
        self.thread.join()
        self.loop.close()

    def _do(self, work):
        return asyncio.run_coroutine_threadsafe(work, self.loop).result()

    def _relay_of(self, port):
        async def relay(reader, writer):
            count = self.counts[port]
            count["connections"] += 1
            far_reader, far_writer = await asyncio.open_connection(SERVED, port)
            await asyncio.gather(self._pump(reader, far_writer, count, "up"),
                                 self._pump(far_reader, writer, count, "down"))

        return relay

    @staticmethod
    async def _pump(reader, writer, count, direction):
        try:
            while data := await reader.read(65536):
                count[direction] += len(data)
                writer.write(data)
                await writer.drain()
        except ConnectionError:
            pass
        writer.close()


def fetch(tool, folder, proxy, nginx):
    """One client's start. Returns what it has asked for, and what the proxy has counted at each port."""
    for count in proxy.counts.values():
        count.update(connections=0, up=0, down=0)
    nginx.requests()
    with tempfile.TemporaryDirectory() as profile:
        ours = [str(tool), "--config-dir", profile, "--log-file", f"{profile}/log",
                "--ca-file", str(folder / "root.pem")]
        run(*ours, "set", "TFTPPrimaryServer", COUNTED)
        run(*ours, "fetch")
    return nginx.requests(), {port: dict(count) for port, count in proxy.counts.items()}


def bytes_of_one_client(tool, folder, nginx):
    """Bytes in both directions for each kind of request: of a client of version 12's server, and of version 10's."""
    found = {}
    with CountingProxy() as proxy:
        for version, kind in (("12.5", costs.SECURE_FILE), ("10.5", costs.PLAIN_FILE)):
            nginx.tell_version(version)
            requests, counted = fetch(tool, folder, proxy, nginx)
            if requests != [PATHS[costs.VERSION], PATHS[kind]]:
                raise SystemExit(f"fleet: a client was expected to ask for its version and its file, not {requests}")
            for each in (costs.VERSION, kind):
                count = counted[PORTS[each]]
                if count.pop("connections") != 1:
                    raise SystemExit(f"fleet: one connection was expected at port {PORTS[each]}")
                found[each] = count
    return found


def ask(kind, context):
    """One request as a client makes it: a connection of its own, a full handshake, one answer, and the end."""
    with socket.create_connection((SERVED, PORTS[kind])) as plain:
        connection = context.wrap_socket(plain, server_hostname=SERVED) if kind != costs.PLAIN_FILE else plain
        connection.sendall(f"GET {PATHS[kind]} HTTP/1.1\r\nHost: {SERVED}\r\nAccept: */*\r\n\r\n".encode())
        answer = b""
        while b"\r\n\r\n" not in answer:
            answer += connection.recv(65536)
        head, body = answer.split(b"\r\n\r\n", 1)
        length = int(re.search(rb"Content-Length: (\d+)", head).group(1))
        while len(body) < length:
            body += connection.recv(65536)


def seconds_of_one_request(kind, nginx, folder, requests):
    """Processor seconds of nginx for one request: the median of repetitions and their range. Then the clients' seconds,
    and the share of one core that nginx was busy for."""
    context = ssl.create_default_context(cafile=folder / "root.pem")
    figures = []
    begin, own, spent = time.monotonic(), time.process_time(), nginx.processor_seconds()
    with concurrent.futures.ThreadPoolExecutor(CLIENTS) as clients:
        for _ in range(REPETITIONS):
            before = nginx.processor_seconds()
            list(clients.map(lambda _: ask(kind, context), range(requests)))
            figures.append((nginx.processor_seconds() - before) / requests)
    busy = (nginx.processor_seconds() - spent) / (time.monotonic() - begin)
    clients_seconds = (time.process_time() - own) / (requests * REPETITIONS)
    return statistics.median(figures), min(figures), max(figures), clients_seconds, busy


def measure_certificate(tool, key, document):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        with Nginx(folder, key, document) as nginx:
            sizes = bytes_of_one_client(tool, folder, nginx)
            kinds = {}
            for kind in costs.KINDS:
                requests = 8000 if kind == costs.PLAIN_FILE else 2000
                middle, least, most, clients, busy = seconds_of_one_request(kind, nginx, folder, requests)
                print(f"{key:9} {kind:16} {middle * 1e6:6.0f} us of nginx ({least * 1e6:.0f} to {most * 1e6:.0f}), "
                      f"{1 / middle:6.0f} a second and core; {sizes[kind]['up']} bytes up, {sizes[kind]['down']} down; "
                      f"clients spent {clients * 1e6:.0f} us, nginx was busy {100 * busy:.0f} %", flush=True)
                kinds[kind] = {**sizes[kind], "seconds": round(middle, 7)}
    return kinds


def processor_name():
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def measure(tool, document, target):
    """Measures with both kinds of keys and writes the file that the simulation reads."""
    certificates = {key: measure_certificate(tool, key, document) for key in KEYS}
    told = subprocess.run(["nginx", "-V"], capture_output=True, text=True, check=True).stderr
    server = re.search(r"nginx/\S+", told).group(), re.search(r"built with (OpenSSL \S+)", told).group(1)
    result = {
        "machine": f"{processor_name()}, {os.cpu_count()} cores, load average {os.getloadavg()[0]:.1f}",
        "server": f"{', '.join(server)}, one process, TLS 1.3",
        "method": f"processor time of nginx, median of {REPETITIONS} repetitions; bytes counted by a proxy",
        "file_bytes": len(document),
        "certificates": certificates,
    }
    pathlib.Path(target).write_text(json.dumps(result, indent=2) + "\n", encoding="utf-8")
