#!/usr/bin/env python3
"""Runs clang-tidy over every source of ours that the native build compiles.

    tidy.py [--jobs N] [--build FOLDER] [file]...

A source that passed is not looked at again until it, a header of ours that it includes, its compile command or the
configuration changes: its fingerprint is kept in build/tidy.
"""

import argparse
import concurrent.futures
import hashlib
import json
import pathlib
import shutil
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
CACHE = TOP / "build" / "tidy"


def our_sources(build):
    """Compile commands of the sources in the tree, by path. Headers' verification units lie in the build folder."""
    commands = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["directory"], entry["file"]).resolve()
        if TOP in path.parents and TOP / "build" not in path.parents:
            commands.setdefault(path, entry)
    return commands


def dependencies(build):
    """For each object file of the build, the headers of ours that it was made from, as ninja noted them."""
    output = subprocess.run(["ninja", "-C", build, "-t", "deps"], capture_output=True, text=True, check=True).stdout
    found, current = {}, None
    for line in output.splitlines():
        if line.startswith("    ") and current is not None:
            path = (build / line.strip()).resolve()
            if TOP in path.parents:
                current.append(path)
        elif ": #deps" in line:
            current = found.setdefault(line.split(": #deps")[0], [])
    return found


def configuration():
    """What is the same for all: the program's version and every .clang-tidy of the tree."""
    text = subprocess.run(["clang-tidy", "--version"], capture_output=True, text=True, check=True).stdout
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "--", "*.clang-tidy"],
                            cwd=TOP, capture_output=True, text=True, check=True).stdout.split()
    return text + "".join((TOP / name).read_text() for name in sorted(set(listed)))


def fingerprint(entry, path, headers, common):
    digest = hashlib.sha256(common.encode())
    digest.update(entry["command"].encode())
    for file in [path, *sorted(set(headers))]:
        digest.update(str(file.relative_to(TOP)).encode())
        digest.update(file.read_bytes() if file.exists() else b"")
    return digest.hexdigest()


def run(build, path):
    result = subprocess.run(["clang-tidy", "-quiet", "-p", build, path], capture_output=True, text=True, check=False)
    return result.returncode, result.stdout


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--build", type=pathlib.Path, default=TOP / "build" / "native")
    parser.add_argument("files", nargs="*", type=pathlib.Path)
    arguments = parser.parse_args()
    if not shutil.which("clang-tidy"):
        sys.exit("there is no clang-tidy")

    build = arguments.build.resolve()
    commands = our_sources(build)
    wanted = {file.resolve() for file in arguments.files} or set(commands)
    headers, common = dependencies(build), configuration()
    CACHE.mkdir(parents=True, exist_ok=True)
    todo = {}
    for path in sorted(wanted & set(commands)):
        entry = commands[path]
        mark = CACHE / fingerprint(entry, path, headers.get(entry.get("output", ""), []), common)
        if not mark.exists():
            todo[path] = mark
    print(f"{len(wanted)} sources, {len(todo)} to look at", flush=True)

    bad = []
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        running = {pool.submit(run, build, path): path for path in todo}
        for done in concurrent.futures.as_completed(running):
            path = running[done]
            status, output = done.result()
            if status == 0:
                todo[path].touch()
                continue
            bad.append(path)
            print(output, flush=True)
    for path in sorted(bad):
        print(f"not clean: {path.relative_to(TOP)}")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
