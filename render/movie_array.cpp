// Copying a triangle object into flat, caller-owned per-corner arrays.
#include "core/diag.h"
#include "polyfex.h"

namespace {

[[maybe_unused]] constexpr char kModule[] = "movie_OGL";

inline float* put3(float* p, const float* v)
{
    p[0] = v[0];
    p[1] = v[1];
    p[2] = v[2];
    return p + 3;
}

// Corners go out in reverse order (2, 1, 0), as immediate-mode drawing sends
// them. Positions come from Coord: the arrays describe the object as built,
// without its displacement.
int to_array(const Movie_Objs& obj, float* pos, float* tex, float* normals)
{
    const bool with_tex = obj.Text_Nb != 0;
    const bool with_list = obj.Normal_Nb != 0;
    for (int k = 0; k < obj.Poly_Nb; ++k) {
        const Movie_Poly& poly = obj.Poly_Pt[k];
        if (poly.Node_Id_Nb != 3) {
            pfx::user_line(L"\xF1\x05WARNING:\x02 Polygon is not a triangle!");
            pfx::user_line(L"\xF1\x02       Obj: %ls", obj.Name);
            return 0;
        }
        for (int c = 2; c >= 0; --c) {
            const Movie_Node& node = obj.Node_Pt[poly.Node_Id[c]];
            pos = put3(pos, &node.Coord.x);
            if (with_tex) {
                const float* uv = obj.Text_Pt + 2 * static_cast<long long>(poly.Text_Id[c]);
                tex[0] = uv[0];
                tex[1] = uv[1];
                tex += 2;
            }
            normals = put3(normals, with_list
                                        ? obj.Normal_Pt + 3 * static_cast<long long>(poly.Normal_Id[c])
                                        : &node.Normal.x);
        }
    }
    return static_cast<int>(3LL * obj.Poly_Nb);
}

} // namespace

extern "C" PFX_API int Movie_To_Array(Movie_Objs* obj, float* pos, float* tex, float* normals)
{
    // note: callers must pass an object; a null one gives 0 (no corners
    // written) rather than a crash.
    if (!obj) return 0;
    // An empty (or negative) polygon count passes straight through as
    // 3 x Poly_Nb with nothing written.
    if (obj->Poly_Nb <= 0) return static_cast<int>(3LL * obj->Poly_Nb);
    return to_array(*obj, pos, tex, normals);
}
