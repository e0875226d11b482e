#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the thumbnails example as its user would: check.py PROGRAM FOLDER_OF_PICTURES."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
from terminal import run_on_terminal

program, pictures = sys.argv[1], pathlib.Path(sys.argv[2])
faults = []


def expect(what, condition):
    if not condition:
        faults.append(what)


def run(*arguments, **keywords):
    return subprocess.run([program, *map(str, arguments)], capture_output=True, text=True, timeout=60, **keywords)


def on_terminal(*arguments):
    """What the program writes to a terminal."""
    code, shown, _ = run_on_terminal([program, *map(str, arguments)], timeout=60)
    return code, shown


def fails(what, code, line, *arguments):
    result = run(*arguments)
    expect(f"{what}: exit code {result.returncode}", result.returncode == code)
    expect(f"{what}: says {result.stderr!r}", result.stderr.count("\n") == 1 and line in result.stderr)
    expect(f"{what}: writes to its output", not result.stdout)


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    here = folder / "pictures"
    here.mkdir()
    for picture in ("red.gif", "red.jpg", "red.png", "tall.png", "turned.jpg", "wide.png"):
        shutil.copy(pictures / picture, here)
    (here / "notes.txt").write_text("not a picture\n")
    (here / "folder.png").mkdir()

    result = run(here)
    made = here / "thumbnails"
    expect(f"quiet in a pipe: {result}", result.returncode == 0 and not result.stdout and not result.stderr)
    expect("one file a picture: " + " ".join(sorted(os.listdir(made))),
           sorted(file.stem for file in made.iterdir()) ==
           ["red.gif", "red.jpg", "red.png", "tall.png", "turned.jpg", "wide.png"])
    for file in made.iterdir():
        start = file.read_bytes()[:8]
        expect(f"{file.name} is what its name says",
               start.startswith(b"\xff\xd8\xff" if file.suffix == ".jpg" else b"\x89PNG\r\n\x1a\n"))

    other = folder / "made" / "for it"
    expect("options", run("-s", 8, "--jobs", 3, "--output", other, here).returncode == 0 and len(list(other.iterdir())) == 6)
    expect("again, in their places", run("-o", other, here).returncode == 0 and len(list(other.iterdir())) == 6)

    code, shown = on_terminal("-o", other, here)
    expect(f"a bar on a terminal: {shown!r}", code == 0 and "6/6" in shown and shown.endswith("\r\x1b[K"))

    (here / "broken.png").write_bytes(b"no picture")
    fails("a broken picture", 1, "broken.png: not a picture that can be read", "-o", other, here)
    expect("the others are made beside a broken one", len(list(other.iterdir())) == 6)

    empty = folder / "empty"
    empty.mkdir()
    expect("an empty folder", run(empty).returncode == 0)
    expect("help", run("-h").returncode == 0 and run("--help").stdout.startswith("usage: "))
    fails("no folder", 64, "usage: ")
    fails("two folders", 64, "more than one folder: b", "a", "b")
    fails("an unknown option", 64, "unknown option --bogus", "--bogus", here)
    fails("a size that is none", 64, '--size needs a number from 1 to 4096, not "0"', "--size", 0, here)
    fails("jobs that are none", 64, '-j needs a number from 1 to 1024, not "x"', "-j", "x", here)
    fails("an option without its value", 64, "-o needs a value", here, "-o")
    fails("a missing folder", 66, "missing: can't be read", folder / "missing")
    fails("a file in place of the folder", 66, "notes.txt: can't be read", here / "notes.txt")
    fails("an output that can't be made", 73, "can't be made", "-o", "/dev/null/there", here)
    fails("an output that is a file", 73, "can't be made", "-o", here / "notes.txt", here)
    if os.path.exists("/dev/full") and os.geteuid() != 0:
        other.chmod(0o500)
        expect("an output that can't be written", run("-o", other, here).returncode == 1)
        other.chmod(0o700)

for fault in faults:
    print(fault)
sys.exit(bool(faults))
