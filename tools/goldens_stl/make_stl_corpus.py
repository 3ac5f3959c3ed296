#!/usr/bin/env python3
"""Writes the STL reader's input corpus under tests/data/stl/ (run on purpose,
never by a test):  python3 tools/goldens_stl/make_stl_corpus.py [source dir]

good_*.stl read into an object; bad_*.stl are malformed and are refused."""
import os
import struct
import sys

root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "..")
out = os.path.join(root, "tests", "data", "stl")
os.makedirs(out, exist_ok=True)

TRIS = [((0, 0, 1), ((0, 0, 0), (1, 0, 0), (0, 1, 0))),
        ((0, 0, 1), ((1, 0, 0), (1, 1, 0), (0, 1, 0)))]


def text(name="plate", tris=TRIS, end="\n", upper=False):
    lines = ["solid " + name]
    for n, vs in tris:
        lines.append("  facet normal %g %g %g" % n)
        lines.append("    outer loop")
        for v in vs:
            lines.append("      vertex %g %g %g" % v)
        lines += ["    endloop", "  endfacet"]
    lines.append("endsolid " + name)
    s = end.join(lines) + end
    return (s.upper() if upper else s).encode()


def binary(header=b"binary plate", tris=TRIS, count=None, fmt="<"):
    b = header[:80].ljust(80, b"\0")
    b += struct.pack(fmt + "i", len(tris) if count is None else count)
    for n, vs in tris:
        b += struct.pack(fmt + "3f", *n)
        for v in vs:
            b += struct.pack(fmt + "3f", *v)
        b += b"\0\0"
    return b


def count_bytes(data, raw):
    return data[:80] + bytes(raw) + data[84:]


files = {
    "good_text.stl": text(),
    "good_text_crlf.stl": text(end="\r\n"),
    "good_text_capitals.stl": text(upper=True),
    "good_text_no_final_line_end.stl": text()[:-1],
    "good_binary.stl": binary(),
    "good_binary_swapped.stl": binary(fmt=">"),
    "good_binary_trailing_bytes.stl": binary() + b"extra",
    "good_binary_empty.stl": binary(tris=[]),
    "bad_empty.stl": b"",
    "bad_binary_short_header.stl": b"\x01" * 50,
    "bad_binary_short_count.stl": b"\x01" * 82,
    "bad_binary_truncated.stl": binary(count=5),
    "bad_binary_count_beyond_both_orders.stl": count_bytes(binary(), [0x10, 0x27, 0x00, 0x10]),
    "bad_binary_count_beyond_big_endian.stl": count_bytes(binary(), [0x10, 0x00, 0x00, 0x20]),
    "bad_binary_count_sign_bit.stl": count_bytes(binary(), [0x00, 0x00, 0x00, 0x80]),
    "bad_binary_count_sign_bit_swapped.stl": count_bytes(binary(), [0x80, 0x00, 0x00, 0x00]),
    "bad_binary_solid_header.stl": binary(header=b"solid exported by a CAD tool"),
    "bad_text_no_endsolid.stl": text()[: text().rfind(b"endsolid")],
    "bad_text_cut_in_facet.stl": text()[: text().find(b"endloop")],
    "bad_text_cut_in_number.stl": text()[: text().find(b"vertex 1 0") + 8],
    "bad_text_two_blanks.stl": text().replace(b"facet normal", b"facet  normal", 1),
    "bad_text_long_line.stl": text().replace(b"outer loop", b" " * 200 + b"outer loop", 1),
    "bad_text_missing_vertex.stl": text().replace(b"      vertex 0 1 0\n", b"", 1),
    "bad_text_first_line.stl": b"Solid plate\n" + text()[12:],
}
for name, data in sorted(files.items()):
    with open(os.path.join(out, name), "wb") as f:
        f.write(data)
print("wrote %d files to %s" % (len(files), out))
