// The hull engine on random clouds of several shapes, in both precisions: a
// closed hull holding every point, the copied form the same triangles; and,
// with Movie_Convex_Hull, against qhull: the same vertices and volume.
#include <array>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "hull/clouds.h"
#include "hull/quickhull.h"
#include "support/objects.h"
#if PFX_HAVE_QHULL
#include "hull/qhull_peer.h"
#endif

namespace {

using pfx_test::Shape;

template <class T>
class QuickHullClouds : public ::testing::Test {};
using Scalars = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QuickHullClouds, Scalars);

TYPED_TEST(QuickHullClouds, EveryCloudGivesAClosedOutwardHullHoldingEveryPoint)
{
    using T = TypeParam;
    pfx::QuickHull<T> qh; // one engine for every build: each starts afresh
    const std::pair<Shape, size_t> shapes[] = {
        {Shape::Cube, 3000}, {Shape::Sphere, 1500}, {Shape::Gaussian, 3000}, {Shape::Planes, 3000}, {Shape::Grid, 1800}};
    for (const auto& [shape, count] : shapes)
        for (uint64_t seed : {1u, 2u, 3u}) {
            SCOPED_TRACE(std::string(pfx_test::shape_name(shape)) + " seed " + std::to_string(seed));
            const auto pts = pfx_test::converted<T>(pfx_test::make_cloud(shape, count, seed));
            const size_t n = pts.size() / 3;
            auto kept = qh.build_hull(pts.data(), n, false, true);
            const std::vector<size_t> idx(kept.Indices.begin(), kept.Indices.end());
            ASSERT_TRUE(qh.failed_horizons() == 0 && !qh.planar());
            ASSERT_TRUE(idx.size() >= 12 && pfx_test::closed(idx, n));
            // note: a point dropped within the tolerance of a face may end up
            // that far outside a later, slightly tilted face; a few tolerances
            // bound it. A face wound inwards has the whole cloud outside.
            EXPECT_LE(pfx_test::outside_by(pts.data(), idx, pts.data(), n), 4 * double(qh.epsilon()) + 1e-12);

            // Copied: the same triangles over a buffer holding each used point
            // once, in the order first met.
            auto copied = qh.build_hull(pts.data(), n, false, false);
            ASSERT_EQ(copied.Indices.size(), idx.size());
            std::map<size_t, size_t> first_met;
            for (size_t k = 0; k < idx.size(); ++k) {
                ASSERT_EQ(copied.Indices[k], first_met.emplace(idx[k], first_met.size()).first->second);
                for (int c = 0; c < 3; ++c) ASSERT_EQ(copied.Buffer[3 * copied.Indices[k] + c], pts[3 * idx[k] + c]);
            }
            EXPECT_EQ(copied.Vertices.Count, first_met.size());
            EXPECT_EQ(copied.Buffer.size(), 3 * first_met.size());
            EXPECT_EQ(copied.Vertices.Data, copied.Buffer.data());

            auto as_vectors = qh.build_hull(reinterpret_cast<const pfx::Vec3<T>*>(pts.data()), n, false, true);
            EXPECT_EQ(std::vector<size_t>(as_vectors.Indices.begin(), as_vectors.Indices.end()), idx);
        }
}

#if PFX_HAVE_QHULL

// Volume enclosed by outward triangles over packed points.
double volume(const std::vector<double>& p, const std::vector<size_t>& idx)
{
    double v = 0;
    for (size_t t = 0; t < idx.size(); t += 3) {
        const double *a = &p[3 * idx[t]], *b = &p[3 * idx[t + 1]], *c = &p[3 * idx[t + 2]];
        v += a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) + a[2] * (b[0] * c[1] - b[1] * c[0]);
    }
    return v / 6;
}

