// Range checks on the node and polygon numbers an object holds: the host may
// hand over any record, so code that must not trust them checks with these.
#pragma once

#include "polyfex.h"

namespace pfx {

// 0 <= i < n, in one unsigned comparison.
inline bool in_range(int i, int n)
{
    return static_cast<unsigned>(i) < static_cast<unsigned>(n);
}

// The polygon's first count corners all name a node of the array.
inline bool corners_in_range(const Movie_Poly& poly, int count, int node_nb)
{
    for (int j = 0; j < count; ++j)
        if (!in_range(poly.Node_Id[j], node_nb)) return false;
    return true;
}

} // namespace pfx
