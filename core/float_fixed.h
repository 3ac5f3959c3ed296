// "%.*f" of a float, exactly as printf writes it, without the general
// double formatter.
//
// A float is m * 2^e with a 24-bit m, so for precision p <= 9 the product
// v * 10^p is exact in double; while it stays below 2^64 it rounds to a
// 64-bit integer exactly as printf rounds (ties to even in the default
// rounding mode), and the digits come from integer arithmetic. Everything
// else (larger values, inf, nan) is left to the general formatter.
#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace pfx {

inline constexpr std::uint64_t kFixedPow10[10] = {1,      10,      100,      1000,      10000,
                                                  100000, 1000000, 10000000, 100000000, 1000000000};

// Writes the text into out (at least 32 characters) and returns its length,
// or 0 when the fast path does not apply. Inline: the line builders call it
// once per number.
inline std::size_t format_float_fixed(char* out, float v, int precision)
{
    if (precision < 0 || precision > 9 || !std::isfinite(v)) return 0;
    const std::uint64_t scale = kFixedPow10[precision];
    // Exact: 24 bits of mantissa times 5^precision (at most 21 bits) fit the
    // 53 of a double, and the power of two only moves the exponent.
    const double scaled = std::fabs(static_cast<double>(v) * static_cast<double>(scale));
    if (!(scaled < 1.8e19)) return 0; // below 2^64
    // Ties to even in the default rounding mode, as printf rounds.
    const std::uint64_t q = static_cast<std::uint64_t>(std::nearbyint(scaled));
    char* p = out;
    if (std::signbit(v)) *p++ = '-'; // printf keeps the sign of what rounds to zero
    p = std::to_chars(p, p + 24, q / scale).ptr;
    if (precision > 0) {
        *p++ = '.';
        auto frac = static_cast<std::uint32_t>(q % scale);
        for (int i = precision - 1; i >= 0; --i) {
            p[i] = static_cast<char>('0' + frac % 10);
            frac /= 10;
        }
        p += precision;
    }
    return static_cast<std::size_t>(p - out);
}

} // namespace pfx
