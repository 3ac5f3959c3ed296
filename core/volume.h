// The enclosed volume of an object's triangles and quads (signed prisms on a
// horizontal base plane), in double. Positions must be current.
#pragma once

#include "polyfex.h"

namespace pfx {

double volume_sum(const Movie_Objs& obj);

// One triangle's signed prism, heights already lifted above the base plane:
// the exact integral of its plane over its xy projection, positive when it
// faces up, negative when it faces down, 0 when it stands (|n.z| < 1e-6).
double prism_volume(const double x[3], const double y[3], const double z[3]);

} // namespace pfx
