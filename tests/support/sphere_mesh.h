// A closed latitude-longitude unit sphere built in memory as a host builds
// objects (calloc'ed header and arrays), for tests and benchmarks.
//
// segs nodes per ring, rings - 1 rings between the poles; 2 * segs *
// (rings - 1) outward (counter-clockwise) triangles: 1000 x 1001 gives
// 2,000,000 triangles, 1000 x 501 gives 1,000,000.
#pragma once

#include <cmath>
#include <cstdlib>

#include "polyfex.h"

namespace pfx_test {

inline Movie_Objs* make_uv_sphere(int segs, int rings)
{
    auto* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    const int node_nb = segs * (rings - 1) + 2;
    const int poly_nb = 2 * segs * (rings - 1);
    obj->Node_Nb = node_nb;
    obj->Poly_Nb = poly_nb;
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(node_nb, sizeof(Movie_Node)));
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(poly_nb, sizeof(Movie_Poly)));
    obj->Flags = GEOM_POLY;
    for (int r = 0; r < 4; ++r) obj->Matrix.m[r][r] = 1.0;

    const double pi = std::acos(-1.0);
    const int south = node_nb - 1;
    obj->Node_Pt[0].Coord = {0.0f, 0.0f, 1.0f, 0.0f};
    obj->Node_Pt[south].Coord = {0.0f, 0.0f, -1.0f, 0.0f};
    auto v = [segs](int r, int s) { return 1 + (r - 1) * segs + (s % segs); };
    for (int r = 1; r < rings; ++r) {
        const double th = pi * r / rings;
        for (int s = 0; s < segs; ++s) {
            const double ph = 2 * pi * s / segs;
            obj->Node_Pt[v(r, s)].Coord = {float(std::sin(th) * std::cos(ph)), float(std::sin(th) * std::sin(ph)),
                                           float(std::cos(th)), 0.0f};
        }
    }
    int p = 0;
    auto tri = [&](int a, int b, int c) {
        Movie_Poly& poly = obj->Poly_Pt[p++];
        poly.Node_Id_Nb = 3;
        poly.Node_Id[0] = a;
        poly.Node_Id[1] = b;
        poly.Node_Id[2] = c;
    };
    for (int s = 0; s < segs; ++s) tri(0, v(1, s), v(1, s + 1));
    for (int r = 1; r + 1 < rings; ++r)
        for (int s = 0; s < segs; ++s) {
            tri(v(r, s), v(r + 1, s), v(r + 1, s + 1));
            tri(v(r, s), v(r + 1, s + 1), v(r, s + 1));
        }
    for (int s = 0; s < segs; ++s) tri(south, v(rings - 1, s + 1), v(rings - 1, s));
    return obj;
}

} // namespace pfx_test
