// Movie_Read_Merge: every object of a ".mov" file, each carved out of the
// file-wide node and polygon lists by its part range.
#include <climits>

#include "polyfex.h"

#include "core/alloc.h"
#include "core/record_sizes.h"
#include "core/diag.h"
#include "core/object_guard.h"
#include "native_io/mov_build.h"
#include "native_io/mov_carve.h"
#include "native_io/mov_load.h"
#include "native_io/mov_parse.h"
#include "native_io/mov_report.h"
#include "native_io/mov_split.h"

namespace {

constexpr char kModule[] = "movie_read";
constexpr int kPing = 512;

using namespace pfx::mov;

// The exit reason, or null after a memory-error line (no exit line then).
struct Outcome {
    int count = 0;
    const char* reason = nullptr;
};

Outcome fail(const char* reason)
{
    return {0, reason};
}

// The header checks; null when the counts are usable.
const char* check_header(const wchar_t* name, const Header& h, std::size_t body)
{
    if (h.scanned >= 1 && h.nb_obj < 0) {
        report_not_surface(name);
        return "nb_obj < 0";
    }
    if (h.scanned >= 1 && h.nb_obj == 0) return "! nb_obj or node or...";
    if (h.scanned < 4) {
        report_bad_header(name);
        return "! header";
    }
    if (h.node_nb == 0 || h.poly_nb == 0 || h.connect_nb == 0) return "! nb_obj or node or...";
    if (h.node_nb < 0 || h.poly_nb < 0 || h.connect_nb < 0 ||
        !numbers_fit(2LL * h.nb_obj + 3LL * h.node_nb + h.connect_nb, body) ||
        !polygons_fit(h.poly_nb, body)) {
        report_bad_counts(name);
        return "bad counts";
    }
    return nullptr;
}

// note: a range whose stop is one below its start is an object without
// polygons, which is how such an object is written; anything else outside
// 1 to the polygon count, or running backwards, rejects the file.
int bad_range(const int* start, const int* stop, int nb_obj, int poly_nb)
{
    for (int k = 0; k < nb_obj; ++k) {
        if (start[k] < 1 || stop[k] > poly_nb || stop[k] < start[k] - 1) return k;
    }
    return -1;
}

int planned_total(const Header& h, const int* start, const int* stop)
{
    long long total = h.node_nb + 2LL * h.connect_nb;
    for (int k = 0; k < h.nb_obj; ++k)
        total += h.node_nb + 2LL * (static_cast<long long>(stop[k]) - start[k] + 1);
    // note: the amount handed to Util_Progress_Start is an int; a larger plan
    // is announced as INT_MAX.
    return total > INT_MAX ? INT_MAX : static_cast<int>(total);
}

// "%ls.%d" with the object's 1-based number, or the plain name for a file
// of one object; at most 770 characters.
void object_name(wchar_t* out, const wchar_t* name, int nb_obj, int k)
{
    // note: a null name formats like an empty one.
    int len = 0;
    for (const wchar_t* s = name; s && *s && len < kPathChars; ++s) out[len++] = *s;
    if (nb_obj > 1) {
        wchar_t digits[16];
        int nd = 0;
        for (unsigned v = static_cast<unsigned>(k + 1); v; v /= 10) digits[nd++] = L'0' + v % 10;
        if (len < kPathChars) out[len++] = L'.';
        while (nd > 0 && len < kPathChars) out[len++] = digits[--nd];
    }
    out[len] = L'\0';
}

bool finish_object(Movie_Objs* obj, const wchar_t* dir, const wchar_t* name, int nb_obj, int k)
{
    wchar_t text[kPathChars + 1];
    object_name(text, name, nb_obj, k);
    if ((nb_obj > 1 || (name && *name)) && !PFX_WCSDUP_AS(obj->Name, text, "(*obj)[k]->Name"))
        return false;
    if (dir && *dir && !PFX_WCSDUP_AS(obj->Path, dir, "(*obj)[k]->Path")) return false;
    obj->Matrix.init();
    obj->Flags |= SURFACE | FROM_MOV;
    // note: a failed quad split has sent its own memory-error line and
    // leaves a whole object; the reader goes on with it.
    Movie_Triangle(obj);
    return true;
}

Outcome read_merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out)
{
    pfx::FileBytes bytes;
    const Load load = load_file(dir, name, bytes, kModule);
    // A null reason: the memory-error line was the whole report.
    if (load != Load::Done) return fail(load == Load::OpenFailed ? "! fil_mov" : nullptr);
    const char* end = bytes.data + bytes.size;
    Header h;
    const char* p = parse_header(bytes.data, end, h);
    if (const char* why = check_header(name, h, static_cast<std::size_t>(end - p))) return fail(why);
    const int nb_obj = h.nb_obj;

    Movie_Objs** list = nullptr;
    if (!PFX_CALLOC_AS(list, nb_obj, 8, "*obj")) return {};
    pfx::ObjectListGuard guard;
    guard.reset(list, nb_obj);
    for (int k = 0; k < nb_obj; ++k)
        if (!(list[k] = PFX_NEW_OBJECT("(*obj)[k]"))) return {};

    ScratchList<int> part_start, part_stop;
    if (!PFX_MALLOC_AS(part_start.p, nb_obj, 4, "part_start")) return {};
    if (!PFX_MALLOC_AS(part_stop.p, nb_obj, 4, "part_stop")) return {};
    long long done = 0;
    p = parse_pairs(p, end, part_start.p, part_stop.p, nb_obj, &done);
    if (!p) {
        report_bad_part_line(name, done + 1);
        return fail("! part");
    }
    int bad = bad_range(part_start.p, part_stop.p, nb_obj, h.poly_nb);
    if (bad >= 0) {
        report_bad_part_range(name, bad + 1, part_start.p[bad], part_stop.p[bad], h.poly_nb);
        return fail("bad part");
    }
    progress_start(planned_total(h, part_start.p, part_stop.p));

    ScratchList<Movie_Node> node;
    if (!PFX_CALLOC_AS(node.p, h.node_nb, pfx::kNodeRecordBytes, "node")) return {};
    pfx::advise_huge(node.p, static_cast<std::size_t>(h.node_nb) * sizeof(Movie_Node));
    progress_note_count("-> Reading %hs nodes", h.node_nb);
    long long failed = 0;
    p = read_nodes(p, end, node.p, h.node_nb, true, &failed);
    if (!p) {
        report_bad_node_line(name, failed + 1);
        return fail("! node");
    }

    ScratchList<int> connect;
    if (!PFX_MALLOC_AS(connect.p, h.connect_nb, 4, "connect")) return {};
    progress_note_count("-> Reading %hs connectivity", h.connect_nb);
    if (!read_connect(p, end, connect.p, h.connect_nb, kPing, &failed)) {
        report_bad_connect(name, failed + 1);
        return fail("! connect");
    }
    progress_inc(h.connect_nb);
    progress_ping(0.0f);

    ScratchList<Movie_Poly> poly;
    if (!PFX_CALLOC_AS(poly.p, h.poly_nb, pfx::kPolyRecordBytes, "poly")) return {};
    pfx::advise_huge(poly.p, static_cast<std::size_t>(h.poly_nb) * sizeof(Movie_Poly));
    // note: fewer polygons than declared leave empty records at the end of
    // the list (no count test here); surplus ones are counted, not stored.
    SplitResult split =
        split_polygons(connect.p, h.connect_nb, h.node_nb, poly.p, h.poly_nb, false, kPing);
    if (split.stop == SplitStop::BadNode) {
        report_bad_node_number(name, split.polygon, split.value, h.node_nb);
        return fail("bad node");
    }
    progress_inc(h.poly_nb);
    progress_ping(0.0f);
    connect.reset();

    progress_note("-> assigning polygons to objects");
    for (int k = 0; k < nb_obj; ++k) {
        int bad_polygon = 0, bad_sides = 0;
        int r = assign_polygons(list[k], poly.p, {part_start.p[k], part_stop.p[k]}, &bad_polygon,
                                &bad_sides);
        if (r == 0) return {};
        if (r < 0) {
            report_bad_polygon(name, bad_polygon, bad_sides);
            return fail("bad polygon");
        }
    }
    poly.reset();
    part_start.reset();
    part_stop.reset();

    progress_note("-> Computing node connectivity");
    for (int k = 0; k < nb_obj; ++k)
        if (!carve_nodes(list[k], node.p, h.node_nb)) return {};
    node.reset();

    for (int k = 0; k < nb_obj; ++k)
        if (!finish_object(list[k], dir, name, nb_obj, k)) return {};
    *out = guard.release();
    return {nb_obj, "done"};
}

} // namespace

extern "C" PFX_API int Movie_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out)
{
    pfx::Trace t(pfx::kTraceNative, "Movie_Read_Merge", {dir, name});
    // note: without a place for the result there is nothing to read into.
    if (!out) return t.out(0, "! out");
    *out = nullptr;
    Outcome r = read_merge(dir, name, out);
    if (!r.reason) return t.silent(0);
    return t.out(r.count, r.reason);
}
