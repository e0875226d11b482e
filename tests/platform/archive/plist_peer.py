#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Another reader and writer of binary property lists, for tests: Python's plistlib.

plist_peer.py describe   keyed archives on standard input -> what they hold, as JSON, on standard output
plist_peer.py build      archives as other hosts write them, each with a name and with what it holds, as JSON
plist_peer.py recode     property lists on standard input -> the same lists, written by plistlib

Documents are framed: four bytes of length, most significant first, then the bytes.
A description is a list whose first element is the kind: ["str", text], ["int", decimal text], ["real", the eight
bytes as hexadecimal text], ["map", {key: description}] and so on.
"""
import datetime
import decimal
import json
import plistlib
import struct
import sys
from plistlib import UID

decimal.getcontext().prec = 60


def read_frames():
    while True:
        head = sys.stdin.buffer.read(4)
        if not head:
            return
        yield sys.stdin.buffer.read(struct.unpack(">I", head)[0])


def write_frame(data):
    sys.stdout.buffer.write(struct.pack(">I", len(data)) + data)


def real_bits(value):
    return "nan" if value != value else struct.pack(">d", value).hex()


class Decoder:
    """Decodes what our archiver writes, and checks the envelope on the way."""

    SUPERCLASSES = {
        "NSArray": [], "NSDate": [], "NSDictionary": [], "NSError": [], "NSNull": [], "NSSet": [],
        "NSString": [], "NSURL": [], "NSUUID": [], "NSDecimalNumber": ["NSNumber", "NSValue"],
    }

    def __init__(self, data):
        archive = plistlib.loads(data, fmt=plistlib.FMT_BINARY)
        assert set(archive) == {"$version", "$archiver", "$top", "$objects"}, sorted(archive)
        assert archive["$version"] == 100000 and archive["$archiver"] == "NSKeyedArchiver"
        self.objects = archive["$objects"]
        assert self.objects[0] == "$null"
        self.root = archive["$top"]["root"]

    def decode(self, uid):
        assert isinstance(uid, UID), uid
        if uid.data == 0:
            return ["nil"]
        value = self.objects[uid.data]
        if isinstance(value, str):
            assert value != "$null"
            return ["str", value]
        if isinstance(value, bytes):
            return ["data", value.hex()]
        if isinstance(value, bool):
            return ["bool", value]
        if isinstance(value, int):
            return ["int", str(value)]
        if isinstance(value, float):
            return ["real", real_bits(value)]
        assert isinstance(value, dict), value
        return self.decode_object(value)

    def decode_object(self, value):
        description = self.objects[value["$class"].data]
        name = description["$classname"]
        assert description["$classes"] == [name] + self.SUPERCLASSES[name] + ["NSObject"], description
        if name == "NSArray":
            return ["list", [self.decode(u) for u in value["NS.objects"]]]
        if name == "NSSet":
            return ["set", [self.decode(u) for u in value["NS.objects"]]]
        if name == "NSDictionary":
            keys = [self.decode(u) for u in value["NS.keys"]]
            values = [self.decode(u) for u in value["NS.objects"]]
            assert len(keys) == len(values) and all(k[0] == "str" for k in keys)
            return ["map", {k[1]: v for k, v in zip(keys, values)}]
        if name == "NSDate":
            return ["date", str(round(value["NS.time"] * 1000))]
        if name == "NSString":
            return ["str", value["NS.string"]]
        if name == "NSURL":
            assert value["NS.base"] == UID(0)
            return ["url", self.decode(value["NS.relative"])[1]]
        if name == "NSUUID":
            return ["uuid", value["NS.uuidbytes"].hex()]
        if name == "NSNull":
            return ["null"]
        if name == "NSError":
            return ["error", self.decode(value["NSDomain"])[1], str(value["NSCode"]),
                    self.decode(value["NSUserInfo"])]
        if name == "NSDecimalNumber":
            assert value["NS.mantissa.bo"] == 1 and len(value["NS.mantissa"]) == 16
            length = value["NS.length"]
            mantissa = int.from_bytes(value["NS.mantissa"], "little")
            assert mantissa < 1 << (16 * length) and (length == 0 or mantissa >> (16 * (length - 1)))
            if length == 0 and value["NS.negative"]:
                return ["decimal", "NaN"]
            number = decimal.Decimal(-mantissa if value["NS.negative"] else mantissa)
            return ["decimal", format(number.scaleb(value["NS.exponent"]), "f")]
        raise AssertionError(name)


def with_xml_references(value):
    if isinstance(value, UID):
        return {"CF$UID": value.data}
    if isinstance(value, list):
        return [with_xml_references(element) for element in value]
    if isinstance(value, dict):
        return {key: with_xml_references(content) for key, content in value.items()}
    return value


class Builder:
    """Writes archives in the shapes of other hosts; describes them at the same time."""

    def __init__(self):
        self.objects = ["$null"]
        self.classes = {}

    def add(self, value):
        self.objects.append(value)
        return UID(len(self.objects) - 1)

    def object(self, *classes, **fields):
        """An object; a field named NS_time is NS.time."""
        if classes not in self.classes:
            self.classes[classes] = self.add(
                {"$classname": classes[0], "$classes": list(classes) + ["NSObject"]})
        value = {name.replace("_", "."): content for name, content in fields.items()}
        value["$class"] = self.classes[classes]
        return self.add(value)

    def mutable_string(self, text):
        return self.object("NSMutableString", "NSString", NS_string=text)

    def dictionary(self, pairs, *classes):
        return self.object(*(classes or ("NSDictionary",)), NS_keys=[k for k, _ in pairs],
                           NS_objects=[v for _, v in pairs])

    def archive(self, root, fmt):
        archive = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {"root": root},
                   "$objects": self.objects}
        if fmt == plistlib.FMT_XML:
            archive = with_xml_references(archive)
        return plistlib.dumps(archive, fmt=fmt, sort_keys=False)


def task(builder):
    root = builder.dictionary([
        (builder.add("data"), builder.mutable_string("<p>Grüße</p>")),
        (builder.add("utiType"), builder.add("public.html")),
        (builder.mutable_string("pdfTitle"), builder.add("Invoice № 7 🙂")),
        (builder.add("pdfCreator"), UID(0)),
    ], "NSMutableDictionary", "NSDictionary")
    return root, ["map", {"data": ["str", "<p>Grüße</p>"], "utiType": ["str", "public.html"],
                          "pdfTitle": ["str", "Invoice № 7 🙂"], "pdfCreator": ["nil"]}]


def texts_and_data(builder):
    shared = builder.add(b"\x00\xff")
    elements = [
        (builder.mutable_string(""), ["str", ""]),
        (builder.object("NSMutableString", "NSString", NS_string=builder.add("by reference")),
         ["str", "by reference"]),
        (builder.object("NSString", NS_bytes="日本".encode()), ["str", "日本"]),
        (builder.object("NSString", NS_bytes=builder.add(b"")), ["str", ""]),
        (builder.object("NSMutableData", "NSData", NS_data=b"inline"), ["data", b"inline".hex()]),
        (builder.object("NSMutableData", "NSData", NS_data=shared), ["data", "00ff"]),
        (builder.object("NSData", NS_bytes=b"b"), ["data", b"b".hex()]),
        (shared, ["data", "00ff"]),
        (builder.add(b""), ["data", ""]),
        (builder.add("x" * 70000), ["str", "x" * 70000]),
        (builder.add("ö" * 70000), ["str", "ö" * 70000]),
        (builder.add(b"d" * 70000), ["data", (b"d" * 70000).hex()]),
    ]
    root = builder.object("NSMutableArray", "NSArray", NS_objects=[u for u, _ in elements])
    return root, ["list", [d for _, d in elements]]


def numbers(builder):
    elements = []
    for value in [0, 1, -1, 255, 256, 65535, 65536, 2 ** 32, -2 ** 31, 2 ** 63 - 1, -2 ** 63, 2 ** 63, 2 ** 64 - 1]:
        elements.append((builder.add(value), ["int", str(value)]))
    for value in [-0.0, 0.1, 1e308, float("inf"), float("nan")]:
        elements.append((builder.add(value), ["real", real_bits(value)]))
    for value in [True, False]:
        elements.append((builder.add(value), ["bool", value]))
    elements.append((builder.object("NSNumber", "NSValue", NS_intval=-7), ["int", "-7"]))
    elements.append((builder.object("NSNumber", "NSValue", NS_dblval=2.5), ["real", real_bits(2.5)]))
    elements.append((builder.object("NSNumber", "NSValue", NS_boolval=True), ["bool", True]))
    elements.append((builder.object("NSNumber", "NSValue", NS_number=9), ["int", "9"]))
    decimals = ("NSDecimalNumber", "NSNumber", "NSValue")

    def number(mantissa, exponent, length, negative, order):
        halves = struct.unpack("<8H", mantissa.to_bytes(16, "little"))
        fields = {"NS.exponent": exponent, "NS.length": length, "NS.negative": negative, "NS.compact": False,
                  "NS.mantissa": struct.pack(">8H" if order == 2 else "<8H", *halves), "NS.mantissa.bo": order}
        return builder.object(*decimals, **fields)

    elements.append((number(12345, -2, 1, False, 1), ["decimal", "123.45"]))
    elements.append((number(12345000, -5, 2, True, 2), ["decimal", "-123.45"]))
    elements.append((number(10 ** 38 - 1, 0, 8, False, 1), ["decimal", str(10 ** 38 - 1)]))
    # What the format has room for beyond 38 digits is rounded.
    elements.append((number(2 ** 128 - 1, 0, 8, False, 1), ["decimal", "340282366920938463463374607431768211460"]))
    elements.append((number(0, 0, 0, True, 1), ["decimal", "NaN"]))
    elements.append((number(0, 0, 0, False, 1), ["decimal", "0"]))
    root = builder.object("NSArray", NS_objects=[u for u, _ in elements])
    return root, ["list", [d for _, d in elements]]


def values(builder):
    base = builder.object("NSURL", NS_base=UID(0), NS_relative=builder.add("https://host.test/a/b.html"))
    details = builder.dictionary([(builder.add("NSLocalizedDescription"), builder.add("went wrong"))])
    moment = datetime.datetime(2024, 5, 17, 12, 30, 15)
    seconds = (moment - datetime.datetime(2001, 1, 1)).total_seconds()
    milliseconds = str(int(seconds * 1000))
    elements = [
        (builder.object("NSDate", NS_time=seconds), ["date", milliseconds]),
        (builder.add(moment), ["date", milliseconds]),
        (builder.object("NSDate", NS_time=-63114076800.0), ["date", "-63114076800000"]),
        (builder.object("NSNull"), ["null"]),
        (UID(0), ["nil"]),
        (base, ["url", "https://host.test/a/b.html"]),
        (builder.object("NSURL", NS_base=base, NS_relative=builder.add("../c.html?q=1#f")),
         ["url", "https://host.test/c.html?q=1#f"]),
        (builder.object("NSUUID", NS_uuidbytes=bytes(range(16))), ["uuid", bytes(range(16)).hex()]),
        (builder.object("NSError", NSCode=404, NSDomain=builder.add("NSURLErrorDomain"), NSUserInfo=details),
         ["error", "NSURLErrorDomain", "404", ["map", {"NSLocalizedDescription": ["str", "went wrong"]}]]),
        (builder.object("NSError", NSCode=-1, NSDomain=builder.mutable_string("d"), NSUserInfo=UID(0)),
         ["error", "d", "-1", ["nil"]]),
        (builder.object("NSMutableSet", "NSSet", NS_objects=[builder.add("one"), builder.add(2)]),
         ["set", [["str", "one"], ["int", "2"]]]),
        (builder.object("NSSet", NS_objects=[]), ["set", []]),
    ]
    root = builder.object("NSArray", NS_objects=[u for u, _ in elements])
    return root, ["list", [d for _, d in elements]]


def many(count):
    def make(builder):
        elements = [builder.add("text %d" % i) for i in range(count)]
        root = builder.object("NSArray", NS_objects=elements)
        return root, ["list", [["str", "text %d" % i] for i in range(count)]]
    return make


def backwards(builder):
    """Contents stand after what refers to them, classes first."""
    builder.classes[("NSArray",)] = builder.add({"$classname": "NSArray", "$classes": ["NSArray", "NSObject"]})
    root = builder.object("NSArray", NS_objects=[UID(4), UID(3), UID(5)])
    inner = builder.object("NSArray", NS_objects=[UID(5)])
    assert (root, inner) == (UID(2), UID(3))
    builder.add("four")
    builder.add("five")
    return root, ["list", [["str", "four"], ["list", [["str", "five"]]], ["str", "five"]]]


def build():
    cases = [("task", task), ("texts and data", texts_and_data), ("numbers", numbers), ("values", values),
             ("300 objects", many(300)), ("70000 objects", many(70000)), ("backwards", backwards)]
    for name, make in cases:
        for fmt, suffix in [(plistlib.FMT_BINARY, "binary"), (plistlib.FMT_XML, "XML")]:
            builder = Builder()
            root, description = make(builder)
            write_frame(("%s, %s" % (name, suffix)).encode())
            write_frame(builder.archive(root, fmt))
            write_frame(json.dumps(description).encode())


def main():
    if sys.argv[1] == "describe":
        for data in read_frames():
            decoder = Decoder(data)
            write_frame(json.dumps(decoder.decode(decoder.root)).encode())
    elif sys.argv[1] == "build":
        build()
    elif sys.argv[1] == "recode":
        for data in read_frames():
            write_frame(plistlib.dumps(plistlib.loads(data, fmt=plistlib.FMT_BINARY),
                                       fmt=plistlib.FMT_BINARY, sort_keys=False))
    else:
        sys.exit("plist_peer.py: describe, build or recode")


main()
