// Movie_Write and Movie_Write_Merge: an object list as a ".mov" file, kept
// apart (one part line per object) or united (one part line for all). Both
// are shells around one block writer.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "polyfex.h"

#include "core/diag.h"
#include "core/platform.h"
#include "core/text_out.h"

namespace {

// A small buffer to fall back on when the large one can't be had: slower,
// but the file is still written whole.

// Corners a polygon record can hold; a larger count would read past them.
int corners(const Movie_Poly& poly)
{
    return poly.Node_Id_Nb < 0 ? 0 : poly.Node_Id_Nb > 4 ? 4 : poly.Node_Id_Nb;
}

struct Totals {
    long long nb_obj = 0, nodes = 0, polys = 0, connect = 0;
};

Totals count_list(Movie_Objs* const* objs)
{
    Totals t;
    for (; objs[t.nb_obj]; ++t.nb_obj) {
        const Movie_Objs* obj = objs[t.nb_obj];
        t.nodes += obj->Node_Nb;
        t.polys += obj->Poly_Nb;
        for (int i = 0; i < obj->Poly_Nb; ++i) t.connect += corners(obj->Poly_Pt[i]);
    }
    return t;
}

void write_head(pfx::OutBuf& out, Movie_Objs* const* objs, const Totals& t, bool merge)
{
    out.integer(merge ? 1 : t.nb_obj, 6).put(' ').integer(t.nodes, 6).put(' ');
    out.integer(t.polys, 6).put(' ').integer(t.connect, 6).put(" \n");
    if (merge) {
        out.integer(1, 6).put(' ').integer(t.polys, 6).put(" \n");
        return;
    }
    long long start = 1;
    for (long long k = 0; k < t.nb_obj; ++k) {
        long long n = objs[k]->Poly_Nb;
        out.integer(start, 6).put(' ').integer(start + n - 1, 6).put(" \n");
        start += n;
    }
}

void write_nodes(pfx::OutBuf& out, Movie_Objs* const* objs)
{
    for (; *objs; ++objs) {
        Movie_Objs* obj = *objs;
        // The caller's object gets its positions computed, as any reader of
        // Pos would compute them.
        if (!obj->Pos_Done) Movie_Compute_Pos(obj);
        pfx::LineBuf line;
        for (int i = 0; i < obj->Node_Nb; ++i) {
            const Vector_4& p = obj->Node_Pt[i].Pos;
            line.fixed(p.x, 12, 5);
            line.put(' ');
            line.fixed(p.y, 12, 5);
            line.put(' ');
            line.fixed(p.z, 12, 5);
            line.put(' ');
            line.put('\n');
            line.put_to(out);
        }
    }
}

void write_connect(pfx::OutBuf& out, Movie_Objs* const* objs, Pfx_Progress progress)
{
    long long offset = 0;
    pfx::LineBuf line;
    for (; *objs; ++objs) {
        const Movie_Objs* obj = *objs;
        for (int i = 0; i < obj->Poly_Nb; ++i) {
            if (progress && i % 1024 == 0) progress(1024);
            const Movie_Poly& poly = obj->Poly_Pt[i];
            int n = corners(poly);
            for (int j = 0; j < n; ++j) {
                long long number = poly.Node_Id[j] + offset + 1;
                line.integer(j == n - 1 ? -number : number, 6);
                line.put(' ');
            }
            line.put('\n');
            line.put_to(out);
        }
        offset += obj->Node_Nb;
    }
}

// The shared block writer: header and part lines, all nodes, then all
// polygons. Always 1 once the file is open.
int write_movie(Movie_Objs* const* objs, FILE* file, bool merge, Pfx_Progress progress)
{
    {
        pfx::WriterBuffer buffer(file);
        Totals t = count_list(objs);
        write_head(buffer.out(), objs, t, merge);
        write_nodes(buffer.out(), objs);
        write_connect(buffer.out(), objs, progress);
    } // flushes
    return 1;
}

int write_shell(const char* op, Movie_Objs** objs, const wchar_t* path, bool merge,
                Pfx_Progress progress)
{
    pfx::Trace t(pfx::kTraceCore, op, {path});
    // note: a missing list is refused before anything is opened.
    if (!objs) return t.out(0, "! objs");
    errno = 0;
    FILE* file = path ? pfx::open_file(path, "w") : nullptr;
    if (!file) {
        int err = path ? errno : EINVAL;
        pfx::report_write_open_failure(path ? path : L"", err);
        return t.out(0, "! _wfopen");
    }
    int result = write_movie(objs, file, merge, progress);
    std::fclose(file);
    return t.out(result, "done");
}

} // namespace

extern "C" PFX_API int Movie_Write(Movie_Objs** objs, const wchar_t* path, Pfx_Progress progress)
{
    return write_shell("Movie_Write", objs, path, false, progress);
}

extern "C" PFX_API int Movie_Write_Merge(Movie_Objs** objs, const wchar_t* path,
                                         Pfx_Progress progress)
{
    return write_shell("Movie_Write_Merge", objs, path, true, progress);
}
