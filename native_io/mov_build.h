// Record filling shared by the ".mov" readers: the parsed lists go into node
// records in blocks, with the readers' progress calls between blocks.
#pragma once

#include <cstddef>

#include "polyfex.h"

namespace pfx::mov {

// Scans n node lines into nodes[0..n): x, y, z into Coord and a copy into
// Pos (w stays as it is). Every 256 nodes, before the block:
// Util_Progress_Inc(256) when inc_progress, then Util_Progress_PingPong(1.0).
// Null when node *failed (0-based) does not scan.
const char* read_nodes(const char* p, const char* end, Movie_Node* nodes, long long n,
                       bool inc_progress, long long* failed);

// Scans n connectivity integers, with Util_Progress_PingPong(1.0) at every
// position that is a multiple of ping_period. Null when integer *failed
// (0-based) does not scan.
const char* read_connect(const char* p, const char* end, int* connect, long long n,
                         int ping_period, long long* failed);

// Frees with free() when it goes out of scope (scratch lists).
template <class T>
struct ScratchList {
    T* p = nullptr;
    ScratchList() = default;
    ~ScratchList();
    ScratchList(const ScratchList&) = delete;
    ScratchList& operator=(const ScratchList&) = delete;
    void reset();
};

void free_block(void* p);

template <class T>
ScratchList<T>::~ScratchList()
{
    free_block(p);
}
template <class T>
void ScratchList<T>::reset()
{
    free_block(p);
    p = nullptr;
}

} // namespace pfx::mov
