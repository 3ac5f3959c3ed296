#include "core/core_lines.h"

using namespace pfx_test;

using CleanupTest = PfxTest;

const std::vector<P3> kSix = {{0, 0, 0}, {1, 1, 0}, {2, 4, 0}, {3, 9, 0}, {4, 16, 0}, {5, 25, 0}};

Lines poly_run(int removed)
{
    const Lines exit = traced(L"Movie_Cleanup_Poly", {L"done"});
    return Lines{exit[0], {MSG_NOTE, L"Cleanup remove " + std::to_wstring(removed) + L" polygons\n"}, exit[1]};
}

TEST_F(CleanupTest, RemovesEachTriangleWhoseBackFaceIsLinkedToItsFirstNode)
{
    const struct {
        Polys in;
        bool linked;
        int removed;
        Polys out;
    } rows[] = {
        {{{0, 1, 2}, {2, 1, 0}}, true, 2, {}},
        {{{0, 1, 2}, {1, 0, 2}, {3, 4, 5}, {3, 5, 4}, {0, 1, 3}, {1, 3, 0}}, true, 4, {{0, 1, 3}, {1, 3, 0}}},
        {{{0, 1, 2}, {0, 1, 2}}, true, 0, {{0, 1, 2}, {0, 1, 2}}},         // same-orientation twins stay
        {{{0, 1, 2}, {2, 1, 0, 3}}, true, 0, {{0, 1, 2}, {2, 1, 0, 3}}},   // quads are not compared
        {{{0, 0, 1}, {3, 4, 4}, {1, 2, 1}, {2, 3, 4}, {5, 4, 5}}, true, 4, {{2, 3, 4}}}, // repeated node
        {{{0, 1, 2}, {2, 1, 0}}, false, 0, {{0, 1, 2}, {2, 1, 0}}},       // no links, nothing found
        // node 0's list keeps naming polygons 0, 2, 3: the next run passes over entry 3
        {{{0, 1, 2}, {3, 4, 5}, {2, 1, 0}, {0, 1, 3}}, true, 2, {{3, 4, 5}, {0, 1, 3}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.in));
        ObjectPtr obj(make_object(kSix, row.in));
        if (row.linked) { ASSERT_EQ(Movie_Init_Norm(obj.get()), 1); }
        sink.clear();
        EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
        EXPECT_EQ(sink.lines(), poly_run(row.removed));
        EXPECT_EQ(polys_of(*obj), row.out);
        for (int p = 0; p < obj->Poly_Nb; ++p) EXPECT_EQ(obj->Poly_Pt[p].Mark, 0u);
        if (row.out.empty()) { EXPECT_EQ(obj->Poly_Pt, nullptr); }
        sink.clear();
        EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1); // with the links left as they were
        EXPECT_EQ(sink.lines(), poly_run(0));
        EXPECT_EQ(polys_of(*obj), row.out);
    }
}

TEST_F(CleanupTest, FailedShrinkKeepsTheCompactedPolygons)
{
    const int failing = for_each_alloc_failure([&](long n) {
        pfx::alloc_fail_at(0); // links first, without failures
        ObjectPtr o(make_object(kSix, {{0, 1, 2}, {3, 4, 5}, {2, 1, 0}}));
        ASSERT_EQ(Movie_Init_Norm(o.get()), 1);
        sink.clear();
        pfx::alloc_fail_at(n);
        EXPECT_EQ(Movie_Cleanup_Poly(o.get()), n == 1 ? 0 : 1);
        EXPECT_EQ(polys_of(*o), (Polys{{3, 4, 5}}));
        if (n == 1) {
            Lines want = poly_run(2);
            want[2] = memory_error(L"movie_cleanup", L"realloc (var=obj->Poly_Pt, dim=1x120)");
            EXPECT_EQ(mask_line_numbers(sink.lines()), want);
        }
    });
    EXPECT_EQ(failing, 1);
}

TEST_F(CleanupTest, NodeCleanupDropsUnusedNodesAndRenumbersInOrder)
{
    const struct {
        Polys in;
        std::vector<float> kept_y; // the kept nodes, in order
        Polys out;
        int link_faults;
    } rows[] = {
        {{{1, 3, 5}, {5, 1, 3}}, {1, 9, 25}, {{0, 1, 2}, {2, 0, 1}}, 0},
        {{{0, 1, 2}, {2, 1, 0}, {3, 4, 5}}, {9, 16, 25}, {{0, 1, 2}}, 0}, // dropped nodes' lists are released
        {{{1, 2, 9}}, {1, 4}, {{0, 1, 9}}, 3},                           // out-of-range corners stay so
        {{}, {}, {}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.in));
        ObjectPtr obj(make_object(kSix, row.in));
        ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
        ASSERT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
        ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
        sink.clear();
        EXPECT_EQ(Movie_Cleanup_Node(obj.get()), 1);
        EXPECT_EQ(sink.lines(), traced(L"Movie_Cleanup_Node", {L"done"}));
        std::vector<float> y;
        for (int i = 0; i < obj->Node_Nb; ++i) y.push_back(obj->Node_Pt[i].Coord.y);
        EXPECT_EQ(y, row.kept_y);
        EXPECT_EQ(polys_of(*obj), row.out);
        if (y.empty()) { EXPECT_EQ(obj->Node_Pt, nullptr); }
        EXPECT_EQ(Movie_Test_Links(obj.get()), row.link_faults); // links moved with their nodes
    }
}

TEST_F(CleanupTest, NodeCleanupFailuresLeaveTheObjectUnchanged)
{
    const wchar_t* want[3] = {L"calloc (var=node_list_flag, dim=6x4)", L"calloc (var=node_list_ind, dim=6x4)",
                              L"calloc (var=node_new, dim=3x96)"};
    const int failing = for_each_alloc_failure([&](long n) {
        ObjectPtr o(make_object(kSix, {{1, 3, 5}}));
        sink.clear();
        ASSERT_EQ(Movie_Cleanup_Node(o.get()), n > 3 ? 1 : 0);
        if (n > 3) return;
        EXPECT_EQ(o->Node_Nb, 6);
        EXPECT_EQ(polys_of(*o), (Polys{{1, 3, 5}}));
        EXPECT_EQ(mask_line_numbers(sink.lines()), (Lines{trace_in(L"Movie_Cleanup_Node"), memory_error(L"movie_cleanup", want[n - 1])}));
    });
    EXPECT_EQ(failing, 3);
}

