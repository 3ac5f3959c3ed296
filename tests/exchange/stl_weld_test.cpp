// Facet welding: the object it builds, and its nodes against a plain grid
// search on random and adversarial facet lists.
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "exchange/stl_weld.h"
#include "exchange/stl_files.h"

namespace {

using namespace pfx_test;
using pfx::STL_Facet;
using P = std::array<float, 3>;
constexpr float kTol = 1e-5f;

STL_Facet facet(P a, P b, P c, Vector_4 normal = {0, 0, 1, 0})
{
    return {normal, {{a[0], a[1], a[2], 0}, {b[0], b[1], b[2], 0}, {c[0], c[1], c[2], 0}}, {0, 0, 0}};
}

// The grid search written out plainly: the bounds (a failed comparison, as
// with a NaN, takes the value), nb boxes per axis, and in the corner's box
// the first node within kTol on every axis. Returns each corner's node.
std::vector<int> plain_weld(const std::vector<STL_Facet>& facets, std::vector<P>& nodes)
{
    const int nb = facets.empty() ? 1 : static_cast<int>(std::pow(facets.size() * 3.0 / 50.0, 1.0 / 3.0)) + 1;
    std::vector<P> corners;
    for (const STL_Facet& f : facets)
        for (const Vector_4& c : f.corner) corners.push_back({c.x, c.y, c.z});
    P lo = corners.empty() ? P{} : corners[0], hi = lo;
    for (const P& p : corners)
        for (int a = 0; a < 3; ++a) lo[a] = p[a] > lo[a] ? lo[a] : p[a], hi[a] = p[a] < hi[a] ? hi[a] : p[a];
    std::vector<std::vector<int>> boxes(static_cast<size_t>(nb) * nb * nb);
    std::vector<int> corner_node;
    for (const P& p : corners) {
        int box = 0, found = -1;
        for (int a = 2; a >= 0; --a) {
            const float q = (p[a] - lo[a]) / ((hi[a] - lo[a]) / (static_cast<float>(nb) - 0.01f));
            box = box * nb + (std::isnan(q) || q < 1 ? 0 : q >= static_cast<float>(nb) ? nb - 1 : static_cast<int>(q));
        }
        for (int k : boxes[box])
            if (found < 0 && std::fabs(p[0] - nodes[k][0]) <= kTol && std::fabs(p[1] - nodes[k][1]) <= kTol &&
                std::fabs(p[2] - nodes[k][2]) <= kTol)
                found = k;
        if (found < 0) {
            found = static_cast<int>(nodes.size());
            nodes.push_back(p);
            boxes[box].push_back(found);
        }
        corner_node.push_back(found);
    }
    return corner_node;
}

// Welds the facets and compares with the plain search each corner's node (in
// the facet and in its triangle), each node bit for bit and its polygons.
void expect_plain_result(std::vector<STL_Facet> f, const std::string& what)
{
    SCOPED_TRACE(what);
    std::vector<P> nodes;
    const std::vector<int> want = plain_weld(f, nodes);
    ObjectPtr obj(pfx::STL_to_Movie(static_cast<int>(f.size()), f.data()));
    ASSERT_TRUE(obj && obj->Poly_Nb == static_cast<int>(f.size()) && obj->Node_Nb == static_cast<int>(nodes.size()));
    std::vector<std::vector<int>> links(nodes.size());
    for (size_t i = 0; i < want.size(); ++i) {
        const Movie_Poly& p = obj->Poly_Pt[i / 3];
        ASSERT_TRUE(f[i / 3].node[i % 3] == want[i] && p.Node_Id_Nb == 3 && p.Node_Id[i % 3] == want[i]) << i;
        links[want[i]].push_back(static_cast<int>(i / 3));
    }
    for (size_t n = 0; n < nodes.size(); ++n) {
        const Movie_Node& node = obj->Node_Pt[n];
        ASSERT_EQ(std::vector<int>(node.Poly_Id, node.Poly_Id + node.Poly_Id_Nb), links[n]) << n;
        ASSERT_EQ(std::memcmp(&node.Coord, nodes[n].data(), sizeof(P)), 0) << n;
    }
}

class StlWeldTest : public PfxTest {};

TEST_F(StlWeldTest, GridSizeIsAboutOneBoxPer50Corners)
{
    const int cases[][2] = {{0, 1}, {16, 1}, {17, 2}, {133, 2}, {134, 3}, {449, 3}, {450, 4}, {2000000, 50}};
    for (const auto& c : cases) EXPECT_EQ(pfx::stl_grid_size(c[0]), c[1]) << c[0];
}

TEST_F(StlWeldTest, ToleranceIsInclusivePerAxisAndTheObjectIsReadyToUse)
{
    std::vector<STL_Facet> f = {facet({0, 0, 0}, {1, 0, 0}, {0, 1, 0}),
                                facet({1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5f, -0.0f, 7, 0}),
                                facet({5e-6f, 0, 0}, {1, 2e-5f, 0}, {0, 1, kTol}),
                                facet({2, 2, 2}, {2, 2, 2}, {2, 2, 2})};
    expect_plain_result(f, "small");
    ObjectPtr obj(pfx::STL_to_Movie(4, f.data()));
    ASSERT_NE(obj, nullptr);
    // Nodes by first appearance, normals as read, and no flags, path or name yet.
    EXPECT_EQ(stl::describe(obj.get(), L""), "0 (null) (null): 0 0 0,1 0 0,0 1 0,1 1 0,1 2e-05 0,2 2 2,"
                                             "|0 1 2 (0 0 1),1 3 2 (0.5 -0 7),0 4 2 (0 0 1),5 5 5 (0 0 1),");
    EXPECT_EQ(obj->Pos_Done, 1);
    for (int r = 0; r < 16; ++r) EXPECT_EQ(obj->Matrix[r / 4][r % 4], r % 5 == 0 ? 1.0 : 0.0);
    for (const Movie_Node& n : std::span(obj->Node_Pt, obj->Node_Nb))
        EXPECT_TRUE(std::memcmp(&n.Pos, &n.Coord, sizeof(Vector_4)) == 0 && n.Coord.w == 0);
    ObjectPtr empty(pfx::STL_to_Movie(0, nullptr));
    EXPECT_TRUE(empty && !empty->Node_Nb && !empty->Poly_Nb && !empty->Node_Pt && !empty->Poly_Pt);
}

// Facets whose corners come from pool, each axis moved with chance pct by an
// offset around the tolerance: on it, one float either side, half, twice.
std::vector<STL_Facet> from_pool(std::mt19937& rng, const std::vector<P>& pool, int facets, unsigned pct)
{
    const float near[] = {0, kTol, std::nextafter(kTol, 1.0f), std::nextafter(kTol, 0.0f), kTol / 2, 2 * kTol, 1.5e-5f};
    std::vector<STL_Facet> f(static_cast<size_t>(facets));
    for (STL_Facet& x : f) {
        x.normal = {0, 0, 1, 0};
        for (Vector_4& c : x.corner) {
            P p = pool[rng() % pool.size()];
            for (float& a : p)
                if (rng() % 100 < pct) a += (rng() % 2 ? 1 : -1) * near[rng() % 7];
            c = {p[0], p[1], p[2], 0};
        }
    }
    return f;
}

// Points with coordinates in [lo, hi) on a grid of a millionth of the range;
// the same on every standard library, as the expected memory lines need.
std::vector<P> random_pool(std::mt19937& rng, int n, float lo, float hi)
{
    std::vector<P> pool(static_cast<size_t>(n));
    for (P& p : pool)
        for (float& a : p) a = lo + (hi - lo) * static_cast<float>(rng() % 1000000) / 1e6f;
    return pool;
}

TEST_F(StlWeldTest, RandomAndAdversarialMeshesMatchThePlainSearch)
{
    std::mt19937 rng(1);
    for (int i = 0; i < 6; ++i) {
        const int facets = 200 + static_cast<int>(rng() % 1800);
        expect_plain_result(from_pool(rng, random_pool(rng, facets / 2 + 1, -3, 5), facets, 30), "random");
    }
    // Corners on and next to multiples of 2^-12 and of the tolerance, around
    // zero and around the binades near 128 and 2^40.
    std::vector<float> edges = {-0.0f};
    for (int k = -6; k <= 6; ++k) {
        const float q = (static_cast<float>(k) + (k % 2 ? 0.5f : 0.0f)) / 4096.0f;
        edges.insert(edges.end(), {q, std::nextafter(q, -1.0f), std::nextafter(q, 1.0f), q + kTol, q - kTol, k * kTol});
    }
    for (float big : {128.0f, 256.0f, 0x1p40f, 3e30f})
        edges.insert(edges.end(), {big, std::nextafter(big, 0.0f), std::nextafter(big, 1e38f), -big});
    for (int i = 0; i < 4; ++i) {
        std::vector<P> pool(400);
        for (P& p : pool) p = {edges[rng() % edges.size()], edges[rng() % edges.size()], edges[rng() % edges.size()]};
        expect_plain_result(from_pool(rng, pool, 1500, 40), "edges");
    }
    // Flat, on a line, one point.
    auto pool = random_pool(rng, 700, 0, 2);
    for (P& p : pool) p[2] = 0.25f;
    expect_plain_result(from_pool(rng, pool, 1200, 20), "plate");
    for (P& p : pool) p[1] = -1;
    expect_plain_result(from_pool(rng, pool, 1200, 0), "line");
    expect_plain_result(from_pool(rng, {P{3, 3, 3}}, 500, 0), "point");
    // Corners one float apart on both sides of a box boundary: 20 facets make
    // two boxes per axis over [0, 1.99], the second from 1.
    std::vector<STL_Facet> boundary(19, facet({std::nextafter(1.0f, 0.0f), 0.5f, 0.5f}, {1, 0.5f, 0.5f}, {0, 0, 0}));
    boundary.push_back(facet({0, 0, 0}, {1.99f, 1.99f, 1.99f}, {0, 0, 1}));
    expect_plain_result(boundary, "box boundary");
    std::vector<P> unused;
    EXPECT_NE(plain_weld(boundary, unused)[0], plain_weld(boundary, unused)[1]);
    // Non-numbers and infinities anywhere, as the first corner and as the last.
    const float nan = NAN, inf = INFINITY;
    for (int i = 0; i < 4; ++i) {
        auto f = from_pool(rng, random_pool(rng, 300, -1, 1), 900, 10);
        for (int k = 0; k < 60; ++k) {
            Vector_4& c = f[rng() % f.size()].corner[rng() % 3];
            (rng() % 3 == 0 ? c.x : rng() % 2 ? c.y : c.z) = std::array{nan, -nan, inf, -inf}[rng() % 4];
        }
        expect_plain_result(f, "non-numbers");
        f.back().corner[2].x = f.back().corner[2].z = nan;
        expect_plain_result(f, "last corner nan");
        f[0].corner[0] = {nan, nan, nan, 0};
        expect_plain_result(f, "first corner nan");
    }
    // One far-away facet crowds the rest into one box; bounds whose size overflows.
    auto f = from_pool(rng, random_pool(rng, 900, 0, 1), 2000, 25);
    f[1000] = facet({1e6f, 1e6f, 1e6f}, {1e6f + 1, 1e6f, 1e6f}, {1e6f, 1e6f + 1, 1e6f});
    expect_plain_result(f, "far facet");
    f[1000] = facet({-3e38f, 0, 0}, {3e38f, 0, 0}, {0, 3e38f, -3e38f});
    expect_plain_result(f, "overflowing bounds");
}

// Each distinct transcript of a failed weld, in text order, is in the expected file.
TEST_F(StlWeldTest, EveryMemoryErrorIsOneLineAndLeaksNothing)
{
    std::mt19937 rng(50);
    auto input = from_pool(rng, random_pool(rng, 120, 0, 1), 300, 0);
    input[0].corner[1] = {100, 100, 100, 0}; // crowds the rest into a few boxes: the cell hash is used
    std::set<std::string> failures;
    int refused = 0;
    const int runs = for_each_alloc_failure([&](long) {
        sink.clear();
        std::vector<STL_Facet> f = input;
        ObjectPtr obj(pfx::STL_to_Movie(static_cast<int>(f.size()), f.data()));
        refused += !obj;
        if (!obj) failures.insert(stl::transcript(sink));
    });
    EXPECT_EQ(refused, runs);
    std::string got;
    for (const std::string& t : failures) got += t + "--\n";
    EXPECT_EQ(got, read_file(test_path("golden/stl/weld_memory_errors.txt")));
}

} // namespace
