// The hull engine on the small and degenerate clouds whose results are
// fixed exactly: empty, one to four points, equal points, a line, a plane,
// a cube with inner points, points within tolerance, abandoned apexes.
#include "hull/quickhull.h"

#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "support/capture.h"

namespace {

using pfx::Hull_Result;
using pfx::QuickHull;

template <class T>
using Cloud = std::vector<std::array<T, 3>>;

template <class T>
std::vector<T> flat(const Cloud<T>& cloud)
{
    std::vector<T> out;
    for (const auto& p : cloud) out.insert(out.end(), p.begin(), p.end());
    return out;
}

template <class T>
std::vector<size_t> indices(const Hull_Result<T>& r)
{
    return std::vector<size_t>(r.Indices.begin(), r.Indices.end());
}

// A fresh tetrahedron (a, b, c, d) comes out face by face in table order.
std::vector<size_t> tetrahedron(size_t a, size_t b, size_t c, size_t d)
{
    return {b, c, a, c, d, a, a, d, b, b, d, c};
}

// Each directed edge once and its twin once: the triangles close.
bool closed(const std::vector<size_t>& idx)
{
    std::multiset<std::pair<size_t, size_t>> edges;
    for (size_t i = 0; i < idx.size(); i += 3)
        for (int k = 0; k < 3; ++k) edges.insert({idx[i + k], idx[i + (k + 1) % 3]});
    for (const auto& e : edges)
        if (edges.count(e) != 1 || edges.count({e.second, e.first}) != 1) return false;
    return true;
}

template <class T>
std::array<double, 3> corner(const Hull_Result<T>& r, size_t i)
{
    const T* p = r.Vertices.Data + 3 * r.Indices[i];
    return {double(p[0]), double(p[1]), double(p[2])};
}

// Right-hand normal of triangle t, in double.
template <class T>
std::array<double, 3> normal(const Hull_Result<T>& r, size_t t)
{
    auto a = corner(r, 3 * t), b = corner(r, 3 * t + 1), c = corner(r, 3 * t + 2);
    double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    double v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

// Every triangle's normal points away from the centre of the hull.
template <class T>
bool outward(const Hull_Result<T>& r, const std::array<double, 3>& centre)
{
    for (size_t t = 0; t < r.Indices.size() / 3; ++t) {
        auto n = normal(r, t);
        auto a = corner(r, 3 * t);
        double s = n[0] * (a[0] - centre[0]) + n[1] * (a[1] - centre[1]) + n[2] * (a[2] - centre[2]);
        if (!(s > 0)) return false;
    }
    return true;
}

template <class T>
std::set<size_t> used(const Hull_Result<T>& r)
{
    return std::set<size_t>(r.Indices.begin(), r.Indices.end());
}

template <class T>
Cloud<T> cube_corners()
{
    return {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
            {-1, -1, 1},  {1, -1, 1},  {1, 1, 1},  {-1, 1, 1}};
}

template <class T>
class QuickHullTest : public ::testing::Test {};
using Scalars = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QuickHullTest, Scalars);

TYPED_TEST(QuickHullTest, NoPointsGiveAnEmptyResult)
{
    QuickHull<TypeParam> qh;
    auto r = qh.build_hull(static_cast<const TypeParam*>(nullptr), 0, false, false);
    EXPECT_EQ(r.Vertices.Count, 0u);
    EXPECT_TRUE(r.Indices.empty());
    EXPECT_TRUE(r.Buffer.empty());
    EXPECT_EQ(qh.failed_horizons(), 0u);
    EXPECT_TRUE(qh.mesh().Faces.empty());
}

TYPED_TEST(QuickHullTest, OnePointGivesFourTrianglesOverIt)
{
    auto pts = flat<TypeParam>({{3, 4, 5}});
    QuickHull<TypeParam> qh;
    auto r = qh.build_hull(pts.data(), 1, false, false);
    ASSERT_EQ(r.Vertices.Count, 1u);
    EXPECT_EQ(r.Vertices[0].x, 3);
    EXPECT_EQ(r.Vertices[0].z, 5);
    EXPECT_EQ(indices(r), std::vector<size_t>(12, 0));
}

TYPED_TEST(QuickHullTest, TwoThreeAndFourPointsGiveTheirTetrahedron)
{
    QuickHull<TypeParam> qh;
    auto two = flat<TypeParam>({{0, 0, 0}, {1, 2, 3}});
    // N is zero, and a test value of 0 takes the swapping branch.
    EXPECT_EQ(indices(qh.build_hull(two.data(), 2, false, true)), tetrahedron(1, 0, 1, 1));
    auto r2 = qh.build_hull(two.data(), 2, false, false);
    EXPECT_EQ(indices(r2), tetrahedron(1, 0, 1, 1));
    ASSERT_EQ(r2.Vertices.Count, 2u);
    EXPECT_EQ(r2.Vertices[1].y, 2);

    auto three = flat<TypeParam>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    EXPECT_EQ(indices(qh.build_hull(three.data(), 3, false, true)), tetrahedron(1, 0, 2, 2));

    auto above = flat<TypeParam>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    auto r4 = qh.build_hull(above.data(), 4, false, true);
    EXPECT_EQ(indices(r4), tetrahedron(1, 0, 2, 3));
    EXPECT_TRUE(outward(r4, {0.25, 0.25, 0.25}));

    auto below = flat<TypeParam>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}});
    auto r5 = qh.build_hull(below.data(), 4, false, true);
    EXPECT_EQ(indices(r5), tetrahedron(0, 1, 2, 3));
    EXPECT_TRUE(outward(r5, {0.25, 0.25, -0.25}));
    EXPECT_EQ(qh.failed_horizons(), 0u);
}

