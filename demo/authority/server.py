"""The web server before the demonstration authority: it serves the enrolment page and takes requests from it.

It listens on the loopback address alone, answers only to its own host name (so that no foreign name can be pointed at it),
and takes a request for a certificate only from its own page: of the same origin, as JSON, and with the token that only
that page can read.
"""
import hmac
import http.server
import json
import os
import secrets
import socket
import sys
import threading

from . import issuer

BODY_LIMIT = 32 * 1024
CONNECTIONS_LIMIT = 32
SOCKET_SECONDS = 20
PAGE_FILES = {
    "/": ("index.html", "text/html; charset=utf-8"),
    "/page.css": ("page.css", "text/css; charset=utf-8"),
    "/page.js": ("page.js", "application/javascript; charset=utf-8"),
    "/enrolment.js": ("enrolment.js", "application/javascript; charset=utf-8"),
    "/codes.js": ("codes.js", "application/javascript; charset=utf-8"),
}
SECURITY_HEADERS = {
    "Content-Security-Policy": "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                               "connect-src 'self'; object-src 'self'; base-uri 'none'; form-action 'self'",
    "X-Content-Type-Options": "nosniff",
    "X-Frame-Options": "DENY",
    "Referrer-Policy": "no-referrer",
    "Cache-Control": "no-store",
}


class BadRequest(Exception):
    def __init__(self, status, text):
        super().__init__(text)
        self.status = status
        self.text = text


