// Facet welding: the documented cases, and the result against a plain
// implementation of the grid search on random and adversarial facet lists.
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "exchange/stl_weld.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx::STL_Facet;
using pfx_test::Line;
using pfx_test::ObjectPtr;

constexpr float kTol = 1e-5f;

STL_Facet facet(std::initializer_list<std::array<float, 3>> corners, Vector_4 normal = {0, 0, 1, 0})
{
    STL_Facet f{};
    f.normal = normal;
    int c = 0;
    for (const auto& p : corners) f.corner[c++] = Vector_4{p[0], p[1], p[2], 0.0f};
    return f;
}

// ---- the grid search, written out plainly -------------------------------------------------

int box_axis(float v, float min, float size, int nb)
{
    const float q = (v - min) / size;
    if (std::isnan(q) || q < 1.0f) return 0;
    if (q >= static_cast<float>(nb)) return nb - 1;
    return static_cast<int>(q);
}

struct Reference {
    std::vector<Vector_4> nodes;
    std::vector<int> corner_node; // 3 per facet
};

Reference reference_weld(const std::vector<STL_Facet>& facets)
{
    const int n = static_cast<int>(facets.size());
    const int nb = n == 0 ? 1 : static_cast<int>(std::pow(n * 3.0 / 50.0, 1.0 / 3.0)) + 1;
    float lo[3] = {0, 0, 0}, hi[3] = {0, 0, 0}, size[3] = {0, 0, 0};
    if (n > 0) {
        const Vector_4& c0 = facets[0].corner[0];
        lo[0] = hi[0] = c0.x;
        lo[1] = hi[1] = c0.y;
        lo[2] = hi[2] = c0.z;
    }
    for (const STL_Facet& f : facets)
        for (const Vector_4& p : f.corner) {
            const float v[3] = {p.x, p.y, p.z};
            for (int a = 0; a < 3; ++a) {
                if (v[a] > lo[a]) {
                } else {
                    lo[a] = v[a];
                }
                if (v[a] < hi[a]) {
                } else {
                    hi[a] = v[a];
                }
            }
        }
    for (int a = 0; a < 3; ++a) size[a] = (hi[a] - lo[a]) / (static_cast<float>(nb) - 0.01f);

    std::vector<std::vector<int>> boxes(static_cast<size_t>(nb) * nb * nb);
    Reference r;
    for (const STL_Facet& f : facets)
        for (const Vector_4& p : f.corner) {
            const int box = (box_axis(p.z, lo[2], size[2], nb) * nb + box_axis(p.y, lo[1], size[1], nb)) * nb +
                            box_axis(p.x, lo[0], size[0], nb);
            int found = -1;
            for (int k : boxes[box]) {
                const Vector_4& q = r.nodes[k];
                const float dx = p.x - q.x, dy = p.y - q.y, dz = p.z - q.z;
                if (dx >= -kTol && dx <= kTol && dy >= -kTol && dy <= kTol && dz >= -kTol && dz <= kTol) {
                    found = k;
                    break;
                }
            }
            if (found < 0) {
                found = static_cast<int>(r.nodes.size());
                r.nodes.push_back(Vector_4{p.x, p.y, p.z, 0.0f});
                boxes[box].push_back(found);
            }
            r.corner_node.push_back(found);
        }
    return r;
}

bool same_bits(float a, float b) { return std::memcmp(&a, &b, 4) == 0; }

