// QuickHull: the library's convex-hull engine.
//
// Given a cloud of points, it grows the closed triangulated hull one apex at
// a time on a half-edge mesh and hands back a triangle list over a compact
// vertex buffer. The one template text is built for float and double (both
// instantiated in quickhull.cpp); it needs nothing else of the library.
//
// Flat and degenerate clouds are not errors: no points give an empty result;
// one to four points, all-equal points and points on one line give a
// tetrahedron over repeated or coinciding points; points in one plane give a
// closed flat mesh covering the outline from both sides. Exhausted memory
// and container limits leave a build as std::bad_alloc / std::length_error.
#pragma once

#include <cstddef>

#include "hull/half_edge_mesh.h"
#include "hull/hull_alloc.h"
#include "hull/vec3.h"

namespace pfx {

// A read-only view of packed points: x, y, z per point, nothing between.
template <class T>
struct Point_Source {
    const T* Data = nullptr;
    size_t Count = 0;

    Vec3<T> operator[](size_t i) const
    {
        const T* p = Data + 3 * i;
        return {p[0], p[1], p[2]};
    }
};

template <class T>
struct Hull_Result {
    // The points that Indices refer to: Buffer, or the caller's points when
    // the input indices were asked for.
    Point_Source<T> Vertices;
    Index_List Indices; // three per triangle
    Hull_Vector<T> Buffer;

    Hull_Result() = default;
    // Vertices may point into Buffer: moving keeps the storage, copying
    // would not.
    Hull_Result(Hull_Result&&) noexcept = default;
    Hull_Result& operator=(Hull_Result&&) noexcept = default;
    Hull_Result(const Hull_Result&) = delete;
    Hull_Result& operator=(const Hull_Result&) = delete;
};

// Tolerance relative to the size of the coordinates.
template <class T>
inline constexpr T kDefaultHullTolerance = T(0.0000001);
template <>
inline constexpr float kDefaultHullTolerance<float> = 0.0001f;

template <class T>
class QuickHull {
public:
    // Hulls count packed points. With ccw false every triangle (V0, V1, V2)
    // runs counter-clockwise seen from outside ((V1 - V0) x (V2 - V0) points
    // outwards); ccw true reverses them. With keep_input_indices the indices
    // refer to the caller's points and no buffer is made. The engine may be
    // reused; each build starts afresh.
    Hull_Result<T> build_hull(const T* points, size_t count, bool ccw, bool keep_input_indices,
                              T tolerance_factor = kDefaultHullTolerance<T>);
    Hull_Result<T> build_hull(const Vec3<T>* points, size_t count, bool ccw,
                              bool keep_input_indices,
                              T tolerance_factor = kDefaultHullTolerance<T>);

    // Apexes of the last build that had to be abandoned because their
    // horizon could not be closed (each also wrote one line to stderr).
    size_t failed_horizons() const { return Failed_Horizons; }
    // The mesh and tolerance of the last build, for inspection.
    // note: no compacted half-edge form of the hull is offered; the library
    // only ever asks for the triangle list.
    const Hull_Mesh<T>& mesh() const { return Mesh; }
    T epsilon() const { return Epsilon; }
    bool planar() const { return Planar; }

private:
    struct Search_Step {
        size_t face;
        size_t entered_by; // half-edge of the visible face it was reached from
    };
    // A new face's plane, packed for the hand-on loop.
    struct Cone_Plane {
        Vec3<T> normal;
        T offset;
        T limit; // Epsilon_Sq * Normal_Sq
    };

    Vec3<T> point(size_t i) const { return Source[i]; }
    void find_extremes();
    void find_scale();
    void initial_tetrahedron();
    bool initial_tetrahedron_degenerate(size_t& first, size_t& second, size_t& third);
    void set_plane(size_t f);
    void add_outside(size_t f, size_t q, T v);
    void assign_to_tetrahedron();
    void grow_hull();
    bool search_visible(size_t t, const Vec3<T>& apex, size_t iter);
    bool close_horizon();
    void abandon_apex(size_t t, size_t a);
    void remove_visible();
    void build_cone(size_t a, const Vec3<T>& apex);
    void hand_on(size_t a);
    void queue_new_faces();
    void queue_push(size_t f);
    Hull_Result<T> extract(bool ccw, bool keep_input_indices);

    T Epsilon = 0;
    T Epsilon_Sq = 0;
    T Scale = 0;
    bool Planar = false;
    Hull_Vector<T> Planar_Cloud; // the caller's points plus one added point
    Point_Source<T> Source;
    Hull_Mesh<T> Mesh;
    size_t Extremes[6] = {}; // largest x, smallest x, largest y, smallest y, largest z, smallest z
    size_t Failed_Horizons = 0;
    Hull_Vector<size_t> Face_Queue; // first in, first out from queue_head_
    size_t queue_head_ = 0;
    List_Pool Pool;

    // Scratch of one iteration, kept from one iteration and build to the next.
    Hull_Vector<size_t> visible_;
    Hull_Vector<size_t> horizon_;
    Hull_Vector<Search_Step> search_;
    Hull_Vector<size_t> new_faces_;
    Hull_Vector<size_t> new_edges_;
    Hull_Vector<Index_List> taken_;
    Hull_Vector<Cone_Plane> cone_planes_;
    // Scratch of the extraction.
    Hull_Vector<size_t> vertex_map_;
    Hull_Vector<uint8_t> processed_;
    Hull_Vector<size_t> walk_;
};

extern template class QuickHull<float>;
extern template class QuickHull<double>;

} // namespace pfx
