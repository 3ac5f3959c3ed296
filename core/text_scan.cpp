#include "core/text_scan.h"

#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <locale.h>

#include <fast_float/fast_float.h>

namespace pfx {
namespace {

locale_t c_locale()
{
    static locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return loc;
}

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline char lower(char c) { return (c >= 'A' && c <= 'Z') ? char(c + 32) : c; }

bool starts_with_ci(const char* p, const char* end, const char* word)
{
    for (; *word; ++word, ++p)
        if (p >= end || lower(*p) != *word) return false;
    return true;
}

// The rare forms (hex floats, inf, nan) go to the C library, on a bounded
// terminated copy of the token.
const char* scan_float_slow(const char* p, const char* end, float* out)
{
    char token[512];
    size_t n = 0;
    while (p + n < end && n + 1 < sizeof token && !is_space(p[n]) && p[n] != '\0') {
        token[n] = p[n];
        ++n;
    }
    token[n] = 0;
    // scanf's %f takes "nan" but not the "(chars)" that strtof would add.
    size_t sign = (token[0] == '+' || token[0] == '-') ? 1 : 0;
    if (n >= sign + 3 && lower(token[sign]) == 'n') token[sign + 3] = 0;
    char* stop = nullptr;
    float v = strtof_l(token, &stop, c_locale());
    if (stop == token) return nullptr;
    *out = v;
    return p + (stop - token);
}

} // namespace

const char* scan_int(const char* p, const char* end, int* out)
{
    p = skip_space(p, end);
    const char* q = p;
    bool neg = false;
    if (q < end && (*q == '+' || *q == '-')) {
        neg = *q == '-';
        ++q;
    }
    if (q >= end || !is_digit(*q)) return nullptr;
    // strtol semantics: saturate at LONG_MIN / LONG_MAX, then the int
    // conversion keeps the low 32 bits, as the C library's %d does.
    unsigned long long mag = 0;
    bool over = false;
    while (q < end && is_digit(*q)) {
        unsigned d = unsigned(*q - '0');
        if (mag > (ULLONG_MAX - d) / 10) over = true;
        else mag = mag * 10 + d;
        ++q;
    }
    long v;
    if (neg) {
        if (over || mag > static_cast<unsigned long long>(LONG_MAX) + 1ULL) v = LONG_MIN;
        else v = static_cast<long>(0ULL - mag);
    } else {
        if (over || mag > static_cast<unsigned long long>(LONG_MAX)) v = LONG_MAX;
        else v = static_cast<long>(mag);
    }
    *out = static_cast<int>(static_cast<unsigned int>(static_cast<unsigned long>(v)));
    return q;
}

const char* scan_float(const char* p, const char* end, float* out)
{
    p = skip_space(p, end);
    if (p >= end) return nullptr;
    const char* q = p;
    bool neg = false;
    if (*q == '+' || *q == '-') {
        neg = *q == '-';
        ++q;
    }
    if (q >= end) return nullptr;
    if (*q == '0' && q + 1 < end && lower(q[1]) == 'x') return scan_float_slow(p, end, out);
    if (starts_with_ci(q, end, "inf") || starts_with_ci(q, end, "nan")) return scan_float_slow(p, end, out);
    if (!is_digit(*q) && *q != '.') return nullptr;
    float v = 0.0f;
    auto r = fast_float::from_chars(q, end, v, fast_float::chars_format::general);
    if (r.ec != std::errc() && r.ec != std::errc::result_out_of_range) return nullptr;
    if (r.ec == std::errc::result_out_of_range) return scan_float_slow(p, end, out);
    *out = neg ? -v : v;
    return r.ptr;
}

} // namespace pfx
