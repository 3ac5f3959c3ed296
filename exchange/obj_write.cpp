// OBJ_Write: every object's vertex data first, then every object's faces,
// so that the file-wide numbering of each object continues where the one
// before it ended.
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>

#include "core/diag.h"
#include "core/platform.h"
#include "core/text_out.h"
#include "polyfex.h"

namespace {

constexpr char kModule[] = "obj_write";

// One output line is built on the stack and handed over whole. A float in
// "%12.6f" takes at most 47 characters and a reference at most 35, so the
// largest line (three floats or four references) fits with room to spare.
class Line {
public:
    template <size_t N>
    Line& text(const char (&s)[N])
    {
        std::memcpy(buf_ + len_, s, N - 1);
        len_ += N - 1;
        return *this;
    }
    // "%12.6f" of a float, the digits printf gives.
    Line& f12(float v)
    {
        char tmp[64];
        size_t n = fixed6(tmp, v);
        for (size_t i = n; i < 12; ++i) buf_[len_++] = ' ';
        std::memcpy(buf_ + len_, tmp, n);
        len_ += n;
        return *this;
    }
    Line& integer(long long v)
    {
        len_ = static_cast<size_t>(std::to_chars(buf_ + len_, buf_ + sizeof buf_, v).ptr - buf_);
        return *this;
    }
    // Blanks up to column start + width; a longer field keeps every character.
    Line& pad_from(size_t start, size_t width)
    {
        while (len_ < start + width) buf_[len_++] = ' ';
        return *this;
    }
    size_t size() const { return len_; }
    void put_to(pfx::OutBuf& out)
    {
        out.put(buf_, len_);
        len_ = 0;
    }

private:
    // A float promoted to double and multiplied by 10^6 is exact (24 bits of
    // mantissa times 15625 * 2^6 fit in 53), so rounding that product to an
    // integer, ties to even, rounds exactly as printf's "%.6f" does. Values
    // too large for a 64-bit integer, infinities and NaN go to to_chars.
    static size_t fixed6(char* out, float v)
    {
        double scaled = static_cast<double>(v) * 1e6;
        if (!(std::fabs(scaled) < 9.0e18)) {
            auto r = std::to_chars(out, out + 63, static_cast<double>(v), std::chars_format::fixed, 6);
            return static_cast<size_t>(r.ptr - out);
        }
        uint64_t n = static_cast<uint64_t>(std::fabs(std::nearbyint(scaled)));
        char* p = out;
        if (std::signbit(v)) *p++ = '-';
        p = std::to_chars(p, out + 63, n / 1000000).ptr;
        *p++ = '.';
        uint32_t frac = static_cast<uint32_t>(n % 1000000);
        for (int i = 5; i >= 0; --i) {
            p[i] = static_cast<char>('0' + frac % 10);
            frac /= 10;
        }
        return static_cast<size_t>(p + 6 - out);
    }

