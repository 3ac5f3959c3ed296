// Movie_Read: a ".mov" file of exactly one object into one object, all its
// nodes and all its polygons, without node-to-polygon links.
#include "polyfex.h"

#include "core/alloc.h"
#include "core/diag.h"
#include "core/object_guard.h"
#include "core/record_sizes.h"
#include "native_io/mov_build.h"
#include "native_io/mov_load.h"
#include "native_io/mov_parse.h"
#include "native_io/mov_report.h"
#include "native_io/mov_split.h"

namespace {

constexpr char kModule[] = "movie_read";
constexpr int kPing = 256;

using namespace pfx::mov;

// How the worker ended: an object ("done"), or null with the exit reason. A
// null reason means a memory-error line was sent and no exit line follows.
struct Outcome {
    Movie_Objs* obj = nullptr;
    const char* reason = nullptr;
};

Outcome fail(const char* reason)
{
    return {nullptr, reason};
}

// The header and the part line; null when the file is accepted so far.
const char* check_head(const wchar_t* name, const Header& h, const char*& p, const char* end)
{
    // note: nb_obj alone decides the type, empty and multi-object failures,
    // so a file of another type is named as such even when the rest of its
    // first line differs from ours.
    if (h.scanned >= 1) {
        if (h.nb_obj < 0) {
            report_not_surface(name);
            return "nb_obj < 0";
        }
        if (h.nb_obj == 0) return "! nb_obj";
        if (h.nb_obj > 1) {
            report_many_objects(name);
            return "nb_obj > 1";
        }
    }
    if (h.scanned < 4) {
        report_bad_header(name);
        return "! header";
    }
    int part_start = 0, part_stop = 0;
    long long done = 0;
    p = parse_pairs(p, end, &part_start, &part_stop, 1, &done);
    if (!p) {
        report_bad_part_line(name, 1);
        return "! part";
    }
    if (part_stop == 0 || part_stop < part_start) return "part_stop < part_start";
    // The part values say nothing else here: one object takes every polygon.
    std::size_t rest = static_cast<std::size_t>(end - p);
    if (h.node_nb < 0 || h.poly_nb < 0 || h.connect_nb < 0 ||
        !numbers_fit(3LL * h.node_nb + h.connect_nb, rest) || !polygons_fit(h.poly_nb, rest)) {
        report_bad_counts(name);
        return "bad counts";
    }
    return nullptr;
}

Outcome read_single(const wchar_t* dir, const wchar_t* name)
{
    pfx::FileBytes bytes;
    const Load load = load_file(dir, name, bytes, kModule);
    // A null reason: the memory-error line was the whole report.
    if (load != Load::Done) return fail(load == Load::OpenFailed ? "! fil_mov" : nullptr);
    const char* end = bytes.data + bytes.size;
    Header h;
    const char* p = parse_header(bytes.data, end, h);
    if (const char* why = check_head(name, h, p, end)) return fail(why);

    pfx::ObjectGuard guard(PFX_NEW_OBJECT("obj"));
    Movie_Objs* obj = guard.get();
    if (!obj) return {};
    obj->Pos_Done = 1;
    if (name && *name && !PFX_WCSDUP(obj->Name, name)) return {};
    if (dir && *dir && !PFX_WCSDUP(obj->Path, dir)) return {};
    obj->Matrix.init();

    // Counts are set with their arrays, so a half-built object never claims
    // records it does not have.
    if (h.node_nb != 0) {
        if (!PFX_CALLOC(obj->Node_Pt, h.node_nb, pfx::kNodeRecordBytes)) return {};
        pfx::advise_huge(obj->Node_Pt, static_cast<std::size_t>(h.node_nb) * sizeof(Movie_Node));
        obj->Node_Nb = h.node_nb;
    }
    long long failed = 0;
    p = read_nodes(p, end, obj->Node_Pt, h.node_nb, false, &failed);
    if (!p) {
        report_bad_node_line(name, failed + 1);
        return fail("! node");
    }

    ScratchList<int> connect;
    if (h.connect_nb != 0) {
        if (!PFX_MALLOC_AS(connect.p, h.connect_nb, 4, "connect")) return {};
        pfx::advise_huge(connect.p, static_cast<std::size_t>(h.connect_nb) * sizeof(int));
    }
    // Text after the last connectivity integer is never looked at.
    if (!read_connect(p, end, connect.p, h.connect_nb, kPing, &failed)) {
        report_bad_connect(name, failed + 1);
        return fail("! connect");
    }

    if (h.poly_nb != 0) {
        if (!PFX_CALLOC(obj->Poly_Pt, h.poly_nb, pfx::kPolyRecordBytes)) return {};
        pfx::advise_huge(obj->Poly_Pt, static_cast<std::size_t>(h.poly_nb) * sizeof(Movie_Poly));
        obj->Poly_Nb = h.poly_nb;
    }
    SplitResult split =
        split_polygons(connect.p, h.connect_nb, h.node_nb, obj->Poly_Pt, h.poly_nb, true, kPing);
    if (split.stop == SplitStop::BadNode) {
        report_bad_node_number(name, split.polygon, split.value, h.node_nb);
        return fail("bad node");
    }
    if (split.stop == SplitStop::BigPolygon) {
        report_bad_polygon(name, static_cast<int>(split.polygon), static_cast<int>(split.value));
        return fail("bad polygon");
    }
    if (split.completed != h.poly_nb) {
        report_bad_count(name, h.poly_nb, static_cast<int>(split.completed));
        return fail("k != nb_poly");
    }
    connect.reset();

    for (int i = 0; i < obj->Poly_Nb; ++i) obj->Flags |= geometry_bit(obj->Poly_Pt[i].Node_Id_Nb);
    obj->Flags |= SURFACE | FROM_MOV;
    // note: a failed split of a quad has sent its own memory-error line; the
    // object is still whole (the quads up to it are split) and is returned.
    Movie_Triangle(obj);
    return {guard.release(), "done"};
}

} // namespace

extern "C" PFX_API Movie_Objs* Movie_Read(const wchar_t* dir, const wchar_t* name)
{
    pfx::Trace t(pfx::kTraceNative, "Movie_Read", {dir, name});
    Outcome r = read_single(dir, name);
    if (!r.reason) return t.silent(r.obj);
    return t.out(r.obj, r.reason);
}
