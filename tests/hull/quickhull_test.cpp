// The hull engine on the small and degenerate clouds whose results are fixed
// exactly, the list pool's shrink rule, exhausted memory and abandoned apexes.
#include "hull/quickhull.h"

#include <limits>
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
const std::vector<T> kCube = {-1, -1, -1, 1, -1, -1, 1, 1, -1, -1, 1, -1, -1, -1, 1, 1, -1, 1, 1, 1, 1, -1, 1, 1};

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
    } rows[] = {
        {"one point", {3, 4, 5}, std::vector<size_t>(12, 0), 1},
        {"two points: N is zero, a test value of 0 swaps", {0, 0, 0, 1, 2, 3}, tetrahedron(1, 0, 1, 1), 2},
        {"three points", {0, 0, 0, 1, 0, 0, 0, 1, 0}, tetrahedron(1, 0, 2, 2), 3},
        {"four, the last above", {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, tetrahedron(1, 0, 2, 3), 4},
        {"four, the last below", {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, -1}, tetrahedron(0, 1, 2, 3), 4},
        {"seven equal points: the buffer maps indices, not positions",
         {2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5, 2, -1, .5}, tetrahedron(0, 1, 2, 3), 4},
        // Largest x is point 2, smallest point 1; then the first and next other points.
        {"a line", {2, 0, 0, 0, 0, 0, 5, 0, 0, 1, 0, 0, 3, 0, 0, 4, 0, 0}, tetrahedron(2, 1, 0, 3), 4},
        {"a line, repeats passed over", {5, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 2, 0, 0, 2, 0, 0, 3, 0, 0}, tetrahedron(0, 1, 4, 6), 4},
        {"a line of its two ends: the first stands in", {5, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0}, tetrahedron(0, 1, 0, 0), 2},
        {"no points, after builds that left a mesh", {}, {}, 0},
    };
    pfx::QuickHull<TypeParam> qh;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const size_t n = row.pts.size() / 3;
        EXPECT_EQ(indices(qh.build_hull(row.pts.data(), n, false, true)), row.expected);
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
    // Closed: the square's two up-facing halves (area 8 each) and four
    // down-facing triangles through point 0 (6, 6, 2 and 2).
    EXPECT_EQ(indices(r), (std::vector<size_t>{1, 2, 3, 2, 0, 3, 0, 4, 3, 3, 4, 1, 1, 4, 0, 1, 0, 2}));
    EXPECT_TRUE(r.Vertices.Data == pts.data() && r.Vertices.Count == 8) << "the caller's points, not the planar copy";
    EXPECT_EQ(qh.build_hull(pts.data(), 8, false, false).Vertices.Count, 5u);
    qh.build_hull(kCube<TypeParam>.data(), 8, false, false);
    EXPECT_FALSE(qh.planar()) << "the flag belongs to the last build";
}

TYPED_TEST(QuickHullTest, CubeCornersGiveTwelveOutwardTrianglesAndPointsWithinToleranceAreDropped)
{
    std::vector<TypeParam> pts = {0.5, 0.25, -0.5, 0, 0, 0};
    pts.insert(pts.end(), kCube<TypeParam>.begin(), kCube<TypeParam>.end());
    for (int i = 0; i < 20; ++i) pts.insert(pts.end(), {TypeParam(0.09 * i - 0.9), TypeParam(0.9 - 0.05 * i), TypeParam(0.03 * i)});
    pfx::QuickHull<TypeParam> qh;
    auto r = indices(qh.build_hull(pts.data(), 30, false, true));
    // Exactly the corners, in the order that the growth (free face slots
    // reused last first, the queue, the horizon) and the walk give.
    EXPECT_EQ(r, (std::vector<size_t>{6, 5, 2, 2, 5, 4, 5, 9, 4, 9, 8, 4, 4, 8, 7, 7, 8, 9,
                                      7, 9, 6, 6, 9, 5, 3, 7, 6, 4, 7, 3, 4, 3, 2, 2, 3, 6}));
    auto reversed = indices(qh.build_hull(pts.data(), 30, true, true));
    for (size_t i = 0; i < reversed.size(); i += 3) std::swap(reversed[i + 1], reversed[i + 2]);
    EXPECT_EQ(reversed, r) << "ccw reverses every triangle, nothing else";

    const double eps = pfx::kDefaultHullTolerance<TypeParam>;
    for (double bulge : {0.5 * eps, 2 * eps}) {
        auto bulging = kCube<TypeParam>;
        bulging.insert(bulging.end(), {0, 0, TypeParam(1 + bulge)});
        auto b = indices(qh.build_hull(bulging.data(), 9, false, true));
        EXPECT_EQ(std::count(b.begin(), b.end(), 8u) > 0, bulge > eps) << bulge;
        EXPECT_TRUE(pfx_test::closed(b, 9));
    }
}

