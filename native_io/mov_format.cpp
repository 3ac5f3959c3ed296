#include "native_io/mov_format.h"

#include <cstdint>
#include <cstring>

namespace pfx::mov {

namespace {

constexpr std::uint64_t kPow10[10] = {1,      10,      100,      1000,      10000,
                                      100000, 1000000, 10000000, 100000000, 1000000000};

char* put_digits(char* out, std::uint64_t v, int min_digits)
{
    char tmp[24];
    int n = 0;
    do {
        tmp[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v);
    while (n < min_digits) tmp[n++] = '0';
    while (n) *out++ = tmp[--n];
    return out;
}

} // namespace

std::size_t format_float_fixed(char* out, float v, int precision)
{
    if (precision < 0 || precision > 9) return 0;
    std::uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    const bool negative = (bits >> 31) != 0;
    const int biased = static_cast<int>((bits >> 23) & 0xff);
    if (biased == 0xff) return 0; // inf, nan
    std::uint64_t m = bits & 0x7fffff;
    int e = -149; // subnormals
    if (biased != 0) {
        m |= 0x800000;
        e = biased - 150;
    }
    const std::uint64_t scale = kPow10[precision];
    std::uint64_t q = 0;
    if (e >= 0) {
        // m < 2^24, 2^10, 10^9 < 2^30: the product stays below 2^64.
        if (e > 10) return 0;
        q = (m << e) * scale;
    } else if (-e < 64) {
        const int s = -e;
        const std::uint64_t p = m * scale; // below 2^54
        q = p >> s;
        const std::uint64_t rest = p & ((std::uint64_t(1) << s) - 1);
        const std::uint64_t half = std::uint64_t(1) << (s - 1);
        if (rest > half || (rest == half && (q & 1))) ++q;
    } // else: below 2^-63 of a 2^54 numerator, rounds to 0

    char* p = out;
    if (negative) *p++ = '-'; // printf keeps the sign of what rounds to zero
    p = put_digits(p, q / scale, 1);
    if (precision > 0) {
        *p++ = '.';
        p = put_digits(p, q % scale, precision);
    }
    return static_cast<std::size_t>(p - out);
}

} // namespace pfx::mov
