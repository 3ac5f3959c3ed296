// OBJ bytes to file-wide lists.
//
// Lines are examined as a 120-byte line buffer would see them: at most 119
// characters per read, so a longer line arrives in pieces and every piece is
// trimmed, numbered and dispatched as a line of its own. A "\r" before "\n"
// belongs to the line end (as a text-mode read gives it), and a last line
// without its line end reads as if it had one. A NUL byte ends the text of
// the piece it is in, as it ends a C string.
#include "exchange/obj_parse.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/text_scan.h"

namespace pfx {
namespace {

constexpr char kModule[] = "obj_read";

// Characters one read of a 120-byte buffer holds (the last byte ends the
// string).
constexpr long kPiece = 119;
// Entries of the first block of each list; later blocks double it.
constexpr int kFirstBlock = 1024;

// What Str_Strip_Spaces removes from both ends of a line; the trim is done
// on the byte range itself, so no line is ever copied.
inline bool is_trim(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The capacity after cap when one more entry is needed.
// note: each list is first sized by a quick count of the lines that start
// its statements (at least 1024 entries), so a big file costs one allocation
// per list and no copying; only pieces of over-long lines can outgrow the
// count, and the list then doubles. The memory-error line reports the
// capacity asked for.
inline long long next_cap(int cap) { return cap == 0 ? kFirstBlock : 2LL * cap; }

// Float lists hold 2 or 3 floats per entry; the memory-error line reports
// entries times the entry size.
bool grow_floats(float*& p, int& cap, int per_entry, int line, const char* var, long long want = 0)
{
    long long ncap = want > cap ? want : next_cap(cap);
    if (ncap > INT_MAX) {
        report_memory_error(line, kModule, AllocKind::Realloc, var, ncap, per_entry * 4LL);
        return false;
    }
    void* q = raw_realloc(p, static_cast<size_t>(ncap) * per_entry * sizeof(float));
    if (!q) {
        report_memory_error(line, kModule, AllocKind::Realloc, var, ncap, per_entry * 4LL);
        return false;
    }
    p = static_cast<float*>(q);
    advise_huge(p, static_cast<size_t>(ncap) * per_entry * sizeof(float));
    cap = static_cast<int>(ncap);
    return true;
}

template <class T>
bool grow_records(T*& p, int& cap, long long nominal, int line, const char* var, long long want = 0)
{
    long long ncap = want > cap ? want : next_cap(cap);
    if (ncap > INT_MAX || !checked_realloc(p, ncap, nominal, line, kModule, var)) {
        if (ncap > INT_MAX) report_memory_error(line, kModule, AllocKind::Realloc, var, ncap, nominal);
        return false;
    }
    advise_huge(p, static_cast<size_t>(ncap) * sizeof(T));
    cap = static_cast<int>(ncap);
    return true;
}

// One face field: the index it names, and how it named it.
struct FieldRef {
    int index;
    enum Kind : unsigned char { Number, Last, Back } kind;
    int back; // entries counted back (Back only)
};

// A field runs from s to the next "/", blank or the end of the token.
// note: a field that begins with "-" and a number k >= 1 counts k entries
// back from the last one read (-1 the last, -2 the one before...), as the
// format's relative numbering says; "-0", "+n" and every field that does not
// begin with a digit keep the plain rule and name the last entry read.
// A number 0 names index -1, which that same rule turns into the last entry.
inline const char* read_field(const char* s, const char* e, FieldRef& f)
{
    if (s < e && is_digit(*s)) {
        unsigned long long v = 0;
        do {
            v = v * 10 + unsigned(*s - '0');
            if (v > 0x80000000ULL) v = 0x80000000ULL; // far past any list
            ++s;
        } while (s < e && is_digit(*s));
        if (v >= 1) {
            f.kind = FieldRef::Number;
            f.index = static_cast<int>(v - 1);
        } else {
            f.kind = FieldRef::Last;
        }
    } else if (s + 1 < e && *s == '-' && is_digit(s[1])) {
        unsigned long long k = 0;
        ++s;
        do {
            k = k * 10 + unsigned(*s - '0');
            if (k > 0x80000000ULL) k = 0x80000000ULL;
            ++s;
        } while (s < e && is_digit(*s));
        if (k >= 1) {
            f.kind = FieldRef::Back;
            f.back = static_cast<int>(k > INT_MAX ? INT_MAX : k);
        } else {
            f.kind = FieldRef::Last;
        }
    } else {
        f.kind = FieldRef::Last;
    }
    while (s < e && *s != '/' && *s != ' ') ++s;
    return s;
}

// Per-face bookkeeping, merged into the file's only when the face is kept.
struct FaceTrack {
    int max_ref = -1;
    bool broken = false;
    bool dangling = false;
};

inline int resolve(const FieldRef& f, int count, FaceTrack& t)
{
    if (f.kind == FieldRef::Number) {
        if (f.index > t.max_ref) t.max_ref = f.index;
        return f.index;
    }
    int back = f.kind == FieldRef::Back ? f.back : 1;
    int index = count - back;
    if (index >= 0) return index;
    // Nothing to count back to: "the last entry" before the first one is
    // dangling (decided once the whole file is known), any farther count
    // back names an entry that never exists.
    if (back == 1) t.dangling = true;
    else t.broken = true;
    return -1;
}

inline void merge(ObjLists::RefTrack& r, const FaceTrack& t, int line)
{
    if (t.max_ref > r.max_ref) {
        r.max_ref = t.max_ref;
        r.max_line = line;
    }
    if (t.broken && r.broken_line == 0) r.broken_line = line;
    if (t.dangling && r.dangling_line == 0) r.dangling_line = line;
}

// Statement lines by kind, from the first two characters of each line after
// its leading blanks: what the lists will hold for any file whose lines fit
// one read each.
struct LineCounts {
    long long v = 0, vt = 0, vn = 0, f = 0, g = 0;
};

LineCounts count_lines(const char* p, const char* end)
{
    LineCounts c;
    while (p < end) {
        while (p < end && (*p == ' ' || *p == '\t' || *p == '\r')) ++p;
        if (p + 1 < end) {
            if (p[0] == 'v') {
                c.v += p[1] == ' ';
                c.vt += p[1] == 't';
                c.vn += p[1] == 'n';
            } else if (p[0] == 'f') {
                c.f += p[1] == ' ';
            }
        }
        if (p < end && p[0] == 'g') ++c.g;
        const void* nl = std::memchr(p, '\n', static_cast<size_t>(end - p));
        p = nl ? static_cast<const char*>(nl) + 1 : end;
    }
    return c;
}

inline long long first_cap(long long n) { return n < kFirstBlock ? kFirstBlock : n; }

class Parser {
public:
    Parser(ObjLists& lists, const wchar_t* name) : L(lists), name_(name) {}
    bool piece(const char* q, const char* e);
    void set_nul(bool has_nul) { has_nul_ = has_nul; }
    bool reserve(const LineCounts& c);
    bool reserve_lists(const LineCounts& c);

private:
    void unknown(const char* q, const char* e);
    bool group(const char* q, const char* e);
    bool vertex(const char* s, const char* e);
    bool texture(const char* s, const char* e);
    bool normal(const char* s, const char* e);
    bool face(const char* s, const char* e);

    ObjLists& L;
    const wchar_t* name_;
    int line_ = 0;
    bool has_nul_ = false;
};

// "%f %f ..." from s: the values that scan, in order; scanning stops at the
// first that does not.
// note: a number that does not scan reads as 0, and so do the ones after it
// (the scan stops there, as scanf does).
inline void scan_floats(const char* s, const char* e, float* v, int n)
{
    for (int i = 0; i < n; ++i) v[i] = 0.0f;
    for (int i = 0; i < n; ++i) {
        const char* r = scan_float(s, e, &v[i]);
        if (!r) {
            v[i] = 0.0f;
            return;
        }
        s = r;
    }
}

void Parser::unknown(const char* q, const char* e)
{
    char text[kPiece + 1];
    size_t n = static_cast<size_t>(e - q);
    std::memcpy(text, q, n);
    text[n] = 0;
    Error_Fct(hwnd, MSG_TRACE_IO, "-> Polyfex:OBJ_Read_Merge() line:%d Unrecognized keyword: %hs", line_, text);
}

bool Parser::group(const char* q, const char* e)
{
    if (L.group_nb == L.group_cap) {
        long long ncap = L.group_cap + 1024LL;
        int* group_start = L.group_start;
        int* group_stop = L.group_stop;
        char** group_name = L.group_name;
        bool ok = PFX_REALLOC(group_start, ncap, 4);
        if (ok) L.group_start = group_start;
        ok = ok && PFX_REALLOC(group_stop, ncap, 4);
        if (ok) L.group_stop = group_stop;
        ok = ok && PFX_REALLOC(group_name, ncap, 8);
        if (ok) L.group_name = group_name;
        if (!ok) return false;
        L.group_cap = static_cast<int>(ncap);
    }
    // The name is the text from the third character on: after "g" and one
    // separator, whatever that separator is.
    char text[kPiece + 1];
    size_t n = e - q > 2 ? static_cast<size_t>(e - q - 2) : 0;
    if (n) std::memcpy(text, q + 2, n);
    text[n] = 0;
    const int group_nb = L.group_nb;
    char** group_name = L.group_name;
    L.group_start[group_nb] = L.poly_nb;
    L.group_stop[group_nb] = L.poly_nb;
    if (group_nb > 0) L.group_stop[group_nb - 1] = L.poly_nb;
    if (!PFX_STRDUP(group_name[group_nb], text)) return false;
    ++L.group_nb;
    return true;
}

bool Parser::vertex(const char* s, const char* e)
{
    float v[3];
    if (L.compact) {
        if (L.node_nb == L.node_cap && !grow_records(L.coord_pt, L.node_cap, 96, __LINE__, "node_pt")) return false;
        scan_floats(s, e, v, 3);
        L.coord_pt[L.node_nb++] = Vector_4{v[0], v[1], v[2], 0.0f};
        return true;
    }
    if (L.node_nb == L.node_cap && !grow_records(L.node_pt, L.node_cap, 96, __LINE__, "node_pt")) return false;
    scan_floats(s, e, v, 3);
    Movie_Node& n = L.node_pt[L.node_nb++];
    std::memset(&n, 0, sizeof n);
    n.Coord.x = v[0];
    n.Coord.y = v[1];
    n.Coord.z = v[2];
    return true;
}

bool Parser::texture(const char* s, const char* e)
{
    if (L.text_nb == L.text_cap && !grow_floats(L.text_pt, L.text_cap, 2, __LINE__, "text_pt")) return false;
    scan_floats(s, e, L.text_pt + 2 * static_cast<size_t>(L.text_nb), 2);
    ++L.text_nb;
    return true;
}

bool Parser::normal(const char* s, const char* e)
{
    if (L.nrml_nb == L.nrml_cap && !grow_floats(L.nrml_pt, L.nrml_cap, 3, __LINE__, "nrml_pt")) return false;
    scan_floats(s, e, L.nrml_pt + 3 * static_cast<size_t>(L.nrml_nb), 3);
    ++L.nrml_nb;
    return true;
}

bool Parser::face(const char* s, const char* e)
{
    int32_t *nb, *vs, *ts, *ns;
    if (L.compact) {
        if (L.poly_nb == L.poly_cap && !grow_records(L.face_pt, L.poly_cap, 120, __LINE__, "poly_pt")) return false;
        ObjFace& f = L.face_pt[L.poly_nb];
        std::memset(&f, 0, sizeof f);
        nb = &f.nb, vs = f.v, ts = f.t, ns = f.n;
    } else {
        if (L.poly_nb == L.poly_cap && !grow_records(L.poly_pt, L.poly_cap, 120, __LINE__, "poly_pt")) return false;
        Movie_Poly& p = L.poly_pt[L.poly_nb];
        std::memset(&p, 0, sizeof p);
        nb = &p.Node_Id_Nb, vs = p.Node_Id, ts = p.Text_Id, ns = p.Normal_Id;
    }
    FaceTrack tn, tt, tl;
    int tokens = 0;
    for (;;) {
        while (s < e && *s == ' ') ++s;
        if (s >= e) break;
        if (tokens >= 4) {
            // Only the first four corners are ever kept; the rest are counted.
            while (s < e && *s != ' ') ++s;
            ++tokens;
            continue;
        }
        FieldRef f;
        s = read_field(s, e, f);
        vs[tokens] = resolve(f, L.node_nb, tn);
        FieldRef ft{0, FieldRef::Last, 0}, fl{0, FieldRef::Last, 0};
        if (s < e && *s == '/') {
            s = read_field(s + 1, e, ft);
            if (s < e && *s == '/') {
                s = read_field(s + 1, e, fl);
                // The third field runs to the end of the token.
                while (s < e && *s != ' ') ++s;
            }
        }
        ts[tokens] = resolve(ft, L.text_nb, tt);
        ns[tokens] = resolve(fl, L.nrml_nb, tl);
        ++tokens;
    }
    if (tokens > 4) {
        user_line(L"\xF1\x05WARNING:\x02 To many nodes for polygon!");
        user_line(L"\xF1\t File: \x01%ls", name_);
        user_line(L"\xF1\t Line: \x01%d", line_);
        return true;
    }
    *nb = tokens;
    merge(L.node_ref, tn, line_);
    merge(L.text_ref, tt, line_);
    merge(L.nrml_ref, tl, line_);
    ++L.poly_nb;
    return true;
}

// Lists sized by the line counts, in the order the statements would first
// grow them; a kind the file does not have is left for its first entry.
bool Parser::reserve(const LineCounts& c)
{
    if (!reserve_lists(c)) return false;
    // Sized by the count, so every page will be written.
    obj_prepare_block(L.compact ? static_cast<void*>(L.coord_pt) : static_cast<void*>(L.node_pt),
                      static_cast<size_t>(L.node_cap) * (L.compact ? sizeof(Vector_4) : sizeof(Movie_Node)));
    obj_prepare_block(L.text_pt, static_cast<size_t>(L.text_cap) * 2 * sizeof(float));
    obj_prepare_block(L.nrml_pt, static_cast<size_t>(L.nrml_cap) * 3 * sizeof(float));
    obj_prepare_block(L.compact ? static_cast<void*>(L.face_pt) : static_cast<void*>(L.poly_pt),
                      static_cast<size_t>(L.poly_cap) * (L.compact ? sizeof(ObjFace) : sizeof(Movie_Poly)));
    return true;
}

bool Parser::reserve_lists(const LineCounts& c)
{
    // Every line that starts with "g" makes a group, so the small forms are
    // only ever used by a file that ends up with groups.
    L.compact = c.g > 0;
    if (L.compact) {
        if (c.v && !grow_records(L.coord_pt, L.node_cap, 96, __LINE__, "node_pt", first_cap(c.v))) return false;
        if (c.vt && !grow_floats(L.text_pt, L.text_cap, 2, __LINE__, "text_pt", first_cap(c.vt))) return false;
        if (c.vn && !grow_floats(L.nrml_pt, L.nrml_cap, 3, __LINE__, "nrml_pt", first_cap(c.vn))) return false;
        if (c.f && !grow_records(L.face_pt, L.poly_cap, 120, __LINE__, "poly_pt", first_cap(c.f))) return false;
        return true;
    }
    if (c.v && !grow_records(L.node_pt, L.node_cap, 96, __LINE__, "node_pt", first_cap(c.v))) return false;
    if (c.vt && !grow_floats(L.text_pt, L.text_cap, 2, __LINE__, "text_pt", first_cap(c.vt))) return false;
    if (c.vn && !grow_floats(L.nrml_pt, L.nrml_cap, 3, __LINE__, "nrml_pt", first_cap(c.vn))) return false;
    if (c.f && !grow_records(L.poly_pt, L.poly_cap, 120, __LINE__, "poly_pt", first_cap(c.f))) return false;
    return true;
}

// One read's worth of text, [q, e), without its line end.
bool Parser::piece(const char* q, const char* e)
{
    ++line_;
    if (has_nul_) {
        const void* z = std::memchr(q, 0, static_cast<size_t>(e - q));
        if (z) e = static_cast<const char*>(z);
    }
    while (q < e && is_trim(*q)) ++q;
    while (e > q && is_trim(e[-1])) --e;
    const long n = e - q;
    if (n == 0) {
        unknown(q, e);
        return true;
    }
    switch (q[0]) {
    case '#':
    case ' ': // trimming leaves none; kept for the statement table's sake
        return true;
    case 'm':
    case 'u':
        if (n >= 6 && (std::memcmp(q, "mtllib", 6) == 0 || std::memcmp(q, "usemtl", 6) == 0)) return true;
        break;
    case 's':
        return true;
    case 'g':
        return group(q, e);
    case 'v':
        if (n >= 2) {
            switch (q[1]) {
            case ' ': return vertex(q + 2, e);
            case 't': return texture(q + 2, e);
            case 'n': return normal(q + 2, e);
            case 'p': return true;
            default: break;
            }
        }
        break;
    case 'f':
        if (n >= 2 && q[1] == ' ') return face(q + 2, e);
        break;
    default:
        break;
    }
    unknown(q, e);
    return true;
}

} // namespace

void obj_prepare_block(void* p, size_t bytes)
{
    constexpr size_t kBig = size_t(4) << 20;
    if (!p || bytes < kBig) return;
    advise_huge(p, bytes);
#ifdef MADV_POPULATE_WRITE
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t begin = (reinterpret_cast<uintptr_t>(p) + page - 1) & ~(page - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(p) + bytes) & ~(page - 1);
    // A hint like the advice: an older kernel refuses it and the pages then
    // come one fault at a time.
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
#endif
}

void obj_free_lists(ObjLists& lists)
{
    std::free(lists.node_pt);
    std::free(lists.coord_pt);
    std::free(lists.face_pt);
    std::free(lists.text_pt);
    std::free(lists.nrml_pt);
    std::free(lists.poly_pt);
    for (int k = 0; k < lists.group_nb; ++k) std::free(lists.group_name[k]);
    std::free(lists.group_name);
    std::free(lists.group_start);
    std::free(lists.group_stop);
    lists = ObjLists{};
}

ObjParse obj_parse(const char* begin, const char* end, const wchar_t* name, ObjLists& lists)
{
    Parser parser(lists, name);
    // A NUL is rare enough to look for once, so the common file pays one
    // fast scan instead of one per line.
    parser.set_nul(begin < end && std::memchr(begin, 0, static_cast<size_t>(end - begin)) != nullptr);
    if (!parser.reserve(count_lines(begin, end))) return ObjParse::Memory;
    const char* p = begin;
    while (p < end) {
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
        const char* stop = nl ? nl : end;
        const char* next = nl ? nl + 1 : end;
        if (nl && stop > p && stop[-1] == '\r') --stop;
        // The line and its end as reads of at most 119 characters: full
        // pieces while 119 or more characters are left, then the rest with
        // the line end (a lone line end when nothing is left).
        const char* q = p;
        while (stop - q >= kPiece) {
            if (!parser.piece(q, q + kPiece)) return ObjParse::Memory;
            q += kPiece;
        }
        if (!parser.piece(q, stop)) return ObjParse::Memory;
        p = next;
    }
    if (lists.group_nb > 0) lists.group_stop[lists.group_nb - 1] = lists.poly_nb;
    return ObjParse::Done;
}

// note: a reference that resolves outside its list rejects the file: a face
// naming a vertex that does not exist has no shape to keep, and a texture or
// normal number past its list is the same damage. Two cases are not damage:
// references into a list the file does not have at all (no "vt" line, say)
// are never used, and a field without value before the first entry of a
// list the file starts later (untextured faces ahead of the first "vt")
// takes that list's first entry, since every corner of an object with
// texture coordinates needs one. A face without any vertex before it is
// rejected like a missing vertex.
bool obj_check_references(ObjLists& lists)
{
    int bad = 0;
    auto note_bad = [&bad](int line) {
        if (line > 0 && (bad == 0 || line < bad)) bad = line;
    };
    auto check = [&note_bad](const ObjLists::RefTrack& r, int count) {
        if (r.max_ref >= count) note_bad(r.max_line);
        note_bad(r.broken_line);
    };
    check(lists.node_ref, lists.node_nb);
    note_bad(lists.node_ref.dangling_line);
    if (lists.text_nb > 0) check(lists.text_ref, lists.text_nb);
    if (lists.nrml_nb > 0) check(lists.nrml_ref, lists.nrml_nb);
    if (bad != 0) {
        lists.bad_line = bad;
        return false;
    }
    const bool fix_text = lists.text_nb > 0 && lists.text_ref.dangling_line != 0;
    const bool fix_nrml = lists.nrml_nb > 0 && lists.nrml_ref.dangling_line != 0;
    if (fix_text || fix_nrml) {
        for (int i = 0; i < lists.poly_nb; ++i) {
            ObjFaceView f = obj_face(lists, i);
            int32_t* t = const_cast<int32_t*>(f.t);
            int32_t* n = const_cast<int32_t*>(f.n);
            for (int j = 0; j < f.nb; ++j) {
                if (fix_text && t[j] < 0) t[j] = 0;
                if (fix_nrml && n[j] < 0) n[j] = 0;
            }
        }
    }
    return true;
}

} // namespace pfx
