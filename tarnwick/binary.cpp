// Fixed-size binary fields as stored in files (little-endian order).
#include <cstdint>
#include <cstring>

#include "tarnwick.h"

namespace {

uint32_t load(int swap, const void* bytes)
{
    const unsigned char* b = static_cast<const unsigned char*>(bytes);
    uint32_t le = uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
    uint32_t be = uint32_t(b[3]) | uint32_t(b[2]) << 8 | uint32_t(b[1]) << 16 | uint32_t(b[0]) << 24;
    return swap == 1 ? be : le;
}

} // namespace

int Get_Int(int swap, const void* bytes)
{
    uint32_t v = load(swap, bytes);
    int32_t r;
    std::memcpy(&r, &v, 4);
    return r;
}

float Get_Float(int swap, const void* bytes)
{
    uint32_t v = load(swap, bytes);
    float r;
    std::memcpy(&r, &v, 4);
    return r;
}
