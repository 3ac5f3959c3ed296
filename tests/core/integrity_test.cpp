#include <cstdlib>

#include "core/core_lines.h"
#include "core/sphere_mesh.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class IntegrityTest : public PfxTest {};

int run_all(Movie_Objs* o)
{
    return Movie_Test_Edges(o) + Movie_Test_Links(o) + Movie_Test_Nodes(o) + Movie_Test_Polygons(o);
}

std::vector<Line> notes(std::initializer_list<const wchar_t*> texts)
{
    std::vector<Line> r;
    for (const wchar_t* t : texts) r.push_back(note_line(t));
    return r;
}

TEST_F(IntegrityTest, ClosedTetrahedronPassesEveryTest)
{
    ObjectPtr obj(make_tetrahedron());
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Test_Edges(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Links(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Nodes(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 0);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(IntegrityTest, ClosedSpherePassesEveryTest)
{
    ObjectPtr obj(make_uv_sphere(24, 12));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(run_all(obj.get()), 0);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(IntegrityTest, OpenTetrahedronHasThreeUnmatchedEdges)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 1, 3}, {1, 2, 3}, {0, 3, 2}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    EXPECT_EQ(Movie_Test_Edges(obj.get()), 3);
    EXPECT_EQ(sink.lines(), notes({L"edge 0 (0/1) of poly 0: Unmatched", L"edge 0 (1/2) of poly 1: Unmatched",
                                   L"edge 2 (2/0) of poly 2: Unmatched"}));
    sink.clear();
    EXPECT_EQ(Movie_Test_Nodes(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Links(obj.get()), 0);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(IntegrityTest, EdgesWithoutLinksFindTheirPartnersAndAClockwiseFace)
{
    // Face 0 turned inside out, and no links at all.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}));
    EXPECT_EQ(Movie_Test_Edges(obj.get()), 12);
    EXPECT_EQ(sink.lines(),
              notes({L"edge 0 (0/1) of poly 0: Unmatched", L"edge 1 (1/2) of poly 0: Unmatched",
                     L"edge 2 (2/0) of poly 0: Unmatched", L"poly 0: is clockwise",
                     L"edge 0 (0/1) of poly 1: Unmatched",
                     L"edge 1 (1/3) of poly 1: matched with poly 2, but not found in the Node's link",
                     L"edge 2 (3/0) of poly 1: matched with poly 3, but not found in the Node's link",
                     L"edge 0 (1/2) of poly 2: Unmatched",
                     L"edge 1 (2/3) of poly 2: matched with poly 3, but not found in the Node's link",
                     L"edge 2 (3/1) of poly 2: matched with poly 1, but not found in the Node's link",
                     L"edge 0 (0/3) of poly 3: matched with poly 1, but not found in the Node's link",
                     L"edge 1 (3/2) of poly 3: matched with poly 2, but not found in the Node's link",
                     L"edge 2 (2/0) of poly 3: Unmatched"}));
}

TEST_F(IntegrityTest, MissingLinksAreNotReferred)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {9, 9, 9}}, {{0, 1, 2}}));
    EXPECT_EQ(Movie_Test_Links(obj.get()), 3);
    EXPECT_EQ(Movie_Test_Nodes(obj.get()), 4);
    EXPECT_EQ(sink.lines(), notes({L"node 0: Poly 0 is not refered", L"node 1: Poly 0 is not refered",
                                   L"node 2: Poly 0 is not refered", L"node 0 is unconnected",
                                   L"node 1 is unconnected", L"node 2 is unconnected", L"node 3 is unconnected"}));
}