class Handler(http.server.BaseHTTPRequestHandler):
    server_version = "VemtrelDemonstrationAuthority"
    sys_version = ""
    protocol_version = "HTTP/1.1"
    timeout = SOCKET_SECONDS

    def do_GET(self):
        self._serve(self._get)

    def do_POST(self):
        self._serve(self._post)

    def do_PUT(self):
        self._serve(self._refuse_method)

    do_DELETE = do_PATCH = do_OPTIONS = do_HEAD = do_PUT

    def _refuse_method(self):
        raise BadRequest(405, "Only GET and POST are served here.")

    def _serve(self, action):
        try:
            if self.headers.get("Host") not in self.server.host_names:
                raise BadRequest(421, "This server answers on the loopback address only.")
            action()
        except BadRequest as error:
            self.close_connection = True
            self._send_json(error.status, {"error": error.text})
        except (BrokenPipeError, ConnectionResetError, socket.timeout):
            self.close_connection = True
        except Exception as error:  # the person at the page gets an answer, the log gets the reason
            self.log_error("%s: %s", type(error).__name__, error)
            self.close_connection = True
            self._send_json(500, {"error": "The authority has a fault of its own; its log says which."})

    def _get(self):
        path = self.path.partition("?")[0]
        if path in PAGE_FILES:
            name, kind = PAGE_FILES[path]
            with open(os.path.join(self.server.page_folder, name), "rb") as file:
                return self._send(200, kind, file.read())
        authority = self.server.authority
        if path == "/api/authority":
            return self._send_json(200, dict(authority.describe(), token=self.server.token))
        if path == "/api/orders":
            return self._send_json(200, {"orders": authority.orders()})
        if path.startswith("/api/orders/"):
            return self._send_json(200, self._order(path[len("/api/orders/"):]))
        if path == "/authority/root.pem":
            return self._send_file("root.pem", "application/x-pem-file", authority.root_pem)
        if path == "/authority/issuing.pem":
            return self._send_file("issuing.pem", "application/x-pem-file", authority.issuing_pem)
        if path.startswith("/orders/"):
            return self._send_order_file(*path[len("/orders/"):].partition("/")[::2])
        raise BadRequest(404, "There is nothing here.")

    def _order(self, text):
        number = issuer.normalised_order(text)
        record = number and self.server.authority.order(number)
        if not record:
            raise BadRequest(404, "The authority knows no order of this number.")
        return record

    def _send_order_file(self, text, name):
        record = self._order(text)
        number = record["order"]
        authority = self.server.authority
        if name == "certificate.txt":
            return self._send_file(number + ".txt", "text/plain; charset=us-ascii", record["certificate"].encode("ascii"))
        if name == "chain.pem":
            return self._send_file(number + "-chain.pem", "application/x-pem-file", authority.chain_pem(number))
        if name == "chain.p7b":
            return self._send_file(number + "-chain.p7b", "application/x-pkcs7-certificates",
                                   authority.chain_pkcs7(number))
        if name == "chain.txt":
            return self._send_file(number + "-chain.txt", "text/plain; charset=us-ascii",
                                   issuer.base64_lines(authority.chain_pkcs7(number)).encode("ascii"))
        raise BadRequest(404, "There is nothing here.")

    def _post(self):
        if self.path != "/api/orders":
            raise BadRequest(404, "There is nothing here.")
        origin = self.headers.get("Origin")
        if origin is not None and origin not in self.server.origins:
            raise BadRequest(403, "The authority takes requests from its own page only.")
        if not hmac.compare_digest(self.headers.get("X-Enrolment-Token", "").encode("utf-8", "replace"),
                                   self.server.token.encode("ascii")):
            raise BadRequest(403, "The page is from an earlier run of the authority: load it again.")
        if self.headers.get_content_type() != "application/json":
            raise BadRequest(415, "A request must come as JSON.")
        order = self._json_body()
        if not isinstance(order, dict) or not isinstance(order.get("request"), str):
            raise BadRequest(400, "The request must be a text.")
        subject = order.get("subject", {})
        if not isinstance(subject, dict) or not all(isinstance(value, str) for value in subject.values()):
            raise BadRequest(400, "The names must be texts.")
        try:
            self._send_json(201, self.server.authority.issue(order["request"], subject))
        except issuer.Refused as error:
            raise BadRequest(422, str(error)) from error
        except issuer.Full as error:
            raise BadRequest(503, "The demonstration authority keeps no more orders; empty its folder.") from error

    def _json_body(self):
        length = self.headers.get("Content-Length", "")
        if self.headers.get("Transfer-Encoding") or not (length.isascii() and length.isdigit()):
            raise BadRequest(411, "The length of the request must be given.")
        if len(length) > 9 or int(length) > BODY_LIMIT:
            raise BadRequest(413, "The request is too long.")
        body = self.rfile.read(int(length))
        try:
            text = body.decode("utf-8")
            text.encode("utf-8")
            return json.loads(text)
        except (ValueError, RecursionError) as error:
            raise BadRequest(400, "The request is not JSON.") from error

    def _send_json(self, status, value):
        self._send(status, "application/json; charset=utf-8", json.dumps(value).encode("ascii"))

    def _send_file(self, name, kind, content):
        self._send(200, kind, content, {"Content-Disposition": 'attachment; filename="%s"' % name})

    def _send(self, status, kind, content, more=None):
        self.send_response(status)
        headers = dict(SECURITY_HEADERS, **(more or {}))
        headers["Content-Type"] = kind
        headers["Content-Length"] = str(len(content))
        if self.close_connection:
            headers["Connection"] = "close"
        for name, value in headers.items():
            self.send_header(name, value)
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(content)

    def log_message(self, format, *args):  # the signature of the base class
        text = format % args
        sys.stderr.write("%s %s\n" % (self.log_date_time_string(), "".join(c if c.isprintable() else "?" for c in text)))
        sys.stderr.flush()


class Server(http.server.ThreadingHTTPServer):
    """One thread a connection, and no more than CONNECTIONS_LIMIT of them."""
    daemon_threads = True

    def __init__(self, port, authority, page_folder):
        super().__init__(("127.0.0.1", port), Handler)
        self.authority = authority
        self.page_folder = page_folder
        self.token = secrets.token_hex(16)
        self.port = self.server_address[1]
        self.host_names = ("127.0.0.1:%d" % self.port, "localhost:%d" % self.port)
        self.origins = tuple("http://" + name for name in self.host_names)
        self.places = threading.BoundedSemaphore(CONNECTIONS_LIMIT)

    def process_request(self, request, client_address):
        if not self.places.acquire(blocking=False):
            self.shutdown_request(request)
            return
        super().process_request(request, client_address)

    def process_request_thread(self, request, client_address):
        try:
            super().process_request_thread(request, client_address)
        finally:
            self.places.release()