// Welds a copy and checks every corner's node, node order, coordinates and
// links against the plain search.
void expect_reference_result(const std::vector<STL_Facet>& input, const std::string& what)
{
    std::vector<STL_Facet> facets = input;
    const Reference ref = reference_weld(input);
    ObjectPtr obj(pfx::STL_to_Movie(static_cast<int>(facets.size()), facets.data()));
    ASSERT_NE(obj, nullptr) << what;
    for (size_t i = 0; i < ref.corner_node.size(); ++i) {
        const Vector_4& p = input[i / 3].corner[i % 3];
        ASSERT_EQ(facets[i / 3].node[i % 3], ref.corner_node[i])
            << what << ": corner " << i << " at " << p.x << ", " << p.y << ", " << p.z;
    }
    ASSERT_EQ(obj->Node_Nb, static_cast<int>(ref.nodes.size())) << what;
    ASSERT_EQ(obj->Poly_Nb, static_cast<int>(facets.size())) << what;
    for (size_t f = 0; f < facets.size(); ++f)
        for (int c = 0; c < 3; ++c) ASSERT_EQ(obj->Poly_Pt[f].Node_Id[c], ref.corner_node[3 * f + c]) << what;
    std::vector<std::vector<int>> links(ref.nodes.size());
    for (size_t i = 0; i < ref.corner_node.size(); ++i) links[ref.corner_node[i]].push_back(static_cast<int>(i / 3));
    for (int k = 0; k < obj->Node_Nb; ++k) {
        const Movie_Node& n = obj->Node_Pt[k];
        ASSERT_TRUE(same_bits(n.Coord.x, ref.nodes[k].x) && same_bits(n.Coord.y, ref.nodes[k].y) &&
                    same_bits(n.Coord.z, ref.nodes[k].z))
            << what << " node " << k;
        ASSERT_EQ(std::vector<int>(n.Poly_Id, n.Poly_Id + n.Poly_Id_Nb), links[k]) << what << " node " << k;
    }
}

class StlWeldTest : public pfx_test::PfxTest {};

// ---- documented cases -------------------------------------------------------------------------

TEST_F(StlWeldTest, GridSizeIsAboutOneBoxPer50Corners)
{
    EXPECT_EQ(pfx::stl_grid_size(0), 1);
    EXPECT_EQ(pfx::stl_grid_size(16), 1);
    EXPECT_EQ(pfx::stl_grid_size(17), 2);
    EXPECT_EQ(pfx::stl_grid_size(133), 2);
    EXPECT_EQ(pfx::stl_grid_size(134), 3);
    EXPECT_EQ(pfx::stl_grid_size(449), 3);
    EXPECT_EQ(pfx::stl_grid_size(450), 4);
    EXPECT_EQ(pfx::stl_grid_size(1000), 4);
    EXPECT_EQ(pfx::stl_grid_size(2000000), 50);
}

