#!/usr/bin/env python3
"""What the plug-in paints on Windows: a black frame round the window, and its text within.

    painting.py vt_host plugin work wine.sh

Runs under Xvfb in a Wine prefix of its own, which must not have been started without a display. Ends with 77 (skipped)
where Xvfb is missing. The picture stays in the work folder.
"""

import json
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from screen import Screen  # noqa: E402


def main():
    host, plugin, work, wine = sys.argv[1:]
    if shutil.which("Xvfb") is None:
        print("skipped: Xvfb is not installed")
        return 77
    os.makedirs(work, exist_ok=True)
    screen = Screen()
    environment = dict(os.environ, VT_WINEPREFIX=os.path.join(work, "wine"), WINEPREFIX=os.path.join(work, "wine"),
                       DISPLAY=screen.name)
    picture = os.path.join(work, "window.bmp")
    done = subprocess.run([wine, host, plugin], input=f"window 320 100\nsnapshot {picture}\n",
                          env=environment, capture_output=True, text=True, timeout=250, check=False)
    subprocess.run(["wineserver", "-w"], env=environment, timeout=60, check=False)
    screen.stop()
    print(done.stdout, done.stderr)
    found = re.search(r"^snapshot (\{.*\})$", done.stdout, re.M)
    if done.returncode != 0 or not found:
        return 1
    seen = json.loads(found.group(1))
    # The text has 35 characters, each of a dozen dark pixels at least at the size of the system's font.
    good = seen["framed"] and seen["width"] == 320 and seen["height"] == 100 and 200 < seen["ink"] < 5000
    print(picture, "as it should be" if good else "is not framed or has no text")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
