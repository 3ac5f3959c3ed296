#include "core/core_lines.h"

using namespace pfx_test;

using OrientationTest = PfxTest;

Polys field(const Movie_Objs& o, int32_t (Movie_Poly::*ids)[4])
{
    Polys r;
    for (int p = 0; p < o.Poly_Nb; ++p) r.emplace_back(o.Poly_Pt[p].*ids, (o.Poly_Pt[p].*ids) + o.Poly_Pt[p].Node_Id_Nb);
    return r;
}

TEST_F(OrientationTest, FlipReversesCornersWithTheirIndicesAndNothingElse)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 0, 0}}, {{0, 1, 2}, {0, 1, 2, 3}, {1, 2}, {3}},
                              GEOM_POLY | GEOM_LINE | GEOM_POINT));
    for (int k = 0; k < 4; ++k) obj->Poly_Pt[0].Text_Id[k] = obj->Poly_Pt[1].Normal_Id[k] = k + 1;
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    const Vector_4 node_dir = obj->Node_Pt[0].Normal, face_dir = obj->Poly_Pt[0].Normal;
    sink.clear();
    EXPECT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Normal_Flip", {L"done"}));
    EXPECT_EQ(polys_of(*obj), (Polys{{2, 1, 0}, {3, 2, 1, 0}, {1, 2}, {3}})); // segments and points stay
    EXPECT_EQ(field(*obj, &Movie_Poly::Text_Id)[0], (Ids{3, 2, 1}));
    EXPECT_EQ(field(*obj, &Movie_Poly::Normal_Id)[1], (Ids{4, 3, 2, 1}));
    // Directions and links are not refreshed.
    EXPECT_EQ(v4(obj->Node_Pt[0].Normal), v4(node_dir));
    EXPECT_EQ(v4(obj->Poly_Pt[0].Normal), v4(face_dir));
    EXPECT_EQ(links_of(obj->Node_Pt[0]), (Ids{0, 1}));
    EXPECT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(polys_of(*obj), (Polys{{0, 1, 2}, {0, 1, 2, 3}, {1, 2}, {3}}));
    EXPECT_EQ(field(*obj, &Movie_Poly::Text_Id)[0], (Ids{1, 2, 3}));
}

TEST_F(OrientationTest, NormalPolyRecomputesFromPosAsItStands)
{
    ObjectPtr obj(make_object({{0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {1, 2, 2}, {-3, 2, 2}}, {{0, 1, 2}, {0, 1, 3, 4}}));
    Movie_Normal_Poly(obj.get(), 0); // Pos is all zero: degenerate as seen
    EXPECT_EQ(obj->Pos_Done, 0);
    EXPECT_EQ(v4(obj->Poly_Pt[0].Normal), (V4{0, 0, 0, 1}));
    EXPECT_EQ(obj->Poly_Pt[0].Size, 0.0f);
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[1].Size, 20.0f); // a quad's diagonals count here
    Movie_Normal_Poly(obj.get(), 1);
    EXPECT_EQ(obj->Poly_Pt[1].Size, 4.0f); // but not here: the larger of |P0 - P1|^2 and |P2 - P1|^2
    ASSERT_EQ(Movie_Normal_Flip(obj.get()), 1);
    sink.clear();
    Movie_Normal_Poly(obj.get(), 0);
    EXPECT_TRUE(sink.lines().empty());
    const Movie_Poly& p = obj->Poly_Pt[0];
    EXPECT_EQ(v4(p.Normal), (V4{0, 0, -1, 1}));
    EXPECT_EQ(p.Plane_D, 2.0f);
    EXPECT_EQ(p.Axis, 2);
    EXPECT_EQ(p.Size, 2.0f);
}

TEST_F(OrientationTest, NormalNodeIsThePlainMean)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {9, 9, 9}}, {{0, 1, 2}, {0, 2, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    Movie_Normal_Node(obj.get(), 0);
    EXPECT_TRUE(near4(obj->Node_Pt[0].Normal, {0.5f, 0, 0.5f, 1}));
    Movie_Normal_Node(obj.get(), 4); // no links: divides by zero
    EXPECT_TRUE(std::isnan(obj->Node_Pt[4].Normal.x));
}

