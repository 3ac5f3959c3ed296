// Filling the per-corner arrays that become GPU buffers.
//
// These functions know nothing of OpenGL: they turn an object's polygons
// into the flat arrays that the drawing code uploads, so they can be tested
// and timed on their own. Every polygon gives one entry per triangle corner:
// a triangle its corners 0, 1, 2, a quad the six corners 0, 1, 2, 2, 3, 0.
#pragma once

#include <cstdint>

#include "polyfex.h"

namespace pfx::render {

// Room a fill needs, in entries of its kind: six corners per polygon.
constexpr long long kFloatsPerPoly = 18; // 6 corners x 3 floats
constexpr long long kColorsPerPoly = 6;  // 6 corners x 1 four-byte colour

// The fills below write into out, which has room for Poly_Nb times the
// per-polygon size above. Each returns the number of entries written
// (floats, or four-byte colours), or 0 as soon as a polygon has a corner
// count other than 3 or 4 (out may then hold the entries of the polygons
// before it). Corner indices are trusted, as everywhere in the library.

// Pos x, y, z of each corner node.
long long fill_vertex(const Movie_Objs& obj, float* out);
// The polygon's Normal x, y, z, repeated for each of its corners.
long long fill_normal_flat(const Movie_Objs& obj, float* out);
// Normal_Pt[Normal_Id] when the object has a normal list, else the corner
// node's Normal, x, y, z.
long long fill_normal_smooth(const Movie_Objs& obj, float* out);
// The corner node's Color bytes.
long long fill_color_smooth(const Movie_Objs& obj, uint32_t* out);
// flat_color of the polygon, repeated for each of its corners.
long long fill_color_flat(const Movie_Objs& obj, uint32_t* out);

// A polygon's own colour: its Color when not 0; otherwise R, G and B are the
// integer means of its corner nodes' bytes and A is the A byte of its last
// corner node. Byte order as in the records (byte 0 = red). For 1 to 4
// corners.
uint32_t flat_color(const Movie_Objs& obj, const Movie_Poly& poly);

// The bytes of a packed colour, in memory order.
struct Rgba {
    uint8_t r, g, b, a;
};
Rgba color_bytes(uint32_t color);
uint32_t pack_color(Rgba c);

} // namespace pfx::render