TYPED_TEST(QuickHullTest, IdenticalPointsGiveFourEqualVertices)
{
    Cloud<TypeParam> cloud(7, {2, -1, 0.5});
    auto pts = flat(cloud);
    QuickHull<TypeParam> qh;
    EXPECT_EQ(indices(qh.build_hull(pts.data(), 7, false, true)), tetrahedron(0, 1, 2, 3));
    // The buffer maps point indices, not positions.
    auto r = qh.build_hull(pts.data(), 7, false, false);
    EXPECT_EQ(indices(r), (std::vector<size_t>{0, 1, 2, 1, 3, 2, 2, 3, 0, 0, 3, 1}));
    ASSERT_EQ(r.Vertices.Count, 4u);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(r.Vertices[i].y, -1);
}

TYPED_TEST(QuickHullTest, PointsOnALineGiveAFlatTetrahedron)
{
    // Extremes: largest x is point 2, smallest x point 1; point 0 is the
    // first other point, point 3 the next.
    auto pts = flat<TypeParam>({{2, 0, 0}, {0, 0, 0}, {5, 0, 0}, {1, 0, 0}, {3, 0, 0}, {4, 0, 0}});
    QuickHull<TypeParam> qh;
    auto r = qh.build_hull(pts.data(), 6, false, true);
    EXPECT_EQ(indices(r), tetrahedron(2, 1, 0, 3));
    for (size_t t = 0; t < 4; ++t) {
        auto n = normal(r, t);
        EXPECT_EQ(n[0] * n[0] + n[1] * n[1] + n[2] * n[2], 0.0) << "zero area";
    }
    // Repeated points on the line are passed over for the first that differs.
    auto dup = flat<TypeParam>({{5, 0, 0}, {0, 0, 0}, {5, 0, 0}, {0, 0, 0}, {2, 0, 0}, {2, 0, 0},
                                {3, 0, 0}});
    EXPECT_EQ(indices(qh.build_hull(dup.data(), 7, false, true)), tetrahedron(0, 1, 4, 6));
    // Nothing but the two ends: the first end stands in for the others.
    auto ends = flat<TypeParam>({{5, 0, 0}, {0, 0, 0}, {5, 0, 0}, {0, 0, 0}, {0, 0, 0}});
    EXPECT_EQ(indices(qh.build_hull(ends.data(), 5, false, true)), tetrahedron(0, 1, 0, 0));
}

