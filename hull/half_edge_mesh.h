// The hull engine's mesh: faces and half-edges in growable arrays whose
// disabled slots wait on free stacks for reuse, so the arrays only grow to
// the largest live mesh.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "hull/hull_alloc.h"
#include "hull/vec3.h"

namespace pfx {

// All bits set: a missing half-edge, a disabled face or a disabled half-edge.
inline constexpr size_t kNone = SIZE_MAX;

using Index_List = Hull_Vector<size_t>;

struct Half_Edge {
    size_t End_Vertex; // point it runs to; kNone once disabled
    size_t Opposite;   // twin: same edge, other direction, other face
    size_t Face;
    size_t Next;       // next half-edge around the same face
};

template <class T>
struct Hull_Face {
    size_t Edge = kNone; // one of its half-edges; kNone marks a disabled face
    Vec3<T> Plane_Normal{}; // not normalised: value(p) = Plane_Normal.p + Plane_Offset
    T Plane_Offset = 0;
    T Normal_Sq = 0;
    T Far_Dist = 0;        // largest value among the outside points
    size_t Far_Point = 0;  // the point with that value: the next apex
    size_t Checked_Iter = 0;
    uint8_t Is_Visible : 1 = 0;
    uint8_t In_Queue : 1 = 0;
    uint8_t Horizon_Mask : 3 = 0; // bit k: half-edge e_k lies on the horizon
    // The points assigned to this face. A face holds a list only while the
    // list has entries, so "has a list" and "has outside points" agree.
    Index_List Outside;
};

template <class T>
struct Hull_Mesh {
    Hull_Vector<Hull_Face<T>> Faces;
    Hull_Vector<Half_Edge> Half_Edges;
    Hull_Vector<size_t> Free_Faces;
    Hull_Vector<size_t> Free_Edges;

    // A reused slot gets Far_Dist 0 and keeps everything else: its flags
    // and iteration stamp are only read within the iteration that set them,
    // and its outside list went with it when it was disabled.
    size_t add_face()
    {
        if (!Free_Faces.empty()) {
            size_t f = Free_Faces.back();
            Free_Faces.pop_back();
            Faces[f].Far_Dist = 0;
            return f;
        }
        Faces.emplace_back();
        return Faces.size() - 1;
    }

    size_t add_half_edge()
    {
        if (!Free_Edges.empty()) {
            size_t e = Free_Edges.back();
            Free_Edges.pop_back();
            return e;
        }
        Half_Edges.push_back(Half_Edge{0, 0, 0, 0});
        return Half_Edges.size() - 1;
    }

    // Returns the face's outside list (empty when it had none).
    Index_List disable_face(size_t f)
    {
        Hull_Face<T>& face = Faces[f];
        face.Edge = kNone;
        Free_Faces.push_back(f);
        return std::exchange(face.Outside, Index_List{});
    }

    void disable_half_edge(size_t e)
    {
        Half_Edges[e].End_Vertex = kNone;
        Free_Edges.push_back(e);
    }

    void clear()
    {
        Faces.clear();
        Half_Edges.clear();
        Free_Faces.clear();
        Free_Edges.clear();
    }

    // Faces 0 to 3 are (b, c, a), (c, d, a), (a, d, b) and (b, d, c), each
    // counter-clockwise seen from outside when d lies below the plane of
    // (a, b, c); their planes are left for the caller.
    void set_up_tetrahedron(size_t a, size_t b, size_t c, size_t d)
    {
        clear();
        Faces.reserve(4);
        Half_Edges.reserve(12);
        const Half_Edge table[12] = {
            {b, 6, 0, 1},  {c, 9, 0, 2},  {a, 3, 0, 0},  {c, 2, 1, 4},
            {d, 11, 1, 5}, {a, 7, 1, 3},  {a, 0, 2, 7},  {d, 5, 2, 8},
            {b, 10, 2, 6}, {b, 1, 3, 10}, {d, 8, 3, 11}, {c, 4, 3, 9},
        };
        Half_Edges.assign(table, table + 12);
        for (size_t f = 0; f < 4; ++f) {
            Faces.emplace_back();
            Faces.back().Edge = 3 * f;
        }
    }

    size_t next(size_t e) const { return Half_Edges[e].Next; }
    size_t start_vertex(size_t e) const { return Half_Edges[Half_Edges[e].Opposite].End_Vertex; }
};

// Outside lists kept for reuse. A list given back goes onto the pool only
// while its room is within 128 times what it holds (plus one), so that the
// huge lists of the first iterations do not stay allocated for the whole
// build.
class List_Pool {
public:
    // A list from the pool, or a new one; always empty.
    Index_List take()
    {
        if (lists_.empty()) return Index_List{};
        Index_List l = std::move(lists_.back());
        lists_.pop_back();
        l.clear();
        return l;
    }

    void give(Index_List&& list)
    {
        if ((list.size() + 1) * 128 >= list.capacity()) {
            lists_.push_back(std::move(list));
            return;
        }
        Index_List released = std::move(list); // its storage goes here
    }

    void clear() { lists_.clear(); }
    size_t size() const { return lists_.size(); }

private:
    Hull_Vector<Index_List> lists_;
};

} // namespace pfx
