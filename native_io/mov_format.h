// "%.*f" of a float, exactly as printf writes it, without the general
// double formatter.
//
// A float is m * 2^e with a 24-bit m, so for precision p <= 9 and values
// below 2^34 the scaled value m * 10^p * 2^e fits 64 bits and rounds
// exactly with integer shifts (ties to even, as printf rounds in the default
// rounding mode). Everything else (larger values, inf, nan) is left to the
// general formatter.
#pragma once

#include <cstddef>

namespace pfx::mov {

// Writes the text into out (at least 32 characters) and returns its length,
// or 0 when the fast path does not apply.
std::size_t format_float_fixed(char* out, float v, int precision);

} // namespace pfx::mov