// A hull (packed vertices, three indices per triangle) against qhull's hull of
// the same points: each of its vertices is one of qhull's; each of qhull's
// that it lacks lies within tol of it, and at most one in fifty is missing
// (none when tol is 0); the volumes agree within rel.
void expect_qhulls_hull(const std::vector<double>& points, const std::vector<double>& verts,
                        const std::vector<size_t>& idx, double tol, double rel)
{
    const auto peer = pfx_test::qhull_hull(points, "qhull Qt", true);
    ASSERT_EQ(peer.exit_code, 0);
    std::set<std::array<double, 3>> ours, theirs;
    for (size_t i : idx) ours.insert({verts[3 * i], verts[3 * i + 1], verts[3 * i + 2]});
    for (size_t i : peer.vertices) theirs.insert({points[3 * i], points[3 * i + 1], points[3 * i + 2]});
    for (const auto& p : ours) EXPECT_TRUE(theirs.count(p)) << "a vertex that is not qhull's";
    size_t missing = 0;
    for (const auto& p : theirs) {
        if (ours.count(p)) continue;
        ++missing;
        EXPECT_LE(pfx_test::outside_by(verts.data(), idx, p.data(), 1), tol);
    }
    EXPECT_LE(missing * 50, tol > 0 ? theirs.size() : 0);
    EXPECT_NEAR(volume(verts, idx) / peer.volume, 1.0, rel);
}

// note: single precision drops points within 0.0001 of the size of the cloud,
// a handful of qhull's vertices at most; double precision drops none here.
TEST(QuickHullAgainstQhull, BothPrecisionsAndMovieConvexHullGiveQhullsHull)
{
    const std::tuple<Shape, size_t, uint64_t> cases[] = {{Shape::Cube, 3000, 11},  {Shape::Cube, 3000, 12},
                                                         {Shape::Sphere, 800, 13},  {Shape::Sphere, 800, 14},
                                                         {Shape::Gaussian, 3000, 15}, {Shape::Gaussian, 3000, 16}};
    for (const auto& [shape, n, seed] : cases) {
        SCOPED_TRACE(std::string(pfx_test::shape_name(shape)) + " seed " + std::to_string(seed));
        const std::vector<double> exact = pfx_test::make_cloud(shape, n, seed);
        const auto values = pfx_test::converted<float>(exact);
        const std::vector<double> rounded(values.begin(), values.end());
        auto rd = pfx::QuickHull<double>().build_hull(exact.data(), n, false, false);
        expect_qhulls_hull(exact, {rd.Buffer.begin(), rd.Buffer.end()}, {rd.Indices.begin(), rd.Indices.end()}, 0, 1e-12);
        pfx::QuickHull<float> qf;
        auto rf = qf.build_hull(values.data(), n, false, false);
        expect_qhulls_hull(rounded, {rf.Buffer.begin(), rf.Buffer.end()}, {rf.Indices.begin(), rf.Indices.end()}, qf.epsilon(), 1e-4);

        std::vector<pfx_test::P3> nodes(n);
        std::memcpy(nodes.data(), values.data(), values.size() * sizeof(float));
        pfx_test::ObjectPtr src(pfx_test::make_object(nodes, {})), hull(Movie_Convex_Hull(src.get(), nullptr));
        ASSERT_NE(hull, nullptr);
        std::vector<double> verts;
        std::vector<size_t> idx;
        for (int k = 0; k < hull->Node_Nb; ++k) verts.insert(verts.end(), {hull->Node_Pt[k].Coord.x, hull->Node_Pt[k].Coord.y, hull->Node_Pt[k].Coord.z});
        for (int j = 0; j < hull->Poly_Nb; ++j) idx.insert(idx.end(), hull->Poly_Pt[j].Node_Id, hull->Poly_Pt[j].Node_Id + 3);
        expect_qhulls_hull(rounded, verts, idx, qf.epsilon(), 1e-4);
    }
}

#else

TEST(QuickHullAgainstQhull, SkippedWithoutQhull) { GTEST_SKIP() << "qhull was not found"; }

#endif

} // namespace
