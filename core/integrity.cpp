// Integrity tests: each finding is one MSG_NOTE line; the result counts them.
//
// A host runs these precisely when something is wrong, so every node and
// polygon number read from the object is range-checked before it is used as
// an index, and only the first Node_Id_Nb corners of a polygon are read.
#include <cmath>

#include "core/index_check.h"
#include "polyfex.h"

namespace {
using pfx::in_range;
[[maybe_unused]] constexpr char kModule[] = "movie_func";

int corner_count(const Movie_Poly& poly)
{
    if (poly.Node_Id_Nb < 0) return 0;
    return poly.Node_Id_Nb < 4 ? poly.Node_Id_Nb : 4;
}

int link_count(const Movie_Node& n) { return n.Poly_Id && n.Poly_Id_Nb > 0 ? n.Poly_Id_Nb : 0; }

bool has_corner(const Movie_Poly& poly, int count, int node)
{
    for (int j = 0; j < count; ++j)
        if (poly.Node_Id[j] == node) return true;
    return false;
}

// Corners of the triangle that the edge tests see: the first three, or fewer
// when the polygon has fewer.
int tri_count(const Movie_Poly& poly)
{
    const int c = corner_count(poly);
    return c < 3 ? c : 3;
}

// First polygon other than p holding the directed edge a -> b among its
// first three corners, or -1.
int find_directed_edge(const Movie_Objs& obj, int p, int a, int b)
{
    for (int q = 0; q < obj.Poly_Nb; ++q) {
        if (q == p) continue;
        const Movie_Poly& pq = obj.Poly_Pt[q];
        if (tri_count(pq) < 3) continue;
        for (int k = 0; k < 3; ++k)
            if (pq.Node_Id[k] == a && pq.Node_Id[(k + 1) % 3] == b) return q;
    }
    return -1;
}

// The edge a -> b is confirmed when some other polygon linked to b holds a.
bool edge_confirmed(const Movie_Objs& obj, int p, int a, int b)
{
    if (!in_range(b, obj.Node_Nb)) return false;
    const Movie_Node& nb = obj.Node_Pt[b];
    for (int k = 0; k < link_count(nb); ++k) {
        const int q = nb.Poly_Id[k];
        if (q == p || !in_range(q, obj.Poly_Nb)) continue;
        if (has_corner(obj.Poly_Pt[q], tri_count(obj.Poly_Pt[q]), a)) return true;
    }
    return false;
}

} // namespace

extern "C" PFX_API int Movie_Test_Nodes(Movie_Objs* obj)
{
    // note: a null object has nothing to report.
    if (!obj) return 0;
    int found = 0;
    for (int i = 0; i < obj->Node_Nb; ++i) {
        if (obj->Node_Pt[i].Poly_Id_Nb != 0) continue;
        Error_Fct(hwnd, MSG_NOTE, "node %d is unconnected", i);
        ++found;
    }
    return found;
}

extern "C" PFX_API int Movie_Test_Links(Movie_Objs* obj)
{
    if (!obj) return 0;
    int found = 0;
    for (int i = 0; i < obj->Node_Nb; ++i) {
        const Movie_Node& n = obj->Node_Pt[i];
        for (int k = 0; k < link_count(n); ++k) {
            const int q = n.Poly_Id[k];
            if (!in_range(q, obj->Poly_Nb)) {
                Error_Fct(hwnd, MSG_NOTE, "node %d: Invalid Poly_Id (Poly_Id[%d] = %d) not in surface", i, k, q);
                ++found;
            } else if (!has_corner(obj->Poly_Pt[q], corner_count(obj->Poly_Pt[q]), i)) {
                Error_Fct(hwnd, MSG_NOTE, "node %d: Invalid Poly_Id (Poly_Id[%d] = %d) node not in that polygon",
                          i, k, q);
                ++found;
            }
        }
    }
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        const Movie_Poly& poly = obj->Poly_Pt[p];
        for (int j = 0; j < corner_count(poly); ++j) {
            const int n = poly.Node_Id[j];
            bool listed = false;
            // note: a corner naming no node has no list to be in, so it is
            // reported as not referred.
            if (in_range(n, obj->Node_Nb)) {
                const Movie_Node& node = obj->Node_Pt[n];
                for (int k = 0; k < link_count(node) && !listed; ++k) listed = node.Poly_Id[k] == p;
            }
            if (listed) continue;
            Error_Fct(hwnd, MSG_NOTE, "node %d: Poly %d is not refered", n, p);
            ++found;
        }
    }
    return found;
}

extern "C" PFX_API int Movie_Test_Edges(Movie_Objs* obj)
{
    if (!obj) return 0;
    int found = 0;
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        const Movie_Poly& poly = obj->Poly_Pt[p];
        // note: points and segments have no triangle edges to check.
        if (tri_count(poly) < 3) continue;
        const int* id = poly.Node_Id;
        int unconfirmed = 0;
        for (int e = 0; e < 3; ++e) {
            const int a = id[e], b = id[(e + 1) % 3];
            if (edge_confirmed(*obj, p, a, b)) continue;
            ++unconfirmed;
            ++found;
            const int q = find_directed_edge(*obj, p, b, a);
            if (q >= 0)
                Error_Fct(hwnd, MSG_NOTE,
                          "edge %d (%d/%d) of poly %d: matched with poly %d, but not found in the Node's link", e,
                          a, b, p, q);
            else
                Error_Fct(hwnd, MSG_NOTE, "edge %d (%d/%d) of poly %d: Unmatched", e, a, b, p);
        }
        if (unconfirmed < 3) continue;
        bool against = true;
        for (int e = 0; e < 3 && against; ++e) against = find_directed_edge(*obj, p, id[e], id[(e + 1) % 3]) >= 0;
        if (against) Error_Fct(hwnd, MSG_NOTE, "poly %d: is clockwise", p);
    }
    return found;
}

extern "C" PFX_API int Movie_Test_Polygons(Movie_Objs* obj)
{
    if (!obj) return 0;
    int found = 0;
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        const Movie_Poly& poly = obj->Poly_Pt[p];
        // note: only triangles and quads can be crunched; a polygon naming a
        // node outside the array is left to Movie_Test_Links.
        if (tri_count(poly) < 3) continue;
        const int* id = poly.Node_Id;
        if (!in_range(id[0], obj->Node_Nb) || !in_range(id[1], obj->Node_Nb) || !in_range(id[2], obj->Node_Nb))
            continue;
        const Vector_4& p0 = obj->Node_Pt[id[0]].Pos;
        const Vector_4& p1 = obj->Node_Pt[id[1]].Pos;
        const Vector_4& p2 = obj->Node_Pt[id[2]].Pos;
        const Vector_4 u = Vector_4{p1.x - p0.x, p1.y - p0.y, p1.z - p0.z, p1.w - p0.w}.normalise();
        const Vector_4 v = Vector_4{p1.x - p2.x, p1.y - p2.y, p1.z - p2.z, p1.w - p2.w}.normalise();
        const float dot = u.x * v.x + u.y * v.y + u.z * v.z + u.w * v.w;
        if (std::fabs(dot) <= 0.9999f) continue;
        Error_Fct(hwnd, MSG_NOTE, "poly %d is crunched", p);
        ++found;
    }
    return found;
}
