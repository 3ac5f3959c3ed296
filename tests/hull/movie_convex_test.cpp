// Movie_Convex_Hull: the new object, its traces, the displacement taken from
// the first equal node, and every memory failure released.
#include <cmath>
#include <cstring>
#include <cwctype>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::Line;
using pfx_test::make_object;
using pfx_test::ObjectPtr;
using pfx_test::P3;

using MovieConvexHull = pfx_test::PfxTest;

const Line kIn = {MSG_TRACE, L">>> in  Polyfex: Movie_Convex_Hull()"};
const Line kCalling = {MSG_TRACE, L"-> Movie_Convex_Hull(): Calling QuickHull"};
const Line kDone = {MSG_TRACE, L"<<< out Polyfex: Movie_Convex_Hull(done)"};

Line sizes(int v, int i)
{
    return {MSG_TRACE, L"-> Movie_Convex_Hull(): Done v_size=" + std::to_wstring(v) +
                           L", i_size=" + std::to_wstring(i)};
}

Line memory_line(const char* var, long long count, int size)
{
    return {MSG_MEMORY, L"line # of movie_convex \nmemory error in calloc (var=" + pfx_test::wide(var) +
                            L", dim=" + std::to_wstring(count) + L"x" + std::to_wstring(size) + L")"};
}

// Memory-error lines with the source line number replaced by "#".
std::vector<Line> without_line_numbers(const std::vector<Line>& lines)
{
    std::vector<Line> out;
    for (Line l : lines) {
        if (l.text.rfind(L"line ", 0) == 0) {
            size_t end = 5;
            while (end < l.text.size() && iswdigit(l.text[end])) ++end;
            while (end < l.text.size() && l.text[end] == L' ') ++end;
            if (end > 5) l.text = L"line # " + l.text.substr(end);
        }
        out.push_back(l);
    }
    return out;
}

std::vector<P3> cube_and_inner()
{
    std::vector<P3> nodes = {{0.5f, 0.5f, 0.5f}, {0.25f, 0.75f, 0.5f}};
    for (int i = 0; i < 8; ++i) nodes.push_back({float(i & 1), float((i >> 1) & 1), float((i >> 2) & 1)});
    for (int i = 0; i < 18; ++i) nodes.push_back({0.05f * i, 0.9f - 0.04f * i, 0.3f + 0.02f * i});
    return nodes;
}

bool equal_xyz(const Vector_4& a, const Vector_4& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// Every polygon's normal (corner 1 - corner 0) x (corner 2 - corner 0)
// points away from the centre.
bool outward(const Movie_Objs& obj, float cx, float cy, float cz)
{
    for (int j = 0; j < obj.Poly_Nb; ++j) {
        const int* id = obj.Poly_Pt[j].Node_Id;
        const Vector_4& a = obj.Node_Pt[id[0]].Coord;
        const Vector_4& b = obj.Node_Pt[id[1]].Coord;
        const Vector_4& c = obj.Node_Pt[id[2]].Coord;
        double u[3] = {b.x - a.x, b.y - a.y, b.z - a.z};
        double v[3] = {c.x - a.x, c.y - a.y, c.z - a.z};
        double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        if (!(n[0] * (a.x - cx) + n[1] * (a.y - cy) + n[2] * (a.z - cz) > 0)) return false;
    }
    return true;
}

bool all_zero(const void* p, size_t bytes)
{
    const unsigned char* c = static_cast<const unsigned char*>(p);
    for (size_t i = 0; i < bytes; ++i)
        if (c[i]) return false;
    return true;
}

TEST_F(MovieConvexHull, NullObjectIsRefused)
{
    EXPECT_EQ(Movie_Convex_Hull(nullptr, nullptr), nullptr);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{kIn, {MSG_TRACE, L"<<< out Polyfex: Movie_Convex_Hull(! obj)"}}));
}

TEST_F(MovieConvexHull, NoNodesGiveAnEmptyTriangleObject)
{
    ObjectPtr src(make_object({}, {}));
    ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(hull, nullptr);
    EXPECT_EQ(hull->Node_Nb, 0);
    EXPECT_EQ(hull->Poly_Nb, 0);
    EXPECT_EQ(hull->Node_Pt, nullptr);
    EXPECT_EQ(hull->Poly_Pt, nullptr);
    EXPECT_EQ(hull->Flags, GEOM_POLY);
    EXPECT_EQ(hull->Pos_Done, 1);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{kIn, kCalling, sizes(0, 0), kDone}));
}

