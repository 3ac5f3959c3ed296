// Three-scalar vectors for the hull engine: the few operations its plane
// tests need, inline and free of any library type.
#pragma once

namespace pfx {

template <class T>
struct Vec3 {
    T x, y, z;
};

template <class T>
inline Vec3<T> operator-(const Vec3<T>& a, const Vec3<T>& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

template <class T>
inline Vec3<T> operator+(const Vec3<T>& a, const Vec3<T>& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

template <class T>
inline T dot(const Vec3<T>& a, const Vec3<T>& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <class T>
inline Vec3<T> cross(const Vec3<T>& a, const Vec3<T>& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Exact equality of all three coordinates; a coordinate that is not a number
// makes the points differ.
template <class T>
inline bool same_point(const Vec3<T>& a, const Vec3<T>& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

} // namespace pfx
