#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the C++ on the pages of docs/kit and in docs/interface.md is what the example programs run:
check_pages.py SOURCE_DIR.

Each line of a page's blocks must stand in the program of the page's name, in examples/kit, examples/interface or
examples/queue, however it
is indented there; of docs/interface.md, in examples/interface/Interface.cpp. A comment behind a line is the page's own.
"""
import pathlib
import re
import sys

top = pathlib.Path(sys.argv[1])
lines = strangers = 0
for page in sorted((top / "docs/kit").glob("*.md")) + [top / "docs/interface.md"]:
    name = "Interface" if page.stem == "interface" else page.stem
    programs = [top / "examples" / folder / (name + ".cpp") for folder in ("kit", "interface", "queue")]
    program = next(filter(pathlib.Path.exists, programs), programs[0])
    sources = [program.with_name(name + end) for end in (".cpp", ".h", "Service.cpp")]
    code = re.sub(r"\s+", "", "".join(source.read_text() for source in sources if source.exists()))
    for block in re.findall(r"```cpp\n(.*?)```", page.read_text(), re.S):
        for line in filter(None, map(str.strip, block.splitlines())):
            lines += 1
            if re.sub(r"\s+", "", re.sub(r"\s//.*", "", line)) not in code:
                strangers += 1
                print(f"{page.name} shows what {program.name} doesn't run: {line}")
print(f"{lines} lines, {strangers} of them not in their programs")
sys.exit(strangers > 0 or lines == 0)
