"""A folder of small shell programs that stand in for those that a script calls."""

import pathlib
import stat
import tempfile


def folder_of(test, programs):
    """The folder, which is there until the test ends; programs are pairs of a name and what bash runs."""
    holder = tempfile.TemporaryDirectory()
    test.addCleanup(holder.cleanup)
    folder = pathlib.Path(holder.name)
    for name, body in programs.items():
        file = folder / name
        file.write_text("#!/bin/bash\n" + body)
        file.chmod(file.stat().st_mode | stat.S_IXUSR)
    return folder
