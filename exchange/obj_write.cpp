// OBJ_Write: every object's vertex data first, then every object's faces,
// so that the file-wide numbering of each object continues where the one
// before it ended.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/diag.h"
#include "core/platform.h"
#include "core/text_out.h"
#include "polyfex.h"

namespace {

constexpr char kModule[] = "obj_write";

// Counts as the writer uses them: an array that is missing counts as empty,
// so nothing is read outside what the object holds.
// note: a negative count, or a count without its array, writes nothing.
struct Counts {
    long long nodes, texts, normals, polys;
};

Counts counts_of(const Movie_Objs* o)
{
    auto c = [](int n, const void* p) { return p && n > 0 ? static_cast<long long>(n) : 0LL; };
    return {c(o->Node_Nb, o->Node_Pt), c(o->Text_Nb, o->Text_Pt), c(o->Normal_Nb, o->Normal_Pt),
            c(o->Poly_Nb, o->Poly_Pt)};
}

// Lines written per object: vertices, texture coordinates, normals (the
// normal list, or one node normal per vertex without one).
struct Bases {
    long long v = 0, t = 0, n = 0;
    void add(const Counts& c)
    {
        v += c.nodes;
        t += c.texts;
        n += c.normals > 0 ? c.normals : c.nodes;
    }
};

void write_header(pfx::OutBuf& out)
{
    char date[80];
    pfx::local_time_text(date, sizeof date, "%d %b %Y %H:%M");
    out.put("#\n# Wavefront OBJ file\n# Created by Krendalith libraries\n# created: ");
    out.put(date);
    out.put("\n \n");
}

void write_data(pfx::OutBuf& out, const Movie_Objs* o, const Counts& c)
{
    static const char kRule[] = "# ==============================================================\n";
    out.put(kRule);
    out.put("# =================== Data for group \"").wide(o->Name).put("\" ========\n");
    out.put(kRule);
    out.put("# --- vertex list ---\n");
    pfx::LineBuf line;
    for (long long i = 0; i < c.nodes; ++i) {
        const Vector_4& p = o->Node_Pt[i].Pos;
        line.text("v  ").fixed(p.x, 12, 6).text(" ").fixed(p.y, 12, 6).text(" ").fixed(p.z, 12, 6);
        line.text(" \n").put_to(out);
    }
    if (c.texts > 0) {
        out.put("# --- vertex textures ---\n");
        for (long long i = 0; i < c.texts; ++i) {
            const float* t = o->Text_Pt + 2 * i;
            line.text("vt  ").fixed(t[0], 12, 6).text(" ").fixed(t[1], 12, 6).text(" \n").put_to(out);
        }
    }
    out.put("# --- vertex normals ---\n");
    if (c.normals > 0) {
        for (long long i = 0; i < c.normals; ++i) {
            const float* n = o->Normal_Pt + 3 * i;
            line.text("vn  ").fixed(n[0], 12, 6).text(" ").fixed(n[1], 12, 6).text(" ").fixed(n[2], 12, 6);
            line.text(" \n").put_to(out);
        }
    } else {
        for (long long i = 0; i < c.nodes; ++i) {
            const Vector_4& n = o->Node_Pt[i].Normal;
            line.text("vn  ").fixed(n.x, 12, 6).text(" ").fixed(n.y, 12, 6).text(" ").fixed(n.z, 12, 6);
            line.text(" \n").put_to(out);
        }
    }
}

void write_faces(pfx::OutBuf& out, const Movie_Objs* o, const Counts& c, const Bases& b, Pfx_Progress progress)
{
    static const char kRule[] = "# ======================================================================\n";
    out.put(kRule);
    out.put("# =================== Connectivity for group \"").wide(o->Name).put("\" ========\n");
    out.put(kRule);
    out.put("g ").wide(o->Name).put(" \n");
    out.put("# --- face connectivity ---\n");
    const bool texts = c.texts > 0;
    const bool normals = c.normals > 0;
    pfx::LineBuf line;
    for (long long p = 0; p < c.polys; ++p) {
        if (progress && p % 1024 == 0) progress(1024);
        const Movie_Poly& poly = o->Poly_Pt[p];
        // note: a corner count outside 0..4 writes the slots that exist.
        const int corners = poly.Node_Id_Nb < 0 ? 0 : poly.Node_Id_Nb > 4 ? 4 : poly.Node_Id_Nb;
        line.text("f  ");
        for (int i = 0; i < corners; ++i) {
            const size_t start = line.size();
            const long long n = poly.Node_Id[i];
            line.integer(n + 1 + b.v).text("/");
            if (texts) line.integer(poly.Text_Id[i] + 1LL + b.t);
            line.text("/");
            // Without a normal list the node normals were written one per
            // node, so the node index also numbers the normal.
            line.integer((normals ? poly.Normal_Id[i] : n) + 1 + b.n);
            if (i + 1 < corners) line.pad_from(start, 22);
        }
        line.text("\n").put_to(out);
    }
}

int write_all(pfx::OutBuf& out, Movie_Objs** objs, Pfx_Progress progress)
{
    write_header(out);
    int count = 0;
    // note: the bases of each object are summed again while the faces are
    // written instead of being kept in a table, so any number of objects is
    // written (references beyond the int range are still written whole).
    for (; objs[count]; ++count) {
        Movie_Objs* o = objs[count];
        if (!o->Pos_Done && o->Node_Pt && o->Node_Nb > 0) Movie_Compute_Pos(o);
        write_data(out, o, counts_of(o));
    }
    Bases bases;
    for (int k = 0; k < count; ++k) {
        Counts c = counts_of(objs[k]);
        write_faces(out, objs[k], c, bases, progress);
        bases.add(c);
    }
    return count;
}

} // namespace

int OBJ_Write(Movie_Objs** objs, const wchar_t* path, const wchar_t* name, Pfx_Progress progress)
{
    (void)name; // accepted for the interface's sake; the file names its groups after the objects
    Error_Fct(hwnd, MSG_ENTRY, "in OBJ_Write()");
    FILE* f = pfx::open_file(path, "w");
    if (!f) {
        pfx::report_write_open_failure(path, errno);
        return 0;
    }
    // note: a null array is written as an empty one.
    static Movie_Objs* const kNone[1] = {nullptr};
    Movie_Objs** list = objs ? objs : const_cast<Movie_Objs**>(kNone);
    int written = 0;
    {
        pfx::WriterBuffer buffer(f);
        written = write_all(buffer.out(), list, progress);
    }
    std::fclose(f);
    return written;
}
