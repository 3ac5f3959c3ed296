// Text and binary STL parsers working on a byte range.
#include "exchange/stl_parse.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/text_scan.h"

namespace {
constexpr char kModule[] = "stl_read";

using pfx::STL_Facet;
using pfx::StlFacets;
using pfx::StlParseResult;
using pfx::StlStatus;

// ---- lines as fgets into a buffer of `Cap` bytes hands them out ------------------

// One piece of the text, read the way fgets(buf, Cap, file) of a text-mode
// file reads it: at most Cap - 1 characters, up to and including the line
// end. A "\r" right before "\n" belongs to the line end and is dropped, so
// CRLF files read like LF files. The piece is lowered when asked (ASCII
// letters only) and ends, as a C string, at its first zero byte.
template <size_t Cap>
class LineReader {
public:
    LineReader(const char* data, size_t size) : p_(data), end_(data + size) {}

    // False when nothing is left to read. number() counts every attempt.
    bool next(bool lower)
    {
        ++number_;
        if (p_ >= end_) return false;
        size_t n = 0;
        const size_t avail = static_cast<size_t>(end_ - p_);
        const size_t window = avail < Cap ? avail : Cap;
        const char* nl = static_cast<const char*>(std::memchr(p_, '\n', window));
        size_t raw = 0;
        if (nl) {
            raw = static_cast<size_t>(nl - p_);
            const size_t cr = (raw > 0 && p_[raw - 1] == '\r') ? 1 : 0;
            if (raw - cr + 1 <= Cap - 1) {
                // Common case: the whole line fits.
                copy(p_, raw - cr, lower);
                buf_[raw - cr] = '\n';
                n = raw - cr + 1;
                p_ = nl + 1;
                finish(n);
                return true;
            }
        }
        // A long line, or the last one without a line end: byte by byte.
        while (n < Cap - 1 && p_ < end_) {
            char c = *p_++;
            if (c == '\r' && p_ < end_ && *p_ == '\n') continue;
            buf_[n++] = (lower && c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
            if (c == '\n') break;
        }
        finish(n);
        return true;
    }

    const char* text() const { return buf_; }
    size_t length() const { return len_; } // up to the first zero byte
    int number() const { return number_; }

private:
    void copy(const char* src, size_t n, bool lower)
    {
        if (!lower) {
            std::memcpy(buf_, src, n);
            return;
        }
        for (size_t i = 0; i < n; ++i) {
            unsigned char c = static_cast<unsigned char>(src[i]);
            buf_[i] = static_cast<char>(static_cast<unsigned>(c - 'A') < 26u ? c + 32 : c);
        }
    }
    void finish(size_t n)
    {
        buf_[n] = '\0';
        const void* z = std::memchr(buf_, '\0', n);
        len_ = z ? static_cast<size_t>(static_cast<const char*>(z) - buf_) : n;
    }

    const char* p_;
    const char* end_;
    char buf_[Cap];
    size_t len_ = 0;
    int number_ = 0;
};

// Position of the first occurrence of kw in text, or null.
const char* find_word(const char* text, size_t len, const char* kw, size_t kw_len)
{
    if (len < kw_len) return nullptr;
    const char* last = text + (len - kw_len);
    for (const char* p = text; p <= last;) {
        p = static_cast<const char*>(std::memchr(p, kw[0], static_cast<size_t>(last - p) + 1));
        if (!p) return nullptr;
        if (std::memcmp(p + 1, kw + 1, kw_len - 1) == 0) return p;
        ++p;
    }
    return nullptr;
}

// Three numbers as "%f %f %f" reads them: a number that does not convert
// stops the reading and leaves the rest as they were.
void scan_three(const char* p, const char* end, Vector_4& v)
{
    float* out[3] = {&v.x, &v.y, &v.z};
    for (float* o : out) {
        p = pfx::scan_float(p, end, o);
        if (!p) return;
    }
}

// ---- text messages -----------------------------------------------------------------

StlParseResult end_of_file(const wchar_t* name, int line)
{
    pfx::user_line(L"\xF1\x04" L"ERROR:\x02\t Error in STL file!");
    pfx::user_line(L"\xF1\t file:\x01%ls\x02 line:\x01%d", name, line);
    pfx::user_line(L"\xF1\t End Of File while reading");
    return {StlStatus::Refused, "! fgets"};
}

StlParseResult syntax_error(const wchar_t* name, int line, const char* keyword)
{
    pfx::user_line(L"\xF1\x04" L"ERROR:\x02\t Syntax error in STL file!");
    pfx::user_line(L"\xF1\t file:\x01%ls\x02 line:\x01%d", name, line);
    pfx::user_line(L"\xF1\t didn't find key-word \x01\x22%hs\x22", keyword);
    return {StlStatus::Refused, "! pt"};
}

struct Keyword {
    const char* text;
    size_t len;
};
constexpr Keyword kSolid{"solid", 5};
constexpr Keyword kEndSolid{"endsolid", 8};
constexpr Keyword kFacetNormal{"facet normal", 12};
constexpr Keyword kOuterLoop{"outer loop", 10};
constexpr Keyword kVertex{"vertex", 6};
constexpr Keyword kEndLoop{"endloop", 7};
constexpr Keyword kEndFacet{"endfacet", 8};

using TextLines = LineReader<120>;

const char* find_word(const TextLines& in, const Keyword& kw)
{
    return find_word(in.text(), in.length(), kw.text, kw.len);
}

// The name text of the solid line: what follows the keyword and one
// separator character.
bool keep_name(const TextLines& in, const char* solid, StlFacets& out)
{
    const char* end = in.text() + in.length();
    const char* from = solid + 6 <= end ? solid + 6 : end;
    char* obj_name = nullptr;
    if (!PFX_STRDUP(obj_name, from)) return false;
    // note: the name loses its line end and the blanks around it, so that a
    // CRLF file and an LF file name their object alike.
    Str_Strip_Spaces(obj_name);
    out.obj_name = obj_name;
    return true;
}

// The next facet's record, growing the list in blocks of 1024.
STL_Facet* new_facet(StlFacets& out)
{
    if (out.nb_poly % 1024 == 0 &&
        !PFX_REALLOC_AS(out.poly, out.nb_poly + 1024LL, sizeof(STL_Facet), "poly"))
        return nullptr;
    STL_Facet* f = &out.poly[out.nb_poly];
    std::memset(f, 0, sizeof *f);
    return f;
}

// ---- binary -------------------------------------------------------------------------

StlParseResult short_read(const wchar_t* name, long long got, int polygon)
{
    pfx::user_line(L"\xF1\x04" L"ERROR:\x02\t in STL file (%d)!", static_cast<int>(got));
    pfx::user_line(L"\xF1\t file:\x01%ls\x02 polygon:\x01%d", name, polygon);
    pfx::user_line(L"\xF1\t End Of File while reading");
    return {StlStatus::Refused, "ret != num"};
}

inline uint32_t load_u32(const char* p, bool swap)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    return swap ? __builtin_bswap32(v) : v;
}

// The same value Get_Float(swap, p) gives, without a call per number.
inline float load_float(const char* p, bool swap)
{
    uint32_t v = load_u32(p, swap);
    float f;
    std::memcpy(&f, &v, 4);
    return f;
}

inline void load_vector(const char* p, bool swap, Vector_4& v)
{
    v.x = load_float(p, swap);
    v.y = load_float(p + 4, swap);
    v.z = load_float(p + 8, swap);
    v.w = 0.0f;
}

void header_line(const char* bytes)
{
    char text[41];
    std::memcpy(text, bytes, 40);
    text[40] = '\0';
    Error_Fct(hwnd, MSG_PROGRESS, L"\x01%40.40hs", text);
}

} // namespace

