// The objects of the ".mov" writer goldens (tools/goldens_mov writes them):
// a triangle, a unit square one unit above it, and a displaced object with
// a point, a segment, a triangle and two quads whose values test rounding.
#pragma once

#include "support/objects.h"

namespace mov_test {

inline Movie_Objs* make_example_triangle()
{
    return pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
}
inline Movie_Objs* make_example_square()
{
    return pfx_test::make_object({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}});
}
// Positions not computed yet; node 3 is displaced.
inline Movie_Objs* make_mixed_object()
{
    Movie_Objs* obj = pfx_test::make_object(
        {{0.123456f, -0.000004f, 12345.678f},
         {-1.5f, 99999.99f, -0.000005f},
         {1e-7f, 3.14159265f, -2.718281828f},
         {100.0f, 200.0f, 300.0f},
         {-7.25f, 0.5f, 0.0625f}},
        {{0}, {0, 1}, {1, 2, 3}, {0, 1, 2, 3}, {4, 3, 2, 1}},
        GEOM_POINT | GEOM_LINE | GEOM_POLY | DISPLACED);
    obj->Node_Pt[3].Displ = {1.0f, -2.0f, 0.5f, 0.0f};
    return obj;
}

} // namespace mov_test