    char buf_[512];
    size_t len_ = 0;
};

// Counts as the writer uses them: an array that is missing counts as empty,
// so nothing is read outside what the object holds.
// note: a negative count, or a count without its array, writes nothing.
struct Counts {
    long long nodes, texts, normals, polys;
};

Counts counts_of(const Movie_Objs* o)
{
    auto c = [](int n, const void* p) { return p && n > 0 ? static_cast<long long>(n) : 0LL; };
    return {c(o->Node_Nb, o->Node_Pt), c(o->Text_Nb, o->Text_Pt), c(o->Normal_Nb, o->Normal_Pt),
            c(o->Poly_Nb, o->Poly_Pt)};
}

// Lines written per object: vertices, texture coordinates, normals (the
// normal list, or one node normal per vertex without one).
struct Bases {
    long long v = 0, t = 0, n = 0;
    void add(const Counts& c)
    {
        v += c.nodes;
        t += c.texts;
        n += c.normals > 0 ? c.normals : c.nodes;
    }
};

void write_header(pfx::OutBuf& out)
{
    char date[80];
    pfx::local_time_text(date, sizeof date, "%d %b %Y %H:%M");
    out.put("#\n# Wavefront OBJ file\n# Created by Krendalith libraries\n# created: ");
    out.put(date);
    out.put("\n \n");
}

void write_data(pfx::OutBuf& out, const Movie_Objs* o, const Counts& c)
{
    static const char kRule[] = "# ==============================================================\n";
    out.put(kRule);
    out.put("# =================== Data for group \"").wide(o->Name).put("\" ========\n");
    out.put(kRule);
    out.put("# --- vertex list ---\n");
    Line line;
    for (long long i = 0; i < c.nodes; ++i) {
        const Vector_4& p = o->Node_Pt[i].Pos;
        line.text("v  ").f12(p.x).text(" ").f12(p.y).text(" ").f12(p.z).text(" \n").put_to(out);
    }
    if (c.texts > 0) {
        out.put("# --- vertex textures ---\n");
        for (long long i = 0; i < c.texts; ++i) {
            const float* t = o->Text_Pt + 2 * i;
            line.text("vt  ").f12(t[0]).text(" ").f12(t[1]).text(" \n").put_to(out);
        }
    }
    out.put("# --- vertex normals ---\n");
    if (c.normals > 0) {
        for (long long i = 0; i < c.normals; ++i) {
            const float* n = o->Normal_Pt + 3 * i;
            line.text("vn  ").f12(n[0]).text(" ").f12(n[1]).text(" ").f12(n[2]).text(" \n").put_to(out);
        }
    } else {
        for (long long i = 0; i < c.nodes; ++i) {
            const Vector_4& n = o->Node_Pt[i].Normal;
            line.text("vn  ").f12(n.x).text(" ").f12(n.y).text(" ").f12(n.z).text(" \n").put_to(out);
        }
    }
}

void write_faces(pfx::OutBuf& out, const Movie_Objs* o, const Counts& c, const Bases& b, Pfx_Progress progress)
{
    static const char kRule[] = "# ======================================================================\n";
    out.put(kRule);
    out.put("# =================== Connectivity for group \"").wide(o->Name).put("\" ========\n");
    out.put(kRule);
    out.put("g ").wide(o->Name).put(" \n");
    out.put("# --- face connectivity ---\n");
    const bool texts = c.texts > 0;
    const bool normals = c.normals > 0;
    Line line;
    for (long long p = 0; p < c.polys; ++p) {
        if (progress && p % 1024 == 0) progress(1024);
        const Movie_Poly& poly = o->Poly_Pt[p];
        // note: a corner count outside 0..4 writes the slots that exist.
        const int corners = poly.Node_Id_Nb < 0 ? 0 : poly.Node_Id_Nb > 4 ? 4 : poly.Node_Id_Nb;
        line.text("f  ");
        for (int i = 0; i < corners; ++i) {
            const size_t start = line.size();
            const long long n = poly.Node_Id[i];
            line.integer(n + 1 + b.v).text("/");
            if (texts) line.integer(poly.Text_Id[i] + 1LL + b.t);
            line.text("/");
            // Without a normal list the node normals were written one per
            // node, so the node index also numbers the normal.
            line.integer((normals ? poly.Normal_Id[i] : n) + 1 + b.n);
            if (i + 1 < corners) line.pad_from(start, 22);
        }
        line.text("\n").put_to(out);
    }
}

int write_all(pfx::OutBuf& out, Movie_Objs** objs, Pfx_Progress progress)
{
    write_header(out);
    int count = 0;
    // note: the bases of each object are summed again while the faces are
    // written instead of being kept in a table, so any number of objects is
    // written (references beyond the int range are still written whole).
    for (; objs[count]; ++count) {
        Movie_Objs* o = objs[count];
        if (!o->Pos_Done && o->Node_Pt && o->Node_Nb > 0) Movie_Compute_Pos(o);
        write_data(out, o, counts_of(o));
    }
    Bases bases;
    for (int k = 0; k < count; ++k) {
        Counts c = counts_of(objs[k]);
        write_faces(out, objs[k], c, bases, progress);
        bases.add(c);
    }
    return count;
}

} // namespace

int OBJ_Write(Movie_Objs** objs, const wchar_t* path, const wchar_t* name, Pfx_Progress progress)
{
    (void)name; // accepted for the interface's sake; the file names its groups after the objects
    Error_Fct(hwnd, MSG_ENTRY, "in OBJ_Write()");
    FILE* f = pfx::open_file(path, "w");
    if (!f) {
        pfx::report_write_open_failure(path, errno);
        return 0;
    }
    // note: a null array is written as an empty one.
    static Movie_Objs* const kNone[1] = {nullptr};
    Movie_Objs** list = objs ? objs : const_cast<Movie_Objs**>(kNone);
    int written = 0;
    {
        // A large buffer makes the speed; when it can't be had a small one
        // still writes the same bytes.
        std::optional<pfx::OutBuf> out;
        out.emplace(f, size_t(1) << 20);
        if (!out->ok()) {
            out.reset();
            out.emplace(f, 4096);
        }
        written = write_all(*out, list, progress);
    }
    std::fclose(f);
    return written;
}
