#include "native_io/mov_parse.h"

#include <cstring>

#include "core/text_scan.h"

namespace pfx::mov {

const char* parse_header(const char* p, const char* end, Header& h)
{
    h = Header{};
    std::size_t avail = static_cast<std::size_t>(end - p);
    std::size_t len = avail < kHeaderChars ? avail : kHeaderChars;
    const void* nl = std::memchr(p, '\n', len);
    const char* line_end = nl ? static_cast<const char*>(nl) + 1 : p + len;

    int* fields[4] = {&h.nb_obj, &h.node_nb, &h.poly_nb, &h.connect_nb};
    const char* q = p;
    for (int* field : fields) {
        q = scan_int(q, line_end, field);
        if (!q) break;
        ++h.scanned;
    }
    return line_end;
}

const char* parse_ints(const char* p, const char* end, int* out, long long n, long long* done)
{
    long long i = 0;
    for (; i < n; ++i) {
        p = scan_int(p, end, &out[i]);
        if (!p) break;
    }
    *done = i;
    return p;
}

const char* parse_pairs(const char* p, const char* end, int* first, int* second, long long n,
                        long long* done)
{
    long long i = 0;
    for (; i < n; ++i) {
        p = scan_int(p, end, &first[i]);
        if (p) p = scan_int(p, end, &second[i]);
        if (!p) break;
    }
    *done = i;
    return p;
}

const char* parse_points(const char* p, const char* end, float* xyz, long long n,
                         long long* done)
{
    long long i = 0;
    for (; i < n; ++i) {
        float* v = xyz + 3 * i;
        p = scan_float(p, end, &v[0]);
        if (p) p = scan_float(p, end, &v[1]);
        if (p) p = scan_float(p, end, &v[2]);
        if (!p) break;
    }
    *done = i;
    return p;
}

} // namespace pfx::mov
