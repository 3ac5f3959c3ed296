#include "core/core_lines.h"

using namespace pfx_test;

using OrientationTest = PfxTest;

TEST_F(OrientationTest, FlipReversesCornersWithTheirIndicesAndNothingElse)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 0, 0}}, {{0, 1, 2}, {0, 1, 2, 3}, {1, 2}, {3}},
                              GEOM_POLY | GEOM_LINE | GEOM_POINT));
    Movie_Poly& tri = obj->Poly_Pt[0];
    Movie_Poly& quad = obj->Poly_Pt[1];
    for (int k = 0; k < 4; ++k) tri.Text_Id[k] = quad.Normal_Id[k] = k + 1;
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    const V4 node_dir = v4(obj->Node_Pt[0].Normal), face_dir = v4(tri.Normal);
    sink.clear();
    EXPECT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Normal_Flip", {L"done"}));
    EXPECT_EQ(polys_of(*obj), (Polys{{2, 1, 0}, {3, 2, 1, 0}, {1, 2}, {3}})); // segments and points stay
    EXPECT_EQ(Ids(tri.Text_Id, tri.Text_Id + 4), (Ids{3, 2, 1, 4}));
    EXPECT_EQ(Ids(quad.Normal_Id, quad.Normal_Id + 4), (Ids{4, 3, 2, 1}));
    // Directions and links are not refreshed.
    EXPECT_EQ(v4(obj->Node_Pt[0].Normal), node_dir);
    EXPECT_EQ(v4(tri.Normal), face_dir);
    EXPECT_EQ(links_of(obj->Node_Pt[0]), (Ids{0, 1}));
}

TEST_F(OrientationTest, SingleRecomputesReadPosAsItStandsSilently)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {9, 9, 9}}, {{0, 1, 2}, {0, 2, 3}}));
    Movie_Normal_Poly(obj.get(), 0); // Pos is all zero: degenerate as seen
    EXPECT_EQ(obj->Pos_Done, 0);
    EXPECT_EQ(v4(obj->Poly_Pt[0].Normal), (V4{0, 0, 0, 1}));
    EXPECT_EQ(obj->Poly_Pt[0].Size, 0.0f);
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    Movie_Normal_Node(obj.get(), 0); // the plain mean, not normalised
    EXPECT_TRUE(near4(obj->Node_Pt[0].Normal, {0.5f, 0, 0.5f, 1}));
    Movie_Normal_Node(obj.get(), 4); // no links: divides by zero
    EXPECT_TRUE(std::isnan(obj->Node_Pt[4].Normal.x));
    EXPECT_TRUE(sink.lines().empty());
}
