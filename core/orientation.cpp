// Reversing orientation and refreshing single normals.
#include <utility>

#include "core/diag.h"
#include "core/face_geometry.h"
#include "polyfex.h"

namespace {
[[maybe_unused]] constexpr char kModule[] = "movie_func";

// Swaps corners i and j with their texture and normal indices.
void swap_corners(Movie_Poly& poly, int i, int j)
{
    std::swap(poly.Node_Id[i], poly.Node_Id[j]);
    std::swap(poly.Text_Id[i], poly.Text_Id[j]);
    std::swap(poly.Normal_Id[i], poly.Normal_Id[j]);
}

void flip_all(Movie_Objs& obj)
{
    for (int p = 0; p < obj.Poly_Nb; ++p) {
        Movie_Poly& poly = obj.Poly_Pt[p];
        if (poly.Node_Id_Nb == 3) {
            swap_corners(poly, 0, 2);
        } else if (poly.Node_Id_Nb == 4) {
            swap_corners(poly, 0, 3);
            swap_corners(poly, 1, 2);
        }
    }
}

} // namespace

extern "C" PFX_API int Movie_Normal_Flip(Movie_Objs* obj)
{
    pfx::Trace t(pfx::kTraceCore, "Movie_Normal_Flip");
    if (const char* why = pfx::refuse_reason(obj, GEOM_POLY)) return t.out(0, why);
    flip_all(*obj);
    return t.out(1, "done");
}

// note: a node without links ends with 0 / 0 in every component (nan), as
// the division by its count of 0 gives; the caller asked for a mean of
// nothing. Movie_Init_Norm never lets such a value into its own means.
extern "C" PFX_API void Movie_Normal_Node(Movie_Objs* obj, int i)
{
    Movie_Node& n = obj->Node_Pt[i];
    Vector_4 sum{0.0f, 0.0f, 0.0f, 0.0f};
    for (int k = 0; k < n.Poly_Id_Nb; ++k) sum += obj->Poly_Pt[n.Poly_Id[k]].Normal;
    sum /= static_cast<float>(n.Poly_Id_Nb);
    n.Normal = sum;
}

extern "C" PFX_API void Movie_Normal_Poly(Movie_Objs* obj, int i)
{
    Movie_Poly& poly = obj->Poly_Pt[i];
    const Vector_4& p0 = obj->Node_Pt[poly.Node_Id[0]].Pos;
    const Vector_4& p1 = obj->Node_Pt[poly.Node_Id[1]].Pos;
    const Vector_4& p2 = obj->Node_Pt[poly.Node_Id[2]].Pos;
    pfx::set_face_plane(poly, p0, p1, p2);
    poly.Size = pfx::triangle_size(p0, p1, p2);
}
