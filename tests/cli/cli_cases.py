#!/usr/bin/env python3
"""The polyfex command run as a user runs it: one subprocess per call.

Usage: cli_cases.py --polyfex EXE --make-samples EXE --source DIR --work DIR CASE

Each CASE is a group of related checks; the first failed check ends the case
with exit status 1 and says what differed.
"""
import argparse
import json
import math
import os
import shutil
import struct
import subprocess
import sys
import zlib

ARGS = None


class CaseFailed(Exception):
    pass


def expect(condition, what):
    if not condition:
        raise CaseFailed(what)


def sample(name):
    return os.path.join(ARGS.source, "samples", name)


def work(name):
    return os.path.join(ARGS.work, name)


def run(*args, code=0):
    """Runs polyfex with args; checks the exit status; returns (stdout, stderr)."""
    proc = subprocess.run([ARGS.polyfex, *args], capture_output=True, text=True, timeout=120)
    expect(proc.returncode == code,
           "polyfex %s: exit %d, expected %d\nstdout:\n%s\nstderr:\n%s"
           % (" ".join(args), proc.returncode, code, proc.stdout, proc.stderr))
    return proc.stdout, proc.stderr


def one_error_line(stderr, starts):
    lines = stderr.splitlines()
    expect(len(lines) == 1, "expected one error line, got:\n" + stderr)
    expect(lines[0].startswith(starts), "error line %r does not start with %r" % (lines[0], starts))
    return lines[0]


def info_json(path):
    out, _ = run("info", "--json", path)
    doc = json.loads(out)
    expect(len(doc["files"]) == 1, "one file in the JSON report")
    return doc["files"][0]


def close(a, b, tol=1e-4):
    return abs(a - b) <= tol * max(1.0, abs(a), abs(b))


def close3(a, b, tol=1e-4):
    return all(close(x, y, tol) for x, y in zip(a, b))


# ---- file readers of our own, to check what the command wrote ----------------------

def stl_facets(path):
    """Facet corners of a text or binary STL, as tuples of rounded floats."""
    data = open(path, "rb").read()
    facets = []
    if data[:5] == b"solid" and b"facet" in data[:300]:
        corners = []
        for line in data.decode().splitlines():
            words = line.split()
            if words and words[0] == "vertex":
                corners.append(tuple(round(float(v), 4) for v in words[1:4]))
                if len(corners) == 3:
                    facets.append(tuple(corners))
                    corners = []
        return facets
    count = struct.unpack_from("<I", data, 80)[0]
    expect(len(data) == 84 + 50 * count, "binary STL size matches its count")
    for i in range(count):
        v = struct.unpack_from("<12f", data, 84 + 50 * i)
        facets.append(tuple(tuple(round(x, 4) for x in v[3 + 3 * k:6 + 3 * k]) for k in range(3)))
    return facets


def canonical(facets):
    """Facets independent of the corner a facet starts with and of their order."""
    out = []
    for f in facets:
        k = f.index(min(f))
        out.append(f[k:] + f[:k])
    return sorted(out)


