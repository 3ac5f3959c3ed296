// VRLM_Write: a list of objects as one VRML 2.0 scene, one Group holding one
// Shape per object, with an optional material and a PointSet,
// IndexedLineSet or IndexedFaceSet chosen by the object's geometry kind.
#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "core/diag.h"
#include "core/platform.h"
#include "core/text_out.h"
#include "exchange/dxf_vrml_shared.h"
#include "polyfex.h"

namespace {

constexpr char kModule[] = "vrml_write";

using pfx::OutBuf;
using pfx::LineBuf;

constexpr unsigned int kKinds = GEOM_POINT | GEOM_LINE | GEOM_POLY;

// Exactly one of the three kinds. note: GEOM_OTHER alongside it is ignored:
// such an object is written as the kind its one bit names, so its coordinate
// block sits inside that geometry node and the scene stays well formed.
unsigned int object_kind(const Movie_Objs& obj)
{
    const unsigned int kind = obj.Flags & kKinds;
    return kind == GEOM_POINT || kind == GEOM_LINE || kind == GEOM_POLY ? kind : 0;
}

void report_unsupported(const wchar_t* path)
{
    pfx::user_line(L"Unsuported object type in file:");
    pfx::user_path_lines(path);
}

// Colour components are bytes 0, 1, 2 of the packed word; the arithmetic is
// single precision like the values a viewer stores.
void write_material(OutBuf& out, short number, int color)
{
    const unsigned int c = static_cast<unsigned int>(color);
    const float rgb[3] = {static_cast<float>(c & 0xff), static_cast<float>((c >> 8) & 0xff),
                          static_cast<float>((c >> 16) & 0xff)};
    LineBuf r;
    r.text("\t\tmaterial DEF Material_").integer(number).text(" Material {\n");
    r.text("\t\t    diffuseColor ");
    for (int a = 0; a < 3; ++a) {
        r.fixed(rgb[a] / 255.0f * 0.8f, 0, 3);
        r.text(a < 2 ? " " : "\n");
    }
    r.text("\t\t    emissiveColor ");
    for (int a = 0; a < 3; ++a) {
        r.fixed(rgb[a] / 255.0f * 0.2f, 0, 3);
        r.text(a < 2 ? " " : "\n");
    }
    r.text("\t\t}\n");
    r.put_to(out);
}

// Every polygon's corners, then -1 between polygons; the last polygon has no
// -1 after it.
void write_face_index(OutBuf& out, const Movie_Objs& obj, Pfx_Progress progress)
{
    LineBuf r;
    for (int i = 0; i < obj.Poly_Nb; ++i) {
        if (progress && i % 1024 == 0) progress(1024);
        const Movie_Poly& p = obj.Poly_Pt[i];
        for (int c = 0; c < p.Node_Id_Nb; ++c) {
            if (c) r.text(", ");
            r.integer(p.Node_Id[c]);
        }
        if (i + 1 < obj.Poly_Nb)
            r.text(", -1,\n\t\t\t\t");
        else
            r.text(" ]\n");
        r.put_to(out);
    }
    if (obj.Poly_Nb <= 0) out.put(" ]\n");
}

// Runs of segments closed by a later one become one polyline through the
// start nodes of the run (the closing segment is implied, not repeated).
// From the first segment that no later segment closes, each remaining
// segment is a two-point polyline.
void write_line_index(OutBuf& out, const Movie_Objs& obj, Pfx_Progress progress)
{
    const Movie_Poly* poly = obj.Poly_Pt;
    const int nb = obj.Poly_Nb;
    LineBuf r;
    int i = 0;
    while (i < nb) {
        if (progress && i % 256 == 0) progress(256);
        const int j = pfx::find_run_end(poly, nb, i);
        if (j < 0) {
            for (int k = i; k < nb; ++k) {
                r.integer(poly[k].Node_Id[0]).text(", ").integer(poly[k].Node_Id[1]);
                if (k + 1 < nb)
                    r.text(", -1,\n\t\t\t\t");
                else
                    r.text(" ]\n");
                r.put_to(out);
            }
            return;
        }
        r.integer(poly[i].Node_Id[0]);
        r.put_to(out);
        for (int k = i + 1; k <= j; ++k) {
            r.text(", ").integer(poly[k].Node_Id[0]);
            r.put_to(out);
        }
        out.put(j + 1 == nb ? " ]\n" : ", -1,\n\t\t\t\t");
        i = j + 1;
    }
    if (nb <= 0) out.put(" ]\n");
}

void write_coordinates(OutBuf& out, const Movie_Objs& obj)
{
    out.put("\t\tcoord Coordinate {\n\t\t    point [\t");
    LineBuf r;
    for (int i = 0; i < obj.Node_Nb; ++i) {
        const Vector_4& p = obj.Node_Pt[i].Pos;
        if (i) r.text("\t\t\t\t");
        r.fixed(p.x, 0, 3).text(" ").fixed(p.y, 0, 3).text(" ").fixed(p.z, 0, 3);
        if (i + 1 < obj.Node_Nb) r.text(",\n");
        r.put_to(out);
    }
    out.put(" ]\n\t\t}\n");
}

void write_object(OutBuf& out, const Movie_Objs& obj, unsigned int kind, const short* material,
                  const int* color, int k, Pfx_Progress progress)
{
    out.put("Group {\n    children [\n\tShape {\n\t    appearance Appearance {\n");
    if (material && color) write_material(out, material[k], color[k]);
    out.put("\t    }\n");
    switch (kind) {
    case GEOM_POINT: out.put("\t    geometry PointSet {\n"); break;
    case GEOM_LINE:
        out.put("\t    geometry IndexedLineSet {\n\t\tcoordIndex [\t");
        write_line_index(out, obj, progress);
        break;
    default:
        out.put("\t    geometry IndexedFaceSet {\n\t\tsolid TRUE\n\t\tcoordIndex [\t");
        write_face_index(out, obj, progress);
        break;
    }
    write_coordinates(out, obj);
    out.put("\t    }\n\t}\n    ]\n}\n");
}

int vrml_write(Movie_Objs** objs, const short* material, const int* color, const wchar_t* path,
               Pfx_Progress progress)
{
    FILE* file = pfx::open_file(path, "w");
    if (!file) {
        pfx::report_write_open_failure(path, errno);
        return 0;
    }
    Error_Fct(hwnd, MSG_NOTE, "open file (%ls)\n", path);
    {
        pfx::WriterBuffer buffer(file);
        OutBuf& out = buffer.out();
        out.put("#VRML V2.0 utf8\n\n");
        for (int k = 0; objs[k]; ++k) {
            Movie_Objs& obj = *objs[k];
            if (!obj.Pos_Done) Movie_Compute_Pos(&obj);
            const unsigned int kind = object_kind(obj);
            if (!kind) {
                // The skipped object's material and colour entries stay
                // unused; the next object takes those of its own position.
                report_unsupported(path);
                continue;
            }
            write_object(out, obj, kind, material, color, k, progress);
        }
    }
    std::fclose(file);
    return 1;
}

} // namespace

extern "C" PFX_API int VRLM_Write(Movie_Objs** objs, short* material, int* color,
                                  const wchar_t* path, const wchar_t* name, Pfx_Progress progress)
{
    (void)name; // accepted for the host's calling convention; the path is complete
    Error_Fct(hwnd, MSG_ENTRY, "in VRLM_Write()");
    return vrml_write(objs, material, color, path, progress);
}
