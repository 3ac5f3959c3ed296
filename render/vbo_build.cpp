#include "render/vbo_build.h"

#include <cstring>

namespace pfx::render {
namespace {

[[maybe_unused]] constexpr char kModule[] = "movie_OGL";

// Corner order of the triangles a polygon gives: a quad is cut along its
// 0-2 diagonal into (0, 1, 2) and (2, 3, 0).
constexpr int kTriangleCorners[3] = {0, 1, 2};
constexpr int kQuadCorners[6] = {0, 1, 2, 2, 3, 0};

// Calls emit(corner) for each buffer entry of the polygon, in buffer order.
// False for a polygon that is neither a triangle nor a quad.
template <class Emit>
inline bool for_each_corner(const Movie_Poly& poly, Emit&& emit)
{
    const int* corners;
    int count;
    if (poly.Node_Id_Nb == 3) {
        corners = kTriangleCorners;
        count = 3;
    } else if (poly.Node_Id_Nb == 4) {
        corners = kQuadCorners;
        count = 6;
    } else {
        return false;
    }
    for (int i = 0; i < count; ++i) emit(corners[i]);
    return true;
}

// The common walk: every polygon in order; a fill returns 0 on the first
// polygon that can't be cut into triangles.
template <class T, class PerCorner>
long long fill(const Movie_Objs& obj, T* out, PerCorner&& per_corner)
{
    T* p = out;
    for (int k = 0; k < obj.Poly_Nb; ++k) {
        const Movie_Poly& poly = obj.Poly_Pt[k];
        if (!for_each_corner(poly, [&](int c) { p = per_corner(poly, c, p); })) return 0;
    }
    return p - out;
}

inline float* put3(float* p, const float* v)
{
    p[0] = v[0];
    p[1] = v[1];
    p[2] = v[2];
    return p + 3;
}

} // namespace

Rgba color_bytes(uint32_t color)
{
    Rgba c;
    std::memcpy(&c, &color, sizeof c);
    return c;
}

uint32_t pack_color(Rgba c)
{
    uint32_t color;
    std::memcpy(&color, &c, sizeof color);
    return color;
}

uint32_t flat_color(const Movie_Objs& obj, const Movie_Poly& poly)
{
    if (poly.Color != 0) return poly.Color;
    const int n = poly.Node_Id_Nb;
    unsigned r = 0, g = 0, b = 0;
    for (int j = 0; j < n; ++j) {
        const Rgba c = color_bytes(obj.Node_Pt[poly.Node_Id[j]].Color);
        r += c.r;
        g += c.g;
        b += c.b;
    }
    const Rgba last = color_bytes(obj.Node_Pt[poly.Node_Id[n - 1]].Color);
    return pack_color({static_cast<uint8_t>(r / n), static_cast<uint8_t>(g / n),
                       static_cast<uint8_t>(b / n), last.a});
}

long long fill_vertex(const Movie_Objs& obj, float* out)
{
    const Movie_Node* nodes = obj.Node_Pt;
    return fill(obj, out, [nodes](const Movie_Poly& poly, int c, float* p) {
        return put3(p, &nodes[poly.Node_Id[c]].Pos.x);
    });
}

long long fill_normal_flat(const Movie_Objs& obj, float* out)
{
    return fill(obj, out,
                [](const Movie_Poly& poly, int, float* p) { return put3(p, &poly.Normal.x); });
}

long long fill_normal_smooth(const Movie_Objs& obj, float* out)
{
    if (obj.Normal_Nb != 0) {
        const float* list = obj.Normal_Pt;
        return fill(obj, out, [list](const Movie_Poly& poly, int c, float* p) {
            return put3(p, list + 3 * static_cast<long long>(poly.Normal_Id[c]));
        });
    }
    const Movie_Node* nodes = obj.Node_Pt;
    return fill(obj, out, [nodes](const Movie_Poly& poly, int c, float* p) {
        return put3(p, &nodes[poly.Node_Id[c]].Normal.x);
    });
}

long long fill_color_smooth(const Movie_Objs& obj, uint32_t* out)
{
    const Movie_Node* nodes = obj.Node_Pt;
    return fill(obj, out, [nodes](const Movie_Poly& poly, int c, uint32_t* p) {
        *p = nodes[poly.Node_Id[c]].Color;
        return p + 1;
    });
}

long long fill_color_flat(const Movie_Objs& obj, uint32_t* out)
{
    long long n = 0;
    for (int k = 0; k < obj.Poly_Nb; ++k) {
        const Movie_Poly& poly = obj.Poly_Pt[k];
        const int corners = poly.Node_Id_Nb == 3 ? 3 : poly.Node_Id_Nb == 4 ? 6 : 0;
        if (corners == 0) return 0;
        const uint32_t color = flat_color(obj, poly);
        for (int i = 0; i < corners; ++i) out[n++] = color;
    }
    return n;
}

} // namespace pfx::render
