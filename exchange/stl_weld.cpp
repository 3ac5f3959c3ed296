// Facet welding: a uniform grid of boxes narrows the search for a corner's
// node to the corner's own box; inside a crowded box a hash on small cells
// finds the same node a scan of the box's list would, without the scan.
#include "exchange/stl_weld.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/object_guard.h"
#include "core/record_sizes.h"

namespace {
constexpr char kModule[] = "stl_read";

using pfx::STL_Facet;

constexpr float kTolerance = 1e-5f;
constexpr int kListBlock = 64;
// Boxes holding more nodes than this are searched through the cell hash.
constexpr int kScanLimit = 16;

// The first corner of a node (every later corner is compared with it) and
// the box it lies in.
struct FirstCorner {
    float x, y, z;
    int32_t box;
};

inline bool within(const FirstCorner& n, const Vector_4& p)
{
    const float dx = p.x - n.x, dy = p.y - n.y, dz = p.z - n.z;
    return dx >= -kTolerance && dx <= kTolerance && dy >= -kTolerance && dy <= kTolerance &&
           dz >= -kTolerance && dz <= kTolerance;
}

inline bool finite(const Vector_4& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// ---- the grid of boxes ----------------------------------------------------------------

struct Grid {
    int nb = 1;
    float min[3] = {0, 0, 0};
    float size[3] = {0, 0, 0};

    // note: on an axis where every corner has the same coordinate the box
    // size is 0 and the quotient 0/0; a coordinate that is not a number gives
    // no number either. Such quotients, and anything below 1, take box 0;
    // anything at or beyond nb takes box nb - 1. Every index stays in range
    // and in-range quotients truncate as usual.
    static int axis(float v, float min, float size, int nb)
    {
        const float q = (v - min) / size;
        if (!(q >= 1.0f)) return 0;
        if (q >= static_cast<float>(nb)) return nb - 1;
        return static_cast<int>(q);
    }
    int box_of(const Vector_4& p) const
    {
        const int ix = axis(p.x, min[0], size[0], nb);
        const int iy = axis(p.y, min[1], size[1], nb);
        const int iz = axis(p.z, min[2], size[2], nb);
        return (iz * nb + iy) * nb + ix;
    }
};

Grid make_grid(int nb_poly, const STL_Facet* facets)
{
    Grid g;
    g.nb = pfx::stl_grid_size(nb_poly);
    if (nb_poly <= 0) return g;
    float lo[3] = {facets[0].corner[0].x, facets[0].corner[0].y, facets[0].corner[0].z};
    float hi[3] = {lo[0], lo[1], lo[2]};
    for (int f = 0; f < nb_poly; ++f) {
        for (const Vector_4& p : facets[f].corner) {
            const float v[3] = {p.x, p.y, p.z};
            for (int a = 0; a < 3; ++a) {
                // A value replaces the minimum unless it is greater and the
                // maximum unless it is smaller (a non-number replaces both).
                if (!(v[a] > lo[a])) lo[a] = v[a];
                if (!(v[a] < hi[a])) hi[a] = v[a];
            }
        }
    }
    const float span = static_cast<float>(g.nb) - 0.01f;
    for (int a = 0; a < 3; ++a) {
        g.min[a] = lo[a];
        g.size[a] = (hi[a] - lo[a]) / span;
    }
    return g;
}

// ---- the cell hash of crowded boxes ------------------------------------------------------

// Cells of 2^-12 per axis. A match lies within the tolerance (plus the
// rounding of the single-precision difference) of the corner, so besides
// the corner's own cell only a neighbour closer than kReach can hold one.
constexpr double kCellScale = 4096.0;
constexpr double kReach = 1.1e-5 * kCellScale;
constexpr float kExactOnly = 0x1p40f;

struct AxisCells {
    int64_t key;
    int lo, hi; // -1 / +1 when that neighbour cell may hold a match
};

// The corner is finite here.
inline AxisCells axis_cells(float v)
{
    if (std::fabs(v) < kExactOnly) {
        // Cells are shifted by half a cell, so that round coordinates (grid
        // meshes, whole millimetres) sit inside a cell rather than on its
        // edge, where both neighbours would have to be searched.
        const double d = static_cast<double>(v) * kCellScale + 0.5; // exact
        const double f = std::floor(d);
        return {static_cast<int64_t>(f), d - f < kReach ? -1 : 0, (f + 1.0) - d <= kReach ? 1 : 0};
    }
    // From 2^40 on, distinct floats lie at least 2^16 apart (and 2^16 from
    // any smaller one): only equal values match.
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    return {(int64_t(1) << 62) + bits, 0, 0};
}

inline uint32_t bucket(int box, int64_t kx, int64_t ky, int64_t kz, uint32_t mask)
{
    uint64_t h = static_cast<uint64_t>(kx) * 0x9E3779B97F4A7C15ull;
    h ^= static_cast<uint64_t>(ky) * 0xC2B2AE3D27D4EB4Full + (h << 6) + (h >> 2);
    h ^= static_cast<uint64_t>(kz) * 0x165667B19E3779F9ull + (h << 6) + (h >> 2);
    h ^= static_cast<uint64_t>(box) * 0x27D4EB2F165667C5ull;
    h ^= h >> 31;
    h *= 0xBF58476D1CE4E5B9ull;
    h ^= h >> 29;
    return static_cast<uint32_t>(h) & mask;
}

// Chains of node numbers per bucket, newest first. Buckets shared by
// several cells (or boxes) only lengthen a chain: every candidate still
// passes the box and tolerance tests.
struct CellHash {
    int32_t* cell_head = nullptr;
    int32_t* cell_next = nullptr;
    uint32_t mask = 0;
    long long held = 0;

    ~CellHash()
    {
        std::free(cell_head);
        std::free(cell_next);
    }

    void link(const FirstCorner* corner, int32_t n)
    {
        const FirstCorner& c = corner[n];
        const int64_t kx = axis_cells(c.x).key, ky = axis_cells(c.y).key, kz = axis_cells(c.z).key;
        const uint32_t b = bucket(c.box, kx, ky, kz, mask);
        cell_next[n] = cell_head[b];
        cell_head[b] = n;
        ++held;
    }

    // Room for `adding` more nodes, keeping the table at most half full.
    // When it has to be (re)built, every node is_hashed names is linked
    // anew and `rebuilt` is set: the caller then has nothing left to link.
    template <class IsHashed>
    bool reserve(const FirstCorner* corner, int nodes, long long room, long long adding,
                 IsHashed is_hashed, bool& rebuilt)
    {
        rebuilt = false;
        if (!cell_next) {
            if (!PFX_MALLOC(cell_next, room, sizeof(int32_t))) return false;
            pfx::advise_huge(cell_next, static_cast<size_t>(room) * sizeof(int32_t));
        }
        long long size = cell_head ? static_cast<long long>(mask) + 1 : 0;
        if (size && (held + adding) * 2 <= size) return true;
        if (!size) size = 4096;
        while ((held + adding) * 2 > size) size *= 2;
        int32_t* fresh = nullptr;
        if (!PFX_MALLOC_AS(fresh, size, sizeof(int32_t), "cell_head")) return false;
        std::free(cell_head);
        cell_head = fresh;
        pfx::advise_huge(cell_head, static_cast<size_t>(size) * sizeof(int32_t));
        std::memset(cell_head, 0xff, static_cast<size_t>(size) * sizeof(int32_t));
        mask = static_cast<uint32_t>(size - 1);
        held = 0;
        for (int n = 0; n < nodes; ++n)
            if (is_hashed(n)) link(corner, n);
        rebuilt = true;
        return true;
    }

    // The lowest node of the box that matches p, or -1.
    int find(const FirstCorner* corner, int box, const Vector_4& p) const
    {
        const AxisCells cx = axis_cells(p.x), cy = axis_cells(p.y), cz = axis_cells(p.z);
        int best = INT_MAX;
        for (int dz = cz.lo; dz <= cz.hi; ++dz)
            for (int dy = cy.lo; dy <= cy.hi; ++dy)
                for (int dx = cx.lo; dx <= cx.hi; ++dx) {
                    const uint32_t b = bucket(box, cx.key + dx, cy.key + dy, cz.key + dz, mask);
                    for (int32_t n = cell_head[b]; n >= 0; n = cell_next[n])
                        if (n < best && corner[n].box == box && within(corner[n], p)) best = n;
                }
        return best == INT_MAX ? -1 : best;
    }
};

// ---- the welding proper -------------------------------------------------------------------

struct Boxes {
    int count = 0;
    int32_t* box_nb = nullptr;
    int32_t** box_id = nullptr;
    ~Boxes() { release(); }
    void release()
    {
        if (box_id)
            for (int b = 0; b < count; ++b) std::free(box_id[b]);
        std::free(box_id);
        std::free(box_nb);
        box_id = nullptr;
        box_nb = nullptr;
    }
};

// Fills each corner's node and the first-corner table; returns the number
// of nodes, or -1 after a memory-error line.
int weld(int nb_poly, STL_Facet* facets, FirstCorner* corner)
{
    const Grid grid = make_grid(nb_poly, facets);
    Boxes boxes;
    const int count = grid.nb * grid.nb * grid.nb;
    int32_t*& box_nb = boxes.box_nb;
    int32_t**& box_id = boxes.box_id;
    if (!PFX_CALLOC(box_nb, count, sizeof(int32_t))) return -1;
    if (!PFX_CALLOC(box_id, count, sizeof(int32_t*))) return -1;
    boxes.count = count;

    CellHash cells;
    const auto is_hashed = [&](int n) {
        return box_nb[corner[n].box] > kScanLimit && std::isfinite(corner[n].x) &&
               std::isfinite(corner[n].y) && std::isfinite(corner[n].z);
    };
    const long long room = 3LL * nb_poly;
    int nodes = 0;
    for (int f = 0; f < nb_poly; ++f) {
        for (int c = 0; c < 3; ++c) {
            const Vector_4& p = facets[f].corner[c];
            const int box = grid.box_of(p);
            const int held = box_nb[box];
            const bool usable = finite(p); // a non-finite corner matches nothing
            int found = -1;
            if (usable && held <= kScanLimit) {
                const int32_t* list = box_id[box];
                for (int i = 0; i < held; ++i)
                    if (within(corner[list[i]], p)) {
                        found = list[i];
                        break;
                    }
            } else if (usable) {
                found = cells.find(corner, box, p);
            }
            if (found < 0) {
                found = nodes;
                if (held % kListBlock == 0 && !PFX_REALLOC(box_id[box], held + kListBlock, sizeof(int32_t)))
                    return -1;
                box_id[box][held] = found;
                box_nb[box] = held + 1;
                corner[found] = {p.x, p.y, p.z, box};
                ++nodes;
                // A box that just became crowded enters the hash whole
                // (whatever its newest node), later nodes one by one.
                const bool fresh_box = held == kScanLimit;
                if (fresh_box || (held > kScanLimit && usable)) {
                    bool rebuilt = false;
                    if (!cells.reserve(corner, nodes, room, fresh_box ? held + 1 : 1, is_hashed, rebuilt))
                        return -1;
                    if (!rebuilt && fresh_box) {
                        for (int i = 0; i <= held; ++i)
                            if (is_hashed(box_id[box][i])) cells.link(corner, box_id[box][i]);
                    } else if (!rebuilt) {
                        cells.link(corner, found);
                    }
                }
            }
            facets[f].node[c] = found;
        }
    }
    return nodes;
}

bool build(Movie_Objs* obj, int nb_poly, const STL_Facet* facets, const FirstCorner* corner)
{
    const int nodes = obj->Node_Nb;
    if (nodes > 0) {
        if (!PFX_CALLOC(obj->Node_Pt, nodes, pfx::kNodeRecordBytes)) return false;
        pfx::advise_huge(obj->Node_Pt, static_cast<size_t>(nodes) * sizeof(Movie_Node));
        for (int k = 0; k < nodes; ++k) {
            const Vector_4 v{corner[k].x, corner[k].y, corner[k].z, 0.0f};
            obj->Node_Pt[k].Coord = v;
            obj->Node_Pt[k].Pos = v;
        }
    }
    if (nb_poly <= 0) return true;
    if (!PFX_CALLOC(obj->Poly_Pt, nb_poly, pfx::kPolyRecordBytes)) return false;
    pfx::advise_huge(obj->Poly_Pt, static_cast<size_t>(nb_poly) * sizeof(Movie_Poly));
    Movie_Node* nodes_pt = obj->Node_Pt;
    for (int f = 0; f < nb_poly; ++f) {
        Movie_Poly& poly = obj->Poly_Pt[f];
        poly.Node_Id_Nb = 3;
        poly.Normal = facets[f].normal;
        for (int c = 0; c < 3; ++c) {
            poly.Node_Id[c] = facets[f].node[c];
            ++nodes_pt[facets[f].node[c]].Poly_Id_Nb;
        }
    }
    // note: each node's list is allocated once at its final length (the
    // memory-error line then names that length) instead of growing by one
    // entry per link; the entries and their order are the same.
    for (int k = 0; k < nodes; ++k) {
        Movie_Node* node = &nodes_pt[k];
        if (!PFX_REALLOC(node->Poly_Id, node->Poly_Id_Nb, sizeof(int32_t))) return false;
        node->Poly_Id_Nb = 0;
    }
    for (int f = 0; f < nb_poly; ++f)
        for (int c = 0; c < 3; ++c) {
            Movie_Node& n = nodes_pt[facets[f].node[c]];
            n.Poly_Id[n.Poly_Id_Nb++] = f;
        }
    return true;
}

} // namespace

namespace pfx {

int stl_grid_size(int nb_poly)
{
    if (nb_poly <= 0) return 1;
    return static_cast<int>(std::pow(nb_poly * 3.0 / 50.0, 1.0 / 3.0)) + 1;
}

Movie_Objs* STL_to_Movie(int nb_poly, STL_Facet* facets)
{
    Trace t(kTraceIo, "STL_to_Movie");
    if (nb_poly < 0) nb_poly = 0;
    // note: a corner table that cannot be allocated is a memory error like
    // the others: the memory-error line, then null.
    FirstCorner* corner = nullptr;
    if (!PFX_MALLOC(corner, 3LL * nb_poly, sizeof(FirstCorner))) return t.silent(nullptr);
    struct Release {
        FirstCorner* p;
        ~Release() { std::free(p); }
    } release{corner};
    advise_huge(corner, 3 * static_cast<size_t>(nb_poly) * sizeof(FirstCorner));

    const int nodes = weld(nb_poly, facets, corner);
    if (nodes < 0) return t.silent(nullptr);
    t.note("-> Polyfex:STL_to_Movie() read %d polygon with %d vertex\n", nb_poly, nodes);

    ObjectGuard g(PFX_NEW_OBJECT("obj"));
    Movie_Objs* obj = g.get();
    if (!obj) return t.silent(nullptr);
    obj->Node_Nb = nodes;
    obj->Poly_Nb = nb_poly;
    obj->Pos_Done = 1;
    obj->Matrix.init();
    if (!build(obj, nb_poly, facets, corner)) return t.silent(nullptr);
    return t.out(g.release(), "done");
}

} // namespace pfx
