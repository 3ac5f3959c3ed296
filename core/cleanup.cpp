// Removing face/back-face pairs and nodes that no polygon uses.
#include <cstdlib>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/record_sizes.h"
#include "polyfex.h"

namespace {
constexpr char kModule[] = "movie_cleanup";

// (q0, q1, q2) runs through a, b, c in the opposite cyclic order.
bool reverses(const int* q, int a, int b, int c)
{
    return (q[0] == c && q[1] == b && q[2] == a) || (q[0] == a && q[1] == c && q[2] == b) ||
           (q[0] == b && q[1] == a && q[2] == c);
}

// Marks every triangle that has its back face among the polygons linked to
// its first node (a triangle repeating a node is its own back face).
void mark_pairs(Movie_Objs& obj)
{
    Movie_Poly* const polys = obj.Poly_Pt;
    const int poly_nb = obj.Poly_Nb;
    for (int p = 0; p < poly_nb; ++p) polys[p].Mark = 0;
    for (int p = 0; p < poly_nb; ++p) {
        Movie_Poly& pp = polys[p];
        if (pp.Node_Id_Nb != 3) continue;
        const int a = pp.Node_Id[0], b = pp.Node_Id[1], c = pp.Node_Id[2];
        if (static_cast<unsigned>(a) >= static_cast<unsigned>(obj.Node_Nb)) continue;
        const Movie_Node& na = obj.Node_Pt[a];
        if (!na.Poly_Id) continue;
        for (int k = 0; k < na.Poly_Id_Nb; ++k) {
            const int q = na.Poly_Id[k];
            // note: a link naming no polygon (stale after an earlier removal)
            // is passed over instead of read out of bounds.
            if (static_cast<unsigned>(q) >= static_cast<unsigned>(poly_nb)) continue;
            Movie_Poly& pq = polys[q];
            if (pq.Node_Id_Nb != 3 || !reverses(pq.Node_Id, a, b, c)) continue;
            pq.Mark = 1;
            pp.Mark = 1;
            break;
        }
    }
}

// Moves the unmarked polygons down in order; returns how many stay.
int compact(Movie_Objs& obj)
{
    int kept = 0;
    for (int p = 0; p < obj.Poly_Nb; ++p) {
        if (obj.Poly_Pt[p].Mark) continue;
        if (kept != p) obj.Poly_Pt[kept] = obj.Poly_Pt[p];
        obj.Poly_Pt[kept].Mark = 0;
        ++kept;
    }
    return kept;
}

int cleanup_poly(Movie_Objs& obj)
{
    if (obj.Poly_Nb <= 0 || !obj.Poly_Pt) {
        Error_Fct(hwnd, MSG_NOTE, "Cleanup remove %d polygons\n", 0);
        return 1;
    }
    mark_pairs(obj);
    const int old_nb = obj.Poly_Nb;
    const int kept = compact(obj);
    obj.Poly_Nb = kept;
    Error_Fct(hwnd, MSG_NOTE, "Cleanup remove %d polygons\n", old_nb - kept);
    if (kept == 0) {
        // note: an emptied polygon array is released, not just forgotten.
        std::free(obj.Poly_Pt);
        obj.Poly_Pt = nullptr;
    } else if (kept != old_nb) {
        // note: nothing removed means nothing to shrink.
        if (!pfx::resize_polys(obj.Poly_Pt, kept, __LINE__, kModule, "obj->Poly_Pt")) return -1;
    }
    return 1;
}

// Frees the two scratch lists of cleanup_node on every way out.
struct NodeScratch {
    int* node_list_flag = nullptr;
    int* node_list_ind = nullptr;
    ~NodeScratch()
    {
        std::free(node_list_flag);
        std::free(node_list_ind);
    }
};

int cleanup_node(Movie_Objs& obj)
{
    const int node_nb = obj.Node_Nb;
    NodeScratch s;
    if (!PFX_CALLOC_AS(s.node_list_flag, node_nb, 4, "node_list_flag")) return -1;
    if (!PFX_CALLOC_AS(s.node_list_ind, node_nb, 4, "node_list_ind")) return -1;

    // note: corners naming no node are left out of the count and keep their
    // value below: an index past the old array is past the new one too.
    for (int p = 0; p < obj.Poly_Nb; ++p) {
        const Movie_Poly& poly = obj.Poly_Pt[p];
        const int count = poly.Node_Id_Nb < 4 ? poly.Node_Id_Nb : 4;
        for (int j = 0; j < count; ++j) {
            const int n = poly.Node_Id[j];
            if (static_cast<unsigned>(n) < static_cast<unsigned>(node_nb)) s.node_list_flag[n] = 1;
        }
    }
    int kept = 0;
    for (int i = 0; i < node_nb; ++i)
        if (s.node_list_flag[i]) s.node_list_ind[i] = kept++;

    // note: with no node kept the array becomes null (nothing to allocate).
    Movie_Node* node_new = nullptr;
    if (kept > 0 && !PFX_CALLOC_AS(node_new, kept, pfx::kNodeRecordBytes, "node_new")) return -1;
    for (int i = 0; i < node_nb; ++i) {
        Movie_Node& n = obj.Node_Pt[i];
        if (s.node_list_flag[i]) {
            node_new[s.node_list_ind[i]] = n;
        } else {
            // note: a dropped node's link list is released with it (it is
            // empty but may still hold an array from an earlier run).
            std::free(n.Poly_Id);
        }
    }
    std::free(obj.Node_Pt);
    obj.Node_Pt = node_new;
    obj.Node_Nb = kept;

    for (int p = 0; p < obj.Poly_Nb; ++p) {
        Movie_Poly& poly = obj.Poly_Pt[p];
        const int count = poly.Node_Id_Nb < 4 ? poly.Node_Id_Nb : 4;
        for (int j = 0; j < count; ++j) {
            const int n = poly.Node_Id[j];
            if (static_cast<unsigned>(n) < static_cast<unsigned>(node_nb))
                poly.Node_Id[j] = s.node_list_ind[n];
        }
    }
    return 1;
}

} // namespace

extern "C" PFX_API int Movie_Cleanup_Poly(Movie_Objs* obj)
{
    pfx::Trace t(pfx::kTraceCore, "Movie_Cleanup_Poly");
    if (const char* why = pfx::refuse_reason(obj, GEOM_POLY)) return t.out(0, why);
    if (cleanup_poly(*obj) < 0) return t.silent(0);
    return t.out(1, "done");
}

extern "C" PFX_API int Movie_Cleanup_Node(Movie_Objs* obj)
{
    pfx::Trace t(pfx::kTraceCore, "Movie_Cleanup_Node");
    if (const char* why = pfx::refuse_reason(obj, 0)) return t.out(0, why);
    if (cleanup_node(*obj) < 0) return t.silent(0);
    return t.out(1, "done");
}