namespace pfx {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "binary STL is read on little-endian hosts");

StlFacets::~StlFacets()
{
    std::free(poly);
    std::free(obj_name);
}

bool stl_is_text(const char* data, size_t size)
{
    // Two fgets calls into 90-byte buffers; a line that cannot be read is
    // empty, and each line is searched up to its first zero byte.
    LineReader<90> in(data, size);
    char line1[90] = {0};
    size_t len1 = 0;
    if (in.next(false)) {
        len1 = in.length();
        std::memcpy(line1, in.text(), len1);
    }
    const char* line2 = "";
    size_t len2 = 0;
    if (in.next(false)) {
        line2 = in.text();
        len2 = in.length();
    }
    if (find_word(line1, len1, "solid", 5)) return true;
    if (find_word(line1, len1, "SOLID", 5) && find_word(line2, len2, "normal", 6)) return true;
    return find_word(line2, len2, "NORMAL", 6) != nullptr;
}

StlParseResult stl_parse_text(const char* data, size_t size, const wchar_t* name, StlFacets& out)
{
    TextLines in(data, size);
    if (!in.next(true)) return end_of_file(name, in.number());
    const char* solid = find_word(in, kSolid);
    if (!solid) return syntax_error(name, in.number(), kSolid.text);
    if (!keep_name(in, solid, out)) return {StlStatus::NoMemory, nullptr};

    for (;;) {
        if (!in.next(true)) return end_of_file(name, in.number());
        if (find_word(in, kEndSolid)) return {StlStatus::Done, nullptr};

        const char* end = in.text() + in.length();
        const char* at = find_word(in, kFacetNormal);
        if (!at) return syntax_error(name, in.number(), kFacetNormal.text);
        STL_Facet* f = new_facet(out);
        if (!f) return {StlStatus::NoMemory, nullptr};
        scan_three(at + kFacetNormal.len, end, f->normal);

        if (!in.next(true)) return end_of_file(name, in.number());
        if (!find_word(in, kOuterLoop)) return syntax_error(name, in.number(), kOuterLoop.text);
        for (Vector_4& corner : f->corner) {
            if (!in.next(true)) return end_of_file(name, in.number());
            at = find_word(in, kVertex);
            if (!at) return syntax_error(name, in.number(), kVertex.text);
            scan_three(at + kVertex.len, in.text() + in.length(), corner);
        }
        if (!in.next(true)) return end_of_file(name, in.number());
        if (!find_word(in, kEndLoop)) return syntax_error(name, in.number(), kEndLoop.text);
        if (!in.next(true)) return end_of_file(name, in.number());
        if (!find_word(in, kEndFacet)) return syntax_error(name, in.number(), kEndFacet.text);
        ++out.nb_poly;
    }
}

