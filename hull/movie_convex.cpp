// Movie_Convex_Hull: the convex hull of an object's nodes as a new closed
// triangle object, built by the single-precision hull engine.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/object_guard.h"
#include "core/record_sizes.h"
#include "hull/quickhull.h"
#include "polyfex.h"

namespace {

constexpr char kModule[] = "movie_convex";

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

bool same_xyz(const float* v, const Vector_4& c) { return v[0] == c.x && v[1] == c.y && v[2] == c.z; }

void take_displ(Movie_Node& node, const Vector_4& displ)
{
    node.Displ.x = displ.x;
    node.Displ.y = displ.y;
    node.Displ.z = displ.z;
}

uint32_t coordinate_hash(float x, float y, float z)
{
    // +0 and -0 compare equal, so they must hash alike.
    const float c[3] = {x + 0.0f, y + 0.0f, z + 0.0f};
    uint32_t b[3];
    std::memcpy(b, c, sizeof b);
    uint32_t h = b[0] * 0x9E3779B1u ^ b[1] * 0x85EBCA77u ^ b[2] * 0xC2B2AE3Du;
    return h ^ (h >> 15);
}

// Each hull node takes the Displ of the first source node, in index order,
// whose Coord has exactly its x, y and z. A table of the hull's vertices lets
// one pass over the source answer all of them; several hull vertices may
// share coordinates (the nodes of a cloud of equal points).
// note: should the table's memory be refused, the same answer comes from
// searching the source once per hull node, slower but with no failure.
void copy_displacements(const Movie_Objs& src, const float* verts, int v, Movie_Node* nodes)
{
    if (v <= 0) return;
    size_t cap = 16;
    while (cap < 2 * static_cast<size_t>(v)) cap *= 2;
    std::unique_ptr<uint64_t, FreeDeleter> table(
        static_cast<uint64_t*>(pfx::raw_calloc(cap, sizeof(uint64_t))));
    if (!table) {
        for (int k = 0; k < v; ++k)
            for (int i = 0; i < src.Node_Nb; ++i)
                if (same_xyz(verts + 3 * k, src.Node_Pt[i].Coord)) {
                    take_displ(nodes[k], src.Node_Pt[i].Displ);
                    break;
                }
        return;
    }
    // Slots hold k + 1 for hull vertex k (0 = empty); the top bit marks a
    // vertex that has found its node.
    constexpr uint64_t kFound = uint64_t(1) << 63;
    uint64_t* slots = table.get();
    const size_t mask = cap - 1;
    for (int k = 0; k < v; ++k) {
        const float* p = verts + 3 * k;
        size_t s = coordinate_hash(p[0], p[1], p[2]) & mask;
        while (slots[s]) s = (s + 1) & mask;
        slots[s] = static_cast<uint64_t>(k) + 1;
    }
    int waiting = v;
    for (int i = 0; i < src.Node_Nb && waiting > 0; ++i) {
        const Vector_4& c = src.Node_Pt[i].Coord;
        for (size_t s = coordinate_hash(c.x, c.y, c.z) & mask; slots[s]; s = (s + 1) & mask) {
            if (slots[s] & kFound) continue;
            const size_t k = static_cast<size_t>(slots[s] - 1);
            if (!same_xyz(verts + 3 * k, c)) continue;
            take_displ(nodes[k], src.Node_Pt[i].Displ);
            slots[s] |= kFound;
            --waiting;
        }
    }
}

// The new object from the engine's vertex buffer and triangle list; null
// (with the memory-error line sent, nothing left allocated) when memory runs
// out.
Movie_Objs* hull_object(const Movie_Objs& src, const pfx::Hull_Result<float>& hull)
{
    const int v = static_cast<int>(hull.Vertices.Count);
    pfx::ObjectGuard guard(PFX_NEW_OBJECT("convex"));
    Movie_Objs* convex = guard.get();
    if (!convex) return nullptr;

    // note: an empty hull keeps its arrays null, as every empty object does.
    convex->Node_Nb = v;
    if (v > 0 && !PFX_CALLOC(convex->Node_Pt, v, pfx::kNodeRecordBytes)) return nullptr;
    const float* verts = hull.Vertices.Data;
    for (int k = 0; k < v; ++k) {
        Movie_Node& node = convex->Node_Pt[k];
        node.Coord = Vector_4{verts[3 * k], verts[3 * k + 1], verts[3 * k + 2], 0.0f};
        node.Pos = node.Coord;
    }
    copy_displacements(src, verts, v, convex->Node_Pt);

    convex->Poly_Nb = static_cast<int>(hull.Indices.size() / 3);
    if (convex->Poly_Nb > 0 && !PFX_CALLOC(convex->Poly_Pt, convex->Poly_Nb, pfx::kPolyRecordBytes))
        return nullptr;
    for (int j = 0; j < convex->Poly_Nb; ++j) {
        Movie_Poly& poly = convex->Poly_Pt[j];
        poly.Node_Id_Nb = 3;
        for (int c = 0; c < 3; ++c) poly.Node_Id[c] = static_cast<int32_t>(hull.Indices[3 * j + c]);
    }
    convex->Flags = GEOM_POLY;
    convex->Pos_Done = 1;
    return guard.release();
}

} // namespace

// note: the engine's container exceptions (out of memory, length limits)
// are the one kind that leaves this function; everything it holds is
// released on the way out.
PFX_API Movie_Objs* Movie_Convex_Hull(Movie_Objs* obj, void* /*unused*/)
{
    pfx::Trace t(pfx::kTraceCore, "Movie_Convex_Hull");
    if (!obj) return t.out(static_cast<Movie_Objs*>(nullptr), "! obj");

    // The hull is taken in the object's own coordinates: no displacement,
    // no placement.
    pfx::Vec3<float>* vertex_pt = nullptr;
    if (!PFX_CALLOC(vertex_pt, obj->Node_Nb, 12)) return t.silent(static_cast<Movie_Objs*>(nullptr));
    std::unique_ptr<pfx::Vec3<float>, FreeDeleter> buffer(vertex_pt);
    for (int i = 0; i < obj->Node_Nb; ++i) {
        const Vector_4& c = obj->Node_Pt[i].Coord;
        vertex_pt[i] = {c.x, c.y, c.z};
    }

    t.note(L"-> Movie_Convex_Hull(): Calling QuickHull");
    pfx::QuickHull<float> engine;
    pfx::Hull_Result<float> hull;
    try {
        hull = engine.build_hull(reinterpret_cast<const float*>(vertex_pt), static_cast<size_t>(obj->Node_Nb),
                                 false, false);
    } catch (...) {
        t.silent(0);
        throw;
    }
    t.note(L"-> Movie_Convex_Hull(): Done v_size=%d, i_size=%d", static_cast<int>(hull.Vertices.Count),
           static_cast<int>(hull.Indices.size()));

    Movie_Objs* convex = hull_object(*obj, hull);
    if (!convex) return t.silent(static_cast<Movie_Objs*>(nullptr));
    return t.out(convex, "done");
}
