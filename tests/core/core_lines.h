// Whole-record views, so core tests compare lists in one assertion.
#pragma once

#include <array>
#include <cmath>

#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {

using Ids = std::vector<int>;
using Polys = std::vector<Ids>;
using V4 = std::array<float, 4>;

inline V4 v4(const Vector_4& v) { return {v.x, v.y, v.z, v.w}; }
inline bool near4(const Vector_4& got, V4 want)
{
    const V4 g = v4(got);
    for (int i = 0; i < 4; ++i)
        if (!(std::fabs(g[i] - want[i]) <= 1e-6f)) return false;
    return true;
}
inline Ids links_of(const Movie_Node& n) { return Ids(n.Poly_Id, n.Poly_Id + n.Poly_Id_Nb); }
inline Polys polys_of(const Movie_Objs& o)
{
    Polys r;
    for (int p = 0; p < o.Poly_Nb; ++p) r.emplace_back(o.Poly_Pt[p].Node_Id, o.Poly_Pt[p].Node_Id + o.Poly_Pt[p].Node_Id_Nb);
    return r;
}
// Gives a node a malloc'ed link list, as a reader would.
inline void set_links(Movie_Node& n, const Ids& ids)
{
    std::free(n.Poly_Id);
    n.Poly_Id = static_cast<int32_t*>(std::malloc(ids.size() * sizeof(int32_t) + 1));
    for (size_t k = 0; k < ids.size(); ++k) n.Poly_Id[k] = ids[k];
    n.Poly_Id_Nb = static_cast<int>(ids.size());
}

} // namespace pfx_test
