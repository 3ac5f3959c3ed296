// Positions, bounds, memory size, merging and release of objects.
#include <cstdlib>
#include <cstring>

#include "core/alloc.h"
#include "polyfex.h"

namespace {
constexpr char kModule[] = "movie_func";

// The node's point as the box sees it: Coord, plus Displ when displaced.
Vector_4 placed_point(const Movie_Objs* obj, const Movie_Node& n)
{
    Vector_4 p = n.Coord;
    if (obj->Flags & DISPLACED) p += n.Displ;
    return p;
}

template <class T>
void free_and_null(T*& p)
{
    std::free(p);
    p = nullptr;
}
} // namespace

extern "C" {

PFX_API void Movie_Compute_Pos(Movie_Objs* obj)
{
    if (!obj) return;
    obj->Pos_Done = 1;
    for (int i = 0; i < obj->Node_Nb; ++i) {
        Movie_Node& n = obj->Node_Pt[i];
        n.Pos = n.Coord;
        if (obj->Flags & DISPLACED) n.Pos += n.Displ;
    }
}

PFX_API int Movie_Init_Dim(Movie_Objs* obj)
{
    if (!obj || obj->Node_Nb == 0) return 0;
    if (obj->Matrix[0][0] == 0.0 && obj->Matrix[0][1] == 0.0 && obj->Matrix[0][2] == 0.0) obj->Matrix.init();
    if (!obj->Pos_Done) Movie_Compute_Pos(obj);
    Vector_4 lo = placed_point(obj, obj->Node_Pt[0]);
    Vector_4 hi = lo;
    for (int i = 1; i < obj->Node_Nb; ++i) {
        Vector_4 p = placed_point(obj, obj->Node_Pt[i]);
        if (p.x < lo.x) lo.x = p.x;
        if (p.y < lo.y) lo.y = p.y;
        if (p.z < lo.z) lo.z = p.z;
        if (p.x > hi.x) hi.x = p.x;
        if (p.y > hi.y) hi.y = p.y;
        if (p.z > hi.z) hi.z = p.z;
    }
    obj->Box_Min = lo;
    obj->Box_Max = hi;
    return 1;
}

PFX_API unsigned int Movie_Memory(Movie_Objs* obj)
{
    if (!obj) return 0;
    // Nominal record sizes, in unsigned 32-bit arithmetic as documented.
    unsigned int links = 0;
    for (int i = 0; i < obj->Node_Nb; ++i) links += static_cast<unsigned int>(obj->Node_Pt[i].Poly_Id_Nb);
    return (static_cast<unsigned int>(obj->Node_Nb) + 3u) * 96u + 8u * links +
           120u * static_cast<unsigned int>(obj->Poly_Nb);
}

PFX_API int Movie_Free(Movie_Objs* obj)
{
    if (!obj) return 0;
    free_and_null(obj->Name);
    free_and_null(obj->Path);
    free_and_null(obj->Poly_Pt);
    if (obj->Node_Pt)
        for (int i = 0; i < obj->Node_Nb; ++i) free_and_null(obj->Node_Pt[i].Poly_Id);
    free_and_null(obj->Node_Pt);
    // note: the texture and normal lists are released too; nothing else
    // would release them and hosts would leak them.
    free_and_null(obj->Text_Pt);
    free_and_null(obj->Normal_Pt);
    return 1;
}

PFX_API Movie_Objs* Movie_Merge(Movie_Objs* a, Movie_Objs* b)
{
    if (!a || a->Node_Nb == 0) return b;
    if (!b || b->Node_Nb == 0) return a;

    const int a_nodes = a->Node_Nb;
    const int a_polys = a->Poly_Nb;
    const int total_nodes = a->Node_Nb + b->Node_Nb;
    const int total_polys = a->Poly_Nb + b->Poly_Nb;

    Movie_Node* new_node = nullptr;
    if (!PFX_MALLOC(new_node, total_nodes, 96)) return nullptr;
    std::memcpy(new_node, a->Node_Pt, sizeof(Movie_Node) * static_cast<size_t>(a_nodes));
    std::memcpy(new_node + a_nodes, b->Node_Pt, sizeof(Movie_Node) * static_cast<size_t>(b->Node_Nb));

    // note: B's link lists are kept: they move to the merged nodes, their
    // entries raised by A's former polygon count, but only once the polygon
    // step has succeeded. Until then the copies hold no list and B keeps
    // owning its own, so a host that frees both objects after a failure
    // frees every list exactly once.
    for (int i = 0; i < b->Node_Nb; ++i) {
        new_node[a_nodes + i].Poly_Id = nullptr;
        new_node[a_nodes + i].Poly_Id_Nb = 0;
    }

    for (int p = 0; p < b->Poly_Nb; ++p) {
        Movie_Poly& poly = b->Poly_Pt[p];
        int corners = poly.Node_Id_Nb < 0 ? 0 : poly.Node_Id_Nb > 4 ? 4 : poly.Node_Id_Nb;
        for (int j = 0; j < corners; ++j) poly.Node_Id[j] += a_nodes;
    }

    std::free(a->Node_Pt);
    a->Node_Pt = new_node;

    if (total_polys == 0) {
        free_and_null(a->Poly_Pt);
    } else {
        if (!PFX_REALLOC(a->Poly_Pt, total_polys, 120)) return nullptr;
        if (b->Poly_Nb > 0)
            std::memcpy(a->Poly_Pt + a_polys, b->Poly_Pt, sizeof(Movie_Poly) * static_cast<size_t>(b->Poly_Nb));
    }

    for (int i = 0; i < b->Node_Nb; ++i) {
        Movie_Node& from = b->Node_Pt[i];
        Movie_Node& to = a->Node_Pt[a_nodes + i];
        to.Poly_Id = from.Poly_Id;
        to.Poly_Id_Nb = from.Poly_Id_Nb;
        for (int k = 0; k < to.Poly_Id_Nb; ++k) to.Poly_Id[k] += a_polys;
        from.Poly_Id = nullptr;
        from.Poly_Id_Nb = 0;
    }

    a->Node_Nb = total_nodes;
    a->Poly_Nb = total_polys;
    Movie_Free(b);
    return a;
}

} // extern "C"
