// The hull engine on the small and degenerate clouds whose results are fixed
// exactly, its mesh's tetrahedron table, free stacks and list pool, exhausted
// memory and abandoned apexes.
#include "hull/quickhull.h"

#include <limits>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "hull/clouds.h"
#include "support/capture.h"

namespace {

using pfx::kNone;

template <class T>
std::vector<size_t> indices(const pfx::Hull_Result<T>& r)
{
    return {r.Indices.begin(), r.Indices.end()};
}

// A fresh tetrahedron (a, b, c, d) comes out face by face in table order.
std::vector<size_t> tetrahedron(size_t a, size_t b, size_t c, size_t d) { return {b, c, a, c, d, a, a, d, b, b, d, c}; }

template <class T>
std::vector<T> cube_corners()
{
    return {-1, -1, -1, 1, -1, -1, 1, 1, -1, -1, 1, -1, -1, -1, 1, 1, -1, 1, 1, 1, 1, -1, 1, 1};
}

template <class T>
class QuickHullTest : public ::testing::Test {};
using Scalars = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QuickHullTest, Scalars);

TYPED_TEST(QuickHullTest, SmallAndDegenerateCloudsGiveTheirFixedTetrahedron)
{
    const struct {
        const char* what;
        std::vector<TypeParam> pts;
        std::vector<size_t> expected;
        size_t vertices; // in the copied form
        bool solid;      // no triangle without area, none faces a point
    } rows[] = {
        {"one point", {3, 4, 5}, std::vector<size_t>(12, 0), 1, false},
        {"two points: N is zero, a test value of 0 swaps", {0, 0, 0, 1, 2, 3}, tetrahedron(1, 0, 1, 1), 2, false},
        {"three points", {0, 0, 0, 1, 0, 0, 0, 1, 0}, tetrahedron(1, 0, 2, 2), 3, false},
        {"four, the last above", {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, tetrahedron(1, 0, 2, 3), 4, true},
        {"four, the last below", {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, -1}, tetrahedron(0, 1, 2, 3), 4, true},
        {"seven equal points: the buffer maps indices, not positions",
         {2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5}, tetrahedron(0, 1, 2, 3), 4, false},
        // Largest x is point 2, smallest point 1; then the first and next other points.
        {"a line", {2, 0, 0, 0, 0, 0, 5, 0, 0, 1, 0, 0, 3, 0, 0, 4, 0, 0}, tetrahedron(2, 1, 0, 3), 4, false},
        {"a line, repeats passed over", {5, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 2, 0, 0, 2, 0, 0, 3, 0, 0},
         tetrahedron(0, 1, 4, 6), 4, false},
        {"a line of its two ends: the first stands in", {5, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0},
         tetrahedron(0, 1, 0, 0), 2, false},
        {"no points, after builds that left a mesh", {}, {}, 0, true},
    };
    pfx::QuickHull<TypeParam> qh;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const size_t n = row.pts.size() / 3;
        auto r = qh.build_hull(row.pts.data(), n, false, true);
        EXPECT_EQ(indices(r), row.expected);
        EXPECT_EQ(pfx_test::outside_by(row.pts.data(), row.expected, row.pts.data(), n) <= 0, row.solid);
        EXPECT_EQ(qh.build_hull(row.pts.data(), n, false, false).Vertices.Count, row.vertices);
        EXPECT_EQ(qh.failed_horizons(), 0u);
    }
}

