// qhull (the reentrant C library) as a black-box peer: the hull's vertex set
// and volume for cross-checks, and a timed run for the benchmark.
#pragma once

#include <algorithm>
#include <cstdio>
#include <vector>

extern "C" {
#include "libqhull_r/qhull_ra.h"
}

namespace pfx_test {

struct Qhull_Hull {
    int exit_code = -1;
    std::vector<size_t> vertices; // point indices, ascending (with details)
    double volume = 0;            // with details
    size_t facets = 0;
};

// Runs qhull with the given options on packed points, copied since qhull
// takes a writable array.
inline Qhull_Hull qhull_hull(const std::vector<double>& points, const char* options, bool details)
{
    Qhull_Hull out;
    std::vector<coordT> copy(points.begin(), points.end());
    qhT state, *qh = &state;
    qh_zero(qh, stderr);
    out.exit_code = qh_new_qhull(qh, 3, int(points.size() / 3), copy.data(), False, const_cast<char*>(options), nullptr, stderr);
    if (out.exit_code == 0) {
        out.facets = size_t(qh->num_facets);
        vertexT* vertex;
        if (details) FORALLvertices out.vertices.push_back(size_t(qh_pointid(qh, vertex->point)));
        std::sort(out.vertices.begin(), out.vertices.end());
        if (details) qh_getarea(qh, qh->facet_list);
        out.volume = qh->totvol;
    }
    qh_freeqhull(qh, !qh_ALL);
    int curlong = 0, totlong = 0;
    qh_memfreeshort(qh, &curlong, &totlong);
    return out;
}

} // namespace pfx_test
