#include "native_io/mov_build.h"

#include <cstdlib>

#include "native_io/mov_parse.h"
#include "native_io/mov_report.h"

namespace pfx::mov {

namespace {
constexpr long long kNodeBlock = 256;
} // namespace

const char* read_nodes(const char* p, const char* end, Movie_Node* nodes, long long n,
                       bool inc_progress, long long* failed)
{
    float xyz[3 * kNodeBlock];
    for (long long i = 0; i < n; i += kNodeBlock) {
        if (inc_progress) progress_inc(static_cast<int>(kNodeBlock));
        progress_ping(1.0f);
        long long block = n - i < kNodeBlock ? n - i : kNodeBlock;
        long long done = 0;
        p = parse_points(p, end, xyz, block, &done);
        Movie_Node* node = nodes + i;
        for (long long k = 0; k < done; ++k, ++node) {
            node->Coord.x = xyz[3 * k];
            node->Coord.y = xyz[3 * k + 1];
            node->Coord.z = xyz[3 * k + 2];
            node->Pos = node->Coord;
        }
        if (!p) {
            *failed = i + done;
            return nullptr;
        }
    }
    return p;
}

const char* read_connect(const char* p, const char* end, int* connect, long long n,
                         int ping_period, long long* failed)
{
    for (long long j = 0; j < n; j += ping_period) {
        progress_ping(1.0f);
        long long block = n - j < ping_period ? n - j : ping_period;
        long long done = 0;
        p = parse_ints(p, end, connect + j, block, &done);
        if (!p) {
            *failed = j + done;
            return nullptr;
        }
    }
    return p;
}

void free_block(void* p)
{
    std::free(p);
}

} // namespace pfx::mov
