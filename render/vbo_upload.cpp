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
template <class T>
long long build(Movie_Objs& obj, GLuint& field, const char* scratch_name, long long per_poly,
                long long (*fill)(const Movie_Objs&, T*))
{
    T* scratch = nullptr;
    if (!PFX_MALLOC_AS(scratch, obj.Poly_Nb * per_poly, 4, scratch_name)) return 0;
    advise_huge(scratch, size_t(obj.Poly_Nb) * per_poly * 4);
    const long long n = upload(field, scratch, fill(obj, scratch));
    std::free(scratch);
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
    GLuint& field = buffer_field(obj, which);
    switch (which) {
    case Buffer::Vertex: return build(obj, field, "vertex_pt", kFloatsPerPoly, fill_vertex);
    case Buffer::NormalFlat: return build(obj, field, "normal_pt", kFloatsPerPoly, fill_normal_flat);
    case Buffer::NormalSmooth: return build(obj, field, "normal_pt", kFloatsPerPoly, fill_normal_smooth);
    case Buffer::ColorFlat: return build(obj, field, "color_pt", kColorsPerPoly, fill_color_flat);
    case Buffer::ColorSmooth: break;
    }
    return build(obj, field, "color_pt", kColorsPerPoly, fill_color_smooth);
}

} // namespace pfx::render
