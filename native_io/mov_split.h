// Connectivity integers into polygon records, the rule both ".mov" readers
// share: node numbers in polygon order, the last one negated.
#pragma once

#include "polyfex.h"

namespace pfx::mov {

enum class SplitStop {
    None,       // every integer walked
    BigPolygon, // a polygon completed with more than 4 nodes (when asked to stop)
    BadNode,    // a node number to store lies outside 1 to the node count
};

struct SplitResult {
    long long completed = 0; // polygons completed (negative integers seen)
    SplitStop stop = SplitStop::None;
    long long polygon = 0;   // 1-based number of the polygon at fault
    long long value = 0;     // its node count, or the node number
};

// Walks connect[0..count) and fills polys[0..poly_cap): Node_Id_Nb is the
// node count of each completed polygon, Node_Id its first four nodes as
// 0-based indices. Nodes beyond the fourth are counted, not stored, and
// polygons beyond poly_cap are counted, not stored, so nothing is written
// outside the records. Every stored number is checked against node_nb.
// stop_on_big ends the walk at the first polygon of more than 4 nodes.
// Util_Progress_PingPong(1.0) is called at every position that is a
// multiple of ping_period.
SplitResult split_polygons(const int* connect, long long count, int node_nb, Movie_Poly* polys,
                           long long poly_cap, bool stop_on_big, int ping_period);

// The geometry bit of a polygon of n nodes (0 for none, n outside 1 to 4).
inline unsigned int geometry_bit(int n)
{
    return n == 1 ? GEOM_POINT : n == 2 ? GEOM_LINE : (n == 3 || n == 4) ? GEOM_POLY : 0u;
}

} // namespace pfx::mov
