#pragma once
#include "core/alloc.h"

namespace pfx_test {

template <class Op>
int for_each_alloc_failure(Op op)
{
    int failing = 0;
    for (long n = 1; n < 100000; ++n) {
        pfx::alloc_fail_at(n);
        op(n);
        long calls = pfx::alloc_calls();
        pfx::alloc_fail_at(0);
        if (calls < n) break;
        ++failing;
    }
    return failing;
}

} // namespace pfx_test
