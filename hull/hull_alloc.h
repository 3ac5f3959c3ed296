// The hull engine's containers allocate through the library's hooked raw
// allocator, so that a test can make any of their allocations fail. A failure
// is thrown as std::bad_alloc, as the standard allocator would: the engine
// reports no memory errors of its own and leaves its caller to unwind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "core/alloc.h"

namespace pfx {

template <class U>
struct Hull_Allocator {
    using value_type = U;

    Hull_Allocator() noexcept = default;
    template <class V>
    Hull_Allocator(const Hull_Allocator<V>&) noexcept
    {
    }

    U* allocate(size_t n)
    {
        if (n > SIZE_MAX / sizeof(U)) throw std::bad_array_new_length();
        void* p = raw_malloc(n * sizeof(U));
        if (!p) throw std::bad_alloc();
        // Large arrays (points of a big cloud, the mesh of a big hull) are
        // touched page by page right after they are taken.
        advise_huge(p, n * sizeof(U));
        return static_cast<U*>(p);
    }
    void deallocate(U* p, size_t) noexcept { std::free(p); }

    template <class V>
    bool operator==(const Hull_Allocator<V>&) const noexcept
    {
        return true;
    }
};

template <class U>
using Hull_Vector = std::vector<U, Hull_Allocator<U>>;

} // namespace pfx
