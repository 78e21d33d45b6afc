"""Browser sessions for the tests: each run of vt_host loads the plug-in file anew, as a browser that was started again."""

import json
import os
import re
import shutil
import subprocess
import tempfile


class Outcome:
    """What one command of a script came to."""

    def __init__(self, command, ok, kind, value):
        self.command, self.ok, self.kind, self.value = command, ok, kind, value

    def __repr__(self):
        return f"{self.command}: ok={self.ok} {self.kind} {self.value!r}"


class Site:
    """One machine with one user: a scratch home, and on Windows a scratch Wine prefix."""

    def __init__(self, host, plugin, work, wine=None):
        self.host, self.plugin, self.work, self.wine = host, plugin, work, wine
        shutil.rmtree(work, ignore_errors=True)
        os.makedirs(work)
        self.environment = dict(os.environ)
        # Programs of the tests may print into pipes that nobody prompts at.
        for name in ("SSH_ASKPASS", "DISPLAY", "WAYLAND_DISPLAY"):
            self.environment.pop(name, None)
        if wine is None:
            self.home = os.path.join(work, "home")
            os.makedirs(self.home)
            self.environment["HOME"] = self.home
            self.marker = os.path.join(self.home, "vemtrelCertEnrollContainer.data")
        else:
            self.environment["VT_WINEPREFIX"] = self.environment["WINEPREFIX"] = os.path.join(work, "wine")
            self.run_program(["cmd", "/c", "exit"])  # makes the prefix
            # One server for all sessions: starting it takes longer than a session.
            subprocess.run(["wineserver", "-w"], env=self.environment, timeout=120, check=False)
            subprocess.run(["wineserver", "-p"], env=self.environment, stdin=subprocess.DEVNULL,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=120, check=False)
            home = self.run_program(["cmd", "/c", "echo %HOMEDRIVE%%HOMEPATH%"]).stdout.strip()
            drive, path = home[0].lower(), home[2:].replace("\\", "/")
            self.home = os.path.join(self.environment["VT_WINEPREFIX"], "drive_" + drive) + path
            self.marker = os.path.join(self.home, "vemtrelCertEnrollContainer.data")

    def run_program(self, command):
        """Runs a program of the site's platform and returns its finished process."""
        if self.wine is not None:
            command = [self.wine] + command
        # Files rather than pipes: Wine's own processes outlive the program and would keep a pipe open.
        with tempfile.TemporaryFile("w+b") as output, tempfile.TemporaryFile("w+b") as errors:
            done = subprocess.run(command, env=self.environment, cwd=self.work, stdin=subprocess.DEVNULL,
                                  stdout=output, stderr=errors, timeout=600, check=False)
            for file, name in ((output, "stdout"), (errors, "stderr")):
                file.seek(0)
                setattr(done, name, file.read().decode("utf-8", "replace").replace("\r\n", "\n"))
        return done

    def session(self, *commands, host=None):
        """One browser session. Returns the outcomes of its commands; a session that crashes or leaks is an error."""
        script = os.path.join(self.work, "script.txt")
        with open(script, "w", encoding="utf-8") as file:
            file.write("\n".join(commands) + "\n")
        done = self.run_program([host or self.host, self.plugin, script])
        if done.returncode != 0:
            raise AssertionError(f"vt_host ends with {done.returncode}: {done.stderr}\n{done.stdout}")
        outcomes = []
        for line in done.stdout.splitlines():
            found = re.match(r"^(.*?) (\{.*\})$", line)
            if not found:
                continue  # the plug-in's own lines
            result = json.loads(found.group(2))
            outcomes.append(Outcome(found.group(1), result.get("ok"), result.get("type"), result.get("value")))
        return outcomes

    def call(self, method, *arguments, before=(), host=None):
        """Calls one method in a session of its own and returns its value; None where the result is left out."""
        commands = list(before) + [" ".join(["call", method] + [quoted(argument) for argument in arguments])]
        outcome = self.session(*commands, host=host)[-1]
        if not outcome.ok:
            raise AssertionError(f"script sees an error: {outcome}")
        return outcome.value

    def close(self):
        if self.wine is not None:
            # The server of this prefix alone.
            subprocess.run(["wineserver", "-k"], env=self.environment, timeout=120, check=False)


def quoted(argument):
    if isinstance(argument, str):
        return '"' + argument.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n").replace("\r", "\\r") + '"'
    return repr(argument)
