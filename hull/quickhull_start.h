// QuickHull, first stage: extremes, tolerance and the initial tetrahedron
// with its degenerate cases. Included only by quickhull.cpp.
#pragma once

#include <algorithm>
#include <cmath>
#include <utility>

#include "hull/quickhull.h"

namespace pfx {

template <class T>
void QuickHull<T>::find_extremes()
{
    for (size_t& e : Extremes) e = 0;
    const size_t n = Source.Count;
    const T* d = Source.Data;
    // Strict comparisons: among equal values the lowest index stays.
    for (size_t i = 1; i < n; ++i) {
        const T* p = d + 3 * i;
        for (int axis = 0; axis < 3; ++axis) {
            size_t& hi = Extremes[2 * axis];
            size_t& lo = Extremes[2 * axis + 1];
            if (p[axis] > d[3 * hi + axis])
                hi = i;
            else if (p[axis] < d[3 * lo + axis])
                lo = i;
        }
    }
}

template <class T>
void QuickHull<T>::find_scale()
{
    // Relative to the size of the coordinates: 0 when every extreme lies at
    // the origin.
    T s = 0;
    for (int k = 0; k < 6; ++k) {
        T c = std::abs(Source.Data[3 * Extremes[k] + k / 2]);
        if (c > s) s = c;
    }
    Scale = s;
}

template <class T>
void QuickHull<T>::set_plane(size_t f)
{
    Hull_Face<T>& face = Mesh.Faces[f];
    size_t e0 = face.Edge;
    size_t e1 = Mesh.next(e0);
    size_t e2 = Mesh.next(e1);
    Vec3<T> v0 = point(Mesh.Half_Edges[e0].End_Vertex);
    Vec3<T> v1 = point(Mesh.Half_Edges[e1].End_Vertex);
    Vec3<T> v2 = point(Mesh.Half_Edges[e2].End_Vertex);
    face.Plane_Normal = cross(v0 - v2, v1 - v2);
    face.Plane_Offset = -dot(face.Plane_Normal, v0);
    face.Normal_Sq = dot(face.Plane_Normal, face.Plane_Normal);
}

template <class T>
void QuickHull<T>::add_outside(size_t f, size_t q, T v)
{
    Hull_Face<T>& face = Mesh.Faces[f];
    if (face.Outside.empty()) face.Outside = Pool.take();
    face.Outside.push_back(q);
    if (v > face.Far_Dist) {
        face.Far_Dist = v;
        face.Far_Point = q;
    }
}

// The degenerate starts: a cloud that is one point, or one line. Returns true
// when the tetrahedron is already built; otherwise first, second and third
// span a proper triangle.
template <class T>
bool QuickHull<T>::initial_tetrahedron_degenerate(size_t& first, size_t& second, size_t& third)
{
    const size_t n = Source.Count;
    // Base edge: the farthest pair among the extremes, the first pair winning
    // ties.
    T best = Epsilon_Sq;
    bool found = false;
    for (int i = 0; i < 6; ++i) {
        for (int j = i + 1; j < 6; ++j) {
            Vec3<T> d = point(Extremes[i]) - point(Extremes[j]);
            T dist = dot(d, d);
            if (dist > best) {
                best = dist;
                first = Extremes[i];
                second = Extremes[j];
                found = true;
            }
        }
    }
    if (!found) {
        // Everything within tolerance of one point.
        Mesh.set_up_tetrahedron(0, 1, 2, 3);
        return true;
    }

    const Vec3<T> s = point(first);
    const Vec3<T> v = point(second) - s;
    const T vv = dot(v, v);
    best = Epsilon_Sq;
    found = false;
    for (size_t i = 0; i < n; ++i) {
        Vec3<T> d = point(i) - s;
        T along = dot(d, v);
        T dist = dot(d, d) - along * along / vv;
        if (dist > best) {
            best = dist;
            third = i;
            found = true;
        }
    }
    if (found) return false;

    // One line: a flat tetrahedron over the first points that differ.
    const Vec3<T> pf = point(first);
    const Vec3<T> ps = point(second);
    third = first;
    for (size_t i = 0; i < n; ++i) {
        Vec3<T> p = point(i);
        if (!same_point(p, pf) && !same_point(p, ps)) {
            third = i;
            break;
        }
    }
    const Vec3<T> pt = point(third);
    size_t fourth = first;
    for (size_t i = 0; i < n; ++i) {
        Vec3<T> p = point(i);
        if (!same_point(p, pf) && !same_point(p, ps) && !same_point(p, pt)) {
            fourth = i;
            break;
        }
    }
    Mesh.set_up_tetrahedron(first, second, third, fourth);
    return true;
}

template <class T>
void QuickHull<T>::initial_tetrahedron()
{
    const size_t n = Source.Count;
    if (n <= 4) {
        // No planes and no assignment: the hull is this tetrahedron, with
        // repeated indices below four points.
        size_t b = std::min<size_t>(1, n - 1);
        size_t c = std::min<size_t>(2, n - 1);
        size_t d = std::min<size_t>(3, n - 1);
        Vec3<T> p0 = point(0);
        Vec3<T> pc = point(c);
        Vec3<T> normal = cross(p0 - pc, point(b) - pc);
        if (dot(normal, point(d) - p0) >= 0)
            Mesh.set_up_tetrahedron(b, 0, c, d);
        else
            Mesh.set_up_tetrahedron(0, b, c, d);
        return;
    }

    size_t first = 0, second = 0, third = 0;
    if (initial_tetrahedron_degenerate(first, second, third)) return;

    const Vec3<T> pa = point(first);
    const Vec3<T> pb = point(second);
    const Vec3<T> pc = point(third);
    const Vec3<T> normal = cross(pa - pc, pb - pc);
    const T offset = -dot(normal, pa);
    // The normal is not normalised, so the running maximum starts at the
    // plain tolerance, not its square.
    T best = Epsilon;
    size_t fourth = 0;
    bool found = false;
    for (size_t i = 0; i < n; ++i) {
        T dist = std::abs(dot(normal, point(i)) + offset);
        if (dist > best) {
            best = dist;
            fourth = i;
            found = true;
        }
    }
    if (!found) {
        // One plane: lift an added point off it so the hull has volume; the
        // faces that meet it are folded back onto point 0 after the build.
        Planar = true;
        Planar_Cloud.assign(Source.Data, Source.Data + 3 * n);
        Vec3<T> lifted = point(0) + cross(pb - pa, pc - pa);
        Planar_Cloud.push_back(lifted.x);
        Planar_Cloud.push_back(lifted.y);
        Planar_Cloud.push_back(lifted.z);
        Source = Point_Source<T>{Planar_Cloud.data(), n + 1};
        fourth = n;
    }
    if (dot(normal, point(fourth)) + offset >= 0) std::swap(first, second);
    Mesh.set_up_tetrahedron(first, second, third, fourth);
    for (size_t f = 0; f < 4; ++f) set_plane(f);
    assign_to_tetrahedron();
}

// Every point (never the added one) goes to the first face that has it
// outside; the others lie inside or within tolerance and are dropped.
template <class T>
void QuickHull<T>::assign_to_tetrahedron()
{
    Cone_Plane planes[4];
    for (size_t f = 0; f < 4; ++f) {
        const Hull_Face<T>& face = Mesh.Faces[f];
        planes[f] = {face.Plane_Normal, face.Plane_Offset, Epsilon_Sq * face.Normal_Sq};
    }
    const size_t n = Planar ? Source.Count - 1 : Source.Count;
    for (size_t i = 0; i < n; ++i) {
        const Vec3<T> p = point(i);
        for (size_t f = 0; f < 4; ++f) {
            T v = dot(planes[f].normal, p) + planes[f].offset;
            if (v > 0 && v * v > planes[f].limit) {
                add_outside(f, i, v);
                break;
            }
        }
    }
}

} // namespace pfx
