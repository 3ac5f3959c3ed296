#include "render/vbo_build.h"

#include <cstring>

namespace pfx::render {
namespace {

[[maybe_unused]] constexpr char kModule[] = "movie_OGL";

// The common walk over the polygons in order. A triangle gives its corners
// 0, 1, 2; a quad is cut along its 0-2 diagonal into (0, 1, 2) and
// (2, 3, 0). put(poly, corner, out) writes one entry and returns the next
// place. A fill returns 0 on the first polygon of another corner count.
// The two shapes are spelled out rather than looked up in a table: this
// loop is the whole cost of a buffer build on large objects.
template <class T, class Put>
long long fill(const Movie_Objs& obj, T* out, Put&& put)
{
    T* p = out;
    const Movie_Poly* poly = obj.Poly_Pt;
    const Movie_Poly* const end = poly + (obj.Poly_Nb > 0 ? obj.Poly_Nb : 0);
    for (; poly != end; ++poly) {
        if (poly->Node_Id_Nb == 3) {
            p = put(*poly, 0, p);
            p = put(*poly, 1, p);
            p = put(*poly, 2, p);
        } else if (poly->Node_Id_Nb == 4) {
            p = put(*poly, 0, p);
            p = put(*poly, 1, p);
            p = put(*poly, 2, p);
            p = put(*poly, 2, p);
            p = put(*poly, 3, p);
            p = put(*poly, 0, p);
        } else {
            return 0;
        }
    }
    return p - out;
}

// Mean of the corner nodes' R, G and B with the last corner's A; the count
// is a constant for the shapes that matter, so the divisions are cheap.
template <int N>
inline uint32_t mean_color(const Movie_Node* nodes, const Movie_Poly& poly)
{
    unsigned r = 0, g = 0, b = 0;
    Rgba c{};
    for (int j = 0; j < N; ++j) {
        c = color_bytes(nodes[poly.Node_Id[j]].Color);
        r += c.r;
        g += c.g;
        b += c.b;
    }
    return pack_color({static_cast<uint8_t>(r / N), static_cast<uint8_t>(g / N),
                       static_cast<uint8_t>(b / N), c.a});
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
    switch (poly.Node_Id_Nb) {
    case 1: return mean_color<1>(obj.Node_Pt, poly);
    case 2: return mean_color<2>(obj.Node_Pt, poly);
    case 3: return mean_color<3>(obj.Node_Pt, poly);
    case 4: return mean_color<4>(obj.Node_Pt, poly);
    default: return 0;
    }
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
    const Movie_Node* nodes = obj.Node_Pt;
    uint32_t* p = out;
    for (int k = 0; k < obj.Poly_Nb; ++k) {
        const Movie_Poly& poly = obj.Poly_Pt[k];
        if (poly.Node_Id_Nb == 3) {
            const uint32_t c = poly.Color ? poly.Color : mean_color<3>(nodes, poly);
            p[0] = p[1] = p[2] = c;
            p += 3;
        } else if (poly.Node_Id_Nb == 4) {
            const uint32_t c = poly.Color ? poly.Color : mean_color<4>(nodes, poly);
            p[0] = p[1] = p[2] = p[3] = p[4] = p[5] = c;
            p += 6;
        } else {
            return 0;
        }
    }
    return p - out;
}

} // namespace pfx::render
