#include "core/core_lines.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class CleanupTest : public PfxTest {};

std::vector<std::vector<int>> polys_of(const Movie_Objs& o)
{
    std::vector<std::vector<int>> r;
    for (int p = 0; p < o.Poly_Nb; ++p)
        r.emplace_back(o.Poly_Pt[p].Node_Id, o.Poly_Pt[p].Node_Id + o.Poly_Pt[p].Node_Id_Nb);
    return r;
}

std::vector<Line> poly_run(int removed)
{
    return {entry_line(L"Movie_Cleanup_Poly"), note_line(L"Cleanup remove " + std::to_wstring(removed) + L" polygons\n"),
            exit_line(L"Movie_Cleanup_Poly", L"done")};
}

const std::vector<P3> kSix = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 0, 0}, {0, 2, 0}};

TEST_F(CleanupTest, RemovesAFaceAndItsBackFace)
{
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {2, 1, 0}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(sink.lines(), poly_run(2));
    EXPECT_EQ(obj->Poly_Nb, 0);
    EXPECT_EQ(obj->Poly_Pt, nullptr);
}

TEST_F(CleanupTest, MatchesEveryRotationOfTheBackFace)
{
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {1, 0, 2}, {3, 4, 5}, {3, 5, 4}, {0, 1, 3}, {1, 3, 0}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(sink.lines(), poly_run(4));
    // (0,1,3) and (1,3,0) run the same way: kept, in order, marks cleared.
    EXPECT_EQ(polys_of(*obj), (std::vector<std::vector<int>>{{0, 1, 3}, {1, 3, 0}}));
    EXPECT_EQ(obj->Poly_Pt[0].Mark, 0u);
    EXPECT_EQ(obj->Poly_Pt[1].Mark, 0u);
}

TEST_F(CleanupTest, KeepsSameOrientationTwins)
{
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(sink.lines(), poly_run(0));
    EXPECT_EQ(obj->Poly_Nb, 2);
}

