#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the notes example as its user would: check.py PROGRAM."""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
from terminal import run_on_terminal

program = sys.argv[1]
faults = []


def expect(what, condition):
    if not condition:
        faults.append(what)


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    store = folder / "made" / "notes.db"
    home = dict(os.environ, HOME=str(folder / "home"), XDG_DATA_HOME=str(folder / "home/data"))

    def run(*arguments, text=""):
        return subprocess.run([program, *map(str, arguments)], input=text, capture_output=True, text=True, timeout=200,
                              env=home)

    def shell(*lines, path=store):
        result = run("-s", path, text="".join(line + "\n" for line in lines))
        expect(f"{lines}: {result}", result.returncode == 0)
        return result.stdout.splitlines()

    def fails(what, code, line, *arguments, text=""):
        result = run(*arguments, text=text)
        expect(f"{what}: exit code {result.returncode}", result.returncode == code)
        expect(f"{what}: says {result.stderr!r}", result.stderr.count("\n") == 1 and line in result.stderr)

    # One command a call, and several in one.
    expect("add", run("-s", store, "add", "Buy", "milk: two", "litres").stdout == "1\n")
    expect("add more", shell("add Käse: from the market", "add Call Zoë") == ["2", "3"])
    listed = shell("list")
    expect(f"the newest first: {listed}", [line.split()[0] for line in listed] == ["3", "2", "1"])
    expect("so many", len(shell("list 2")) == 2)
    expect("show", shell("show 1")[1:] == ["two litres"])
    expect("search, whatever case and accents", len(shell("search kase")) == 1 and len(shell("search ZOE")) == 1)
    expect("search in texts", len(shell("search market")) == 1 and not shell("search nothing"))
    shell("edit 1 Buy bread", "edit 2 Käse: from the shop")
    expect("edit keeps the text", shell("show 1")[0].endswith("Buy bread") and shell("show 1")[1] == "two litres")
    expect("edit with a text", shell("show 2")[1] == "from the shop")

    # Undo takes back what this run did, saved as it is.
    undone = shell("edit 1 Wrong", "add Wrong too", "undo", "undo", "list", "redo", "show 1")
    expect(f"undo and redo: {undone}", undone[0] == "4" and [line.split()[0] for line in undone[1:4]] == ["3", "2", "1"] and
           undone[3].endswith("Buy bread") and undone[4].endswith("Wrong"))
    expect("and it is in the store", shell("show 1")[0].endswith("Wrong"))
    shell("edit 1 Buy bread", "delete 3")
    expect("delete", len(shell("list")) == 2)
    fails("nothing to undo", 1, "nothing to undo", "-s", store, "undo")

    # Out, and into another store.
    out = folder / "notes.json"
    shell(f"export {out}")
    exported = json.loads(out.read_text())
    expect(f"export: {exported}", [(note["number"], note["title"]) for note in exported] == [(2, "Käse"), (1, "Buy bread")])
    expect("export to standard output", json.loads(run("-s", store, "export").stdout) == exported)
    other = folder / "other.db"
    expect("import", shell(f"import {out}", path=other) == ["2 of 2 notes imported"])
    expect("the dates too", {note["created"] for note in json.loads(run("-s", other, "export").stdout)} ==
           {note["created"] for note in exported})

    # Very many, with a bar on a terminal.
    code, shown, output = run_on_terminal([program, "-s", str(folder / "many.db"), "import", "100000"], timeout=200,
                                          stdout=subprocess.PIPE, env=home)
    expect("100,000", output == b"100000 of 100000 notes imported\n" and code == 0)
    expect(f"a bar: {shown[-80:]!r}", "/100000" in shown and shown.endswith("\r\x1b[K"))
    expect("they are there", len(shell("list 100000", path=folder / "many.db")) == 100000)
    found = shell("show 77777", "search Note number 99999", path=folder / "many.db")
    expect(f"and found: {found}", found[0].endswith("Note number 77777") and len(found) == 3)

    # The application's own folder.
    expect("without -s", run("add", "at home").returncode == 0 and len(run("list").stdout.splitlines()) == 1)
    expect("there", [file.name for file in (folder / "home").rglob("Data.db")] == ["Data.db"])

    expect("help", run("-h").stdout.startswith("usage: notes ") and "import COUNT" in run("-s", store, "help").stdout)
    expect("no commands", run("-s", store).returncode == 0)
    fails("an unknown option", 64, "unknown option --bogus", "--bogus")
    fails("an option without its value", 64, "-s needs a file", "-s")
    fails("an unknown command", 1, 'unknown command "sing"', "-s", store, "sing")
    fails("no title", 1, "add needs a title", "-s", store, "add", ": text")
    fails("a title that is too long", 1, "title", "-s", store, "add", "x" * 201)
    fails("no such note", 1, 'no note "99"', "-s", store, "show", "99")
    fails("no number", 1, 'no note "-1"', "-s", store, "delete", "-1")
    fails("a count that is none", 1, "list needs a number", "-s", store, "list", "x")
    fails("a missing file", 1, "missing.json: ", "-s", store, "import", folder / "missing.json")
    (folder / "bad.json").write_text('{"no": "array"}')
    fails("no array", 1, "bad.json: not an array", "-s", store, "import", folder / "bad.json")
    fails("a folder that can't be written to", 1, "/dev/null/x", "-s", store, "export", "/dev/null/x")
    fails("too many", 1, "at most", "-s", store, "import", 10**9)
    (folder / "text.db").write_text("not a database " * 100)
    result = run("-s", folder / "text.db", "list")
    expect(f"not a database: {result}", result.returncode == 74 and result.stderr.count("\n") == 2 and
           "Failed to initialize the store" in result.stderr.splitlines()[1])
    fails("a file in place of the folder", 74, "Expected a folder to store application data, found a file", "-s",
          folder / "text.db" / "x.db", "list")
    expect("wrong commands don't end a session", run("-s", store, text="sing\nlist\n").stdout.count("\n") == 2)

for fault in faults:
    print(fault)
sys.exit(bool(faults))
