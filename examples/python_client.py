#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Converts HTML through the service's socket: python_client.py INPUT OUTPUT. docs/wire-format.md says what goes over it."""
import os
import plistlib
import socket
import struct
import sys

HEADER = struct.Struct("<4sBBHQQ")


def archive(root):
    objects = ["$null"]

    def put(value):
        objects.append(value)
        return plistlib.UID(len(objects) - 1)

    def add(value):
        if not isinstance(value, (dict, list)):
            return put(value)
        name, parts = "NSArray", {"NS.objects": [add(each) for each in (value.values() if isinstance(value, dict) else value)]}
        if isinstance(value, dict):
            name, parts["NS.keys"] = "NSDictionary", [add(key) for key in value]
        return put({"$class": put({"$classname": name, "$classes": [name, "NSObject"]}), **parts})

    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {"root": add(root)}, "$objects": objects},
                          fmt=plistlib.FMT_BINARY)


def unarchive(data):
    tree = plistlib.loads(data)

    def get(value):
        value = tree["$objects"][value.data] if isinstance(value, plistlib.UID) else value
        if not isinstance(value, dict):
            return None if value == "$null" else value
        parts = {key: [get(each) for each in part] if isinstance(part, list) else get(part)
                 for key, part in value.items() if key != "$class"}
        return dict(zip(parts["NS.keys"], parts["NS.objects"])) if "NS.keys" in parts else parts.get("NS.objects", parts)

    return get(tree["$top"]["root"])


def perform(stream, task):
    call, body = archive({"selector": "performWithData:block:", "values": [{"segment": 0}]}), archive(task)
    stream.write(HEADER.pack(b"ZRXP", 1, 1, 1, 8 + len(call) + len(body), 1) + struct.pack("<Q", len(body)) + call + body)
    stream.flush()
    _, _, _, count, length, _ = HEADER.unpack(stream.read(HEADER.size))
    lengths = struct.unpack(f"<{count}Q", stream.read(8 * count))
    answer = unarchive(stream.read(length - 8 * count - sum(lengths)))
    segments = [stream.read(each) for each in lengths]
    data, error = [segments[each["segment"]] if "segment" in each else each.get("value") for each in answer["values"]]
    return unarchive(data) if data else sys.exit(f"python_client: {error}")


with socket.socket(socket.AF_UNIX) as link, open(sys.argv[1], "rb") as page:
    link.connect(os.environ["XDG_RUNTIME_DIR"] + "/com.velmora.zrpdf.sock")
    pdf = perform(link.makefile("rwb"), {"data": page.read(), "utiType": "public.html", "pdfTitle": "From Python"})["data"]
with open(sys.argv[2], "wb") as output:
    output.write(pdf)
