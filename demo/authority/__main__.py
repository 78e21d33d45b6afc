"""Starts the demonstration authority: python3 -m authority --state <folder> [--page <folder>] [--port <number>]

The first start makes the authority's keys and picks a free port; later starts of the same folder keep both, because a
browser keeps what the page remembers by address and port. The file "address" in the folder says where the page is.
"""
import argparse
import os
import signal
import sys

from .issuer import Authority
from .server import Server


def remembered_port(state):
    try:
        with open(os.path.join(state, "port"), encoding="ascii") as file:
            port = int(file.read())
        return port if 0 < port < 65536 else 0
    except (OSError, ValueError):
        return 0


def make_server(port, authority, page):
    try:
        return Server(port, authority, page)
    except OSError:
        if port == 0:
            raise
        return Server(0, authority, page)


def write_file(path, text):
    with open(path + ".new", "w", encoding="ascii") as file:
        file.write(text)
    os.replace(path + ".new", path)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description="A certificate authority for trials, on the loopback address.")
    parser.add_argument("--state", required=True, help="the folder of the authority's keys and orders")
    parser.add_argument("--page", default=os.path.join(here, "..", "page"), help="the folder of the enrolment page")
    parser.add_argument("--port", type=int, default=0, help="the port; without it a free one, kept from start to start")
    options = parser.parse_args()

    os.umask(0o077)
    os.makedirs(options.state, exist_ok=True)
    authority = Authority(options.state)
    server = make_server(options.port or remembered_port(options.state), authority, os.path.abspath(options.page))
    write_file(os.path.join(options.state, "port"), "%d\n" % server.port)
    write_file(os.path.join(options.state, "address"), "http://127.0.0.1:%d/\n" % server.port)
    print("The enrolment page is at http://127.0.0.1:%d/" % server.port, flush=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    return 0


sys.exit(main())
