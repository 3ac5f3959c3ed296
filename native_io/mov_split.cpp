#include "native_io/mov_split.h"

#include "native_io/mov_report.h"

namespace pfx::mov {

SplitResult split_polygons(const int* connect, long long count, int node_nb, Movie_Poly* polys,
                           long long poly_cap, bool stop_on_big, int ping_period)
{
    SplitResult r;
    long long n = 0; // nodes of the current polygon so far
    for (long long j = 0; j < count; ++j) {
        if (j % ping_period == 0) progress_ping(1.0f);
        long long v = connect[j];
        long long number = v < 0 ? -v : v;
        bool stored = r.completed < poly_cap && n < 4;
        if (stored) {
            if (number < 1 || number > node_nb) {
                r.stop = SplitStop::BadNode;
                r.polygon = r.completed + 1;
                r.value = number;
                return r;
            }
            polys[r.completed].Node_Id[n] = static_cast<int>(number - 1);
        }
        ++n;
        if (v < 0) {
            if (r.completed < poly_cap)
                polys[r.completed].Node_Id_Nb = static_cast<int>(n);
            ++r.completed;
            if (stop_on_big && n > 4) {
                r.stop = SplitStop::BigPolygon;
                r.polygon = r.completed;
                r.value = n;
                return r;
            }
            n = 0;
        }
    }
    return r;
}

} // namespace pfx::mov
