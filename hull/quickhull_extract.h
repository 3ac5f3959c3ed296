// QuickHull: the build entry points and the extraction of the triangle list.
// Included only by quickhull.cpp.
#pragma once

#include "hull/quickhull.h"

namespace pfx {

template <class T>
Hull_Result<T> QuickHull<T>::build_hull(const T* points, size_t count, bool ccw,
                                        bool keep_input_indices, T tolerance_factor)
{
    Failed_Horizons = 0;
    Planar = false;
    Planar_Cloud.clear();
    visible_.clear();
    horizon_.clear();
    search_.clear();
    new_faces_.clear();
    new_edges_.clear();
    taken_.clear();
    Source = Point_Source<T>{points, count};
    if (count == 0) {
        Mesh.clear();
        return extract(ccw, keep_input_indices);
    }
    find_extremes();
    find_scale();
    Epsilon = tolerance_factor * Scale;
    Epsilon_Sq = Epsilon * Epsilon;
    grow_hull();
    if (Planar) {
        // The added point leaves the mesh: its faces meet point 0 instead,
        // so the result covers the flat hull from both sides.
        for (Half_Edge& e : Mesh.Half_Edges)
            if (e.End_Vertex == count) e.End_Vertex = 0;
        Source = Point_Source<T>{points, count};
        Planar_Cloud.clear();
    }
    return extract(ccw, keep_input_indices);
}

template <class T>
Hull_Result<T> QuickHull<T>::build_hull(const Vec3<T>* points, size_t count, bool ccw,
                                        bool keep_input_indices, T tolerance_factor)
{
    static_assert(sizeof(Vec3<T>) == 3 * sizeof(T), "points must be packed");
    return build_hull(reinterpret_cast<const T*>(points), count, ccw, keep_input_indices,
                      tolerance_factor);
}

// A depth-first walk from the lowest live face. Each point the walk meets
// goes into the buffer once, in the order first met (unless the caller keeps
// the input indices).
template <class T>
Hull_Result<T> QuickHull<T>::extract(bool ccw, bool keep_input_indices)
{
    Hull_Result<T> result;
    const auto& faces = Mesh.Faces;
    const auto& edges = Mesh.Half_Edges;
    size_t start = 0;
    while (start < faces.size() && faces[start].Edge == kNone) ++start;
    if (start == faces.size()) return result;

    const size_t live = faces.size() - Mesh.Free_Faces.size();
    if (!keep_input_indices) {
        vertex_map_.assign(Source.Count, kNone);
        // A closed triangle mesh of this many faces has at most half as many
        // vertices, plus two.
        result.Buffer.reserve(3 * (live / 2 + 2));
    }
    processed_.assign(faces.size(), 0);
    walk_.clear();
    walk_.push_back(start);
    result.Indices.reserve(3 * live);
    while (!walk_.empty()) {
        const size_t f = walk_.back();
        walk_.pop_back();
        if (processed_[f]) continue;
        processed_[f] = 1;
        size_t v[3];
        size_t e = faces[f].Edge;
        for (int k = 0; k < 3; ++k, e = edges[e].Next) {
            const size_t g = edges[edges[e].Opposite].Face;
            if (!processed_[g] && faces[g].Edge != kNone) walk_.push_back(g);
            v[k] = edges[e].End_Vertex;
        }
        if (!keep_input_indices) {
            for (size_t& index : v) {
                size_t& mapped = vertex_map_[index];
                if (mapped == kNone) {
                    const T* p = Source.Data + 3 * index;
                    mapped = result.Buffer.size() / 3;
                    result.Buffer.insert(result.Buffer.end(), p, p + 3);
                }
                index = mapped;
            }
        }
        result.Indices.push_back(v[0]);
        result.Indices.push_back(ccw ? v[2] : v[1]);
        result.Indices.push_back(ccw ? v[1] : v[2]);
    }
    if (keep_input_indices)
        result.Vertices = Source;
    else
        result.Vertices = Point_Source<T>{result.Buffer.data(), result.Buffer.size() / 3};
    return result;
}

} // namespace pfx