TEST_F(StlWeldTest, SharedEdgeGivesFourNodesInOrderOfFirstAppearance)
{
    std::vector<STL_Facet> f = {facet({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 0, 1, 0}),
                                facet({{1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0.5f, -0.0f, 7, 0})};
    ObjectPtr obj(pfx::STL_to_Movie(2, f.data()));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(obj->Node_Nb, 4);
    EXPECT_EQ(obj->Poly_Nb, 2);
    EXPECT_EQ(obj->Flags, 0u);
    EXPECT_EQ(obj->Name, nullptr);
    EXPECT_EQ(obj->Path, nullptr);
    EXPECT_EQ(obj->Pos_Done, 1);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(obj->Matrix[r][c], r == c ? 1.0 : 0.0);
    const int want[2][3] = {{0, 1, 2}, {1, 3, 2}};
    for (int p = 0; p < 2; ++p) {
        EXPECT_EQ(obj->Poly_Pt[p].Node_Id_Nb, 3);
        for (int c = 0; c < 3; ++c) EXPECT_EQ(obj->Poly_Pt[p].Node_Id[c], want[p][c]);
    }
    // The normal as read, not recomputed.
    EXPECT_EQ(obj->Poly_Pt[1].Normal.x, 0.5f);
    EXPECT_TRUE(std::signbit(obj->Poly_Pt[1].Normal.y));
    EXPECT_EQ(obj->Poly_Pt[1].Normal.z, 7.0f);
    EXPECT_EQ(obj->Node_Pt[3].Coord.x, 1.0f);
    EXPECT_EQ(obj->Node_Pt[3].Pos.y, 1.0f);
    EXPECT_EQ(obj->Node_Pt[3].Coord.w, 0.0f);
    EXPECT_EQ(obj->Node_Pt[1].Poly_Id_Nb, 2);
    const std::vector<Line> want_lines = {
        {MSG_TRACE_IO, L">>> in  STL_to_Movie()"},
        {MSG_TRACE_IO, L"-> Polyfex:STL_to_Movie() read 2 polygon with 4 vertex\n"},
        {MSG_TRACE_IO, L"<<< out STL_to_Movie(done)"},
    };
    EXPECT_EQ(sink.lines(), want_lines);
}

TEST_F(StlWeldTest, ToleranceIsInclusiveAndPerAxis)
{
    std::vector<STL_Facet> f = {facet({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}),
                                facet({{0.000005f, 0, 0}, {1, 0.00002f, 0}, {0, 1, kTol}})};
    ObjectPtr obj(pfx::STL_to_Movie(2, f.data()));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(f[1].node[0], 0);
    EXPECT_EQ(f[1].node[1], 3);
    EXPECT_EQ(f[1].node[2], 2);
    EXPECT_EQ(obj->Node_Nb, 4);
    // The node keeps its first corner's coordinates.
    EXPECT_EQ(obj->Node_Pt[0].Coord.x, 0.0f);
}

TEST_F(StlWeldTest, ClosedCubeGivesEightNodesWithTheirPolygonsInOrder)
{
    const float c[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    const int quads[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
    std::vector<STL_Facet> f;
    auto p = [&](int i) { return std::array<float, 3>{c[i][0], c[i][1], c[i][2]}; };
    for (const auto& q : quads) {
        f.push_back(facet({p(q[0]), p(q[1]), p(q[2])}));
        f.push_back(facet({p(q[0]), p(q[2]), p(q[3])}));
    }
    ObjectPtr obj(pfx::STL_to_Movie(12, f.data()));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(obj->Node_Nb, 8);
    // Corner 0 of the cube is node 0 and touches facets 0, 1, 4, 5 and 10.
    const Movie_Node& n0 = obj->Node_Pt[0];
    EXPECT_EQ(std::vector<int>(n0.Poly_Id, n0.Poly_Id + n0.Poly_Id_Nb), (std::vector<int>{0, 1, 4, 5, 10}));
    expect_reference_result(f, "cube");
}

TEST_F(StlWeldTest, NoFacetsGiveAnEmptyObject)
{
    ObjectPtr obj(pfx::STL_to_Movie(0, nullptr));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(obj->Node_Nb, 0);
    EXPECT_EQ(obj->Poly_Nb, 0);
    EXPECT_EQ(obj->Node_Pt, nullptr);
    EXPECT_EQ(obj->Poly_Pt, nullptr);
    EXPECT_EQ(obj->Pos_Done, 1);
    EXPECT_EQ(sink.lines()[1].text, L"-> Polyfex:STL_to_Movie() read 0 polygon with 0 vertex\n");
}

TEST_F(StlWeldTest, DegenerateFacetUsesOneNodeThreeTimes)
{
    std::vector<STL_Facet> f = {facet({{2, 2, 2}, {2, 2, 2}, {2, 2, 2}})};
    ObjectPtr obj(pfx::STL_to_Movie(1, f.data()));
    ASSERT_NE(obj, nullptr);
    ASSERT_EQ(obj->Node_Nb, 1);
    const Movie_Node& n = obj->Node_Pt[0];
    EXPECT_EQ(std::vector<int>(n.Poly_Id, n.Poly_Id + n.Poly_Id_Nb), (std::vector<int>{0, 0, 0}));
}

TEST_F(StlWeldTest, CornersOnBothSidesOfABoxBoundaryStayApart)
{
    // 20 facets: two boxes per axis over [0, 1.99], so the boundary is near 1.
    std::vector<STL_Facet> f;
    f.push_back(facet({{0, 0, 0}, {1.99f, 1.99f, 1.99f}, {0, 0, 1}}));
    const float s = 1.99f / (2 - 0.01f);
    const float below = std::nextafter(s, 0.0f);
    for (int i = 0; i < 19; ++i) f.push_back(facet({{below, 0.5f, 0.5f}, {s, 0.5f, 0.5f}, {0.5f, 0.5f, 0.5f}}));
    ObjectPtr obj(pfx::STL_to_Movie(static_cast<int>(f.size()), f.data()));
    ASSERT_NE(obj, nullptr);
    EXPECT_NE(f[1].node[0], f[1].node[1]);
    expect_reference_result(f, "box boundary");
}

// ---- against the plain search -----------------------------------------------------------------

// Offsets around the tolerance: exactly on it, one float inside and outside,
// half of it, twice it.
std::vector<float> near_offsets()
{
    std::vector<float> d = {0.0f, kTol, std::nextafter(kTol, 1.0f), std::nextafter(kTol, 0.0f), kTol / 2,
                            2 * kTol, 1.5e-5f, 0.99e-5f};
    const size_t n = d.size();
    for (size_t i = 0; i < n; ++i) d.push_back(-d[i]);
    return d;
}

struct Maker {
    std::mt19937 rng;
    std::vector<float> offsets = near_offsets();
    explicit Maker(unsigned seed) : rng(seed) {}

    float pick(const std::vector<float>& v) { return v[rng() % v.size()]; }
    float jitter(float base) { return base + pick(offsets); }

    // nb_poly facets whose corners come from `pool` moved by offsets around
    // the tolerance on some axes.
    std::vector<STL_Facet> from_pool(const std::vector<std::array<float, 3>>& pool, int nb_poly, int jitter_pct)
    {
        std::vector<STL_Facet> f(static_cast<size_t>(nb_poly));
        for (STL_Facet& x : f) {
            x.normal = Vector_4{0, 0, 1, 0};
            for (Vector_4& c : x.corner) {
                const auto& p = pool[rng() % pool.size()];
                float v[3] = {p[0], p[1], p[2]};
                for (float& a : v)
                    if (static_cast<int>(rng() % 100) < jitter_pct) a = jitter(a);
                c = Vector_4{v[0], v[1], v[2], 0.0f};
            }
        }
        return f;
    }
};

std::vector<std::array<float, 3>> random_pool(std::mt19937& rng, int n, float lo, float hi)
{
    std::uniform_real_distribution<float> u(lo, hi);
    std::vector<std::array<float, 3>> pool;
    for (int i = 0; i < n; ++i) pool.push_back({u(rng), u(rng), u(rng)});
    return pool;
}

TEST_F(StlWeldTest, RandomMeshesMatchThePlainSearch)
{
    for (unsigned seed = 1; seed <= 6; ++seed) {
        Maker m(seed);
        const int nb_poly = 200 + static_cast<int>(m.rng() % 1800);
        const auto pool = random_pool(m.rng, nb_poly / 2 + 1, -3.0f, 5.0f);
        expect_reference_result(m.from_pool(pool, nb_poly, 30), "random seed " + std::to_string(seed));
    }
}

TEST_F(StlWeldTest, CornersAtCellAndToleranceEdgesMatchThePlainSearch)
{
    // Points on and next to multiples of 2^-13 and of the tolerance, around
    // zero (both signs) and around the binades near 128 and 2^40.
    std::vector<float> bases;
    for (int k = -6; k <= 6; ++k) {
        const float q = (static_cast<float>(k) + (k % 2 ? 0.5f : 0.0f)) / 4096.0f;
        bases.insert(bases.end(), {q, std::nextafter(q, -1.0f), std::nextafter(q, 1.0f), q + kTol, q - kTol,
                                   static_cast<float>(k) * kTol});
    }
    for (float big : {128.0f, 256.0f, 0x1p40f, 3e30f}) {
        bases.insert(bases.end(), {big, std::nextafter(big, 0.0f), std::nextafter(big, 1e38f), -big});
    }
    bases.push_back(-0.0f);
    for (unsigned seed = 10; seed < 14; ++seed) {
        Maker m(seed);
        std::vector<std::array<float, 3>> pool;
        for (int i = 0; i < 400; ++i) pool.push_back({m.pick(bases), m.pick(bases), m.pick(bases)});
        expect_reference_result(m.from_pool(pool, 1500, 40), "edges seed " + std::to_string(seed));
    }
}

TEST_F(StlWeldTest, FlatAndLineMeshesMatchThePlainSearch)
{
    for (unsigned seed = 20; seed < 23; ++seed) {
        Maker m(seed);
        auto pool = random_pool(m.rng, 700, 0.0f, 2.0f);
        for (auto& p : pool) p[2] = 0.25f;
        expect_reference_result(m.from_pool(pool, 1200, 20), "plate");
        for (auto& p : pool) p[1] = -1.0f;
        auto line = m.from_pool(pool, 1200, 0);
        expect_reference_result(line, "line");
        // Every corner the same point: one node.
        for (auto& p : pool) p = {3, 3, 3};
        expect_reference_result(m.from_pool(pool, 500, 0), "point");
    }
}

TEST_F(StlWeldTest, NonNumbersAndInfinitiesMatchThePlainSearch)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    for (unsigned seed = 30; seed < 34; ++seed) {
        Maker m(seed);
        auto pool = random_pool(m.rng, 300, -1.0f, 1.0f);
        auto f = m.from_pool(pool, 900, 10);
        for (int i = 0; i < 60; ++i) {
            Vector_4& c = f[m.rng() % f.size()].corner[m.rng() % 3];
            float* a = (m.rng() % 3 == 0) ? &c.x : (m.rng() % 2 ? &c.y : &c.z);
            const float bad[] = {nan, -nan, inf, -inf};
            *a = bad[m.rng() % 4];
        }
        expect_reference_result(f, "non-numbers");
        // A non-number as the very last corner leaves the bounds without a number.
        f.back().corner[2].x = nan;
        f.back().corner[2].z = nan;
        expect_reference_result(f, "last corner nan");
        f[0].corner[0] = Vector_4{nan, nan, nan, 0};
        expect_reference_result(f, "first corner nan");
    }
}

TEST_F(StlWeldTest, FarAwayFacetMatchesThePlainSearch)
{
    Maker m(40);
    auto pool = random_pool(m.rng, 900, 0.0f, 1.0f);
    auto f = m.from_pool(pool, 2000, 25);
    f[1000] = facet({{1e6f, 1e6f, 1e6f}, {1e6f + 1, 1e6f, 1e6f}, {1e6f, 1e6f + 1, 1e6f}});
    expect_reference_result(f, "far facet");
    f[1000] = facet({{-3e38f, 0, 0}, {3e38f, 0, 0}, {0, 3e38f, -3e38f}});
    expect_reference_result(f, "overflowing bounds");
}

TEST_F(StlWeldTest, EveryMemoryErrorIsReportedOnceAndLeaksNothing)
{
    Maker m(50);
    auto pool = random_pool(m.rng, 120, 0.0f, 1.0f);
    auto input = m.from_pool(pool, 300, 0);
    // One far corner crowds the rest into a few boxes: the cell hash is used.
    input[0].corner[1] = Vector_4{100, 100, 100, 0};
    std::set<std::string> vars;
    const int runs = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        std::vector<STL_Facet> f = input;
        ObjectPtr obj(pfx::STL_to_Movie(static_cast<int>(f.size()), f.data()));
        const auto memory = sink.texts(MSG_MEMORY);
        if (obj) return;
        ASSERT_EQ(memory.size(), 1u);
        ASSERT_EQ(sink.lines().back().flag, MSG_MEMORY);
        const std::string text = pfx_test::narrow(memory[0]);
        ASSERT_NE(text.find(" of stl_read \nmemory error in "), std::string::npos) << text;
        const size_t v = text.find("(var=") + 5;
        vars.insert(text.substr(v, text.find_first_of(",)", v) - v));
    });
    EXPECT_GT(runs, 10);
    for (const char* v : {"corner", "box_nb", "box_id", "box_id[box]", "cell_next", "cell_head", "obj",
                          "obj->Node_Pt", "obj->Poly_Pt", "node->Poly_Id"})
        EXPECT_EQ(vars.count(v), 1u) << v;
}

} // namespace
