"""What the tests of the enrolment page share: the authority, the window, and scratch folders that go away again."""
import base64
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.request

TOP = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(TOP, "tests", "support"))
from screen import Screen  # noqa: E402

# Nothing that goes well takes as long: a machine may have much else to do.
START_SECONDS = 60
STEP_SECONDS = 120
WINDOW_SECONDS = 600


def build_folder():
    return os.environ["VT_BUILD"]


def run(arguments, **options):
    """Runs a program that must succeed; gives what it wrote."""
    done = subprocess.run(arguments, capture_output=True, timeout=120, check=False, **options)
    if done.returncode != 0:
        raise AssertionError("%s gave %d:\n%s" % (" ".join(arguments), done.returncode, done.stderr.decode()))
    return done.stdout


def codes():
    """The list of codes, read from its source: value to (what happened, usual cause, what to do)."""
    with open(os.path.join(TOP, "enrol", "codes.def"), encoding="utf-8") as file:
        text = re.sub(r'"\s*\n\s*"', "", file.read())
    literal = r'"((?:[^"\\]|\\.)*)"'
    entries = re.findall(r"^VT_CODE\((-?\d+), \w+,\s*%s,\s*%s,\s*%s\)" % (literal, literal, literal), text, re.M)
    return {int(entry[0]): tuple(part.replace('\\"', '"') for part in entry[1:]) for entry in entries}


def request_text(folder, subject, bits=1024, digest="sha1"):
    """A request as openssl makes it, as bare base64 text with line breaks, and the name of its key file."""
    key = os.path.join(folder, "key-%d-%s.pem" % (bits, digest))
    pem = run(["openssl", "req", "-new", "-newkey", "rsa:%d" % bits, "-nodes", "-keyout", key, "-" + digest, "-utf8",
               "-subj", subject]).decode("ascii")
    return re.search(r"-----BEGIN.*?-----\n(.*?)-----END", pem, re.S).group(1), key


class Answer:
    def __init__(self, status, headers, body):
        self.status = status
        self.headers = headers
        self.body = body

    def json(self):
        return json.loads(self.body)


class Authority:
    """The demonstration authority in a folder of its own, as a process of its own."""

    def __init__(self, folder):
        self.folder = folder
        self.process = None
        self.address = None
        self.start()

    def start(self):
        self.log = open(self.folder + ".log", "ab")
        self.process = subprocess.Popen([sys.executable, "-B", "-m", "authority", "--state", self.folder],
                                        cwd=os.path.join(TOP, "demo"), stdout=subprocess.PIPE, stderr=self.log)
        line = self.process.stdout.readline().decode()
        self.address = re.search(r"http://\S+", line).group(0)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(START_SECONDS)
        self.process.stdout.close()
        self.log.close()

    def ask(self, method, path, body=None, headers=None):
        request = urllib.request.Request(self.address.rstrip("/") + path, data=body, method=method, headers=headers or {})
        try:
            with urllib.request.urlopen(request, timeout=START_SECONDS) as answer:
                return Answer(answer.status, answer.headers, answer.read())
        except urllib.error.HTTPError as error:
            with error:
                return Answer(error.code, error.headers, error.read())

    def get(self, path):
        return self.ask("GET", path)

    def headers(self):
        return {"X-Enrolment-Token": self.get("/api/authority").json()["token"], "Content-Type": "application/json"}

    def order(self, value):
        return self.ask("POST", "/api/orders", json.dumps(value).encode(), self.headers())

    def orders(self):
        return self.get("/api/orders").json()["orders"]


class ScratchTest(unittest.TestCase):
    """A test with a scratch folder; pictures go to the build tree, where they stay."""

    def setUp(self):
        self.scratch_holder = tempfile.TemporaryDirectory(prefix="certenroll-")
        self.addCleanup(self.scratch_holder.cleanup)
        self.scratch = self.scratch_holder.name
        self.home = os.path.join(self.scratch, "home")
        os.mkdir(self.home, 0o700)

    def start_authority(self):
        authority = Authority(os.path.join(self.scratch, "authority"))
        self.addCleanup(authority.stop)
        return authority

    def picture(self, name):
        folder = os.path.join(build_folder(), "screenshots")
        os.makedirs(folder, exist_ok=True)
        return os.path.join(folder, name + ".png")


class Window:
    """The demonstration window on a virtual screen, with a home folder and a memory of its own."""

    def __init__(self, test, address):
        self.test = test
        self.address = address
        self.fake = None
        self.plugins = False
        self.screen = None

    def answers(self, **values):
        """Puts a stand-in for the plug-in into the page, which gives these answers."""
        self.fake = dict({"getVersion": "1.0.14.1", "listCSP": ["First Provider", "Second Provider"],
                          "SetHashAlgorithm": 0}, **values)

    def _injected(self):
        path = os.path.join(self.test.scratch, "inject.js")
        with open(os.path.join(TOP, "tests", "browser", "fake_plugin.js"), encoding="utf-8") as file:
            stand_in = file.read()
        with open(path, "w", encoding="utf-8") as file:
            file.write("window.fakeAnswers = %s;\n%s" % (json.dumps(self.fake), stand_in))
        return path

    def play(self, script, path=""):
        """Plays a script of the window's driver to its end; gives what it printed."""
        script_path = os.path.join(self.test.scratch, "script.txt")
        with open(script_path, "w", encoding="utf-8") as file:
            file.write(script)
        if self.screen is None:
            self.screen = Screen("1280x1600x24")
            self.test.addCleanup(self.screen.stop)
        arguments = [os.path.join(build_folder(), "bin", "certenroll_window"), self.address + path, "--script", script_path,
                     "--storage", os.path.join(self.test.scratch, "storage"), "--wait", str(STEP_SECONDS)]
        if self.fake is not None:
            arguments += ["--inject", self._injected()]
        environment = dict(os.environ, HOME=self.test.home, XDG_RUNTIME_DIR=self.test.home, LC_ALL="C.UTF-8",
                           DISPLAY=self.screen.name)
        environment["MOZ_PLUGIN_PATH"] = build_folder() if self.plugins else self.test.home
        if not self.plugins:
            arguments.append("--no-plugins")
        done = subprocess.run(arguments, env=environment, cwd=self.test.scratch, capture_output=True,
                              timeout=WINDOW_SECONDS, check=False)
        if done.returncode != 0:
            self.test.fail("the window gave %d: %s%s" % (done.returncode, done.stderr.decode(), done.stdout.decode()))
        return done.stdout.decode()


def der_of(text):
    return base64.b64decode(text)


def base64_of(data):
    return base64.b64encode(data).decode("ascii")


def wait_for(condition, seconds=START_SECONDS):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("it did not happen in time")
        time.sleep(0.05)