def read_png(path):
    """(width, height, rows of (r, g, b)) of an 8-bit RGB or RGBA PNG."""
    data = open(path, "rb").read()
    expect(data[:8] == b"\x89PNG\r\n\x1a\n", "PNG signature")
    pos, idat, width, height, channels = 8, b"", 0, 0, 0
    while pos < len(data):
        length, kind = struct.unpack_from(">I4s", data, pos)
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack_from(">IIBB", body)
            expect(depth == 8 and colour in (2, 6), "8-bit RGB(A) PNG")
            channels = 3 if colour == 2 else 4
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    raw = zlib.decompress(idat)
    stride = width * channels
    rows, prev = [], bytearray(stride)
    for y in range(height):
        filt = raw[y * (stride + 1)]
        line = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            a = line[i - channels] if i >= channels else 0
            b = prev[i]
            c = prev[i - channels] if i >= channels else 0
            if filt == 1:
                line[i] = (line[i] + a) & 255
            elif filt == 2:
                line[i] = (line[i] + b) & 255
            elif filt == 3:
                line[i] = (line[i] + (a + b) // 2) & 255
            elif filt == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                pred = a if pa <= pb and pa <= pc else b if pb <= pc else c
                line[i] = (line[i] + pred) & 255
        rows.append([tuple(line[x * channels:x * channels + 3]) for x in range(width)])
        prev = line
    return width, height, rows


# ---- cases -------------------------------------------------------------------------------

def case_usage():
    out, _ = run()
    expect("Usage: polyfex" in out, "usage without arguments")
    expect("Demo on a bundled sample: polyfex info " in out, "demo announced")
    expect("volume     1  (closed surface)" in out, "demo shows the cube's measures")
    out, _ = run("--help")
    for sub in ("info", "convert", "check", "hull", "render", "dump"):
        expect("\n  " + sub + " " in out, "--help lists " + sub)
    out, _ = run("render", "--help")
    expect("--view" in out and "--size" in out and "--smooth" in out, "render --help")
    _, err = run("--no-such-option", code=2)
    one_error_line(err, "polyfex: error: ")
    _, err = run("convert", sample("cube.mov"), code=2)
    one_error_line(err, "polyfex: error: ")
    _, err = run("convert", sample("cube.mov"), work("a.stl"), "--ascii", "--binary", code=2)
    one_error_line(err, "polyfex: error: ")


def case_version():
    expected = "polyfex 5.2 (library Polyfex.dll 5.2 (rev-b))\n"
    for args in (["--version"], ["info", "--version"], ["render", "--version"]):
        out, _ = run(*args)
        expect(out == expected, "%s printed %r" % (args, out))


def case_info():
    out, err = run("info", sample("cube.mov"))
    expect(err == "", "info writes nothing on stderr: " + err)
    for line in ("  object 1: cube", "    flags      0x00004021  SURFACE FROM_MOV GEOM_POLY",
                 "    nodes      8", "    polygons   12  (12 triangles)",
                 "    bounds     (0, 0, 0) to (1, 1, 1)",
                 "    centre     (0.5, 0.5, 0.5)  size (1, 1, 1)", "    surface    6",
                 "    volume     1  (closed surface)", "    memory     2,688 bytes"):
        expect(line + "\n" in out, "cube.mov info lacks %r:\n%s" % (line, out))
    out, _ = run("info", sample("sphere.mov"), sample("loop.mov"), sample("points.mov"),
                 sample("cube.obj"), sample("sphere.stl"), sample("cube.stl"), sample("sphere.obj"))
    expect(out.count("  object ") == 2 + 1 + 1 + 1 + 1 + 1 + 2, "one block per object:\n" + out)
    expect("(open surface: 12 boundary edges)" in out, "open hemispheres")
    expect("    perimeter  6.00002  (in the xy-plane)" in out, "loop perimeter")
    expect("    polygons   64  (64 points)" in out, "point cloud")
    expect("    polygons   6  (6 quads)" in out, "OBJ keeps quads")
    expect("SURFACE FROM_STL GEOM_POLY" in out, "STL flags")
    expect("  all objects: centre (0, 0, 0)  size (2, 2, 2)" in out, "common box of the sphere")


def case_json():
    f = info_json(sample("cube.obj"))
    expect(f["format"] == ".obj" and len(f["objects"]) == 1, "cube.obj: one object")
    o = f["objects"][0]
    expect(o["flags"] == 0x4101 and o["flag_names"] == ["SURFACE", "FROM_OBJ", "GEOM_POLY"], "flags")
    expect((o["nodes"], o["polygons"]) == (8, 6), "counts")
    expect(o["polygon_kinds"] == {"points": 0, "segments": 0, "triangles": 0, "quads": 6}, "kinds")
    expect(o["bounds"] == {"min": [0, 0, 0], "max": [1, 1, 1]}, "bounds")
    expect(o["centre"] == [0.5, 0.5, 0.5] and o["size"] == [1, 1, 1], "centre and size")
    expect(o["surface"] == 6 and o["closed"] is True and o["volume"] == 1, "measures")
    expect(o["perimeter"] is None and o["memory"] == 1776, "perimeter and memory")

    f = info_json(sample("sphere.mov"))
    expect(len(f["objects"]) == 2 and f["centre"] == [0, 0, 0] and f["size"] == [2, 2, 2],
           "sphere.mov: two objects in one box")
    for o in f["objects"]:
        expect(o["closed"] is False and o["volume"] is None and o["open_edges"] == 12, "hemisphere")
        expect(o["polygon_kinds"]["triangles"] == 84 and o["nodes"] == 49, "hemisphere counts")
    f = info_json(sample("sphere.stl"))
    o = f["objects"][0]
    expect(o["closed"] is True and 3.8 < o["volume"] < 4.19 and 11.9 < o["surface"] < 12.57,
           "welded sphere is closed: %s" % o)
    o = info_json(sample("loop.mov"))["objects"][0]
    expect(close(o["perimeter"], 6.0) and o["surface"] is None, "loop")
    o = info_json(sample("points.mov"))["objects"][0]
    expect(o["flag_names"] == ["SURFACE", "FROM_MOV", "GEOM_POINT"] and o["nodes"] == 64, "points")

    # A missing file among others: reported in the document and by the status.
    out, err = run("info", "--json", sample("cube.mov"), work("missing.stl"), code=2)
    doc = json.loads(out)
    expect(len(doc["files"]) == 2 and "error" in doc["files"][1], "error entry")
    one_error_line(err, "polyfex: error: cannot read ")


def case_convert_chain():
    facets0 = canonical(stl_facets(sample("sphere.stl")))
    a = info_json(sample("sphere.stl"))["objects"][0]
    chain = [sample("sphere.stl"), work("chain.obj"), work("chain.mov"), work("chain.stl")]
    for src, dst in zip(chain, chain[1:]):
        out, err = run("convert", src, dst)
        expect(err == "", "convert %s: stderr %s" % (dst, err))
        expect(" -> %s: 1 object, 86 nodes, 168 polygons" % dst in out, "summary: " + out)
        b = info_json(dst)["objects"][0]
        expect((b["nodes"], b["polygons"]) == (a["nodes"], a["polygons"]), dst + " keeps counts")
        expect(close3(b["bounds"]["min"], a["bounds"]["min"]) and
               close3(b["bounds"]["max"], a["bounds"]["max"]), dst + " keeps bounds")
        expect(close(b["volume"], a["volume"], 1e-3), dst + " keeps the volume")
    expect(canonical(stl_facets(work("chain.stl"))) == facets0,
           "sphere.stl -> .obj -> .mov -> .stl keeps every facet's corners")
    run("convert", work("chain.mov"), work("chain_text.stl"), "--ascii")
    expect(open(work("chain_text.stl"), "rb").read(6) == b"solid ", "--ascii writes text")
    expect(canonical(stl_facets(work("chain_text.stl"))) == facets0, "text STL keeps the facets")

    # The cube of quads: the STL holds two facets per quad, same corners.
    run("convert", sample("cube.obj"), work("cube_q.stl"))
    expect(canonical(stl_facets(work("cube_q.stl"))) == canonical(stl_facets(sample("cube.stl"))),
           "cube.obj -> .stl gives the facets of cube.stl")


def case_convert_formats():
    for src in ("cube.mov", "cube.obj", "cube.stl", "sphere.mov", "sphere.obj", "sphere.stl"):
        stem = src.replace(".", "_")
        for ext in (".mov", ".obj", ".stl", ".dxf", ".wrl"):
            dst = work(stem + ext)
            run("convert", sample(src), dst)
            expect(os.path.getsize(dst) > 0, dst + " written")
        expect(b"AC1008" in open(work(stem + ".dxf"), "rb").read(), "DXF version")
        expect(open(work(stem + ".wrl"), "rb").read(15) == b"#VRML V2.0 utf8", "VRML header")
    for src in ("loop.mov", "points.mov"):
        for ext in (".mov", ".obj", ".dxf", ".wrl"):
            run("convert", sample(src), work(src.replace(".", "_") + ext))
        # STL holds triangles only: refused with the library's reason.
        _, err = run("convert", sample(src), work("no.stl"), code=3)
        one_error_line(err, "polyfex: error: cannot write ")
        expect("STL format only support polygons" in err, err)
    # The two .mov layouts.
    run("convert", sample("sphere.mov"), work("multi.mov"))
    out, _ = run("convert", sample("sphere.mov"), work("merged.mov"), "--merge")
    expect("2 objects written as 1" in out, out)
    expect(open(work("multi.mov")).readline().split()[0] == "2", "one object per part")
    expect(open(work("merged.mov")).readline().split()[0] == "1", "--merge: one object")
    expect(len(info_json(work("merged.mov"))["objects"]) == 1, "merged file reads as one")
    # Several objects to STL: merged into one.
    out, _ = run("convert", sample("sphere.obj"), work("sphere_obj.stl"))
    expect("2 objects merged into 1" in out, out)
    _, err = run("convert", sample("cube.mov"), work("x.dxf"), "--ascii")
    expect("warning: --ascii and --binary choose the STL encoding" in err, err)


def case_convert_options():
    out, _ = run("convert", sample("cube.obj"), work("tri.obj"), "--triangulate")
    expect("triangulate: 6 quads split" in out, out)
    o = info_json(work("tri.obj"))["objects"][0]
    expect(o["polygon_kinds"]["triangles"] == 12 and o["polygon_kinds"]["quads"] == 0, "split")

    out, _ = run("convert", sample("cube.mov"), work("flip.mov"), "--flip")
    expect("flip: 1 object turned over" in out, out)
    o = info_json(work("flip.mov"))["objects"][0]
    expect(o["closed"] and close(o["volume"], -1.0), "flipped cube has volume -1: %s" % o)

    # A tetrahedron with one face doubled by its back face and one unused node
    # (an OBJ file without groups keeps every vertex).
    with open(work("dirty.obj"), "w") as f:
        for p in ((0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1), (5, 5, 5)):
            f.write("v %g %g %g\n" % p)
        for poly in ((1, 3, 2), (1, 2, 4), (2, 3, 4), (3, 1, 4), (1, 2, 3)):
            f.write("f %d %d %d\n" % poly)
    out, _ = run("convert", work("dirty.obj"), work("clean.mov"), "--clean")
    expect("clean: 2 polygons and 1 node removed" in out, out)
    o = info_json(work("clean.mov"))["objects"][0]
    expect((o["nodes"], o["polygons"]) == (4, 3), "cleaned counts: %s" % o)

    run("convert", sample("cube.mov"), work("bin.stl"), "--binary")
    expect(os.path.getsize(work("bin.stl")) == 84 + 50 * 12, "binary STL of 12 facets")
    run("convert", sample("cube.mov"), work("txt.stl"), "--ascii")
    expect(open(work("txt.stl"), "rb").read(6) == b"solid ", "text STL")


def case_check():
    out, err = run("check", sample("cube.obj"))
    expect("(quads split into triangles: 12 polygons)" in out, out)
    for test in ("nodes", "links", "edges", "polygons"):
        expect("    %-11sok\n" % test in out, test + " ok:\n" + out)
    expect(out.endswith("clean: no findings\n") and err == "", out + err)
    out, _ = run("check", sample("sphere.mov"), code=1)
    expect("    edges      12 findings\n" in out and out.endswith("24 findings\n"), out)
    expect(out.count("Unmatched") == 24, "up to 20 findings shown per test:\n" + out)
    out, _ = run("check", "--max-findings", "10", sample("sphere.mov"), code=1)
    expect("Unmatched" in out and "... and 2 more (--max-findings to see them)" in out, out)
    out, _ = run("check", "--max-findings", "-1", sample("sphere.mov"), code=1)
    expect(out.count("Unmatched") == 24, out)
    out, _ = run("check", sample("loop.mov"))
    expect("    edges      skipped (no triangles or quads)" in out, out)
    run("check", sample("sphere.stl"))
    # A crunched (flat) triangle beside a good one.
    with open(work("crunched.mov"), "w") as f:
        f.write("     1      4      2      6 \n     1      2 \n")
        for p in ((0, 0, 0), (1, 0, 0), (2, 0, 0), (0, 1, 0)):
            f.write("%12.5f %12.5f %12.5f \n" % p)
        f.write("     1      2     -3 \n     1      2     -4 \n")
    out, _ = run("check", work("crunched.mov"), code=1)
    expect("      poly 0 is crunched\n" in out, out)
    _, err = run("check", work("missing.mov"), code=2)
    one_error_line(err, "polyfex: error: cannot read ")


def case_hull():
    out, err = run("hull", sample("cube.mov"), work("hull.mov"))
    expect(err == "" and "hull of 8 nodes: 8 nodes, 12 triangles" in out, out + err)
    expect("  surface 6\n" in out and "  volume  1\n" in out, out)
    o = info_json(work("hull.mov"))["objects"][0]
    expect(o["closed"] and close(o["volume"], 1.0), "hull written: %s" % o)
    out, _ = run("hull", sample("points.mov"), work("hull.stl"))
    o = info_json(work("hull.stl"))["objects"][0]
    expect(o["closed"] and 2.5 < o["volume"] < 4 / 3 * math.pi * 1.5 * 0.75, "cloud hull: %s" % o)
    expect("hull of 64 nodes: 64 nodes" in out, out)
    _, err = run("hull", sample("loop.mov"), work("hull.xyz"), code=2)
    one_error_line(err, "polyfex: error: cannot write ")


def case_render():
    out, err = run("render", sample("cube.obj"), work("cube.png"), "--size", "320x240")
    expect(err == "" and "to %s (320x240)" % work("cube.png") in out, out + err)
    w, h, rows = read_png(work("cube.png"))
    expect((w, h) == (320, 240), "picture size %dx%d" % (w, h))
    background = rows[0][0]
    expect(rows[h // 2][w // 2] != background, "the cube covers the centre")
    expect(rows[5][w - 5] == background and rows[h - 5][5] == background, "corners empty")
    for args in (["--smooth", "--view", "top"], ["--flat", "--view", "front"]):
        run("render", sample("sphere.stl"), work("sphere.png"), "--size", "64x64", *args)
        w, h, rows = read_png(work("sphere.png"))
        expect((w, h) == (64, 64) and rows[32][32] != rows[0][0], "sphere %s" % args)
    run("render", sample("loop.mov"), work("loop.png"), "--view", "top", "--size", "100x100")
    w, h, rows = read_png(work("loop.png"))
    expect(rows[50][50] == rows[0][0], "the hexagon is hollow")
    expect(any(px != rows[0][0] for px in rows[50]), "the hexagon's sides are drawn")
    _, err = run("render", sample("cube.obj"), work("x.png"), "--view", "sideways", code=2)
    one_error_line(err, "polyfex: error: ")
    _, err = run("render", sample("cube.obj"), work("x.png"), "--size", "big", code=2)
    one_error_line(err, "polyfex: error: render: --size takes WxH")
    _, err = run("render", sample("cube.obj"), work("x.jpg"), code=2)
    one_error_line(err, "polyfex: error: render: the picture is written as PNG")


def case_dump():
    out, err = run("dump", sample("cube.mov"))
    lines = out.splitlines()
    expect(err == "" and lines[0] == "object 1: cube", out)
    expect(lines[1] == "----- Movie_Stool: nodes:8 polys:12", lines[1])
    expect(lines[2].startswith("node[0] 0.00 0.00 0.00 (dir:"), lines[2])
    expect(sum(l.startswith("poly[") for l in lines) == 12, "12 polygon lines")
    expect(sum(" connect (" in l for l in lines) == 8, "8 link lines")
    expect(lines[-1] == "-" * 36, "closing ruler")
    out, _ = run("dump", sample("sphere.mov"))
    expect("object 2: " in out and out.count("----- Movie_Stool") == 2, "one dump per object")


def case_errors():
    _, err = run("info", work("nothere.stl"), code=2)
    expect(one_error_line(err, "polyfex: error: ") ==
           "polyfex: error: cannot read '%s': No such file or directory" % work("nothere.stl"), err)
    open(work("empty.stl"), "wb").close()
    _, err = run("info", work("empty.stl"), code=2)
    expect(one_error_line(err, "polyfex: error: ").endswith(": the file is empty"), err)
    shutil.copy(sample("cube.mov"), work("cube.xyz"))
    _, err = run("info", work("cube.xyz"), code=2)
    expect("unknown extension '.xyz'" in one_error_line(err, "polyfex: error: cannot read "), err)
    _, err = run("convert", sample("cube.mov"), work("out.xyz"), code=2)
    expect("unknown extension '.xyz'" in one_error_line(err, "polyfex: error: cannot write "), err)
    shutil.copy(sample("cube.mov"), work("CUBE.MOV"))
    _, err = run("info", work("CUBE.MOV"), code=2)
    expect("lower case" in one_error_line(err, "polyfex: error: cannot read "), err)
    os.makedirs(work("dir.stl"), exist_ok=True)
    _, err = run("info", work("dir.stl"), code=2)
    expect("it is a directory" in one_error_line(err, "polyfex: error: cannot read "), err)
    # A binary STL cut inside its facets.
    with open(sample("sphere.stl"), "rb") as src, open(work("cut.stl"), "wb") as dst:
        dst.write(src.read(84 + 50 * 10 + 20))
    for sub in (["info"], ["check"], ["dump"]):
        _, err = run(*sub, work("cut.stl"), code=2)
        one_error_line(err, "polyfex: error: cannot read '%s': " % work("cut.stl"))
    _, err = run("convert", work("cut.stl"), work("cut.obj"), code=2)
    one_error_line(err, "polyfex: error: cannot read ")
    expect(not os.path.exists(work("cut.obj")), "nothing written from a bad input")
    # A text STL cut in the middle, and a .mov polygon of five sides.
    with open(sample("cube.stl"), "rb") as src, open(work("cut_text.stl"), "wb") as dst:
        dst.write(src.read(700))
    _, err = run("info", work("cut_text.stl"), code=2)
    one_error_line(err, "polyfex: error: cannot read ")
    with open(work("five.mov"), "w") as f:
        f.write("     1      5      1      5 \n     1      1 \n")
        for p in ((0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0, 2, 0)):
            f.write("%12.5f %12.5f %12.5f \n" % p)
        f.write("     1      2      3      4     -5 \n")
    _, err = run("info", work("five.mov"), code=2)
    expect("Bad polygon in file!" in one_error_line(err, "polyfex: error: cannot read "), err)
    # An output that cannot be created.
    _, err = run("convert", sample("cube.mov"), work("no/such/dir/out.obj"), code=3)
    expect("No such file or directory" in one_error_line(err, "polyfex: error: cannot write "), err)


def case_messages():
    _, err = run("info", sample("cube.stl"))
    expect(err == "", "no trace without --verbose: " + err)
    _, err = run("--verbose", "info", sample("cube.stl"))
    expect(">>> in  STL_Read_Merge(" in err and "<<< out Polyfex: Movie_Surface(done)" in err, err)
    _, err = run("info", "-v", sample("cube.mov"))
    expect(">>> in  Movie_Read_Merge(" in err, err)
    # Markup: colour when asked for, plain otherwise; the library's block shown
    # in full with --verbose.
    _, err = run("info", "--color", "always", work("nothere.obj"), code=2)
    expect(err.startswith("\x1b[1;31mpolyfex: error:\x1b[0m "), repr(err))
    _, err = run("info", "--color", "never", work("nothere.obj"), code=2)
    expect("\x1b" not in err, repr(err))
    open(work("five.mov"), "w").write(
        "     1      5      1      5 \n     1      1 \n" + "     0.00000      0.00000      0.00000 \n" * 5
        + "     1      2      3      4     -5 \n")
    _, err = run("info", "--verbose", "--color", "always", work("five.mov"), code=2)
    expect("\x1b[1;31mERROR:\x1b[0m Bad polygon in file!" in err, repr(err))
    expect("  polygon \x1b[1m1\x1b[0m has \x1b[1m5\x1b[0m sides" in err, repr(err))
    _, err = run("info", "--verbose", "--color", "never", work("five.mov"), code=2)
    expect("ERROR: Bad polygon in file!\n" in err and "  polygon 1 has 5 sides\n" in err, repr(err))
    expect("\xf1" not in err and "\x01" not in err and "\x02" not in err, repr(err))
    last = err.splitlines()[-1]
    expect(last.startswith("polyfex: error: cannot read ") and "Bad polygon in file!" in last,
           "the one-line error closes the verbose block too: " + last)
    # The progress bar: drawn on a terminal or when asked for, never in a pipe.
    _, err = run("info", sample("sphere.mov"))
    expect(err == "", repr(err))
    proc = subprocess.run([ARGS.polyfex, "info", "--progress", "always", sample("sphere.mov")],
                          capture_output=True, timeout=120)
    err = proc.stderr
    expect(b"\r[" in err and b"reading sphere.mov" in err and err.endswith(b"\r\x1b[K"), repr(err))


def case_samples_current():
    out_dir = work("samples")
    os.makedirs(out_dir, exist_ok=True)
    subprocess.run([ARGS.make_samples, out_dir], check=True, capture_output=True)
    made = sorted(os.listdir(out_dir))
    expect(made == sorted(["cube.mov", "cube.obj", "cube.stl", "sphere.mov", "sphere.obj",
                           "sphere.stl", "loop.mov", "points.mov"]), "sample set: %s" % made)
    for name in made:
        expect(open(os.path.join(out_dir, name), "rb").read() == open(sample(name), "rb").read(),
               "samples/%s differs from what tools/make_samples writes" % name)


def main():
    global ARGS
    parser = argparse.ArgumentParser()
    parser.add_argument("--polyfex", required=True)
    parser.add_argument("--make-samples", required=True)
    parser.add_argument("--source", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("case")
    ARGS = parser.parse_args()
    case = globals().get("case_" + ARGS.case)
    if case is None:
        print("unknown case " + ARGS.case)
        return 2
    shutil.rmtree(ARGS.work, ignore_errors=True)
    os.makedirs(ARGS.work)
    try:
        case()
    except CaseFailed as failure:
        print("FAILED: %s" % failure)
        return 1
    print("passed: " + ARGS.case)
    return 0


if __name__ == "__main__":
    sys.exit(main())
