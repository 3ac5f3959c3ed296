// Movie_Convex_Hull: the new object is the single-precision engine's hull of
// the nodes' Coord, each node with the displacement of the first equal source
// node and nothing else filled; its traces; every memory failure reported or
// thrown, and released.
#include <array>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hull/quickhull.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::Line;
using pfx_test::P3;
using Lines = std::vector<Line>;
using MovieConvexHull = pfx_test::PfxTest;

const Line kIn = {MSG_TRACE, L">>> in  Polyfex: Movie_Convex_Hull()"};
const Line kCalling = {MSG_TRACE, L"-> Movie_Convex_Hull(): Calling QuickHull"};
const Line kDone = {MSG_TRACE, L"<<< out Polyfex: Movie_Convex_Hull(done)"};

Line sizes(int v, int i) { return {MSG_TRACE, L"-> Movie_Convex_Hull(): Done v_size=" + std::to_wstring(v) + L", i_size=" + std::to_wstring(i)}; }

// The calloc memory-error line with its source line number as "#".
Line memory_line(const char* var, long long count, int size)
{
    return {MSG_MEMORY, L"line # of movie_convex \nmemory error in calloc (var=" + pfx_test::wide(var) + L", dim=" +
                            std::to_wstring(count) + L"x" + std::to_wstring(size) + L")"};
}

Lines without_line_numbers(Lines lines)
{
    for (Line& l : lines)
        if (size_t of = l.text.find(L" of "); l.text.rfind(L"line ", 0) == 0 && of != std::wstring::npos) l.text.replace(5, of - 5, L"#");
    return lines;
}

// The unit cube's corners among points inside it.
std::vector<P3> cube_and_inner()
{
    std::vector<P3> nodes = {{0.5f, 0.5f, 0.5f}, {0.25f, 0.75f, 0.5f}};
    for (int i = 0; i < 26; ++i) nodes.push_back(i < 8 ? P3{float(i & 1), float(i >> 1 & 1), float(i >> 2)} : P3{0.05f * i - 0.4f, 1.22f - 0.04f * i, 0.14f + 0.02f * i});
    return nodes;
}

std::string bytes(const void* p, size_t n) { return n ? std::string(static_cast<const char*>(p), n) : std::string(); }

using NodeXyzDispl = std::array<float, 6>; // Coord x, y, z and Displ x, y, z

