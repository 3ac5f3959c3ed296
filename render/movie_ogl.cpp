// Drawing an object into the host's OpenGL context, from cached buffer
// objects or polygon by polygon, and marking the cache stale.
#include <algorithm>

#include "render/gl_draw.h"

namespace pfx::render {
namespace {

[[maybe_unused]] constexpr char kModule[] = "movie_OGL";

// Runs of immediate-mode polygons start this many polygons apart, whatever
// the part size; it is also the part size of small objects.
constexpr long long kPartStride = 1000;
// Objects with fewer polygons than this are drawn whole by any part.
constexpr int kSmallObject = 50;

constexpr short kFlatMode = 2;

bool buffers_usable(const Movie_Objs& obj)
{
    return (obj.Flags & (GEOM_POLY | NO_VBO)) == GEOM_POLY;
}

// One name per call, in field order; the names stay in their fields and
// glIsBuffer tells later that they are gone.
void delete_marked(Movie_Objs& obj)
{
    const unsigned mask = obj.VBO_Reset;
    if (mask & 1) glDeleteBuffers(1, &obj.VBO_Vertex);
    if (mask & 2) {
        glDeleteBuffers(1, &obj.VBO_Normal_Flat);
        glDeleteBuffers(1, &obj.VBO_Normal_Smooth);
    }
    if (mask & 4) {
        glDeleteBuffers(1, &obj.VBO_Color_Flat);
        glDeleteBuffers(1, &obj.VBO_Color_Smooth);
    }
    obj.VBO_Reset = 0;
}

// Builds one buffer unless its field already names one. A failed build
// sends the object to immediate mode for good; buffers built before stay.
void ensure_buffer(Movie_Objs& obj, Buffer which)
{
    if (!buffers_usable(obj) || glIsBuffer(buffer_field(obj, which))) return;
    const long long entries = build_buffer(obj, which);
    if (which == Buffer::Vertex) obj.VBO_Nb = static_cast<int32_t>(entries / 3);
    if (entries == 0) obj.Flags |= NO_VBO;
}

void ensure_buffers(Movie_Objs& obj, bool flat)
{
    ensure_buffer(obj, Buffer::Vertex);
    ensure_buffer(obj, flat ? Buffer::NormalFlat : Buffer::NormalSmooth);
    if (obj.Flags & COLORED) ensure_buffer(obj, flat ? Buffer::ColorFlat : Buffer::ColorSmooth);
}

void draw_buffers(const Movie_Objs& obj, bool flat)
{
    const bool colored = (obj.Flags & COLORED) != 0;
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    if (colored) glEnableClientState(GL_COLOR_ARRAY);

    glBindBuffer(GL_ARRAY_BUFFER, obj.VBO_Vertex);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    glBindBuffer(GL_ARRAY_BUFFER, flat ? obj.VBO_Normal_Flat : obj.VBO_Normal_Smooth);
    glNormalPointer(GL_FLOAT, 0, nullptr);
    if (colored) {
        glBindBuffer(GL_ARRAY_BUFFER, flat ? obj.VBO_Color_Flat : obj.VBO_Color_Smooth);
        glColorPointer(4, GL_UNSIGNED_BYTE, 0, nullptr);
    }
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glDrawArrays(GL_TRIANGLES, 0, obj.VBO_Nb);

    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
}

// Runs of part_size polygons from part * part_size on, each run starting
// kPartStride polygons after the one before.
void draw_parts(const Movie_Objs& obj, bool flat, int part, int part_size)
{
    // note: a negative part number (which callers never pass) or a part size
    // of 0 or less draws nothing; both would otherwise start runs before
    // polygon 0 or draw empty runs.
    if (part < 0 || part_size <= 0) return;
    for (long long s = static_cast<long long>(part) * part_size; s < obj.Poly_Nb; s += kPartStride)
        draw_polygons(obj, flat, s, std::min<long long>(s + part_size, obj.Poly_Nb));
}

void draw(Movie_Objs& obj, short mode, int part, int part_size)
{
    const bool flat = mode == kFlatMode;
    const bool colored = (obj.Flags & COLORED) != 0;
    const bool points = (obj.Flags & GEOM_POINT) != 0;

    if (obj.Pos_Done == 0) Movie_Compute_Pos(&obj);
    if (colored) {
        glEnable(GL_COLOR_MATERIAL);
        glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    }
    if (obj.Poly_Nb < kSmallObject) part_size = kPartStride;
    if (points) {
        glEnable(GL_POINT_SMOOTH);
        glPointSize(1.5f);
    }
    delete_marked(obj);

    if (part == 0 && buffers_usable(obj)) ensure_buffers(obj, flat);
    if (part == 0 && buffers_usable(obj))
        draw_buffers(obj, flat);
    else
        draw_parts(obj, flat, part, part_size);

    // Colour tracking and point smoothing are left as a host without them
    // expects: off, with the default point size.
    if (colored) glDisable(GL_COLOR_MATERIAL);
    if (points) {
        glDisable(GL_POINT_SMOOTH);
        glPointSize(1.0f);
    }
}

} // namespace
} // namespace pfx::render

extern "C" {

PFX_API int Movie_OpenGL_Draw(Movie_Objs* obj, short mode, int part, int part_size)
{
    // note: a negative node count is treated like none.
    if (!obj || obj->Node_Nb <= 0) return 0;
    if (mode == 0) return 1;
    pfx::render::draw(*obj, mode, part, part_size);
    return 1;
}

PFX_API int Movie_OpenGL_Reset(Movie_Objs* obj, short mask)
{
    // note: callers must pass an object; a null one is refused with 0
    // rather than dereferenced.
    if (!obj) return 0;
    obj->VBO_Reset = static_cast<uint16_t>(obj->VBO_Reset | static_cast<uint16_t>(mask));
    return 1;
}

} // extern "C"
