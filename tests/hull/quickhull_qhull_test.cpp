// The hull engine and Movie_Convex_Hull against qhull on non-degenerate
// clouds: the same vertex set and the same volume.
#include <algorithm>
#include <array>
#include <cmath>
#include <set>
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

struct Case {
    Shape shape;
    size_t n;
    uint64_t seed;
};
const Case kCases[] = {{Shape::Cube, 3000, 11},     {Shape::Cube, 3000, 12},   {Shape::Sphere, 800, 13},
                       {Shape::Sphere, 800, 14},    {Shape::Gaussian, 3000, 15}, {Shape::Gaussian, 3000, 16}};

// Volume enclosed by outward triangles over packed double points.
double volume(const std::vector<double>& p, const std::vector<size_t>& idx)
{
    double v = 0;
    for (size_t t = 0; t < idx.size(); t += 3) {
        const double* a = &p[3 * idx[t]];
        const double* b = &p[3 * idx[t + 1]];
        const double* c = &p[3 * idx[t + 2]];
        v += a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
             a[2] * (b[0] * c[1] - b[1] * c[0]);
    }
    return v / 6;
}

// Largest distance of point q outside the triangles' planes.
double outside_by(const std::vector<double>& p, const std::vector<size_t>& idx, const double* q)
{
    double worst = -1e300;
    for (size_t t = 0; t < idx.size(); t += 3) {
        const double* a = &p[3 * idx[t]];
        const double* b = &p[3 * idx[t + 1]];
        const double* c = &p[3 * idx[t + 2]];
        double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        double w[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        double n[3] = {u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]};
        double len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        worst = std::max(worst, (n[0] * (q[0] - a[0]) + n[1] * (q[1] - a[1]) + n[2] * (q[2] - a[2])) / len);
    }
    return worst;
}

#if PFX_HAVE_QHULL

// The engine's hull of the points in precision T, as input indices, compared
// with qhull's on the same values. Exactly the same vertices in double
// precision; in single precision a point qhull keeps may be dropped here when
// it lies within the engine's tolerance of the hull.
template <class T>
void compare_with_qhull(const Case& c, double volume_tolerance)
{
    SCOPED_TRACE(pfx_test::shape_name(c.shape));
    SCOPED_TRACE(c.seed);
    const auto values = pfx_test::converted<T>(pfx_test::make_cloud(c.shape, c.n, c.seed));
    const std::vector<double> points(values.begin(), values.end());
    pfx::QuickHull<T> qh;
    auto r = qh.build_hull(values.data(), c.n, false, true);
    ASSERT_EQ(qh.failed_horizons(), 0u);
    const std::vector<size_t> idx(r.Indices.begin(), r.Indices.end());
    const std::set<size_t> ours(idx.begin(), idx.end());

    auto peer = pfx_test::qhull_hull(points, "qhull Qt", true);
    ASSERT_EQ(peer.exit_code, 0);
    const std::set<size_t> theirs(peer.vertices.begin(), peer.vertices.end());
    for (size_t i : ours) EXPECT_TRUE(theirs.count(i)) << "vertex " << i << " is not qhull's";
    size_t dropped = 0;
    for (size_t i : theirs) {
        if (ours.count(i)) continue;
        ++dropped;
        EXPECT_LE(outside_by(points, idx, &points[3 * i]), double(qh.epsilon())) << "qhull vertex " << i;
    }
    if (sizeof(T) == sizeof(double)) {
        EXPECT_EQ(dropped, 0u);
    } else {
        // Single precision drops points within 0.0001 of the size of the
        // cloud: a handful of the hull's vertices at most.
        EXPECT_LE(dropped * 50, theirs.size());
    }
    const double ours_volume = volume(points, idx);
    EXPECT_NEAR(ours_volume / peer.volume, 1.0, volume_tolerance);
}

TEST(QuickHullAgainstQhull, DoublePrecisionGivesTheSameVerticesAndVolume)
{
    for (const Case& c : kCases) compare_with_qhull<double>(c, 1e-12);
}

TEST(QuickHullAgainstQhull, SinglePrecisionGivesTheSameHullWithinTolerance)
{
    for (const Case& c : kCases) compare_with_qhull<float>(c, 1e-4);
}

TEST(QuickHullAgainstQhull, MovieConvexHullGivesQhullsVerticesAndVolume)
{
    for (const Case& c : kCases) {
        SCOPED_TRACE(pfx_test::shape_name(c.shape));
        const auto values = pfx_test::converted<float>(pfx_test::make_cloud(c.shape, c.n, c.seed));
        std::vector<pfx_test::P3> nodes;
        for (size_t i = 0; i < c.n; ++i) nodes.push_back({values[3 * i], values[3 * i + 1], values[3 * i + 2]});
        pfx_test::ObjectPtr src(pfx_test::make_object(nodes, {}));
        pfx_test::ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
        ASSERT_NE(hull, nullptr);

        std::vector<double> hull_points;
        std::set<std::array<float, 3>> ours;
        for (int k = 0; k < hull->Node_Nb; ++k) {
            const Vector_4& p = hull->Node_Pt[k].Coord;
            hull_points.insert(hull_points.end(), {p.x, p.y, p.z});
            ours.insert({p.x, p.y, p.z});
        }
        EXPECT_EQ(ours.size(), size_t(hull->Node_Nb)) << "each hull point once";
        std::vector<size_t> idx;
        for (int j = 0; j < hull->Poly_Nb; ++j)
            for (int k = 0; k < 3; ++k) idx.push_back(static_cast<size_t>(hull->Poly_Pt[j].Node_Id[k]));

        const std::vector<double> points(values.begin(), values.end());
        auto peer = pfx_test::qhull_hull(points, "qhull Qt", true);
        ASSERT_EQ(peer.exit_code, 0);
        std::set<std::array<float, 3>> theirs;
        for (size_t i : peer.vertices) theirs.insert({values[3 * i], values[3 * i + 1], values[3 * i + 2]});
        // The same points, but for the few that lie within the single-precision
        // tolerance of the hull.
        for (const auto& p : ours) EXPECT_TRUE(theirs.count(p));
        size_t dropped = 0;
        for (const auto& p : theirs) {
            if (ours.count(p)) continue;
            ++dropped;
            const double q[3] = {p[0], p[1], p[2]};
            EXPECT_LE(outside_by(hull_points, idx, q), 1e-4);
        }
        EXPECT_LE(dropped * 50, theirs.size());
        EXPECT_NEAR(volume(hull_points, idx) / peer.volume, 1.0, 1e-4);
    }
}

#else

TEST(QuickHullAgainstQhull, SkippedWithoutQhull) { GTEST_SKIP() << "qhull was not found"; }

#endif

} // namespace
