#include "core/core_lines.h"
#include "support/sphere_mesh.h"

using namespace pfx_test;

using IntegrityTest = PfxTest;

const std::vector<P3> kTetra = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

// Edges, links, nodes, polygons: the four counts.
Ids run_all(Movie_Objs* o)
{
    return {Movie_Test_Edges(o), Movie_Test_Links(o), Movie_Test_Nodes(o), Movie_Test_Polygons(o)};
}

TEST_F(IntegrityTest, CountsAndNotesOfTheFourTests)
{
    const struct {
        std::vector<P3> nodes;
        Polys polys;
        bool linked;
        Ids counts;
        const char* golden; // the notes, or none
    } rows[] = {
        {kTetra, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}, true, {0, 0, 0, 0}, nullptr},
        {kTetra, {{0, 1, 3}, {1, 2, 3}, {0, 3, 2}}, true, {3, 0, 0, 0}, "core/integrity_open_surface.txt"},
        // Face 0 turned inside out, node 4 in no polygon, and no links at all.
        {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {9, 9, 9}}, {{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}, false,
         {12, 12, 5, 0}, "core/integrity_without_links.txt"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.polys));
        ObjectPtr obj(make_object(row.nodes, row.polys));
        if (row.linked) { ASSERT_EQ(Movie_Init_Norm(obj.get()), 1); }
        sink.clear();
        EXPECT_EQ(run_all(obj.get()), row.counts);
        EXPECT_EQ(sink.lines(), row.golden ? golden_lines(row.golden, MSG_NOTE) : Lines{});
    }
    ObjectPtr sphere(make_uv_sphere(24, 12));
    ASSERT_EQ(Movie_Init_Norm(sphere.get()), 1);
    sink.clear();
    EXPECT_EQ(run_all(sphere.get()) + run_all(nullptr), Ids(8, 0));
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(IntegrityTest, StaleAndHostileLinksAreReportedWithoutReadingPastTheArrays)
{
    // The tetrahedron plus the back face of face 0: cleanup removes both and
    // shrinks the polygon array, leaving the links in the old numbering.
    ObjectPtr stale(make_object(kTetra, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}, {1, 2, 0}}));
    ASSERT_EQ(Movie_Init_Norm(stale.get()), 1);
    ASSERT_EQ(Movie_Cleanup_Poly(stale.get()), 1);
    ASSERT_EQ(stale->Poly_Nb, 3);
    // Corners past the node array, negative, more than four; links outside the surface.
    ObjectPtr hostile(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(hostile.get()), 1);
    Movie_Poly* p = hostile->Poly_Pt;
    p[0].Node_Id[1] = 7;
    p[1].Node_Id[2] = -4;
    p[1].Node_Id_Nb = 9;
    hostile->Node_Pt[2].Poly_Id[0] = -1;
    hostile->Node_Pt[2].Poly_Id[1] = 1 << 30;
    sink.clear();
    EXPECT_EQ(Movie_Test_Links(stale.get()), 12);
    EXPECT_EQ(Movie_Test_Links(hostile.get()), 6);
    EXPECT_EQ(sink.lines(), golden_lines("core/integrity_stale_and_hostile_links.txt", MSG_NOTE));
    sink.clear();
    for (Movie_Objs* o : {stale.get(), hostile.get()}) {
        EXPECT_GE(Movie_Test_Edges(o), 0); // walks the same lists; must stay inside the arrays
        EXPECT_EQ(Movie_Test_Nodes(o) + Movie_Test_Polygons(o), 0);
    }
}

TEST_F(IntegrityTest, CollinearAndNearlyCollinearCornersAreCrunched)
{
    // Poly 1's angle at P1 is less than about 0.8 degrees from a straight line.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 0.01f, 0}, {2, 0.03f, 0}, {0, 1, 0}},
                              {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}, {0, 1, 5}, {3, 1}}, GEOM_POLY | GEOM_LINE));
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 0); // reads Pos as it stands: all zero
    Movie_Compute_Pos(obj.get());
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 2);
    EXPECT_EQ(sink.lines(), lines_with_flag(MSG_NOTE, {L"poly 0 is crunched", L"poly 1 is crunched"}));
}