TYPED_TEST(QuickHullTest, PointsInAPlaneGiveAClosedFlatMeshThroughPointZero)
{
    // Point 0 lies inside the square, yet the folded faces meet it.
    const std::vector<TypeParam> pts = {1, 1, 2, 0, 0, 2, 4, 0, 2, 4, 4, 2, 0, 4, 2, 2, 1, 2, 3, 3, 2, 1, 3, 2};
    pfx::QuickHull<TypeParam> qh;
    auto r = qh.build_hull(pts.data(), 8, false, true);
    EXPECT_TRUE(qh.planar());
    EXPECT_EQ(std::set<size_t>(r.Indices.begin(), r.Indices.end()), (std::set<size_t>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(pfx_test::closed(indices(r), 8));
    EXPECT_EQ(r.Vertices.Data, pts.data()) << "the caller's points, not the copy with the added point";
    EXPECT_EQ(r.Vertices.Count, 8u);
    // The outline is covered from both sides: as much area faces up as down.
    double up = 0, down = 0;
    for (size_t t = 0; t < r.Indices.size(); t += 3) {
        const TypeParam *a = &pts[3 * r.Indices[t]], *b = &pts[3 * r.Indices[t + 1]], *c = &pts[3 * r.Indices[t + 2]];
        const double z = (double(b[0]) - a[0]) * (c[1] - a[1]) - (double(b[1]) - a[1]) * (c[0] - a[0]);
        (z > 0 ? up : down) += std::abs(z) / 2;
    }
    EXPECT_EQ(up, 16.0);
    EXPECT_EQ(down, 16.0);
    EXPECT_EQ(qh.build_hull(pts.data(), 8, false, false).Vertices.Count, 5u);
    const auto cube = cube_corners<TypeParam>();
    qh.build_hull(cube.data(), 8, false, false);
    EXPECT_FALSE(qh.planar()) << "the flag belongs to the last build";
}

TYPED_TEST(QuickHullTest, CubeCornersGiveTwelveOutwardTrianglesAndPointsWithinToleranceAreDropped)
{
    std::vector<TypeParam> pts = {0.5, 0.25, -0.5, 0, 0, 0};
    for (TypeParam c : cube_corners<TypeParam>()) pts.push_back(c);
    for (int i = 0; i < 20; ++i) pts.insert(pts.end(), {TypeParam(0.09 * i - 0.9), TypeParam(0.9 - 0.05 * i), TypeParam(0.03 * i)});
    pfx::QuickHull<TypeParam> qh;
    auto r = qh.build_hull(pts.data(), pts.size() / 3, false, true);
    EXPECT_EQ(std::set<size_t>(r.Indices.begin(), r.Indices.end()), (std::set<size_t>{2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(r.Indices.size(), 36u);
    EXPECT_TRUE(pfx_test::closed(indices(r), pts.size() / 3));
    EXPECT_EQ(pfx_test::outside_by(pts.data(), indices(r), pts.data(), pts.size() / 3), 0.0);
    // ccw reverses every triangle, nothing else.
    auto reversed = indices(qh.build_hull(pts.data(), pts.size() / 3, true, true));
    for (size_t i = 0; i < 36; i += 3) std::swap(reversed[i + 1], reversed[i + 2]);
    EXPECT_EQ(reversed, indices(r));

    const double eps = pfx::kDefaultHullTolerance<TypeParam>;
    for (double bulge : {0.5 * eps, 2 * eps}) {
        auto bulging = cube_corners<TypeParam>();
        bulging.insert(bulging.end(), {0, 0, TypeParam(1 + bulge)});
        auto b = qh.build_hull(bulging.data(), 9, false, true);
        EXPECT_EQ(std::count(b.Indices.begin(), b.Indices.end(), 8u) > 0, bulge > eps) << bulge;
        EXPECT_TRUE(pfx_test::closed(indices(b), 9));
    }
}

TYPED_TEST(QuickHullTest, NotANumberAndInfinityDoNotBreakTheMesh)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN(), inf = std::numeric_limits<TypeParam>::infinity();
    const std::vector<TypeParam> clouds[] = {
        {nan, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2},
        {0, 0, 0, 1, 0, 0, nan, nan, nan, 0, 1, 0, 0, 0, 1, 1, 1, 1, -1, 2, 0.5},
        {0, 0, 0, inf, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 0, -inf, 3},
    };
    for (const auto& pts : clouds) {
        pfx::QuickHull<TypeParam> qh;
        auto r = qh.build_hull(pts.data(), pts.size() / 3, false, true);
        EXPECT_GE(r.Indices.size(), 12u);
        EXPECT_TRUE(pfx_test::closed(indices(r), pts.size() / 3));
    }
}

TYPED_TEST(QuickHullTest, ExhaustedMemoryThrowsLeaksNothingAndTheEngineBuildsAfresh)
{
    const auto pts = pfx_test::converted<TypeParam>(pfx_test::make_cloud(pfx_test::Shape::Gaussian, 60, 5));
    auto expected = indices(pfx::QuickHull<TypeParam>().build_hull(pts.data(), 60, false, false));
    int thrown = 0;
    int failing = pfx_test::for_each_alloc_failure([&](long) {
        try {
            pfx::QuickHull<TypeParam>().build_hull(pts.data(), 60, false, false);
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
    });
    EXPECT_GT(failing, 10);
    EXPECT_EQ(thrown, failing);
    for (long n : {1, 5, 20}) {
        pfx::QuickHull<TypeParam> qh;
        pfx::alloc_fail_at(n);
        EXPECT_THROW(qh.build_hull(pts.data(), 60, false, false), std::bad_alloc);
        pfx::alloc_fail_at(0);
        EXPECT_EQ(indices(qh.build_hull(pts.data(), 60, false, false)), expected) << "after a failure at " << n;
    }
}

// Six nearly collinear points whose cone can't be closed in single precision
// with a tolerance this small.
const float kUnclosable[18] = {
    0x1.cb7f4cp-1f,  0x1.cb7f32p-2f,  0x1.059c52p-21f,  -0x1.b5b92ep-1f, -0x1.b5b968p-2f, -0x1.6d9602p-22f,
    -0x1.720768p-1f, -0x1.72078ap-2f, -0x1.c2efdcp-21f, -0x1.c23e5ap-1f, -0x1.c23e56p-2f, -0x1.486deap-21f,
    -0x1.f9249ep-1f, -0x1.f92466p-2f, -0x1.9ed85cp-21f, -0x1.23c6a8p-1f, -0x1.23c6c6p-2f, 0x1.ddcfc4p-21f,
};

TEST(QuickHull, AbandonedApexIsCountedAndReportedAndTheMeshStillCloses)
{
    pfx::QuickHull<float> qh;
    ::testing::internal::CaptureStderr();
    auto r = qh.build_hull(kUnclosable, 6, false, true, 1e-9f);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Failed to solve horizon edge.\n");
    EXPECT_EQ(qh.failed_horizons(), 1u);
    // The mesh built without that apex still closes: every live face's
    // half-edges have live twins that run back.
    const auto& mesh = qh.mesh();
    size_t live = 0;
    for (size_t f = 0; f < mesh.Faces.size(); ++f) {
        if (mesh.Faces[f].Edge == kNone) continue;
        ++live;
        size_t e = mesh.Faces[f].Edge;
        for (int k = 0; k < 3; ++k, e = mesh.next(e)) {
            const auto& twin = mesh.Half_Edges[mesh.Half_Edges[e].Opposite];
            EXPECT_TRUE(twin.Opposite == e && mesh.start_vertex(e) == twin.End_Vertex && mesh.Faces[twin.Face].Edge != kNone);
        }
        EXPECT_EQ(e, mesh.Faces[f].Edge);
    }
    EXPECT_EQ(r.Indices.size(), 3 * live);
    const auto cube = cube_corners<float>();
    ::testing::internal::CaptureStderr();
    qh.build_hull(cube.data(), 8, false, false);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(qh.failed_horizons(), 0u) << "each build counts afresh";
}

TEST(HalfEdgeMesh, TetrahedronTableAndFreeSlotsReusedLastFirst)
{
    pfx::Hull_Mesh<float> mesh;
    mesh.set_up_tetrahedron(0, 1, 2, 3);
    auto& dirty = mesh.Faces[2];
    dirty.Outside.assign({4, 5, 6}), dirty.Far_Dist = 1, dirty.Far_Point = 4, dirty.Checked_Iter = 5, dirty.Is_Visible = 1;
    mesh.disable_half_edge(mesh.add_half_edge());
    mesh.set_up_tetrahedron(10, 11, 12, 13); // afresh: no free slot, no outside list kept
    const size_t table[12][4] = {{11, 6, 0, 1}, {12, 9, 0, 2},  {10, 3, 0, 0},  {12, 2, 1, 4},  {13, 11, 1, 5}, {10, 7, 1, 3},
                                 {10, 0, 2, 7}, {13, 5, 2, 8},  {11, 10, 2, 6}, {11, 1, 3, 10}, {13, 8, 3, 11}, {12, 4, 3, 9}};
    ASSERT_EQ(mesh.Half_Edges.size(), 12u);
    for (size_t e = 0; e < 12; ++e) {
        const auto& h = mesh.Half_Edges[e];
        EXPECT_EQ((std::vector<size_t>{h.End_Vertex, h.Opposite, h.Face, h.Next}), std::vector<size_t>(table[e], table[e] + 4)) << e;
    }
    ASSERT_EQ(mesh.Faces.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        const auto& f = mesh.Faces[i];
        EXPECT_TRUE(f.Edge == 3 * i && f.Outside.empty() && f.Far_Dist == 0 && f.Far_Point == 0 && f.Checked_Iter == 0 &&
                    !f.Is_Visible && !f.In_Queue && !f.Horizon_Mask) << i;
    }
    EXPECT_TRUE(mesh.Free_Faces.empty() && mesh.Free_Edges.empty());

    auto& face = mesh.Faces[1];
    face.Far_Dist = 5, face.Far_Point = 7, face.Checked_Iter = 9, face.Outside.assign({7, 8});
    EXPECT_EQ(mesh.disable_face(1), (pfx::Index_List{7, 8}));
    EXPECT_TRUE(face.Outside.empty() && face.Edge == kNone);
    EXPECT_TRUE(mesh.disable_face(3).empty());
    EXPECT_EQ(mesh.add_face(), 3u);
    EXPECT_EQ(mesh.add_face(), 1u);
    EXPECT_TRUE(face.Far_Dist == 0 && face.Far_Point == 7 && face.Checked_Iter == 9) << "only Far_Dist is reset";
    EXPECT_EQ(mesh.add_face(), 4u);
    EXPECT_TRUE(mesh.Faces[4].Edge == kNone && mesh.Faces[4].Checked_Iter == 0);
    mesh.disable_half_edge(5);
    mesh.disable_half_edge(2);
    EXPECT_EQ(mesh.Half_Edges[5].End_Vertex, kNone);
    EXPECT_EQ((std::vector<size_t>{mesh.add_half_edge(), mesh.add_half_edge(), mesh.add_half_edge()}), (std::vector<size_t>{2, 5, 12}));
    const auto& h = mesh.Half_Edges[12];
    EXPECT_EQ(h.End_Vertex + h.Opposite + h.Face + h.Next, 0u);
}

TEST(ListPool, KeepsListsWithinTheShrinkRuleAndHandsBackTheLastEmptied)
{
    pfx::List_Pool pool;
    EXPECT_EQ(pool.take().capacity(), 0u) << "an empty pool makes a new list";
    // Kept when (entries + 1) * 128 >= room.
    for (auto [entries, room, kept] : {std::tuple{0, 128, true}, {0, 129, false}, {1, 256, true}, {1, 257, false}}) {
        pfx::Index_List list(size_t(entries), 1);
        list.reserve(size_t(room));
        const size_t before = pool.size();
        pool.give(std::move(list));
        EXPECT_EQ(pool.size(), before + kept) << room;
    }
    pfx::Index_List a{1, 2, 3}, b{4, 5};
    const size_t *a_data = a.data(), *b_data = b.data();
    pool.give(std::move(a));
    pool.give(std::move(b));
    pfx::Index_List got = pool.take();
    EXPECT_TRUE(got.empty() && got.data() == b_data);
    EXPECT_EQ(pool.take().data(), a_data);
    pool.clear();
    EXPECT_EQ(pool.size(), 0u);

    pfx::Index_List fresh;
    pfx::alloc_fail_at(1);
    EXPECT_THROW(fresh.push_back(1), std::bad_alloc) << "lists allocate through the hooked allocator";
    pfx::alloc_fail_at(0);
}

} // namespace
