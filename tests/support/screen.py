"""A virtual screen for tests that show a window."""
import os
import subprocess


class Screen:
    """Xvfb from here to stop(), on a display number that nobody else has; its name is for the variable DISPLAY.

    Not by xvfb-run: that waits for Xvfb's signal, which on a busy machine may have come before, and then waits for ever.
    """

    def __init__(self, size="1280x1024x24"):
        answer, told = os.pipe()
        self.process = subprocess.Popen(["Xvfb", "-displayfd", str(told), "-screen", "0", size, "-noreset", "-nolisten",
                                         "tcp"], pass_fds=[told], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        os.close(told)
        with os.fdopen(answer, encoding="ascii") as file:
            number = file.readline().strip()
        if not number:
            self.stop()
            raise RuntimeError("Xvfb does not start")
        self.name = ":" + number

    def stop(self):
        self.process.terminate()
        self.process.wait()