TEST_F(CleanupTest, IgnoresQuads)
{
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {2, 1, 0, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(sink.lines(), poly_run(0));
    EXPECT_EQ(obj->Poly_Nb, 2);
}

TEST_F(CleanupTest, RemovesTrianglesThatRepeatTheirFirstNode)
{
    ObjectPtr obj(make_object(kSix, {{0, 0, 1}, {3, 4, 4}, {1, 2, 1}, {2, 3, 4}, {5, 4, 5}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(sink.lines(), poly_run(4));
    EXPECT_EQ(polys_of(*obj), (std::vector<std::vector<int>>{{2, 3, 4}}));
}

TEST_F(CleanupTest, WithoutLinksFindsNothing)
{
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {2, 1, 0}}));
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(sink.lines(), poly_run(0));
    EXPECT_EQ(obj->Poly_Nb, 2);
}

TEST_F(CleanupTest, KeepsStaleLinksAndSkipsThemNextTime)
{
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {3, 4, 5}, {2, 1, 0}, {0, 1, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    EXPECT_EQ(polys_of(*obj), (std::vector<std::vector<int>>{{3, 4, 5}, {0, 1, 3}}));
    // Node 0's list still names polygons 0, 2 and 3 of the old numbering.
    ASSERT_EQ(obj->Node_Pt[0].Poly_Id_Nb, 3);
    EXPECT_EQ(obj->Node_Pt[0].Poly_Id[2], 3);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Poly(obj.get()), 1); // entry 3 is past Poly_Nb: passed over
    EXPECT_EQ(sink.lines(), poly_run(0));
    EXPECT_EQ(obj->Poly_Nb, 2);
}

TEST_F(CleanupTest, PolyRefusals)
{
    EXPECT_EQ(Movie_Cleanup_Poly(nullptr), 0);
    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Cleanup_Poly(empty.get()), 0);
    ObjectPtr lines(make_object(kSix, {{0, 1}}, GEOM_LINE));
    EXPECT_EQ(Movie_Cleanup_Poly(lines.get()), 0);
    std::vector<Line> want;
    for (const wchar_t* why : {L"! obj", L"! Node_Nb", L"! GEOM_POLY"})
        for (const Line& l : traced(L"Movie_Cleanup_Poly", why)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(CleanupTest, FailedShrinkKeepsTheCompactedPolygons)
{
    const int failing = for_each_alloc_failure([&](long n) {
        pfx::alloc_fail_at(0); // links first, without failures
        ObjectPtr o(make_object(kSix, {{0, 1, 2}, {3, 4, 5}, {2, 1, 0}}));
        ASSERT_EQ(Movie_Init_Norm(o.get()), 1);
        sink.clear();
        pfx::alloc_fail_at(n);
        const int r = Movie_Cleanup_Poly(o.get());
        EXPECT_EQ(o->Poly_Nb, 1);
        EXPECT_EQ(polys_of(*o), (std::vector<std::vector<int>>{{3, 4, 5}}));
        if (n == 1) {
            EXPECT_EQ(r, 0);
            ASSERT_EQ(sink.lines().size(), 3u);
            EXPECT_EQ(sink.lines()[1], note_line(L"Cleanup remove 2 polygons\n"));
            EXPECT_TRUE(is_memory_line(sink.lines()[2], L"movie_cleanup", L"realloc (var=obj->Poly_Pt, dim=1x120)"));
        } else {
            EXPECT_EQ(r, 1);
        }
    });
    EXPECT_EQ(failing, 1);
}

TEST_F(CleanupTest, NodesRenumberedInOrder)
{
    std::vector<P3> nodes;
    for (int i = 0; i < 6; ++i) nodes.push_back({float(i), float(i * i), 0});
    ObjectPtr obj(make_object(nodes, {{1, 3, 5}, {5, 1, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Cleanup_Node(obj.get()), 1);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Cleanup_Node", L"done"));
    ASSERT_EQ(obj->Node_Nb, 3);
    EXPECT_EQ(obj->Node_Pt[0].Coord.x, 1.0f);
    EXPECT_EQ(obj->Node_Pt[1].Coord.x, 3.0f);
    EXPECT_EQ(obj->Node_Pt[2].Coord.y, 25.0f);
    EXPECT_EQ(polys_of(*obj), (std::vector<std::vector<int>>{{0, 1, 2}, {2, 0, 1}}));
    // Links move with their nodes and stay valid.
    ASSERT_EQ(obj->Node_Pt[1].Poly_Id_Nb, 2);
    EXPECT_EQ(obj->Node_Pt[1].Poly_Id[1], 1);
    EXPECT_EQ(Movie_Test_Links(obj.get()), 0);
}

TEST_F(CleanupTest, NodeCleanupWithoutPolygonsEmptiesTheObject)
{
    ObjectPtr obj(make_object(kSix, {}));
    EXPECT_EQ(Movie_Cleanup_Node(obj.get()), 1);
    EXPECT_EQ(obj->Node_Nb, 0);
    EXPECT_EQ(obj->Node_Pt, nullptr);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Cleanup_Node", L"done"));
}

TEST_F(CleanupTest, NodeCleanupReleasesDroppedNodesLists)
{
    // After removing the pair, nodes 0..2 keep (empty) link arrays from the
    // rebuilt links; dropping them must not leak (checked under the sanitizer).
    ObjectPtr obj(make_object(kSix, {{0, 1, 2}, {2, 1, 0}, {3, 4, 5}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    ASSERT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    ASSERT_EQ(Movie_Cleanup_Node(obj.get()), 1);
    EXPECT_EQ(obj->Node_Nb, 3);
    EXPECT_EQ(polys_of(*obj), (std::vector<std::vector<int>>{{0, 1, 2}}));
}

TEST_F(CleanupTest, NodeCleanupLeavesOutOfRangeCornersOutOfRange)
{
    ObjectPtr obj(make_object(kSix, {{1, 2, 9}}));
    EXPECT_EQ(Movie_Cleanup_Node(obj.get()), 1);
    EXPECT_EQ(obj->Node_Nb, 2);
    EXPECT_EQ(polys_of(*obj), (std::vector<std::vector<int>>{{0, 1, 9}}));
}

TEST_F(CleanupTest, NodeRefusalsNeedNoGeometryBit)
{
    EXPECT_EQ(Movie_Cleanup_Node(nullptr), 0);
    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Cleanup_Node(empty.get()), 0);
    ObjectPtr points(make_object(kSix, {{4}}, GEOM_POINT));
    EXPECT_EQ(Movie_Cleanup_Node(points.get()), 1);
    EXPECT_EQ(points->Node_Nb, 1);
    std::vector<Line> want;
    for (const wchar_t* why : {L"! obj", L"! Node_Nb", L"done"})
        for (const Line& l : traced(L"Movie_Cleanup_Node", why)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(CleanupTest, NodeCleanupFailuresLeaveTheObjectUnchanged)
{
    const wchar_t* want[3] = {L"calloc (var=node_list_flag, dim=6x4)", L"calloc (var=node_list_ind, dim=6x4)",
                              L"calloc (var=node_new, dim=3x96)"};
    const int failing = for_each_alloc_failure([&](long n) {
        ObjectPtr o(make_object(kSix, {{1, 3, 5}}));
        sink.clear();
        pfx::alloc_fail_at(n);
        const int r = Movie_Cleanup_Node(o.get());
        if (n > 3) {
            EXPECT_EQ(r, 1);
            return;
        }
        EXPECT_EQ(r, 0);
        EXPECT_EQ(o->Node_Nb, 6);
        EXPECT_EQ(polys_of(*o), (std::vector<std::vector<int>>{{1, 3, 5}}));
        ASSERT_EQ(sink.lines().size(), 2u);
        EXPECT_EQ(sink.lines()[0], entry_line(L"Movie_Cleanup_Node"));
        EXPECT_TRUE(is_memory_line(sink.lines()[1], L"movie_cleanup", want[n - 1]));
    });
    EXPECT_EQ(failing, 3);
}

} // namespace