TYPED_TEST(QuickHullTest, NotANumberAndInfinityDoNotBreakTheMesh)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN(), inf = std::numeric_limits<TypeParam>::infinity();
    for (const std::vector<TypeParam>& pts : {std::vector<TypeParam>{nan, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2},
                                              {0, 0, 0, 1, 0, 0, nan, nan, nan, 0, 1, 0, 0, 0, 1, 1, 1, 1, -1, 2, 0.5},
                                              {0, 0, 0, inf, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 0, -inf, 3}}) {
        auto r = indices(pfx::QuickHull<TypeParam>().build_hull(pts.data(), pts.size() / 3, false, true));
        EXPECT_TRUE(r.size() >= 12 && pfx_test::closed(r, pts.size() / 3));
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
    EXPECT_TRUE(failing > 10 && thrown == failing) << failing << " " << thrown;
    for (long n : {1, 5, 20}) {
        pfx::QuickHull<TypeParam> qh;
        pfx::alloc_fail_at(n);
        EXPECT_THROW(qh.build_hull(pts.data(), 60, false, false), std::bad_alloc);
        pfx::alloc_fail_at(0);
        EXPECT_EQ(indices(qh.build_hull(pts.data(), 60, false, false)), expected) << "after a failure at " << n;
    }
}

TEST(QuickHull, AbandonedApexIsCountedAndReportedAndTheMeshStillCloses)
{
    // Six nearly collinear points whose cone can't be closed in single
    // precision with a tolerance this small.
    const float unclosable[18] = {
        0x1.cb7f4cp-1f,  0x1.cb7f32p-2f,  0x1.059c52p-21f,  -0x1.b5b92ep-1f, -0x1.b5b968p-2f, -0x1.6d9602p-22f,
        -0x1.720768p-1f, -0x1.72078ap-2f, -0x1.c2efdcp-21f, -0x1.c23e5ap-1f, -0x1.c23e56p-2f, -0x1.486deap-21f,
        -0x1.f9249ep-1f, -0x1.f92466p-2f, -0x1.9ed85cp-21f, -0x1.23c6a8p-1f, -0x1.23c6c6p-2f, 0x1.ddcfc4p-21f};
    pfx::QuickHull<float> qh;
    ::testing::internal::CaptureStderr();
    auto r = qh.build_hull(unclosable, 6, false, true, 1e-9f);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Failed to solve horizon edge.\n");
    EXPECT_EQ(qh.failed_horizons(), 1u);
    // Every live face's half-edges have live twins that run back.
    const auto& mesh = qh.mesh();
    size_t live = 0;
    for (size_t f = 0; f < mesh.Faces.size(); ++f) {
        size_t e = mesh.Faces[f].Edge;
        for (int k = 0; k < 3 && e != kNone; ++k, e = mesh.next(e)) {
            const auto& twin = mesh.Half_Edges[mesh.Half_Edges[e].Opposite];
            EXPECT_TRUE(twin.Opposite == e && mesh.start_vertex(e) == twin.End_Vertex && mesh.Faces[twin.Face].Edge != kNone);
        }
        EXPECT_EQ(e, mesh.Faces[f].Edge) << "three half-edges close face " << f;
        live += e != kNone;
    }
    EXPECT_EQ(r.Indices.size(), 3 * live);
    ::testing::internal::CaptureStderr();
    qh.build_hull(kCube<float>.data(), 8, false, false);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(qh.failed_horizons(), 0u) << "each build counts afresh";
}

TEST(ListPool, KeepsListsWithinTheShrinkRule)
{
    pfx::List_Pool pool;
    EXPECT_EQ(pool.take().capacity(), 0u) << "an empty pool makes a new list";
    for (auto [entries, room, kept] : {std::tuple{0, 128, true}, {0, 129, false}, {1, 256, true}, {1, 257, false}}) {
        pfx::Index_List list(size_t(entries), 1);
        list.reserve(size_t(room));
        const size_t before = pool.size();
        pool.give(std::move(list));
        EXPECT_EQ(pool.size(), before + kept) << "kept when (entries + 1) * 128 >= room " << room;
    }
    EXPECT_TRUE(pool.take().empty()) << "a list taken back is emptied";
}

} // namespace
