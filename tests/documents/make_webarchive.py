# SPDX-License-Identifier: MIT
"""Writes the pages of tests/documents/page as a property-list web archive: make_webarchive.py FORMAT > FILE

FORMAT is "binary" or "xml". Another writer of property lists than ours, so that ours is not read by itself only.
"""
import pathlib
import plistlib
import sys

folder = pathlib.Path(__file__).parent / "page"


def resource(name, mime_type, encoding=None):
    entry = {
        "WebResourceData": (folder / name).read_bytes(),
        "WebResourceMIMEType": mime_type,
        "WebResourceURL": "file:///Users/someone/page/" + name,
        "WebResourceFrameName": "",
    }
    if encoding:
        entry["WebResourceTextEncodingName"] = encoding
    return entry


archive = {
    "WebMainResource": resource("index.html", "text/html", "UTF-8"),
    "WebSubresources": [resource("style.css", "text/css"), resource("red.png", "image/png")],
    "WebSubframeArchives": [{"WebMainResource": resource("frame.html", "text/html", "UTF-8")}],
}
form = {"binary": plistlib.FMT_BINARY, "xml": plistlib.FMT_XML}[sys.argv[1]]
sys.stdout.buffer.write(plistlib.dumps(archive, fmt=form))
