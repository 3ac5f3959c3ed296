#include <cstdlib>

#include "core/alloc.h"
#include "render/gl_draw.h"
#include "render/vbo_build.h"

namespace pfx::render {
namespace {

constexpr char kModule[] = "movie_OGL";

// Hands a filled scratch array to the GL. Nothing is uploaded when the fill
// wrote nothing.
long long upload(GLuint& field, const void* data, long long entries)
{
    if (entries <= 0) return 0;
    glGenBuffers(1, &field);
    glBindBuffer(GL_ARRAY_BUFFER, field);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(entries * 4), data, GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return entries;
}

// The scratch arrays are named as the memory-error lines report them
// ("vertex_pt", "normal_pt", "color_pt"), each with room for six corners
// per polygon. On large objects the first touch of a fresh array's pages
// costs several times the fill itself, hence the huge-page hint.
long long build_vertex(Movie_Objs& obj)
{
    float* vertex_pt = nullptr;
    if (!PFX_MALLOC(vertex_pt, obj.Poly_Nb * kFloatsPerPoly, 4)) return 0;
    advise_huge(vertex_pt, size_t(obj.Poly_Nb) * kFloatsPerPoly * 4);
    const long long n = upload(obj.VBO_Vertex, vertex_pt, fill_vertex(obj, vertex_pt));
    std::free(vertex_pt);
    return n;
}

long long build_normal(Movie_Objs& obj, bool flat)
{
    float* normal_pt = nullptr;
    if (!PFX_MALLOC(normal_pt, obj.Poly_Nb * kFloatsPerPoly, 4)) return 0;
    advise_huge(normal_pt, size_t(obj.Poly_Nb) * kFloatsPerPoly * 4);
    const long long written = flat ? fill_normal_flat(obj, normal_pt)
                                   : fill_normal_smooth(obj, normal_pt);
    const long long n =
        upload(flat ? obj.VBO_Normal_Flat : obj.VBO_Normal_Smooth, normal_pt, written);
    std::free(normal_pt);
    return n;
}

long long build_color(Movie_Objs& obj, bool flat)
{
    uint32_t* color_pt = nullptr;
    if (!PFX_MALLOC(color_pt, obj.Poly_Nb * kColorsPerPoly, 4)) return 0;
    advise_huge(color_pt, size_t(obj.Poly_Nb) * kColorsPerPoly * 4);
    const long long written = flat ? fill_color_flat(obj, color_pt)
                                   : fill_color_smooth(obj, color_pt);
    const long long n = upload(flat ? obj.VBO_Color_Flat : obj.VBO_Color_Smooth, color_pt, written);
    std::free(color_pt);
    return n;
}

} // namespace

GLuint& buffer_field(Movie_Objs& obj, Buffer which)
{
    switch (which) {
    case Buffer::Vertex: return obj.VBO_Vertex;
    case Buffer::NormalFlat: return obj.VBO_Normal_Flat;
    case Buffer::NormalSmooth: return obj.VBO_Normal_Smooth;
    case Buffer::ColorFlat: return obj.VBO_Color_Flat;
    case Buffer::ColorSmooth: break;
    }
    return obj.VBO_Color_Smooth;
}

long long build_buffer(Movie_Objs& obj, Buffer which)
{
    // note: an object without polygons (or with a negative count) has
    // nothing to put in a buffer; it asks for no scratch array and gets no
    // buffer name, and the caller marks it for immediate mode.
    if (obj.Poly_Nb <= 0) return 0;
    switch (which) {
    case Buffer::Vertex: return build_vertex(obj);
    case Buffer::NormalFlat: return build_normal(obj, true);
    case Buffer::NormalSmooth: return build_normal(obj, false);
    case Buffer::ColorFlat: return build_color(obj, true);
    case Buffer::ColorSmooth: break;
    }
    return build_color(obj, false);
}

} // namespace pfx::render
