// STL writers: one object as text or binary STL, triangles as one facet and
// quads as two, facet normals as stored, corners from the computed positions.
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/platform.h"
#include "core/text_out.h"
#include "polyfex.h"

namespace {
constexpr char kModule[] = "stl_read";

using namespace pfx;

constexpr unsigned int kNotPolygons = GEOM_POINT | GEOM_LINE | GEOM_OTHER; // 0xb000
constexpr size_t kBufferBytes = size_t(4) << 20;

// Each writer warns about polygons of fewer than three corners once in the
// life of the process; the switches are shared by every caller and thread.
bool g_text_warns = true;
bool g_binary_warns = true;

void polygons_only() { user_line(L"\xF1\x05WARNING:\x02 STL format only support polygons"); }

struct FileCloser {
    FILE* f;
    ~FileCloser()
    {
        if (f) std::fclose(f);
    }
};

// The common opening: entry line, geometry check, positions, the file and
// the two notes. Null when the writer stops here (its result is then 0).
FILE* open_output(const char* entry, Movie_Objs* obj, const wchar_t* path, const wchar_t* name,
                  const char* mode)
{
    Error_Fct(hwnd, MSG_ENTRY, entry);
    // note: a null object has nothing to write and is refused without a file.
    if (!obj) return nullptr;
    if (obj->Flags & kNotPolygons) {
        polygons_only();
        return nullptr;
    }
    if (!obj->Pos_Done) Movie_Compute_Pos(obj);
    errno = EINVAL;
    FILE* file = path ? open_file(path, mode) : nullptr;
    if (!file) {
        report_write_open_failure(path, errno);
        return nullptr;
    }
    Error_Fct(hwnd, MSG_NOTE, "open file (%ls)\n", path);
    Error_Fct(hwnd, MSG_NOTE, "write obj %ls (%d poly)\n", name, obj->Poly_Nb);
    return file;
}

// Calls facet(polygon, a, b, c) for every facet in file order: a triangle
// gives one, a quad two ((0,1,2) and (2,3,0)); points and lines are skipped
// with the writer's once-only warning; other counts give nothing.
template <class Facet>
void for_each_facet(const Movie_Objs* obj, Pfx_Progress progress, bool& warns, Facet facet)
{
    for (int i = 0; i < obj->Poly_Nb; ++i) {
        if (progress && i % 1024 == 0) progress(1024);
        const Movie_Poly& p = obj->Poly_Pt[i];
        const int32_t* id = p.Node_Id;
        if (p.Node_Id_Nb < 3) {
            if (warns) polygons_only();
            warns = false;
        } else if (p.Node_Id_Nb == 3) {
            facet(p, id[0], id[1], id[2]);
        } else if (p.Node_Id_Nb == 4) {
            facet(p, id[0], id[1], id[2]);
            facet(p, id[2], id[3], id[0]);
        }
    }
}

bool buffer_ready(const OutBuf& out)
{
    if (out.ok()) return true;
    // note: without its output buffer a writer reports the memory error and
    // fails; the file it opened stays empty.
    report_memory_error(__LINE__, kModule, AllocKind::Malloc, "buffer", static_cast<long long>(kBufferBytes), 1);
    return false;
}

// ---- text ----------------------------------------------------------------------------

// "%14.7g" of a float, as printf prints it through double.
char* put_g14(char* at, float v)
{
    char tmp[32];
    const auto r = std::to_chars(tmp, tmp + sizeof tmp, static_cast<double>(v), std::chars_format::general, 7);
    const size_t n = static_cast<size_t>(r.ptr - tmp);
    for (size_t i = n; i < 14; ++i) *at++ = ' ';
    std::memcpy(at, tmp, n);
    return at + n;
}

// One line: lead, then three "%14.7g" fields apart by blanks, then "\n".
void put_triple(OutBuf& out, const char* lead, size_t lead_len, float x, float y, float z)
{
    char line[160];
    std::memcpy(line, lead, lead_len);
    char* at = line + lead_len;
    at = put_g14(at, x);
    *at++ = ' ';
    at = put_g14(at, y);
    *at++ = ' ';
    at = put_g14(at, z);
    *at++ = '\n';
    out.put(line, static_cast<size_t>(at - line));
}

int write_text(Movie_Objs* obj, short num, FILE* file, const wchar_t* name, Pfx_Progress progress)
{
    OutBuf out(file, kBufferBytes);
    if (!buffer_ready(out)) return 0;
    out.put("solid ").wide(name).put('_').integer(num).put('\n');
    static constexpr char kFacet[] = "    facet normal ";
    static constexpr char kVertex[] = "        vertex ";
    const Movie_Node* nodes = obj->Node_Pt;
    for_each_facet(obj, progress, g_text_warns, [&](const Movie_Poly& p, int a, int b, int c) {
        put_triple(out, kFacet, sizeof kFacet - 1, p.Normal.x, p.Normal.y, p.Normal.z);
        out.put("      outer loop\n", 17);
        for (int k : {a, b, c}) {
            const Vector_4& v = nodes[k].Pos;
            // Adding zero turns a negative zero into a positive one.
            put_triple(out, kVertex, sizeof kVertex - 1, v.x + 0.0f, v.y + 0.0f, v.z + 0.0f);
        }
        out.put("      endloop\n", 14);
        out.put("    endfacet\n", 13);
    });
    out.put("endsolid ").wide(name).put('\n');
    return 1;
}

// ---- binary ----------------------------------------------------------------------------

inline char* put_u32(char* at, uint32_t v)
{
    at[0] = static_cast<char>(v);
    at[1] = static_cast<char>(v >> 8);
    at[2] = static_cast<char>(v >> 16);
    at[3] = static_cast<char>(v >> 24);
    return at + 4;
}

inline char* put_float(char* at, float v)
{
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    return put_u32(at, bits);
}

void put_header(OutBuf& out, const Movie_Objs* obj)
{
    char header[81];
    local_time_text(header, sizeof header, "%d %b %Y %H:%M");
    size_t n = std::strlen(header);
    // note: the date and the name are cut at 80 bytes, the header's size.
    if (const char* text = obj->Name ? Wchar_2_Char(obj->Name) : nullptr)
        for (; *text && n < 80; ++text) header[n++] = *text;
    for (; n < 80; ++n) header[n] = ' ';
    out.bytes(header, 80);
}

int write_binary(Movie_Objs* obj, FILE* file, Pfx_Progress progress)
{
    OutBuf out(file, kBufferBytes);
    if (!buffer_ready(out)) return 0;
    put_header(out, obj);
    uint32_t count = 0;
    for (int i = 0; i < obj->Poly_Nb; ++i) {
        const int corners = obj->Poly_Pt[i].Node_Id_Nb;
        count += corners == 3 ? 1 : corners == 4 ? 2 : 0;
    }
    char word[4];
    put_u32(word, count);
    out.bytes(word, 4);
    const Movie_Node* nodes = obj->Node_Pt;
    for_each_facet(obj, progress, g_binary_warns, [&](const Movie_Poly& p, int a, int b, int c) {
        char rec[50];
        char* at = put_float(rec, p.Normal.x);
        at = put_float(at, p.Normal.y);
        at = put_float(at, p.Normal.z);
        for (int k : {a, b, c}) {
            const Vector_4& v = nodes[k].Pos;
            at = put_float(at, v.x + 0.0f);
            at = put_float(at, v.y + 0.0f);
            at = put_float(at, v.z + 0.0f);
        }
        at[0] = 0;
        at[1] = 0;
        out.bytes(rec, 50);
    });
    return 1;
}

} // namespace

extern "C" {

PFX_API int STL_ASCII_Write(Movie_Objs* obj, short num, const wchar_t* path, const wchar_t* name,
                            Pfx_Progress progress)
{
    FileCloser file{open_output("in STL_ASCII_Write()", obj, path, name, "w")};
    if (!file.f) return 0;
    return write_text(obj, num, file.f, name, progress);
}

PFX_API int STL_BINARY_Write(Movie_Objs* obj, short num, const wchar_t* path, const wchar_t* name,
                             Pfx_Progress progress)
{
    (void)num; // the binary encoding has no place for it
    FileCloser file{open_output("in STL_BINARY_Write()", obj, path, name, "wb")};
    if (!file.f) return 0;
    return write_binary(obj, file.f, progress);
}

} // extern "C"
