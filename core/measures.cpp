// Centre and extent of an object list, perimeter and surface. Sums are
// formed in double from the single-precision positions.
#include <cmath>

#include "core/diag.h"
#include "core/index_check.h"
#include "core/volume.h"
#include "polyfex.h"

namespace {
using pfx::in_range;
[[maybe_unused]] constexpr char kModule[] = "movie_func";

struct Box {
    float min[3];
    float max[3];
};

// The stored box placed by the matrix's diagonal and translation row.
Box placed_box(const Movie_Objs& obj)
{
    const Matrix_4x4& m = obj.Matrix;
    const float lo[3] = {obj.Box_Min.x, obj.Box_Min.y, obj.Box_Min.z};
    const float hi[3] = {obj.Box_Max.x, obj.Box_Max.y, obj.Box_Max.z};
    Box b;
    for (int a = 0; a < 3; ++a) {
        b.min[a] = static_cast<float>(static_cast<double>(lo[a]) * m[a][a] + m[3][a]);
        b.max[a] = static_cast<float>(static_cast<double>(hi[a]) * m[a][a] + m[3][a]);
    }
    return b;
}

double triangle_area(const Vector_4& p, const Vector_4& q, const Vector_4& r)
{
    const double ax = double(q.x) - p.x, ay = double(q.y) - p.y, az = double(q.z) - p.z;
    const double bx = double(r.x) - p.x, by = double(r.y) - p.y, bz = double(r.z) - p.z;
    const double cx = ay * bz - az * by, cy = az * bx - ax * bz, cz = ax * by - ay * bx;
    return 0.5 * std::sqrt(cx * cx + cy * cy + cz * cz);
}

double perimeter(const Movie_Objs& obj)
{
    double sum = 0.0;
    for (int p = 0; p < obj.Poly_Nb; ++p) {
        const Movie_Poly& poly = obj.Poly_Pt[p];
        if (poly.Node_Id_Nb != 2) continue;
        // note: a segment naming a node outside the array measures nothing.
        if (!in_range(poly.Node_Id[0], obj.Node_Nb) || !in_range(poly.Node_Id[1], obj.Node_Nb)) continue;
        const Vector_4& a = obj.Node_Pt[poly.Node_Id[0]].Pos;
        const Vector_4& b = obj.Node_Pt[poly.Node_Id[1]].Pos;
        const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
        sum += std::sqrt(dx * dx + dy * dy);
    }
    return sum;
}

double surface(const Movie_Objs& obj)
{
    double sum = 0.0;
    const Movie_Node* nodes = obj.Node_Pt;
    for (int p = 0; p < obj.Poly_Nb; ++p) {
        const Movie_Poly& poly = obj.Poly_Pt[p];
        const int count = poly.Node_Id_Nb;
        if (count != 3 && count != 4) continue;
        // note: a face naming a node outside the array measures nothing.
        if (!pfx::corners_in_range(poly, count, obj.Node_Nb)) continue;
        const Vector_4& p0 = nodes[poly.Node_Id[0]].Pos;
        const Vector_4& p2 = nodes[poly.Node_Id[2]].Pos;
        sum += triangle_area(p0, nodes[poly.Node_Id[1]].Pos, p2);
        if (count == 4) sum += triangle_area(p2, nodes[poly.Node_Id[3]].Pos, p0);
    }
    return sum;
}

// Common part of the traced measures: entry checks, positions, and the
// empty-object result.
template <class Measure>
float traced_measure(const char* name, Movie_Objs* obj, unsigned int geometry, Measure measure)
{
    pfx::Trace t(pfx::kTraceCore, name);
    if (const char* why = pfx::refuse_reason(obj, geometry)) return t.out(0.0f, why);
    if (!obj->Pos_Done) Movie_Compute_Pos(obj);
    if (obj->Poly_Nb <= 0 || !obj->Poly_Pt) return t.out(0.0f, "done");
    return t.out(static_cast<float>(measure(*obj)), "done");
}

} // namespace

extern "C" PFX_API float Movie_Obj_Center(Movie_Objs** objs, Vector_4* center, Vector_4* size)
{
    if (!objs || !objs[0]) return 0.0f;
    Box all = placed_box(*objs[0]);
    for (int k = 1; objs[k]; ++k) {
        if (!objs[k]->Pos_Done) Movie_Compute_Pos(objs[k]);
        const Box b = placed_box(*objs[k]);
        for (int a = 0; a < 3; ++a) {
            if (b.max[a] > all.max[a]) all.max[a] = b.max[a];
            if (b.min[a] < all.min[a]) all.min[a] = b.min[a];
        }
    }
    const Vector_4 c{(all.min[0] + all.max[0]) / 2, (all.min[1] + all.max[1]) / 2, (all.min[2] + all.max[2]) / 2,
                     0.0f};
    const Vector_4 s{all.max[0] - all.min[0], all.max[1] - all.min[1], all.max[2] - all.min[2], 0.0f};
    // note: a null output is skipped rather than written through.
    if (center) *center = c;
    if (size) *size = s;
    float largest = s.x;
    if (s.y > largest) largest = s.y;
    if (s.z > largest) largest = s.z;
    return largest;
}

extern "C" PFX_API float Movie_Perimeter(Movie_Objs* obj)
{
    return traced_measure("Movie_Perimeter", obj, GEOM_LINE, perimeter);
}

extern "C" PFX_API float Movie_Surface(Movie_Objs* obj)
{
    return traced_measure("Movie_Surface", obj, GEOM_POLY, surface);
}

extern "C" PFX_API float Movie_Volume(Movie_Objs* obj)
{
    return traced_measure("Movie_Volume", obj, GEOM_POLY, pfx::volume_sum);
}
