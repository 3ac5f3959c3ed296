// The drawing operation's internal pieces: building one buffer object and
// drawing polygons in immediate mode. All of them need the host's OpenGL
// context current on the calling thread, with GLEW initialised for it.
#pragma once

// The library reaches the buffer-object functions through GLEW's pointers
// and needs nothing of GLU.
#define GLEW_NO_GLU
#include <GL/glew.h>

#include "polyfex.h"

namespace pfx::render {

// The five buffer fields of an object.
enum class Buffer { Vertex, NormalFlat, NormalSmooth, ColorFlat, ColorSmooth };

// The object's field that holds the name of that buffer.
GLuint& buffer_field(Movie_Objs& obj, Buffer which);

// Fills a scratch array for the buffer, generates a name into its field and
// uploads the array as a static GL_ARRAY_BUFFER (binding 0 afterwards).
// Returns the entries written (floats, or four-byte colours). Returns 0 and
// creates no buffer when the scratch array can't be allocated (after the
// memory-error line), when a polygon is neither a triangle nor a quad, or
// when the object has no polygons.
long long build_buffer(Movie_Objs& obj, Buffer which);

// Draws polygons [first, end) one glBegin/glEnd pair each, corners in
// reverse order; flat: one normal and colour per polygon, else per corner.
void draw_polygons(const Movie_Objs& obj, bool flat, long long first, long long end);

} // namespace pfx::render