TEST_F(MovieConvexHull, OneNodeGivesFourTrianglesOverIt)
{
    ObjectPtr src(make_object({{1, 2, 3}}, {{0}}, GEOM_POINT));
    ObjectPtr hull(Movie_Convex_Hull(src.get(), reinterpret_cast<void*>(0x1234)));
    ASSERT_NE(hull, nullptr);
    ASSERT_EQ(hull->Node_Nb, 1);
    EXPECT_TRUE(equal_xyz(hull->Node_Pt[0].Coord, Vector_4{1, 2, 3, 0}));
    ASSERT_EQ(hull->Poly_Nb, 4);
    for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(hull->Poly_Pt[j].Node_Id_Nb, 3);
        EXPECT_EQ(hull->Poly_Pt[j].Node_Id[0], 0);
        EXPECT_EQ(hull->Poly_Pt[j].Node_Id[1], 0);
        EXPECT_EQ(hull->Poly_Pt[j].Node_Id[2], 0);
    }
    EXPECT_EQ(sink.lines(), (std::vector<Line>{kIn, kCalling, sizes(1, 12), kDone}));
}

TEST_F(MovieConvexHull, CubeWithInnerNodesGivesEightNodesTwelveOutwardTriangles)
{
    ObjectPtr src(make_object(cube_and_inner(), {{0, 1, 2}}));
    ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(hull, nullptr);
    ASSERT_EQ(hull->Node_Nb, 8);
    ASSERT_EQ(hull->Poly_Nb, 12);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{kIn, kCalling, sizes(8, 36), kDone}));
    std::set<std::vector<float>> corners;
    for (int k = 0; k < 8; ++k) {
        const Movie_Node& n = hull->Node_Pt[k];
        corners.insert({n.Coord.x, n.Coord.y, n.Coord.z});
        EXPECT_EQ(n.Coord.w, 0.0f);
        EXPECT_EQ(std::memcmp(&n.Pos, &n.Coord, sizeof n.Pos), 0);
        // Nothing else of a node is filled.
        EXPECT_TRUE(all_zero(&n.Normal, sizeof n.Normal));
        EXPECT_TRUE(all_zero(&n.Displ, sizeof n.Displ));
        EXPECT_EQ(n.Color, 0u);
        EXPECT_EQ(n.Poly_Id_Nb, 0);
        EXPECT_EQ(n.Poly_Id, nullptr);
        EXPECT_EQ(n.Mark, 0u);
        EXPECT_EQ(n.New_Id, 0);
    }
    EXPECT_EQ(corners.size(), 8u);
    for (const auto& c : corners)
        for (float x : c) EXPECT_TRUE(x == 0.0f || x == 1.0f);
    EXPECT_TRUE(outward(*hull, 0.5f, 0.5f, 0.5f));
    for (int j = 0; j < 12; ++j) {
        const Movie_Poly& p = hull->Poly_Pt[j];
        EXPECT_EQ(p.Node_Id_Nb, 3);
        EXPECT_EQ(p.Node_Id[3], 0);
        EXPECT_TRUE(all_zero(&p.Normal, sizeof p.Normal));
        EXPECT_TRUE(all_zero(p.Text_Id, sizeof p.Text_Id));
        EXPECT_TRUE(all_zero(p.Normal_Id, sizeof p.Normal_Id));
        EXPECT_EQ(p.Color, 0u);
        EXPECT_EQ(p.Size, 0.0f);
        EXPECT_EQ(p.Plane_D, 0.0f);
    }
    // The header is empty apart from the counts, arrays and flags.
    EXPECT_EQ(hull->Flags, GEOM_POLY);
    EXPECT_EQ(hull->Pos_Done, 1);
    EXPECT_EQ(hull->Name, nullptr);
    EXPECT_EQ(hull->Path, nullptr);
    EXPECT_EQ(hull->Text_Nb, 0);
    EXPECT_EQ(hull->Text_Pt, nullptr);
    EXPECT_EQ(hull->Normal_Nb, 0);
    EXPECT_EQ(hull->Normal_Pt, nullptr);
    EXPECT_TRUE(all_zero(&hull->Box_Min, sizeof hull->Box_Min));
    EXPECT_TRUE(all_zero(&hull->Box_Max, sizeof hull->Box_Max));
    EXPECT_TRUE(all_zero(&hull->Matrix, sizeof hull->Matrix));
    EXPECT_EQ(hull->VBO_Reset, 0);
    EXPECT_EQ(hull->VBO_Nb, 0);
    EXPECT_EQ(hull->VBO_Vertex + hull->VBO_Normal_Flat + hull->VBO_Normal_Smooth + hull->VBO_Color_Flat +
                  hull->VBO_Color_Smooth,
              0u);
}

