#include <cmath>

#include "tarnwick.h"

Vector_4& Vector_4::operator+=(const Vector_4& o)
{
    x += o.x;
    y += o.y;
    z += o.z;
    w += o.w;
    return *this;
}

Vector_4& Vector_4::operator/=(float s)
{
    x /= s;
    y /= s;
    z /= s;
    w /= s;
    return *this;
}

Vector_4 Vector_4::normalise() const
{
    // note: a zero (or non-finite) direction stays (0, 0, 0, w): degenerate
    // polygons then add nothing to their nodes' mean normals instead of
    // spreading nan into every neighbour.
    double len = std::sqrt(double(x) * x + double(y) * y + double(z) * z);
    if (!(len > 0.0) || !std::isfinite(len)) return Vector_4{0.0f, 0.0f, 0.0f, w};
    return Vector_4{float(x / len), float(y / len), float(z / len), w};
}

void Matrix_4x4::init()
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
}
