// Record sizes as the library reports them, and the resize of a polygon
// array whose failure line names those sizes.
//
// Memory-error lines give a node record as 96 bytes and a polygon record as
// 120, whatever the compiler lays out; the arrays themselves are allocated
// with the real record size.
#pragma once

#include <cstddef>

#include "core/alloc.h"
#include "polyfex.h"

namespace pfx {

constexpr long long kNodeRecordBytes = 96;
constexpr long long kPolyRecordBytes = 120;
static_assert(sizeof(Movie_Node) == kNodeRecordBytes, "node records are 96 bytes");

// Resizes poly to count records (count > 0). On failure the realloc line is
// sent with var, count and 120, poly keeps its block, and the result is false.
inline bool resize_polys(Movie_Poly*& poly, int count, int line, const char* module, const char* var)
{
    void* q = raw_realloc(poly, static_cast<size_t>(count) * sizeof(Movie_Poly));
    if (!q) {
        report_memory_error(line, module, AllocKind::Realloc, var, count, kPolyRecordBytes);
        return false;
    }
    poly = static_cast<Movie_Poly*>(q);
    return true;
}

} // namespace pfx