TEST_F(MovieConvexHull, NodesTakeTheDisplacementOfTheFirstEqualNode)
{
    // Node 5 repeats corner 1 with a displacement; node 6 repeats corner 2,
    // whose first occurrence carries one.
    std::vector<P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.1f, 0.1f, 0.1f},
                             {1, 0, 0}, {0, 1, 0}, {-0.0f, 0, 0}};
    ObjectPtr src(make_object(nodes, {}));
    src->Node_Pt[5].Displ = Vector_4{1, 2, 3, 4};
    src->Node_Pt[2].Displ = Vector_4{5, 6, 7, 8};
    src->Node_Pt[7].Displ = Vector_4{9, 9, 9, 9};
    src->Node_Pt[0].Displ = Vector_4{-1, -2, -3, -4};
    ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(hull, nullptr);
    ASSERT_EQ(hull->Node_Nb, 4);
    int checked = 0;
    for (int k = 0; k < 4; ++k) {
        const Movie_Node& n = hull->Node_Pt[k];
        Vector_4 expected{0, 0, 0, 0};
        if (equal_xyz(n.Coord, Vector_4{1, 0, 0, 0})) expected = {0, 0, 0, 0};
        if (equal_xyz(n.Coord, Vector_4{0, 1, 0, 0})) expected = {5, 6, 7, 0};
        // -0 equals +0: node 0 comes first.
        if (equal_xyz(n.Coord, Vector_4{0, 0, 0, 0})) expected = {-1, -2, -3, 0};
        EXPECT_EQ(std::memcmp(&n.Displ, &expected, sizeof expected), 0) << k;
        ++checked;
    }
    EXPECT_EQ(checked, 4);
}

TEST_F(MovieConvexHull, EqualHullVerticesAllTakeTheFirstNodesDisplacement)
{
    // A cloud of one point: the tetrahedron over nodes 0 to 3, four equal
    // vertices, each with node 0's displacement.
    ObjectPtr src(make_object(std::vector<P3>(6, P3{2, 2, 2}), {}));
    for (int i = 0; i < 6; ++i) src->Node_Pt[i].Displ = Vector_4{float(i), 1, 1, 1};
    ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(hull, nullptr);
    ASSERT_EQ(hull->Node_Nb, 4);
    EXPECT_EQ(hull->Poly_Nb, 4);
    for (int k = 0; k < 4; ++k) {
        EXPECT_TRUE(equal_xyz(hull->Node_Pt[k].Coord, Vector_4{2, 2, 2, 0}));
        EXPECT_TRUE(equal_xyz(hull->Node_Pt[k].Displ, Vector_4{0, 1, 1, 0}));
        EXPECT_EQ(hull->Node_Pt[k].Displ.w, 0.0f);
    }
}

TEST_F(MovieConvexHull, DisplacedObjectIsHulledByCoordAndLeftUnchanged)
{
    ObjectPtr src(make_object(cube_and_inner(), {{0, 1}, {2}}, GEOM_LINE | GEOM_POINT | DISPLACED));
    for (int i = 0; i < src->Node_Nb; ++i) {
        src->Node_Pt[i].Displ = Vector_4{10, 20, 30, 0};
        src->Node_Pt[i].Pos = Vector_4{-5, -5, -5, 1};
    }
    src->Pos_Done = 0;
    std::vector<unsigned char> before(reinterpret_cast<unsigned char*>(src->Node_Pt),
                                      reinterpret_cast<unsigned char*>(src->Node_Pt + src->Node_Nb));
    ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(hull, nullptr);
    EXPECT_EQ(hull->Node_Nb, 8);
    EXPECT_EQ(hull->Flags, GEOM_POLY) << "the hull is not displaced itself";
    for (int k = 0; k < 8; ++k) {
        const Vector_4& c = hull->Node_Pt[k].Coord;
        EXPECT_TRUE((c.x == 0 || c.x == 1) && (c.y == 0 || c.y == 1) && (c.z == 0 || c.z == 1));
        EXPECT_TRUE(equal_xyz(hull->Node_Pt[k].Displ, Vector_4{10, 20, 30, 0}));
    }
    EXPECT_EQ(src->Pos_Done, 0);
    EXPECT_EQ(src->Flags, GEOM_LINE | GEOM_POINT | DISPLACED);
    EXPECT_EQ(std::memcmp(before.data(), src->Node_Pt, before.size()), 0);
}

