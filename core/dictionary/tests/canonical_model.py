#!/usr/bin/env python3
"""An independent model of the canonical signature's byte encoding (version 1).

Prints one line per sample value: its name and the hexadecimal bytes of its encoding. The C++
test embeds these lines, hashes the bytes with the library's Skein-256 engine and compares the
digest with canonicalSignature() of the same value built in C++, so the expected digests come
from this model, not from the library. Run: python3 canonical_model.py
"""
import math
import struct

CODES = {label: code for code, label in enumerate(
    ["bool", "char", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64",
     "float", "double", "string", "dictionary", "vector", "timebase"], start=1)}
FORMATS = {"bool": "<B", "char": "<b", "int8": "<b", "uint8": "<B", "int16": "<h", "uint16": "<H",
           "int32": "<i", "uint32": "<I", "int64": "<q", "uint64": "<Q", "float": "<f", "double": "<d"}
EMPTY = None


def count(n):
    """Unsigned LEB128."""
    out = bytearray()
    while n >= 0x80:
        out.append((n & 0x7F) | 0x80)
        n >>= 7
    out.append(n)
    return bytes(out)


def text(data):
    return count(len(data)) + data


def value(v):
    if v is EMPTY:
        return b"\x00"
    label, content = v
    tag = bytes([CODES[label]])
    if label in ("float", "double") and math.isnan(content):
        return tag + count(4 if label == "float" else 8) + (
            b"\x00\x00\xc0\x7f" if label == "float" else b"\x00" * 6 + b"\xf8\x7f")
    if label in FORMATS:
        packed = struct.pack(FORMATS[label], content)
        return tag + count(len(packed)) + packed
    if label == "string":
        return tag + text(content)
    if label == "timebase":
        return tag + count(16) + struct.pack("<QQ", *content)
    if label == "vector":
        return tag + count(len(content)) + b"".join(value(e) for e in content)
    if label == "dictionary":  # entries by the unsigned bytes of their keys
        return tag + count(len(content)) + b"".join(
            text(k) + value(content[k]) for k in sorted(content))
    raise ValueError(label)


def sign(v):
    return bytes([1]) + value(v)


SAMPLES = [
    ("frame_size", ("dictionary", {b"width": ("int32", 1920), b"height": ("int32", 1080)})),
    ("one_key_text", ("dictionary", {b"k": ("string", b"v|k2string")})),
    ("two_keys", ("dictionary", {b"k": ("string", b"v"), b"k2": ("string", b"")})),
    ("int32_one", ("vector", [("int32", 1)])),
    ("uint32_one", ("vector", [("uint32", 1)])),
    ("bytes_one", ("vector", [("string", b"\x01\x00\x00\x00")])),
    ("a_b", ("vector", [("string", b"a"), ("string", b"b")])),
    ("a_joined_b", ("vector", [("string", b"a\x01\x00\x00\x00b")])),
    ("scalars", ("vector", [("bool", 1), ("char", 65), ("int8", -1), ("uint8", 200),
                            ("int16", -2), ("uint16", 65535), ("int64", -5),
                            ("uint64", 2**64 - 1), ("float", -0.0), ("float", math.nan),
                            ("double", 1.5), ("double", math.nan), EMPTY])),
    ("rates", ("vector", [("timebase", (30000, 1001)), ("timebase", (50, 2)),
                          ("timebase", (0, 0))])),
    ("nested", ("dictionary", {b"z": ("vector", [EMPTY, ("dictionary", {b"b": ("timebase", (25, 1))})]),
                               b"\xc3\xa9": ("string", b"x" * 200), b"a": ("dictionary", {}),
                               b"ab": ("vector", [])})),
    ("empty", EMPTY),
]

if __name__ == "__main__":
    for name, sample in SAMPLES:
        print(name, sign(sample).hex())
