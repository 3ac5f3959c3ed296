"""Reads DXF drawings with ezdxf and prints what it found, one file per block.

Usage: dxf_check.py FILE...

For each file the output is:
    file NAME
    audit ERRORS FIXES
    entities POINT=n LINE=n POLYLINE=n
    polyface VERTICES FACES          (one line per polyline, in drawing order)
    polyline3d VERTICES closed|open
    end
A file that ezdxf cannot read gives "error MESSAGE" in place of the lines
after "file". The exit status is 2 when ezdxf is not installed.
"""
import sys

try:
    import ezdxf
except ImportError:
    print("ezdxf is not installed", file=sys.stderr)
    sys.exit(2)


def check(path):
    print("file", path)
    try:
        doc = ezdxf.readfile(path)
    except Exception as exc:  # any reader failure is a finding, not a crash
        print("error", type(exc).__name__, str(exc).replace("\n", " "))
        return
    auditor = doc.audit()
    print("audit", len(auditor.errors), len(auditor.fixes))
    for entry in auditor.errors:
        print("audit-error", entry.message.replace("\n", " "))
    counts = {"POINT": 0, "LINE": 0, "POLYLINE": 0}
    polylines = []
    for entity in doc.modelspace():
        kind = entity.dxftype()
        counts[kind] = counts.get(kind, 0) + 1
        if kind != "POLYLINE":
            continue
        if entity.is_poly_face_mesh:
            vertices, faces = entity.indexed_faces()
            polylines.append("polyface %d %d" % (len(vertices), sum(1 for _ in faces)))
        else:
            polylines.append("polyline3d %d %s" % (len(entity.vertices),
                                                   "closed" if entity.is_closed else "open"))
    print("entities", " ".join("%s=%d" % (k, counts[k]) for k in sorted(counts)))
    for line in polylines:
        print(line)
    print("end")


for name in sys.argv[1:]:
    check(name)