TEST_F(MovieConvexHull, CoplanarNodesGiveAClosedFlatMeshThroughNodeZero)
{
    // Node 0 lies inside the outline and still becomes a vertex.
    std::vector<P3> nodes = {{1, 1, 0}, {0, 0, 0}, {3, 0, 0}, {3, 3, 0}, {0, 3, 0}, {2, 1, 0}};
    ObjectPtr src(make_object(nodes, {}));
    ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(hull, nullptr);
    ASSERT_EQ(hull->Node_Nb, 5);
    bool has_node0 = false;
    for (int k = 0; k < 5; ++k) {
        EXPECT_EQ(hull->Node_Pt[k].Coord.z, 0.0f);
        has_node0 |= equal_xyz(hull->Node_Pt[k].Coord, Vector_4{1, 1, 0, 0});
    }
    EXPECT_TRUE(has_node0);
    std::multiset<std::pair<int, int>> edges;
    for (int j = 0; j < hull->Poly_Nb; ++j)
        for (int c = 0; c < 3; ++c) edges.insert({hull->Poly_Pt[j].Node_Id[c], hull->Poly_Pt[j].Node_Id[(c + 1) % 3]});
    for (const auto& e : edges) {
        EXPECT_EQ(edges.count(e), 1u);
        EXPECT_EQ(edges.count({e.second, e.first}), 1u);
    }
}

TEST_F(MovieConvexHull, EveryMemoryFailureIsReportedOrThrownAndReleased)
{
    ObjectPtr src(make_object(cube_and_inner(), {}));
    ObjectPtr reference(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(reference, nullptr);
    const int n = src->Node_Nb;
    std::vector<std::vector<Line>> reported;
    int thrown = 0, succeeded = 0;
    int failing = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        try {
            ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
            if (!hull) {
                reported.push_back(without_line_numbers(sink.lines()));
                return;
            }
            // A refused lookup table costs time, not the result.
            ++succeeded;
            ASSERT_EQ(hull->Node_Nb, reference->Node_Nb);
            EXPECT_EQ(std::memcmp(hull->Node_Pt, reference->Node_Pt, sizeof(Movie_Node) * hull->Node_Nb), 0);
            ASSERT_EQ(hull->Poly_Nb, reference->Poly_Nb);
            EXPECT_EQ(std::memcmp(hull->Poly_Pt, reference->Poly_Pt, sizeof(Movie_Poly) * hull->Poly_Nb), 0);
            EXPECT_EQ(sink.lines(), (std::vector<Line>{kIn, kCalling, sizes(8, 36), kDone}));
        } catch (const std::bad_alloc&) {
            // The engine's failures leave as its exception, with no exit line.
            ++thrown;
            EXPECT_EQ(sink.lines(), (std::vector<Line>{kIn, kCalling}));
        }
    });
    // The last run had nothing left to fail.
    EXPECT_EQ(failing + 1, int(reported.size()) + thrown + succeeded);
    EXPECT_GT(thrown, 10);
    EXPECT_EQ(succeeded, 2) << "the refused lookup table and the last run";
    ASSERT_EQ(reported.size(), 4u);
    EXPECT_EQ(reported[0], (std::vector<Line>{kIn, memory_line("vertex_pt", n, 12)}));
    EXPECT_EQ(reported[1], (std::vector<Line>{kIn, kCalling, sizes(8, 36), memory_line("convex", 1, 288)}));
    EXPECT_EQ(reported[2],
              (std::vector<Line>{kIn, kCalling, sizes(8, 36), memory_line("convex->Node_Pt", 8, 96)}));
    EXPECT_EQ(reported[3],
              (std::vector<Line>{kIn, kCalling, sizes(8, 36), memory_line("convex->Poly_Pt", 12, 120)}));
}

TEST_F(MovieConvexHull, NegativeNodeCountIsAMemoryFailure)
{
    ObjectPtr src(make_object({}, {}));
    src->Node_Nb = -3;
    EXPECT_EQ(Movie_Convex_Hull(src.get(), nullptr), nullptr);
    EXPECT_EQ(without_line_numbers(sink.lines()), (std::vector<Line>{kIn, memory_line("vertex_pt", -3, 12)}));
    src->Node_Nb = 0;
}

} // namespace
