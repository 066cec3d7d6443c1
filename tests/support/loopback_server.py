#!/usr/bin/env python3
"""HTTP(S) test server on 127.0.0.1 that serves one folder.

    loopback_server.py ROOT [--tls]

Writes its port to ROOT/.port once it listens, and runs until its standard
input closes. Files below ROOT answer GET and HEAD with one byte range per
request. ROOT/.routes (rewritten whole by the test) overrides single paths and
maps prefixes to other folders, one route a line, fields split by tabs:
    exact  PATH  STATUS  CUT  TYPE  FILE   FILE (below ROOT) is the body; CUT >= 0
                                           sends that many bytes, then closes
    dir    PREFIX  FOLDER                  PREFIX + rest is FOLDER/rest
Every request is appended to ROOT/.requests as it arrives: a line
"METHOD\\tPATH\\tQUERY", its headers as "Name: value" lines, then a blank line.
"""
import http.server
import mimetypes
import os
import re
import ssl
import subprocess
import sys
import threading
import urllib.parse

ROOT = os.path.abspath(sys.argv[1])
TYPES = {".m3u8": "application/vnd.apple.mpegurl", ".mpd": "application/dash+xml",
         ".vtt": "text/vtt", ".srt": "application/x-subrip", ".ts": "video/mp2t"}
log_lock = threading.Lock()


def routes():
    exact, dirs = {}, {}
    try:
        with open(os.path.join(ROOT, ".routes"), encoding="utf-8") as f:
            for line in f.read().splitlines():
                field = line.split("\t")
                if field[0] == "exact":
                    exact[field[1]] = (int(field[2]), int(field[3]), field[4], os.path.join(ROOT, field[5]))
                elif field[0] == "dir":
                    dirs[field[1]] = field[2]
    except FileNotFoundError:
        pass
    return exact, dirs


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def do_HEAD(self):
        self.answer(send_body=False)

    def do_GET(self):
        self.answer(send_body=True)

    def answer(self, send_body):
        url = urllib.parse.urlsplit(self.path)
        path = urllib.parse.unquote(url.path)
        with log_lock, open(os.path.join(ROOT, ".requests"), "a", encoding="utf-8") as log:
            log.write(f"{self.command}\t{path}\t{url.query}\n" + "".join(f"{k}: {v}\n" for k, v in self.headers.items()) + "\n")
        exact, dirs = routes()
        status, cut, ctype, file = 200, -1, None, None
        if path in exact:
            status, cut, ctype, file = exact[path]
        else:
            prefix = max((p for p in dirs if path.startswith(p)), key=len, default=None)
            rest = path[len(prefix):] if prefix is not None else path.lstrip("/")
            if ".." in rest.split("/"):
                return self.send(403, b"", "text/plain", send_body)
            file = os.path.join(dirs[prefix] if prefix is not None else ROOT, rest)
            ctype = TYPES.get(os.path.splitext(file)[1]) or mimetypes.guess_type(file)[0] or "application/octet-stream"
        try:
            with open(file, "rb") as f:
                body = f.read()
        except OSError:
            return self.send(404, b"not found", "text/plain", send_body)
        if status != 200 or cut >= 0:
            return self.send(status, body, ctype, send_body, cut)
        ranged = re.fullmatch(r"bytes=(\d*)-(\d*)", self.headers.get("Range", ""))
        if ranged and ranged.group(1) + ranged.group(2):
            first, last = ranged.groups()
            size = len(body)
            start, end = (size - int(last), size - 1) if first == "" else (int(first), min(int(last or size - 1), size - 1))
            if start >= size or start > end:
                return self.send(416, b"", ctype, send_body, extra={"Content-Range": f"bytes */{size}"})
            return self.send(206, body[max(start, 0):end + 1], ctype, send_body,
                             extra={"Content-Range": f"bytes {max(start, 0)}-{end}/{size}"})
        self.send(200, body, ctype, send_body)

    def send(self, status, body, ctype, send_body, cut=-1, extra=None):
        self.send_response(status)
        self.send_header("Content-Type", ctype)
        self.send_header("Content-Length", str(len(body)))
        self.send_header("Accept-Ranges", "bytes")
        for name, value in (extra or {}).items():
            self.send_header(name, value)
        self.end_headers()
        if send_body:
            self.wfile.write(body if cut < 0 else body[:cut])
        if cut >= 0:
            self.wfile.flush()
            self.close_connection = True


def main():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.daemon_threads = True
    if "--tls" in sys.argv:
        key, cert = os.path.join(ROOT, ".key.pem"), os.path.join(ROOT, ".cert.pem")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1",
                        "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", cert],
                       check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(cert, key)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    with open(os.path.join(ROOT, ".port.tmp"), "w") as f:
        f.write(str(server.server_address[1]))
    os.replace(os.path.join(ROOT, ".port.tmp"), os.path.join(ROOT, ".port"))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    sys.stdin.read()  # until the test closes our input or ends


if __name__ == "__main__":
    main()
