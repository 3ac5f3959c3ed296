// Node-to-polygon links, polygon normals and node normals.
#include "core/diag.h"
#include "core/face_geometry.h"
#include "core/index_check.h"
#include "core/alloc.h"
#include "polyfex.h"

namespace {
constexpr char kModule[] = "movie_func";

using pfx::corners_in_range;

// Folds the polygon's normal into node n's running mean and links n to the
// polygon. False when n's list could not grow (n is then left as it was).
bool link_node(Movie_Node* n, int poly_index, const Vector_4& pn)
{
    const int k = n->Poly_Id_Nb;
    // note: the list grows before the mean moves, so a node whose list could
    // not grow keeps its normal, array and count together.
    if (!PFX_REALLOC(n->Poly_Id, k + 1, 4)) return false;
    n->Poly_Id[k] = poly_index;
    n->Poly_Id_Nb = k + 1;
    if (k == 0) {
        // The old value has weight 0 in the mean; assigning keeps a stale
        // inf or nan from an earlier run out of it (0 * nan is nan).
        n->Normal = pn;
        return true;
    }
    const float w = 1.0f / static_cast<float>(k + 1);
    const float keep = 1.0f - w;
    n->Normal.x = keep * n->Normal.x + w * pn.x;
    n->Normal.y = keep * n->Normal.y + w * pn.y;
    n->Normal.z = keep * n->Normal.z + w * pn.z;
    n->Normal.w = keep * n->Normal.w + w * pn.w;
    return true;
}

int init_norm(Movie_Objs& obj)
{
    if (!obj.Pos_Done) Movie_Compute_Pos(&obj);
    Movie_Node* const nodes = obj.Node_Pt;
    const int node_nb = obj.Node_Nb;
    for (int i = 0; i < node_nb; ++i) nodes[i].Poly_Id_Nb = 0;

    for (int p = 0; p < obj.Poly_Nb; ++p) {
        Movie_Poly& poly = obj.Poly_Pt[p];
        const int count = poly.Node_Id_Nb < 4 ? poly.Node_Id_Nb : 4;
        if (count < 3) continue;
        // note: a polygon naming a node outside the node array is skipped
        // like a segment (no normal, no links) instead of being read out of
        // bounds; Movie_Test_Links reports it.
        if (!corners_in_range(poly, count, node_nb)) continue;
        const Vector_4& p0 = nodes[poly.Node_Id[0]].Pos;
        const Vector_4& p1 = nodes[poly.Node_Id[1]].Pos;
        const Vector_4& p2 = nodes[poly.Node_Id[2]].Pos;
        float size = pfx::triangle_size(p0, p1, p2);
        if (count == 4) {
            const Vector_4& p3 = nodes[poly.Node_Id[3]].Pos;
            const float d31 = pfx::dist2_xyzw(p3, p1), d02 = pfx::dist2_xyzw(p0, p2);
            if (d31 > size) size = d31;
            if (d02 > size) size = d02;
        }
        poly.Size = size;
        pfx::set_face_plane(poly, p0, p1, p2);
        // note: a degenerate face has the zero direction (0, 0, 0, 1); it adds
        // nothing to its nodes' directions, so a node with good neighbours
        // keeps their mean direction, and a node with none ends at (0, 0, 0, w)
        // instead of nan. A polygon listing a node twice counts twice for it.
        for (int j = 0; j < count; ++j)
            if (!link_node(&nodes[poly.Node_Id[j]], p, poly.Normal)) return -1;
    }

    for (int i = 0; i < node_nb; ++i) nodes[i].Normal = nodes[i].Normal.normalise();
    return 1;
}

} // namespace

extern "C" PFX_API int Movie_Init_Norm(Movie_Objs* obj)
{
    pfx::Trace t(pfx::kTraceCore, "Movie_Init_Norm");
    if (const char* why = pfx::refuse_reason(obj, GEOM_POLY)) return t.out(0, why);
    if (obj->Flags & NORMALS_DONE) return t.out(0, "already done");
    if (init_norm(*obj) < 0) return t.silent(0);
    return t.out(1, "done");
}
