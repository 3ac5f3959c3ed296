// Number scanning from a memory buffer with scanf's rules.
//
// Each scanner skips leading white space as scanf does, converts the longest
// prefix that "%d" or "%f" would, and returns the position after it, or null
// when there is no number (the buffer end counts as the end of the input).
// Results do not depend on the process locale.
#pragma once

namespace pfx {

inline bool is_space(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

inline const char* skip_space(const char* p, const char* end)
{
    while (p < end && is_space(*p)) ++p;
    return p;
}

// "%d": optional sign, decimal digits. Out-of-range values convert as the C
// library does (strtol's saturated value, then truncated to int).
const char* scan_int(const char* p, const char* end, int* out);

// "%f": decimal with optional exponent, hexadecimal floats, inf, infinity,
// nan and nan(chars), each with an optional sign; rounded to float exactly as
// strtof rounds.
const char* scan_float(const char* p, const char* end, float* out);

} // namespace pfx