TEST_F(MovieConvexHull, NewObjectHoldsTheEnginesHullWithTheFirstEqualNodesDisplacement)
{
    std::vector<NodeXyzDispl> corners;
    for (int i = 0; i < 8; ++i) corners.push_back({float(i & 1), float((i >> 1) & 1), float((i >> 2) & 1), 10, 20, 30});
    const struct {
        const char* what;
        std::vector<P3> nodes;
        std::vector<std::vector<int>> polys;
        unsigned int flags;
        std::vector<std::pair<int, Vector_4>> displ; // node (-1: every node), displacement
        std::vector<NodeXyzDispl> expected;          // in any order
    } rows[] = {
        {"no nodes", {}, {}, GEOM_POLY, {}, {}},
        {"one node of a point object", {{1, 2, 3}}, {{0}}, GEOM_POINT, {}, {{1, 2, 3, 0, 0, 0}}},
        {"corners repeated; -0 equals +0", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {.1f, .1f, .1f}, {1, 0, 0}, {0, 1, 0}, {-0.f, 0, 0}},
         {}, GEOM_POLY, {{5, {1, 2, 3, 4}}, {2, {5, 6, 7, 8}}, {7, {9, 9, 9, 9}}, {0, {-1, -2, -3, -4}}},
         {{0, 0, 0, -1, -2, -3}, {1, 0, 0, 0, 0, 0}, {0, 1, 0, 5, 6, 7}, {0, 0, 1, 0, 0, 0}}},
        {"one point six times: four equal vertices", std::vector<P3>(6, P3{2, 2, 2}), {}, GEOM_POLY,
         {{0, {0, 1, 1, 1}}, {1, {1, 1, 1, 1}}, {5, {5, 1, 1, 1}}}, std::vector<NodeXyzDispl>(4, {2, 2, 2, 0, 1, 1})},
        {"displaced lines and points, hulled by Coord", cube_and_inner(), {{0, 1}, {2}}, GEOM_LINE | GEOM_POINT | DISPLACED,
         {{-1, {10, 20, 30, 0}}}, corners},
        {"coplanar: node 0 inside the outline is a vertex", {{1, 1, 0}, {0, 0, 0}, {3, 0, 0}, {3, 3, 0}, {0, 3, 0}, {2, 1, 0}},
         {}, GEOM_POLY, {}, {{1, 1, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}, {3, 0, 0, 0, 0, 0}, {3, 3, 0, 0, 0, 0}, {0, 3, 0, 0, 0, 0}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        sink.clear();
        pfx_test::ObjectPtr src(pfx_test::make_object(row.nodes, row.polys, row.flags));
        std::vector<float> coords;
        for (int i = 0; i < src->Node_Nb; ++i) {
            for (const auto& [k, d] : row.displ)
                if (k == i || k < 0) src->Node_Pt[i].Displ = d;
            src->Node_Pt[i].Pos = Vector_4{-5, -5, -5, 1}; // neither Pos nor Pos_Done plays a part
            coords.insert(coords.end(), {row.nodes[i].x, row.nodes[i].y, row.nodes[i].z});
        }
        auto snapshot = [&] { return bytes(src.get(), sizeof(Movie_Objs)) + bytes(src->Node_Pt, src->Node_Nb * sizeof(Movie_Node)); };
        const std::string before = snapshot();
        pfx_test::ObjectPtr hull(Movie_Convex_Hull(src.get(), reinterpret_cast<void*>(0x1234)));
        ASSERT_NE(hull, nullptr);
        EXPECT_EQ(snapshot(), before) << "the given object is only read";

        pfx::QuickHull<float> engine;
        auto r = engine.build_hull(coords.data(), coords.size() / 3, false, false);
        EXPECT_EQ(sink.lines(), (Lines{kIn, kCalling, sizes(int(r.Vertices.Count), int(r.Indices.size())), kDone}));
        // Everything but the counts, arrays, flags and Pos_Done stays zero.
        Movie_Objs header;
        std::memset(&header, 0, sizeof header);
        header.Flags = GEOM_POLY, header.Pos_Done = 1;
        header.Node_Nb = int(r.Vertices.Count), header.Node_Pt = header.Node_Nb ? hull->Node_Pt : nullptr;
        header.Poly_Nb = int(r.Indices.size() / 3), header.Poly_Pt = header.Poly_Nb ? hull->Poly_Pt : nullptr;
        ASSERT_EQ(std::memcmp(&header, hull.get(), sizeof header), 0);
        std::multiset<NodeXyzDispl> got;
        for (int k = 0; k < hull->Node_Nb; ++k) {
            const Movie_Node& n = hull->Node_Pt[k];
            Movie_Node want;
            std::memset(&want, 0, sizeof want);
            want.Coord = want.Pos = Vector_4{r.Buffer[3 * k], r.Buffer[3 * k + 1], r.Buffer[3 * k + 2], 0};
            want.Displ = Vector_4{n.Displ.x, n.Displ.y, n.Displ.z, 0};
            EXPECT_EQ(std::memcmp(&want, &n, sizeof want), 0) << "node " << k;
            got.insert({n.Coord.x, n.Coord.y, n.Coord.z, n.Displ.x, n.Displ.y, n.Displ.z});
        }
        for (int j = 0; j < hull->Poly_Nb; ++j) {
            Movie_Poly want;
            std::memset(&want, 0, sizeof want);
            want.Node_Id_Nb = 3;
            for (int c = 0; c < 3; ++c) want.Node_Id[c] = int(r.Indices[3 * j + c]);
            EXPECT_EQ(std::memcmp(&want, &hull->Poly_Pt[j], sizeof want), 0) << "polygon " << j;
        }
        EXPECT_EQ(got, std::multiset<NodeXyzDispl>(row.expected.begin(), row.expected.end()));
    }
}

TEST_F(MovieConvexHull, NullObjectIsRefusedAndANegativeNodeCountIsAMemoryFailure)
{
    EXPECT_EQ(Movie_Convex_Hull(nullptr, nullptr), nullptr);
    EXPECT_EQ(sink.lines(), (Lines{kIn, {MSG_TRACE, L"<<< out Polyfex: Movie_Convex_Hull(! obj)"}}));
    sink.clear();
    pfx_test::ObjectPtr src(pfx_test::make_object({}, {}));
    src->Node_Nb = -3;
    EXPECT_EQ(Movie_Convex_Hull(src.get(), nullptr), nullptr);
    EXPECT_EQ(without_line_numbers(sink.lines()), (Lines{kIn, memory_line("vertex_pt", -3, 12)}));
    src->Node_Nb = 0;
}

TEST_F(MovieConvexHull, EveryMemoryFailureIsReportedOrThrownAndReleased)
{
    pfx_test::ObjectPtr src(pfx_test::make_object(cube_and_inner(), {}));
    pfx_test::ObjectPtr reference(Movie_Convex_Hull(src.get(), nullptr));
    ASSERT_NE(reference, nullptr);
    std::vector<Lines> reported;
    int thrown = 0, succeeded = 0;
    int failing = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        try {
            pfx_test::ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
            if (!hull) return reported.push_back(without_line_numbers(sink.lines()));
            // A refused lookup table costs time, not the result.
            ++succeeded;
            ASSERT_TRUE(hull->Node_Nb == 8 && hull->Poly_Nb == 12);
            EXPECT_EQ(std::memcmp(hull->Node_Pt, reference->Node_Pt, 8 * sizeof(Movie_Node)), 0);
            EXPECT_EQ(std::memcmp(hull->Poly_Pt, reference->Poly_Pt, 12 * sizeof(Movie_Poly)), 0);
            EXPECT_EQ(sink.lines(), (Lines{kIn, kCalling, sizes(8, 36), kDone}));
        } catch (const std::bad_alloc&) {
            ++thrown; // the engine's failures leave as its exception, with no closing line
            EXPECT_EQ(sink.lines(), (Lines{kIn, kCalling}));
        }
    });
    EXPECT_EQ(failing + 1, int(reported.size()) + thrown + succeeded) << "the last run had nothing left to fail";
    EXPECT_GT(thrown, 10);
    EXPECT_EQ(succeeded, 2) << "the refused lookup table and the last run";
    EXPECT_EQ(reported, (std::vector<Lines>{{kIn, memory_line("vertex_pt", src->Node_Nb, 12)},
                                            {kIn, kCalling, sizes(8, 36), memory_line("convex", 1, 288)},
                                            {kIn, kCalling, sizes(8, 36), memory_line("convex->Node_Pt", 8, 96)},
                                            {kIn, kCalling, sizes(8, 36), memory_line("convex->Poly_Pt", 12, 120)}}));
}

} // namespace
