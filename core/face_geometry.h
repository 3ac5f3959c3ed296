// The per-face quantities that Movie_Init_Norm and Movie_Normal_Poly share:
// unit normal, plane constant, dominant axis and the squared corner
// distances behind Size.
#pragma once

#include <cstdint>

#include "polyfex.h"

namespace pfx {

// Squared distance over all four components (w included).
inline float dist2_xyzw(const Vector_4& a, const Vector_4& b)
{
    const float dx = a.x - b.x, dy = a.y - b.y, dz = a.z - b.z, dw = a.w - b.w;
    return dx * dx + dy * dy + dz * dz + dw * dw;
}

// 0, 1 or 2 for the largest of |x|, |y|, |z|; a tie goes to the later axis.
inline uint16_t dominant_axis(const Vector_4& n)
{
    const float ax = n.x < 0 ? -n.x : n.x;
    const float ay = n.y < 0 ? -n.y : n.y;
    const float az = n.z < 0 ? -n.z : n.z;
    if (ax > ay && ax > az) return 0;
    if (ay > az) return 1;
    return 2;
}

// Normal, Plane_D and Axis of the plane through p0, p1, p2 (counter-clockwise
// seen from outside gives the outward normal). A degenerate face gets the
// zero direction that normalise returns for a zero vector, with w = 1.
inline void set_face_plane(Movie_Poly& poly, const Vector_4& p0, const Vector_4& p1, const Vector_4& p2)
{
    const float ax = p0.x - p1.x, ay = p0.y - p1.y, az = p0.z - p1.z;
    const float bx = p2.x - p1.x, by = p2.y - p1.y, bz = p2.z - p1.z;
    const Vector_4 raw{az * by - ay * bz, ax * bz - az * bx, ay * bx - ax * by, 1.0f};
    const Vector_4 n = raw.normalise();
    poly.Normal = n;
    poly.Plane_D = -(p0.x * n.x + p0.y * n.y + p0.z * n.z);
    poly.Axis = dominant_axis(n);
}

// Size of a triangle: the larger of |P0 - P1|^2 and |P2 - P1|^2.
inline float triangle_size(const Vector_4& p0, const Vector_4& p1, const Vector_4& p2)
{
    const float a = dist2_xyzw(p0, p1), b = dist2_xyzw(p2, p1);
    return a > b ? a : b;
}

} // namespace pfx
