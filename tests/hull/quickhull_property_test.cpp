// The hull engine on random clouds of several shapes, in both precisions:
// every point inside (within tolerance), a closed outward-wound 2-manifold,
// vertices drawn from the input.
#include "hull/quickhull.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "hull/clouds.h"

namespace {

using pfx_test::Shape;

struct Plane {
    double n[3];
    double d;
};

template <class T>
struct Checked {
    std::vector<size_t> indices;
    size_t vertices = 0;
    double epsilon = 0;
};

template <class T>
void check_hull(const std::vector<T>& pts, Shape shape)
{
    const size_t n = pts.size() / 3;
    pfx::QuickHull<T> qh;
    auto r = qh.build_hull(pts.data(), n, false, true);
    SCOPED_TRACE(pfx_test::shape_name(shape));
    ASSERT_EQ(qh.failed_horizons(), 0u);
    ASSERT_FALSE(qh.planar());
    const std::vector<size_t> idx(r.Indices.begin(), r.Indices.end());
    ASSERT_EQ(idx.size() % 3, 0u);
    const size_t faces = idx.size() / 3;
    ASSERT_GE(faces, 4u);

    // Closed 2-manifold: each directed edge once, its twin once.
    std::map<std::pair<size_t, size_t>, int> edges;
    for (size_t t = 0; t < faces; ++t)
        for (int k = 0; k < 3; ++k) {
            ASSERT_NE(idx[3 * t + k], idx[3 * t + (k + 1) % 3]) << "no repeated corner";
            ++edges[{idx[3 * t + k], idx[3 * t + (k + 1) % 3]}];
        }
    for (const auto& [e, count] : edges) {
        ASSERT_EQ(count, 1);
        auto twin = edges.find({e.second, e.first});
        ASSERT_TRUE(twin != edges.end());
        ASSERT_EQ(twin->second, 1);
    }
    const std::set<size_t> used(idx.begin(), idx.end());
    const long v = static_cast<long>(used.size()), e = static_cast<long>(edges.size() / 2);
    EXPECT_EQ(v - e + static_cast<long>(faces), 2) << "Euler characteristic of a sphere";
    for (size_t i : used) ASSERT_LT(i, n);

    auto at = [&](size_t i) { return std::array<double, 3>{double(pts[3 * i]), double(pts[3 * i + 1]), double(pts[3 * i + 2])}; };
    double centre[3] = {0, 0, 0};
    for (size_t i : used)
        for (int c = 0; c < 3; ++c) centre[c] += at(i)[c] / static_cast<double>(v);

    // Planes of the output triangles, unit normals from the right-hand rule.
    std::vector<Plane> planes;
    for (size_t t = 0; t < faces; ++t) {
        auto a = at(idx[3 * t]), b = at(idx[3 * t + 1]), c = at(idx[3 * t + 2]);
        double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        double w[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        double nn[3] = {u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]};
        double len = std::sqrt(nn[0] * nn[0] + nn[1] * nn[1] + nn[2] * nn[2]);
        ASSERT_GT(len, 0.0) << "triangle " << t << " has no area";
        // Away from the interior.
        ASSERT_GT(nn[0] * (a[0] - centre[0]) + nn[1] * (a[1] - centre[1]) + nn[2] * (a[2] - centre[2]), 0.0)
            << "triangle " << t << " faces inwards";
        Plane p{{nn[0] / len, nn[1] / len, nn[2] / len}, 0};
        p.d = -(p.n[0] * a[0] + p.n[1] * a[1] + p.n[2] * a[2]);
        planes.push_back(p);
    }

    // Every point lies inside or within tolerance of every face's plane.
    // note: points dropped as within the tolerance of a face may end up that
    // far outside a later, slightly tilted face; a few tolerances bound it.
    const double limit = 4 * double(qh.epsilon()) + 1e-12;
    double worst = -1e300;
    for (size_t i = 0; i < n; ++i) {
        auto p = at(i);
        for (const Plane& f : planes) worst = std::max(worst, f.n[0] * p[0] + f.n[1] * p[1] + f.n[2] * p[2] + f.d);
    }
    EXPECT_LE(worst, limit) << "epsilon " << qh.epsilon();
}

template <class T>
class QuickHullProperty : public ::testing::Test {};
using Scalars = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QuickHullProperty, Scalars);

TYPED_TEST(QuickHullProperty, RandomCloudsGiveClosedOutwardHullsHoldingEveryPoint)
{
    const struct {
        Shape shape;
        size_t n;
    } cases[] = {{Shape::Cube, 3000},   {Shape::Sphere, 1500}, {Shape::Gaussian, 3000},
                 {Shape::Planes, 3000}, {Shape::Grid, 1800}};
    for (const auto& c : cases)
        for (uint64_t seed : {1u, 2u, 3u}) {
            SCOPED_TRACE(seed);
            auto pts = pfx_test::converted<TypeParam>(pfx_test::make_cloud(c.shape, c.n, seed));
            check_hull(pts, c.shape);
        }
}

TYPED_TEST(QuickHullProperty, BufferedResultMatchesInputIndices)
{
    auto pts = pfx_test::converted<TypeParam>(pfx_test::make_cloud(Shape::Gaussian, 2000, 7));
    pfx::QuickHull<TypeParam> qh;
    auto kept = qh.build_hull(pts.data(), pts.size() / 3, false, true);
    auto copied = qh.build_hull(pts.data(), pts.size() / 3, false, false);
    ASSERT_EQ(kept.Indices.size(), copied.Indices.size());
    std::vector<size_t> first_met;
    for (size_t k = 0; k < kept.Indices.size(); ++k) {
        size_t i = kept.Indices[k];
        // Same triangles; the buffer holds each point once, in first-met order.
        if (std::find(first_met.begin(), first_met.end(), i) == first_met.end()) first_met.push_back(i);
        ASSERT_EQ(copied.Indices[k], static_cast<size_t>(std::find(first_met.begin(), first_met.end(), i) - first_met.begin()));
        for (int c = 0; c < 3; ++c) ASSERT_EQ(copied.Buffer[3 * copied.Indices[k] + c], pts[3 * i + c]);
    }
    EXPECT_EQ(copied.Vertices.Count, first_met.size());
    EXPECT_EQ(copied.Buffer.size(), 3 * first_met.size());
}

} // namespace
