// Splitting quads into triangles.
#include <cstring>

#include "core/record_sizes.h"
#include "polyfex.h"

namespace {
constexpr char kModule[] = "movie_func";

// Splits the quads among the first n polygons; returns the count split, or
// -1 when the array could not grow (the quads split so far stay split).
int split_quads(Movie_Objs& mov)
{
    const int n = mov.Poly_Nb;
    int split = 0;
    for (int i = 0; i < n; ++i) {
        if (mov.Poly_Pt[i].Node_Id_Nb != 4) continue;
        mov.Poly_Pt[i].Node_Id_Nb = 3;
        // Growing may move the array: take the quad's data first.
        const Movie_Poly quad = mov.Poly_Pt[i];
        if (!pfx::resize_polys(mov.Poly_Pt, mov.Poly_Nb + 1, __LINE__, kModule, "mov->Poly_Pt"))
            return -1;
        // note: the appended triangle (a, c, d) inherits the quad's Normal,
        // Color, Plane_D, Axis and Size, and the Text_Id / Normal_Id of corners
        // a, c and d, so a textured quad stays textured on both halves; the
        // unused fourth slots and Mark are zero. Movie_Init_Norm recomputes
        // the geometric fields.
        Movie_Poly tri;
        std::memset(&tri, 0, sizeof tri);
        tri.Normal = quad.Normal;
        tri.Color = quad.Color;
        tri.Size = quad.Size;
        tri.Plane_D = quad.Plane_D;
        tri.Axis = quad.Axis;
        tri.Node_Id_Nb = 3;
        constexpr int kCorner[3] = {0, 2, 3};
        for (int j = 0; j < 3; ++j) {
            tri.Node_Id[j] = quad.Node_Id[kCorner[j]];
            tri.Text_Id[j] = quad.Text_Id[kCorner[j]];
            tri.Normal_Id[j] = quad.Normal_Id[kCorner[j]];
        }
        mov.Poly_Pt[mov.Poly_Nb] = tri;
        ++mov.Poly_Nb;
        ++split;
    }
    return split;
}

} // namespace

extern "C" PFX_API int Movie_Triangle(Movie_Objs* mov)
{
    if (!mov || mov->Node_Nb == 0 || !(mov->Flags & GEOM_POLY)) return 0;
    if (mov->Poly_Nb <= 0 || !mov->Poly_Pt) return 0;
    const int split = split_quads(*mov);
    return split < 0 ? 0 : split;
}