TYPED_TEST(QuickHullTest, PointsInAPlaneGiveAClosedFlatMeshThroughPointZero)
{
    // Point 0 lies inside the square, yet the folded faces meet it.
    auto pts = flat<TypeParam>({{1, 1, 2}, {0, 0, 2}, {4, 0, 2}, {4, 4, 2}, {0, 4, 2}, {2, 1, 2},
                                {3, 3, 2}, {1, 3, 2}});
    QuickHull<TypeParam> qh;
    auto r = qh.build_hull(pts.data(), 8, false, true);
    EXPECT_TRUE(qh.planar());
    EXPECT_EQ(used(r), (std::set<size_t>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(closed(indices(r)));
    EXPECT_EQ(r.Vertices.Data, pts.data());
    EXPECT_EQ(r.Vertices.Count, 8u);
    // Every triangle lies in the plane and the outline is covered from both
    // sides: as much area faces up as down.
    double up = 0, down = 0;
    for (size_t t = 0; t < r.Indices.size() / 3; ++t) {
        auto n = normal(r, t);
        EXPECT_EQ(n[0], 0.0);
        EXPECT_EQ(n[1], 0.0);
        (n[2] > 0 ? up : down) += std::abs(n[2]) / 2;
    }
    EXPECT_EQ(up, 16.0);
    EXPECT_EQ(down, 16.0);

    auto copy = qh.build_hull(pts.data(), 8, false, false);
    EXPECT_EQ(copy.Vertices.Count, 5u);
    EXPECT_TRUE(qh.planar());
    auto cube = flat(cube_corners<TypeParam>());
    qh.build_hull(cube.data(), 8, false, false);
    EXPECT_FALSE(qh.planar()) << "the flag belongs to the last build";
}

TYPED_TEST(QuickHullTest, CubeCornersPlusInnerPointsGiveTwelveOutwardTriangles)
{
    Cloud<TypeParam> cloud = {{0.5, 0.25, -0.5}, {0, 0, 0}};
    for (const auto& c : cube_corners<TypeParam>()) cloud.push_back(c);
    for (int i = 0; i < 20; ++i)
        cloud.push_back({TypeParam(0.09 * i - 0.9), TypeParam(0.9 - 0.05 * i), TypeParam(0.03 * i)});
    auto pts = flat(cloud);
    QuickHull<TypeParam> qh;
    auto r = qh.build_hull(pts.data(), cloud.size(), false, true);
    EXPECT_EQ(used(r), (std::set<size_t>{2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(r.Indices.size(), 36u);
    EXPECT_TRUE(closed(indices(r)));
    EXPECT_TRUE(outward(r, {0, 0, 0}));

    auto copied = qh.build_hull(pts.data(), cloud.size(), false, false);
    EXPECT_EQ(copied.Vertices.Count, 8u);
    EXPECT_TRUE(outward(copied, {0, 0, 0}));
    std::set<std::array<TypeParam, 3>> corners;
    for (size_t i = 0; i < 8; ++i) corners.insert({copied.Vertices[i].x, copied.Vertices[i].y, copied.Vertices[i].z});
    auto expected = cube_corners<TypeParam>();
    const std::set<std::array<TypeParam, 3>> expected_set(expected.begin(), expected.end());
    EXPECT_EQ(corners, expected_set);

    // ccw reverses every triangle, nothing else.
    auto reversed = qh.build_hull(pts.data(), cloud.size(), true, true);
    ASSERT_EQ(reversed.Indices.size(), 36u);
    for (size_t i = 0; i < 36; i += 3) {
        EXPECT_EQ(reversed.Indices[i], r.Indices[i]);
        EXPECT_EQ(reversed.Indices[i + 1], r.Indices[i + 2]);
        EXPECT_EQ(reversed.Indices[i + 2], r.Indices[i + 1]);
    }
}

TYPED_TEST(QuickHullTest, PointsWithinToleranceOfAFaceAreNeverOutside)
{
    const double eps = pfx::kDefaultHullTolerance<TypeParam>;
    for (double bulge : {0.5 * eps, 2 * eps}) {
        auto cloud = cube_corners<TypeParam>();
        cloud.push_back({0, 0, TypeParam(1 + bulge)});
        auto pts = flat(cloud);
        QuickHull<TypeParam> qh;
        auto r = qh.build_hull(pts.data(), 9, false, true);
        EXPECT_EQ(used(r).count(8), bulge > eps ? 1u : 0u) << bulge;
        EXPECT_TRUE(closed(indices(r)));
    }
}

TYPED_TEST(QuickHullTest, VectorFormAndReuseGiveTheSameHull)
{
    Cloud<TypeParam> cloud;
    for (int i = 0; i < 200; ++i)
        cloud.push_back({TypeParam(std::sin(i * 1.7)), TypeParam(std::cos(i * 2.3)), TypeParam(std::sin(i * 0.31 + 1))});
    auto pts = flat(cloud);
    QuickHull<TypeParam> qh;
    auto first = qh.build_hull(pts.data(), cloud.size(), false, false);
    auto again = qh.build_hull(reinterpret_cast<const pfx::Vec3<TypeParam>*>(cloud.data()), cloud.size(),
                               false, false);
    QuickHull<TypeParam> other;
    auto fresh = other.build_hull(pts.data(), cloud.size(), false, false);
    EXPECT_EQ(indices(first), indices(again));
    EXPECT_EQ(indices(first), indices(fresh));
    EXPECT_EQ(std::vector<TypeParam>(first.Buffer.begin(), first.Buffer.end()),
              std::vector<TypeParam>(fresh.Buffer.begin(), fresh.Buffer.end()));
    EXPECT_TRUE(closed(indices(first)));
    EXPECT_GT(first.Vertices.Count, 20u);
    // The result owns its buffer: moving it keeps the view valid.
    const TypeParam* data = first.Vertices.Data;
    Hull_Result<TypeParam> moved = std::move(first);
    EXPECT_EQ(moved.Vertices.Data, data);
    EXPECT_EQ(moved.Buffer.data(), data);
}

TYPED_TEST(QuickHullTest, NotANumberAndInfinityDoNotBreakTheMesh)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const TypeParam inf = std::numeric_limits<TypeParam>::infinity();
    std::vector<Cloud<TypeParam>> clouds = {
        {{nan, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}, {2, 2, 2}},
        {{0, 0, 0}, {1, 0, 0}, {nan, nan, nan}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}, {-1, 2, 0.5}},
        {{0, 0, 0}, {inf, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}, {0, -inf, 3}},
    };
    for (const auto& cloud : clouds) {
        auto pts = flat(cloud);
        QuickHull<TypeParam> qh;
        auto r = qh.build_hull(pts.data(), cloud.size(), false, true);
        ASSERT_GE(r.Indices.size(), 12u);
        EXPECT_EQ(r.Indices.size() % 3, 0u);
        for (size_t i : r.Indices) EXPECT_LT(i, cloud.size());
        EXPECT_TRUE(closed(indices(r)));
    }
}

TYPED_TEST(QuickHullTest, ExhaustedMemoryThrowsAndLeaksNothing)
{
    Cloud<TypeParam> cloud;
    for (int i = 0; i < 60; ++i)
        cloud.push_back({TypeParam(std::sin(i * 1.3)), TypeParam(std::cos(i * 0.7)), TypeParam(std::sin(i * 2.9))});
    auto pts = flat(cloud);
    QuickHull<TypeParam> reference;
    auto expected = indices(reference.build_hull(pts.data(), cloud.size(), false, false));
    int thrown = 0;
    int failing = pfx_test::for_each_alloc_failure([&](long) {
        QuickHull<TypeParam> qh;
        try {
            qh.build_hull(pts.data(), cloud.size(), false, false);
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
    });
    EXPECT_GT(failing, 10);
    EXPECT_EQ(thrown, failing);

    // An engine left by an exception builds afresh next time.
    for (long n : {1, 5, 20}) {
        QuickHull<TypeParam> qh;
        pfx::alloc_fail_at(n);
        EXPECT_THROW(qh.build_hull(pts.data(), cloud.size(), false, false), std::bad_alloc);
        pfx::alloc_fail_at(0);
        EXPECT_EQ(indices(qh.build_hull(pts.data(), cloud.size(), false, false)), expected);
    }
}

// Six nearly collinear points whose cone can't be closed in single precision
// with a tolerance this small.
const float kUnclosable[6][3] = {
    {0x1.cb7f4cp-1f, 0x1.cb7f32p-2f, 0x1.059c52p-21f},   {-0x1.b5b92ep-1f, -0x1.b5b968p-2f, -0x1.6d9602p-22f},
    {-0x1.720768p-1f, -0x1.72078ap-2f, -0x1.c2efdcp-21f}, {-0x1.c23e5ap-1f, -0x1.c23e56p-2f, -0x1.486deap-21f},
    {-0x1.f9249ep-1f, -0x1.f92466p-2f, -0x1.9ed85cp-21f}, {-0x1.23c6a8p-1f, -0x1.23c6c6p-2f, 0x1.ddcfc4p-21f},
};

TEST(QuickHull, AbandonedApexIsCountedAndReported)
{
    QuickHull<float> qh;
    ::testing::internal::CaptureStderr();
    auto r = qh.build_hull(&kUnclosable[0][0], 6, false, true, 1e-9f);
    std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(qh.failed_horizons(), 1u);
    EXPECT_EQ(err, "Failed to solve horizon edge.\n");
    // The mesh built without that apex still closes: every live face's
    // half-edges have live twins that run back.
    const auto& mesh = qh.mesh();
    size_t live = 0;
    for (size_t f = 0; f < mesh.Faces.size(); ++f) {
        if (mesh.Faces[f].Edge == pfx::kNone) continue;
        ++live;
        size_t e = mesh.Faces[f].Edge;
        for (int k = 0; k < 3; ++k, e = mesh.next(e)) {
            const auto& twin = mesh.Half_Edges[mesh.Half_Edges[e].Opposite];
            EXPECT_EQ(twin.Opposite, e);
            EXPECT_EQ(mesh.start_vertex(e), twin.End_Vertex);
            EXPECT_NE(mesh.Faces[twin.Face].Edge, pfx::kNone);
        }
        EXPECT_EQ(e, mesh.Faces[f].Edge);
    }
    EXPECT_EQ(r.Indices.size(), 3 * live);

    auto cube = flat(cube_corners<float>());
    ::testing::internal::CaptureStderr();
    qh.build_hull(cube.data(), 8, false, false);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(qh.failed_horizons(), 0u) << "each build counts afresh";
}

} // namespace
