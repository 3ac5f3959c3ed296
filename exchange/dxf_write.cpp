// DXF_Write: a list of objects as one AC1008 drawing (points, closed 3D
// polylines or lines, polyface meshes), every entity on layer "0".
//
// Each group is a code line right-aligned in three characters and a value
// line. Records are formatted whole into a stack buffer and go to the file
// through one large buffer.
#include <cerrno>
#include <cstdio>

#include "core/diag.h"
#include "core/platform.h"
#include "core/text_out.h"
#include "exchange/dxf_vrml_shared.h"
#include "polyfex.h"

namespace {

constexpr char kModule[] = "dxf_write";

using pfx::OutBuf;
using pfx::LineBuf;

struct Extents {
    float min[3];
    float max[3];
};

// The drawing extents from the stored boxes, used as they are.
// note: an empty list (its first entry is null) has no box to take them from;
// its extents are all 0.0, the origin, as for a drawing with nothing in it.
Extents list_extents(Movie_Objs* const* objs)
{
    Extents e = {{0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f}};
    if (!objs[0]) return e;
    const Movie_Objs& first = *objs[0];
    e = {{first.Box_Min.x, first.Box_Min.y, first.Box_Min.z},
         {first.Box_Max.x, first.Box_Max.y, first.Box_Max.z}};
    for (int k = 1; objs[k]; ++k) {
        const Vector_4& lo = objs[k]->Box_Min;
        const Vector_4& hi = objs[k]->Box_Max;
        const float l[3] = {lo.x, lo.y, lo.z};
        const float h[3] = {hi.x, hi.y, hi.z};
        for (int a = 0; a < 3; ++a) {
            if (l[a] < e.min[a]) e.min[a] = l[a];
            if (h[a] > e.max[a]) e.max[a] = h[a];
        }
    }
    return e;
}

void write_header(OutBuf& out, const Extents& e)
{
    out.put("  0\nSECTION\n  2\nHEADER\n"
            "  9\n$ACADVER\n  1\nAC1008\n"
            "  9\n$TILEMODE\n 70\n1\n"
            "  9\n$UCSORG\n 10\n0.0\n 20\n0.0\n 30\n0.0\n"
            "  9\n$UCSXDIR\n 10\n1.0\n 20\n0.0\n 30\n0.0\n"
            "  9\n$UCSYDIR\n 10\n0.0\n 20\n1.0\n 30\n0.0\n");
    LineBuf r;
    r.text("  9\n$EXTMIN\n 10\n").fixed(e.min[0], 0, 6).text("\n 20\n").fixed(e.min[1], 0, 6);
    r.text("\n 30\n").fixed(e.min[2], 0, 6).text("\n");
    r.text("  9\n$EXTMAX\n 10\n").fixed(e.max[0], 0, 6).text("\n 20\n").fixed(e.max[1], 0, 6);
    r.text("\n 30\n").fixed(e.max[2], 0, 6).text("\n");
    r.text("  0\nENDSEC\n");
    r.put_to(out);
}

// The three groups with a two-character code line (" 6", " 3", " 4") are
// part of the fixed layout.
void write_tables(OutBuf& out)
{
    out.put("  0\nSECTION\n  2\nTABLES\n"
            "  0\nTABLE\n  2\nLTYPE\n 70\n1\n"
            "  0\nLTYPE\n  2\nCONTINUOUS\n 70\n64\n  3\nSolid line\n 72\n65\n 73\n0\n 40\n0.0\n"
            "  0\nENDTAB\n"
            "  0\nTABLE\n  2\nLAYER\n 70\n1\n"
            "  0\nLAYER\n  2\n0\n 70\n0\n 62\n7\n 6\nCONTINUOUS\n"
            "  0\nENDTAB\n"
            "  0\nTABLE\n  2\nSTYLE\n 70\n1\n"
            "  0\nSTYLE\n  2\nSTANDARD\n 70\n0\n 40\n0.0\n 41\n1.0\n 50\n0.0\n 71\n0\n 42\n0.2\n"
            " 3\ntxt\n 4\n\n"
            "  0\nENDTAB\n"
            "  0\nENDSEC\n");
}

// " 10", " 20", " 30" (or " 11", " 21", " 31") with a node's position.
void put_point(LineBuf& r, const Vector_4& p, bool end)
{
    r.text(end ? " 11\n" : " 10\n").fixed(p.x, 0, 6);
    r.text(end ? "\n 21\n" : "\n 20\n").fixed(p.y, 0, 6);
    r.text(end ? "\n 31\n" : "\n 30\n").fixed(p.z, 0, 6).text("\n");
}

void write_points(OutBuf& out, const Movie_Objs& obj)
{
    LineBuf r;
    for (int i = 0; i < obj.Poly_Nb; ++i) {
        r.text("  0\nPOINT\n  8\n0\n");
        put_point(r, obj.Node_Pt[obj.Poly_Pt[i].Node_Id[0]].Pos, false);
        r.put_to(out);
    }
}

// Runs of segments closed by a later one become closed 3D polylines through
// the start nodes of the run. From the first segment that no later segment
// closes, every remaining segment is a LINE, loops after it included.
void write_lines(OutBuf& out, const Movie_Objs& obj)
{
    const Movie_Poly* poly = obj.Poly_Pt;
    const Movie_Node* node = obj.Node_Pt;
    LineBuf r;
    int i = 0;
    while (i < obj.Poly_Nb) {
        const int j = pfx::find_run_end(poly, obj.Poly_Nb, i);
        if (j < 0) {
            for (int k = i; k < obj.Poly_Nb; ++k) {
                r.text("  0\nLINE\n  8\n0\n");
                put_point(r, node[poly[k].Node_Id[0]].Pos, false);
                put_point(r, node[poly[k].Node_Id[1]].Pos, true);
                r.put_to(out);
            }
            return;
        }
        r.text("  0\nPOLYLINE\n  8\n0\n 66\n1\n 70\n9\n 71\n").integer(j - i).text("\n");
        r.put_to(out);
        for (int k = i; k <= j; ++k) {
            r.text("  0\nVERTEX\n  8\n0\n");
            put_point(r, node[poly[k].Node_Id[0]].Pos, false);
            r.text(" 70\n32\n");
            r.put_to(out);
        }
        out.put("  0\nSEQEND\n  8\n0\n");
        i = j + 1;
    }
}

void put_face(LineBuf& r, int a, int b, int c)
{
    r.text("  0\nVERTEX\n  8\n0\n 10\n0\n 20\n0\n 30\n0\n 70\n128\n 71\n").integer(a + 1);
    r.text("\n 72\n").integer(b + 1).text("\n 73\n").integer(c + 1).text("\n");
}

void write_polyface(OutBuf& out, const Movie_Objs& obj, Pfx_Progress progress)
{
    int faces = 0;
    for (int i = 0; i < obj.Poly_Nb; ++i) faces += obj.Poly_Pt[i].Node_Id_Nb == 4 ? 2 : 1;
    LineBuf r;
    r.text("  0\nPOLYLINE\n  8\n0\n 66\n1\n 70\n64\n 71\n").integer(obj.Node_Nb);
    r.text("\n 72\n").integer(faces).text("\n");
    r.put_to(out);
    for (int i = 0; i < obj.Node_Nb; ++i) {
        r.text("  0\nVERTEX\n  8\n0\n");
        put_point(r, obj.Node_Pt[i].Pos, false);
        r.text(" 70\n192\n");
        r.put_to(out);
    }
    for (int i = 0; i < obj.Poly_Nb; ++i) {
        if (progress && i % 256 == 0) progress(256);
        const Movie_Poly& p = obj.Poly_Pt[i];
        put_face(r, p.Node_Id[0], p.Node_Id[1], p.Node_Id[2]);
        if (p.Node_Id_Nb == 4) put_face(r, p.Node_Id[0], p.Node_Id[2], p.Node_Id[3]);
        r.put_to(out);
    }
    out.put("  0\nSEQEND\n  8\n0\n");
}

// Each geometry bit is tested on its own: an object with several gets each
// representation in turn, one with none gets no entity.
// note: GEOM_OTHER names no representation and is ignored here.
void write_entities(OutBuf& out, Movie_Objs* const* objs, Pfx_Progress progress)
{
    out.put("  0\nSECTION\n  2\nENTITIES\n");
    for (int k = 0; objs[k]; ++k) {
        Movie_Objs& obj = *objs[k];
        if (!obj.Pos_Done) Movie_Compute_Pos(&obj);
        if (obj.Flags & GEOM_POINT) write_points(out, obj);
        if (obj.Flags & GEOM_LINE) write_lines(out, obj);
        if (obj.Flags & GEOM_POLY) write_polyface(out, obj, progress);
    }
    out.put("  0\nENDSEC\n  0\nEOF\n");
}

int dxf_write(Movie_Objs** objs, const wchar_t* path, Pfx_Progress progress)
{
    const Extents extents = list_extents(objs);
    FILE* file = pfx::open_file(path, "w");
    if (!file) {
        pfx::report_write_open_failure(path, errno);
        return 0;
    }
    {
        pfx::WriterBuffer buffer(file);
        write_header(buffer.out(), extents);
        write_tables(buffer.out());
        write_entities(buffer.out(), objs, progress);
    }
    std::fclose(file);
    return 1;
}

} // namespace

extern "C" PFX_API int DXF_Write(Movie_Objs** objs, const wchar_t* path, const wchar_t* name,
                                 Pfx_Progress progress)
{
    (void)name; // accepted for the host's calling convention; the path is complete
    Error_Fct(hwnd, MSG_ENTRY, "in DXF_Write()");
    return dxf_write(objs, path, progress);
}