StlParseResult stl_parse_binary(const char* data, size_t size, const wchar_t* name,
                                StlFacets& out)
{
    // note: the capacity is computed in 64 bits and held to the int range, so
    // files beyond 2 GB neither wrap nor refuse a count they really hold.
    long long room = (static_cast<long long>(size) - 84) / 50;
    const int max_poly = room > INT_MAX ? INT_MAX : static_cast<int>(room);

    if (size < 80) return short_read(name, static_cast<long long>(size), 0);
    header_line(data);
    header_line(data + 40);
    if (size < 84) return short_read(name, static_cast<long long>(size) - 80, 0);

    bool swap = false;
    int nb_poly = Get_Int(0, data + 80);
    if (nb_poly > max_poly) {
        user_line(L"\xF1\x05WARNING:\x02\t in STL file %ls", name);
        user_line(L"\xF1\t to many polygons (\x01%d\x02)!", nb_poly);
        user_line(L"\xF1\t attempting to swap all bytes...");
        swap = true;
        nb_poly = Get_Int(1, data + 80);
        if (nb_poly > max_poly) {
            user_line(L"\xF1\t ...nope, sorry.  Can't read this file.");
            return {StlStatus::Refused, "nb_poly > max_poly"};
        }
        user_line(L"\xF1\t ...problem solved! (now \x01%d\x02 polygons) ", nb_poly);
    }

    // A count with the sign bit set passes the size test and fails here.
    if (!PFX_CALLOC_AS(out.poly, nb_poly, sizeof(STL_Facet), "poly"))
        return {StlStatus::NoMemory, nullptr};
    advise_huge(out.poly, static_cast<size_t>(nb_poly) * sizeof(STL_Facet));
    out.nb_poly = nb_poly;

    const char* p = data + 84;
    const char* end = data + size;
    for (int i = 0; i < nb_poly; ++i, p += 50) {
        if (end - p < 50) return short_read(name, end - p, i);
        STL_Facet& f = out.poly[i];
        load_vector(p, swap, f.normal);
        load_vector(p + 12, swap, f.corner[0]);
        load_vector(p + 24, swap, f.corner[1]);
        load_vector(p + 36, swap, f.corner[2]);
    }
    return {StlStatus::Done, nullptr};
}

} // namespace pfx
