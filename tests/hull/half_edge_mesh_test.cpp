// The hull engine's mesh: the tetrahedron table, the free stacks and the
// list pool's shrink rule.
#include "hull/half_edge_mesh.h"

#include <gtest/gtest.h>

#include "core/alloc.h"

namespace {

using pfx::Half_Edge;
using pfx::Hull_Mesh;
using pfx::Index_List;
using pfx::kNone;
using pfx::List_Pool;

bool same(const Half_Edge& a, const Half_Edge& b)
{
    return a.End_Vertex == b.End_Vertex && a.Opposite == b.Opposite && a.Face == b.Face &&
           a.Next == b.Next;
}

TEST(HalfEdgeMesh, TetrahedronTable)
{
    Hull_Mesh<double> mesh;
    const size_t a = 10, b = 11, c = 12, d = 13;
    mesh.set_up_tetrahedron(a, b, c, d);
    const Half_Edge expected[12] = {
        {b, 6, 0, 1},  {c, 9, 0, 2},  {a, 3, 0, 0},  {c, 2, 1, 4},
        {d, 11, 1, 5}, {a, 7, 1, 3},  {a, 0, 2, 7},  {d, 5, 2, 8},
        {b, 10, 2, 6}, {b, 1, 3, 10}, {d, 8, 3, 11}, {c, 4, 3, 9},
    };
    ASSERT_EQ(mesh.Half_Edges.size(), 12u);
    for (size_t e = 0; e < 12; ++e) EXPECT_TRUE(same(mesh.Half_Edges[e], expected[e])) << e;
    ASSERT_EQ(mesh.Faces.size(), 4u);
    const size_t corners[4][3] = {{b, c, a}, {c, d, a}, {a, d, b}, {b, d, c}};
    for (size_t f = 0; f < 4; ++f) {
        const auto& face = mesh.Faces[f];
        EXPECT_EQ(face.Edge, 3 * f);
        EXPECT_EQ(face.Far_Dist, 0.0);
        EXPECT_EQ(face.Far_Point, 0u);
        EXPECT_EQ(face.Checked_Iter, 0u);
        EXPECT_EQ(face.Is_Visible, 0);
        EXPECT_EQ(face.In_Queue, 0);
        EXPECT_EQ(face.Horizon_Mask, 0);
        EXPECT_TRUE(face.Outside.empty());
        size_t e = face.Edge;
        for (int k = 0; k < 3; ++k, e = mesh.next(e)) {
            EXPECT_EQ(mesh.Half_Edges[e].End_Vertex, corners[f][k]);
            // Twins run the same edge the other way.
            size_t o = mesh.Half_Edges[e].Opposite;
            EXPECT_EQ(mesh.Half_Edges[o].Opposite, e);
            EXPECT_EQ(mesh.start_vertex(o), mesh.Half_Edges[e].End_Vertex);
            EXPECT_NE(mesh.Half_Edges[o].Face, f);
        }
        EXPECT_EQ(e, face.Edge) << "three half-edges close the face";
    }
}

TEST(HalfEdgeMesh, TetrahedronStartsAfresh)
{
    Hull_Mesh<float> mesh;
    mesh.set_up_tetrahedron(0, 1, 2, 3);
    mesh.Faces[2].Outside.assign({4, 5, 6});
    mesh.disable_half_edge(mesh.add_half_edge());
    mesh.set_up_tetrahedron(3, 2, 1, 0);
    EXPECT_EQ(mesh.Faces.size(), 4u);
    EXPECT_EQ(mesh.Half_Edges.size(), 12u);
    EXPECT_TRUE(mesh.Free_Faces.empty());
    EXPECT_TRUE(mesh.Free_Edges.empty());
    EXPECT_TRUE(mesh.Faces[2].Outside.empty());
}

TEST(HalfEdgeMesh, FreeSlotsAreReusedLastFirst)
{
    Hull_Mesh<float> mesh;
    mesh.set_up_tetrahedron(0, 1, 2, 3);
    mesh.Faces[1].Far_Dist = 5;
    mesh.Faces[1].Far_Point = 7;
    mesh.Faces[1].Checked_Iter = 9;
    mesh.Faces[1].In_Queue = 1;
    mesh.Faces[1].Outside.assign({7, 8});
    Index_List handed = mesh.disable_face(1);
    EXPECT_EQ(handed, (Index_List{7, 8}));
    EXPECT_TRUE(mesh.Faces[1].Outside.empty());
    EXPECT_EQ(mesh.Faces[1].Edge, kNone);
    EXPECT_TRUE(mesh.disable_face(3).empty());
    EXPECT_EQ(mesh.Free_Faces, (pfx::Hull_Vector<size_t>{1, 3}));

    EXPECT_EQ(mesh.add_face(), 3u);
    EXPECT_EQ(mesh.add_face(), 1u);
    // Only Far_Dist is reset on reuse.
    EXPECT_EQ(mesh.Faces[1].Far_Dist, 0.0f);
    EXPECT_EQ(mesh.Faces[1].Far_Point, 7u);
    EXPECT_EQ(mesh.Faces[1].Checked_Iter, 9u);
    EXPECT_EQ(mesh.Faces[1].In_Queue, 1);
    // An empty stack appends a fresh face.
    size_t f = mesh.add_face();
    EXPECT_EQ(f, 4u);
    EXPECT_EQ(mesh.Faces[f].Edge, kNone);
    EXPECT_EQ(mesh.Faces[f].Checked_Iter, 0u);

    mesh.disable_half_edge(5);
    mesh.disable_half_edge(2);
    EXPECT_EQ(mesh.Half_Edges[5].End_Vertex, kNone);
    EXPECT_EQ(mesh.add_half_edge(), 2u);
    EXPECT_EQ(mesh.add_half_edge(), 5u);
    size_t e = mesh.add_half_edge();
    EXPECT_EQ(e, 12u);
    EXPECT_TRUE(same(mesh.Half_Edges[e], Half_Edge{0, 0, 0, 0}));
}

TEST(ListPool, KeepsListsWithinShrinkRule)
{
    List_Pool pool;
    Index_List room128;
    room128.reserve(128);
    ASSERT_EQ(room128.capacity(), 128u);
    pool.give(std::move(room128));
    EXPECT_EQ(pool.size(), 1u);

    Index_List room129;
    room129.reserve(129);
    ASSERT_EQ(room129.capacity(), 129u);
    pool.give(std::move(room129));
    EXPECT_EQ(pool.size(), 1u) << "an empty list with room for 129 is released";

    // A list that holds entries may have up to 128 times (entries + 1) of room.
    Index_List full;
    full.reserve(256);
    full.push_back(1);
    pool.give(std::move(full));
    EXPECT_EQ(pool.size(), 2u);
    Index_List loose;
    loose.reserve(257);
    loose.push_back(1);
    pool.give(std::move(loose));
    EXPECT_EQ(pool.size(), 2u);
}

TEST(ListPool, TakesLastGivenListEmptied)
{
    List_Pool pool;
    Index_List fresh = pool.take();
    EXPECT_TRUE(fresh.empty());
    EXPECT_EQ(fresh.capacity(), 0u);

    Index_List a{1, 2, 3};
    const size_t* a_storage = a.data();
    Index_List b{4, 5};
    const size_t* b_storage = b.data();
    pool.give(std::move(a));
    pool.give(std::move(b));
    Index_List got = pool.take();
    EXPECT_TRUE(got.empty());
    EXPECT_EQ(got.data(), b_storage);
    got = pool.take();
    EXPECT_EQ(got.data(), a_storage);
    EXPECT_EQ(pool.size(), 0u);
    pool.give(std::move(got));
    pool.clear();
    EXPECT_EQ(pool.size(), 0u);
}

TEST(ListPool, AllocatesThroughTheHookedAllocator)
{
    pfx::alloc_fail_at(1);
    Index_List list;
    EXPECT_THROW(list.push_back(1), std::bad_alloc);
    pfx::alloc_fail_at(0);
    EXPECT_TRUE(list.empty());
}

} // namespace
