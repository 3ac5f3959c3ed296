// QuickHull, second stage: growing the hull apex by apex. Included only by
// quickhull.cpp.
#pragma once

#include <algorithm>
#include <cstdio>
#include <utility>

#include "hull/quickhull.h"

namespace pfx {

template <class T>
void QuickHull<T>::queue_push(size_t f)
{
    // The consumed front is dropped once it is most of the array, so the
    // queue stays within twice its live length.
    if (queue_head_ > 1024 && queue_head_ * 2 > Face_Queue.size()) {
        Face_Queue.erase(Face_Queue.begin(), Face_Queue.begin() + static_cast<ptrdiff_t>(queue_head_));
        queue_head_ = 0;
    }
    Face_Queue.push_back(f);
    Mesh.Faces[f].In_Queue = 1;
}

template <class T>
void QuickHull<T>::grow_hull()
{
    horizon_.clear();
    search_.clear();
    visible_.clear();
    initial_tetrahedron();
    Face_Queue.clear();
    queue_head_ = 0;
    for (size_t f = 0; f < 4 && f < Mesh.Faces.size(); ++f)
        if (!Mesh.Faces[f].Outside.empty()) queue_push(f);

    size_t iter = 0;
    while (queue_head_ < Face_Queue.size()) {
        // The stamp wraps before it could reach kNone.
        iter = iter == kNone - 1 ? 0 : iter + 1;
        size_t t = Face_Queue[queue_head_++];
        Hull_Face<T>& top = Mesh.Faces[t];
        top.In_Queue = 0;
        if (top.Edge == kNone || top.Outside.empty()) continue;

        const size_t a = top.Far_Point;
        const Vec3<T> apex = point(a);
        if (!search_visible(t, apex, iter) || !close_horizon()) {
            abandon_apex(t, a);
            continue;
        }
        remove_visible();
        build_cone(a, apex);
        hand_on(a);
        queue_new_faces();
    }
    Face_Queue.clear();
    queue_head_ = 0;
    Pool.clear();
}

// Depth-first from the apex's face over every face that sees the apex,
// collecting the horizon: the half-edges of visible faces whose neighbour
// does not see it. Faces are stamped with the iteration instead of being
// cleared. False when there is no horizon to close.
template <class T>
bool QuickHull<T>::search_visible(size_t t, const Vec3<T>& apex, size_t iter)
{
    horizon_.clear();
    search_.clear();
    visible_.clear();
    search_.push_back({t, kNone});
    auto& faces = Mesh.Faces;
    auto& edges = Mesh.Half_Edges;
    while (!search_.empty()) {
        const Search_Step step = search_.back();
        search_.pop_back();
        Hull_Face<T>& face = faces[step.face];
        bool visible;
        if (face.Checked_Iter == iter) {
            if (face.Is_Visible) continue;
            visible = false;
        } else {
            face.Checked_Iter = iter;
            // No tolerance here: any face in front of the apex goes.
            visible = dot(face.Plane_Normal, apex) + face.Plane_Offset > 0;
        }
        if (visible) {
            face.Is_Visible = 1;
            face.Horizon_Mask = 0;
            visible_.push_back(step.face);
            size_t e = face.Edge;
            for (int k = 0; k < 3; ++k, e = edges[e].Next) {
                size_t opposite = edges[e].Opposite;
                if (opposite == step.entered_by) continue;
                const size_t next_face = edges[opposite].Face;
                __builtin_prefetch(&faces[next_face]);
                search_.push_back({next_face, e});
            }
            continue;
        }
        face.Is_Visible = 0;
        // note: the apex's own face always sees it (the apex was assigned
        // to it with a positive value); should rounding ever say otherwise
        // there is no horizon, and the apex is abandoned like one whose
        // horizon can't be closed.
        if (step.entered_by == kNone) return false;
        horizon_.push_back(step.entered_by);
        Hull_Face<T>& owner = faces[edges[step.entered_by].Face];
        size_t e0 = owner.Edge;
        int k = step.entered_by == e0 ? 0 : step.entered_by == edges[e0].Next ? 1 : 2;
        owner.Horizon_Mask = static_cast<uint8_t>(owner.Horizon_Mask | (1u << k));
    }
    // note: a closed mesh whose every face sees the apex has no horizon;
    // valid input can't produce it, and it is abandoned like an unclosable
    // horizon.
    return !horizon_.empty();
}

// Orders the horizon into a loop, each half-edge followed by the one that
// starts where it ends.
template <class T>
bool QuickHull<T>::close_horizon()
{
    const size_t h = horizon_.size();
    for (size_t i = 0; i + 1 < h; ++i) {
        const size_t end = Mesh.Half_Edges[horizon_[i]].End_Vertex;
        size_t j = i + 1;
        while (j < h && Mesh.start_vertex(horizon_[j]) != end) ++j;
        if (j == h) return false;
        std::swap(horizon_[i + 1], horizon_[j]);
    }
    return true;
}

// The apex is dropped from its face, which is not queued again: its other
// outside points come back into play only if the face later sees another
// apex.
template <class T>
void QuickHull<T>::abandon_apex(size_t t, size_t a)
{
    ++Failed_Horizons;
    // note: this one line goes to the standard error stream, not the message
    // sink: the engine knows nothing of the library it serves.
    std::fputs("Failed to solve horizon edge.\n", stderr);
    std::fflush(stderr);
    Index_List& outside = Mesh.Faces[t].Outside;
    auto it = std::find(outside.begin(), outside.end(), a);
    if (it != outside.end()) outside.erase(it);
    if (outside.empty()) Pool.give(std::exchange(outside, Index_List{}));
}

// Disables the visible faces. Their half-edges off the horizon become the
// cone's new half-edges (two per horizon half-edge), the surplus goes to the
// free stack, and any shortfall is added.
template <class T>
void QuickHull<T>::remove_visible()
{
    new_faces_.clear();
    new_edges_.clear();
    taken_.clear();
    const size_t want = 2 * horizon_.size();
    for (size_t f : visible_) {
        const Hull_Face<T>& face = Mesh.Faces[f];
        const unsigned mask = face.Horizon_Mask;
        size_t e = face.Edge;
        for (unsigned k = 0; k < 3; ++k) {
            const size_t next = Mesh.Half_Edges[e].Next;
            if (!(mask & (1u << k))) {
                if (new_edges_.size() < want)
                    new_edges_.push_back(e);
                else
                    Mesh.disable_half_edge(e);
            }
            e = next;
        }
        Index_List outside = Mesh.disable_face(f);
        if (!outside.empty()) taken_.push_back(std::move(outside));
    }
    while (new_edges_.size() < want) new_edges_.push_back(Mesh.add_half_edge());
}

// One triangle per horizon half-edge h = (A, B): (B, apex, A), its two new
// half-edges twinned with the neighbouring triangles so the cone closes
// around the apex.
template <class T>
void QuickHull<T>::build_cone(size_t a, const Vec3<T>& apex)
{
    const size_t h_count = horizon_.size();
    const size_t ring = 2 * h_count;
    cone_planes_.clear();
    for (size_t i = 0; i < h_count; ++i) {
        const size_t h = horizon_[i];
        const size_t va = Mesh.start_vertex(h);
        const size_t vb = Mesh.Half_Edges[h].End_Vertex;
        const size_t g = Mesh.add_face();
        new_faces_.push_back(g);
        const size_t ca = new_edges_[2 * i];
        const size_t bc = new_edges_[2 * i + 1];
        auto& edges = Mesh.Half_Edges;
        edges[h].Next = bc;
        edges[bc].Next = ca;
        edges[ca].Next = h;
        edges[h].Face = g;
        edges[bc].Face = g;
        edges[ca].Face = g;
        edges[ca].End_Vertex = va;
        edges[bc].End_Vertex = a;
        edges[ca].Opposite = new_edges_[i == 0 ? ring - 1 : 2 * i - 1];
        edges[bc].Opposite = new_edges_[(2 * i + 2) % ring];

        Hull_Face<T>& face = Mesh.Faces[g];
        face.Plane_Normal = cross(point(va) - apex, point(vb) - apex);
        face.Plane_Offset = -dot(face.Plane_Normal, apex);
        face.Normal_Sq = dot(face.Plane_Normal, face.Plane_Normal);
        face.Edge = h;
        cone_planes_.push_back({face.Plane_Normal, face.Plane_Offset, Epsilon_Sq * face.Normal_Sq});
    }
}

// The outside points of the removed faces go to the first new face that has
// them outside; the others now lie inside the hull (or within tolerance) and
// are dropped.
template <class T>
void QuickHull<T>::hand_on(size_t a)
{
    const Cone_Plane* planes = cone_planes_.data();
    const size_t count = cone_planes_.size();
    const T* data = Source.Data;
    // The points of a list lie close in space but far apart in memory:
    // fetch a few ahead of the plane tests.
    constexpr size_t kAhead = 8;
    for (Index_List& list : taken_) {
        const size_t* ids = list.data();
        const size_t m = list.size();
        for (size_t i = 0; i < m; ++i) {
            if (i + kAhead < m) __builtin_prefetch(data + 3 * ids[i + kAhead]);
            const size_t q = ids[i];
            if (q == a) continue;
            const T* p = data + 3 * q;
            const T x = p[0], y = p[1], z = p[2];
            for (size_t g = 0; g < count; ++g) {
                const Cone_Plane& plane = planes[g];
                T v = plane.normal.x * x + plane.normal.y * y + plane.normal.z * z + plane.offset;
                if (v > 0 && v * v > plane.limit) {
                    add_outside(new_faces_[g], q, v);
                    break;
                }
            }
        }
        Pool.give(std::move(list));
    }
    taken_.clear();
}

template <class T>
void QuickHull<T>::queue_new_faces()
{
    for (size_t g : new_faces_) {
        const Hull_Face<T>& face = Mesh.Faces[g];
        if (!face.Outside.empty() && !face.In_Queue) queue_push(g);
    }
}

} // namespace pfx
