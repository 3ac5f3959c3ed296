// What the DXF and VRML writers share: the search for a closed run of line
// segments.
#pragma once

#include "polyfex.h"

namespace pfx {

// Line objects hold segments Node_Id[0] -> Node_Id[1]. The first segment
// after segment i that ends where segment i starts closes a run i..j; -1 when
// none does. The writers continue at j + 1, so the scans over one object add
// up to a single pass over its segments.
inline int find_run_end(const Movie_Poly* polys, int nb, int i)
{
    const int start = polys[i].Node_Id[0];
    for (int j = i + 1; j < nb; ++j)
        if (polys[j].Node_Id[1] == start) return j;
    return -1;
}

} // namespace pfx
