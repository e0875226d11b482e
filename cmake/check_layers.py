#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the table of rooms in docs/architecture.md against the CMake targets and the sources: check_layers.py SOURCE_DIR.

The table's last column names what a room uses, in the words of the build files: those must agree, without a circle. A source
may include from the rooms that its own uses, directly or by way of others.
"""
import pathlib
import re
import sys

top = pathlib.Path(sys.argv[1])
faults = []


def uses_in_table():
    rows = re.findall(r"^\| `([^`]+)` \|[^|]*\|([^|]*)\|$", (top / "docs/architecture.md").read_text(), re.M)
    return {room: set(re.findall(r"`([^`]+)`", uses)) for room, uses in rows}


def uses_in_build():
    """What each target of the project links, by folder."""
    folders, links = {}, {}
    for root in ("platform", "ZRKit", "service", "tools"):
        for file in (top / root).rglob("CMakeLists.txt"):
            text = re.sub(r"#[^\n]*", "", file.read_text())
            folder = str(file.parent.relative_to(top))
            for name, arguments in re.findall(r"zr_library\((\w+)\s([^)]*)\)", text):
                folders[name] = folder
                used = re.split(r"\b(?:SOURCES|HEADERS)\b", arguments)[0]
                links.setdefault(folder, set()).update(re.findall(r"\w[\w:]*", used))
            for arguments in re.findall(r"target_link_libraries\(([^)]*)\)", text):
                links.setdefault(folder, set()).update(re.findall(r"\w[\w:]*", arguments)[1:])
    folders |= {"zr_service": "service", "zrpdf_converter": "tools/converter", "zrpdf_parts": "tools/zrpdf",
                "zrpdf_serve_parts": "tools/zrpdf-serve", "zrpdf_queue": "tools/zrpdf-broker",
                "zrpdf_worker_parts": "tools/zrpdf-broker", "zrpdf_desktop_model": "tools/zrpdf-desktop",
                "zrkit_designer": "tools/designer"}
    return {folder: {folders[name] for name in names if folders.get(name, folder) != folder}
            for folder, names in links.items() if folder in folders.values()}


def reachable(room, graph, seen):
    for used in graph.get(room, ()):
        if used not in seen:
            seen.add(used)
            reachable(used, graph, seen)
    return seen


def room_of(folder):
    """A room may have folders of its own."""
    while folder and folder not in build:
        folder = folder.rpartition("/")[0]
    return folder


table, build = uses_in_table(), uses_in_build()
for room in sorted(table.keys() | build.keys()):
    if table.get(room) != build.get(room):
        faults.append(f"{room} uses {sorted(table.get(room, ['nothing known']))} in docs/architecture.md, "
                      f"{sorted(build.get(room, ['nothing known']))} in its build file")
    if room in reachable(room, build, set()):
        faults.append(f"{room} uses itself, by way of others")

includes = 0
for room in build:
    allowed = reachable(room, build, {room})
    for source in sorted((top / room).rglob("*")):
        if source.suffix not in (".h", ".cpp"):
            continue
        for header in re.findall(r'^#include "((?:platform|ZRKit|service|tools)\b[^"]*)/[^/"]+"', source.read_text(), re.M):
            includes += 1
            if room_of(header) not in allowed:
                faults.append(f"{source.relative_to(top)} includes from {header}, which {room} doesn't use")

for fault in faults:
    print(fault)
print(f"{len(build)} rooms, {includes} includes between files, {len(faults)} faults")
sys.exit(bool(faults) or not build or not includes)
