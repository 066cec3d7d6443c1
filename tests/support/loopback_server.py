#!/usr/bin/env python3
# HTTP(S) test server on 127.0.0.1 over one folder.
#
#     loopback_server.py ROOT [--tls]
#
# Writes its port to ROOT/.port once it listens, and a loopback port on which
# nothing listens to ROOT/.dead-port; runs until its standard input closes.
# A file below ROOT answers GET, with one byte range per request
# ("bytes=a-b" or "bytes=a-"). A file FILE~ beside it holds "STATUS CUT": FILE
# answers with STATUS, and when CUT >= 0 only its first CUT bytes are sent
# before the connection closes. While a file FILE~hold exists, FILE's answer
# waits (the test removes it to let the answer go).
# Each request is appended to ROOT/.requests as one line of tab-separated
# fields: the target as sent, then each header as "name: value", the name in
# lower case.
import http.server, mimetypes, os, re, socket, ssl, subprocess, sys, threading, time, urllib.parse

ROOT = os.path.abspath(sys.argv[1])
mimetypes.add_type("video/mp2t", ".ts")
log_lock = threading.Lock()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        path = urllib.parse.unquote(urllib.parse.urlsplit(self.path).path)
        fields = [self.path] + [f"{k.lower()}: {v}" for k, v in self.headers.items()]
        with log_lock, open(os.path.join(ROOT, ".requests"), "a", encoding="utf-8") as log:
            log.write("\t".join(fields) + "\n")
        file = os.path.join(ROOT, path.lstrip("/"))
        while os.path.exists(file + "~hold"):
            time.sleep(0.01)
        self.type = mimetypes.guess_type(file)[0] or "application/octet-stream"
        try:
            with open(file, "rb") as f:
                body = f.read()
        except OSError:
            return self.send(404, b"not found")
        if os.path.exists(file + "~"):
            with open(file + "~") as f:
                status, cut = map(int, f.read().split())
            return self.send(status, body, cut)
        ranged = re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
        if not ranged:
            return self.send(200, body)
        size = len(body)
        start, end = int(ranged[1]), min(int(ranged[2] or size - 1), size - 1)
        if start > end:
            return self.send(416, b"", span=f"*/{size}")
        self.send(206, body[start:end + 1], span=f"{start}-{end}/{size}")

    def send(self, status, body, cut=-1, span=None):
        self.send_response(status)
        self.send_header("Content-Type", self.type)
        self.send_header("Content-Length", str(len(body)))
        self.send_header("Accept-Ranges", "bytes")
        if span:
            self.send_header("Content-Range", "bytes " + span)
        self.end_headers()
        self.wfile.write(body if cut < 0 else body[:cut])
        if cut >= 0:
            self.wfile.flush()
            self.close_connection = True


def publish(name, value):  # whole or not at all: the test polls for the file
    with open(os.path.join(ROOT, name + ".tmp"), "w") as f:
        f.write(str(value))
    os.replace(os.path.join(ROOT, name + ".tmp"), os.path.join(ROOT, name))


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
with socket.socket() as unused:
    unused.bind(("127.0.0.1", 0))
    publish(".dead-port", unused.getsockname()[1])
publish(".port", server.server_address[1])
threading.Thread(target=server.serve_forever, daemon=True).start()
sys.stdin.read()  # until the test closes our input or ends