TEST_F(IntegrityTest, StaleLinksAfterCleanupAreReportedWithoutReadingPastTheArrays)
{
    // The tetrahedron plus the back face of face 0: cleanup removes both and
    // shrinks the polygon array, leaving the links in the old numbering.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                              {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}, {1, 2, 0}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    ASSERT_EQ(Movie_Cleanup_Poly(obj.get()), 1);
    ASSERT_EQ(obj->Poly_Nb, 3);
    sink.clear();
    EXPECT_EQ(Movie_Test_Links(obj.get()), 12);
    EXPECT_EQ(sink.lines(), notes({
                                L"node 0: Invalid Poly_Id (Poly_Id[1] = 1) node not in that polygon",
                                L"node 0: Invalid Poly_Id (Poly_Id[2] = 3) not in surface",
                                L"node 0: Invalid Poly_Id (Poly_Id[3] = 4) not in surface",
                                L"node 1: Invalid Poly_Id (Poly_Id[2] = 2) node not in that polygon",
                                L"node 1: Invalid Poly_Id (Poly_Id[3] = 4) not in surface",
                                L"node 2: Invalid Poly_Id (Poly_Id[0] = 0) node not in that polygon",
                                L"node 2: Invalid Poly_Id (Poly_Id[2] = 3) not in surface",
                                L"node 2: Invalid Poly_Id (Poly_Id[3] = 4) not in surface",
                                L"node 3: Invalid Poly_Id (Poly_Id[2] = 3) not in surface",
                                L"node 3: Poly 0 is not refered",
                                L"node 2: Poly 1 is not refered",
                                L"node 0: Poly 2 is not refered",
                            }));
    sink.clear();
    // The edge test walks the same stale lists; it must stay inside the arrays.
    EXPECT_GE(Movie_Test_Edges(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Nodes(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 0);
}

TEST_F(IntegrityTest, HostileIndicesStayInRange)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    Movie_Poly* p = obj->Poly_Pt;
    p[0].Node_Id[1] = 7;      // past the node array
    p[1].Node_Id[2] = -4;     // negative
    p[1].Node_Id_Nb = 9;      // more corners than slots
    Movie_Node& n = obj->Node_Pt[2];
    n.Poly_Id[0] = -1;
    n.Poly_Id[1] = 1 << 30;
    sink.clear();
    EXPECT_EQ(Movie_Test_Links(obj.get()), 6);
    EXPECT_EQ(sink.lines(),
              notes({L"node 1: Invalid Poly_Id (Poly_Id[0] = 0) node not in that polygon",
                     L"node 2: Invalid Poly_Id (Poly_Id[0] = -1) not in surface",
                     L"node 2: Invalid Poly_Id (Poly_Id[1] = 1073741824) not in surface",
                     L"node 7: Poly 0 is not refered", L"node 2: Poly 0 is not refered",
                     L"node -4: Poly 1 is not refered"}));
    sink.clear();
    EXPECT_GE(Movie_Test_Edges(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 0);
    EXPECT_EQ(Movie_Test_Nodes(obj.get()), 0);
}

TEST_F(IntegrityTest, CollinearCornersAreCrunched)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1, 3}, {3, 1}},
                              GEOM_POLY | GEOM_LINE));
    // The test reads Pos as it stands: all zero, nothing is found.
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 0);
    Movie_Compute_Pos(obj.get());
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 1);
    EXPECT_EQ(sink.lines(), notes({L"poly 0 is crunched"}));
}

TEST_F(IntegrityTest, NearlyCollinearCornersAreCrunched)
{
    // The angle at P1 differs from a straight line by less than about 0.8 degrees.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {2, 0.01f, 0}, {2, 0.03f, 0}}, {{0, 1, 2}, {0, 1, 3}}));
    Movie_Compute_Pos(obj.get());
    EXPECT_EQ(Movie_Test_Polygons(obj.get()), 1);
    EXPECT_EQ(sink.lines(), notes({L"poly 0 is crunched"}));
}

TEST_F(IntegrityTest, NullObjectFindsNothing)
{
    EXPECT_EQ(run_all(nullptr), 0);
    EXPECT_TRUE(sink.lines().empty());
}

} // namespace
