#include <cmath>
#include <cstring>

#include "core/core_lines.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class OrientationTest : public PfxTest {};

std::vector<int> ids(const int* a, int n) { return std::vector<int>(a, a + n); }

const std::vector<P3> kNine = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 0, 0},
                               {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}};

TEST_F(OrientationTest, FlipReversesCornersWithTheirIndices)
{
    ObjectPtr obj(make_object(kNine, {{5, 6, 7}, {5, 6, 7, 8}, {1, 2}, {3}}, GEOM_POLY | GEOM_LINE | GEOM_POINT));
    const int t[4] = {1, 2, 3, 0}, nq[4] = {1, 2, 3, 4};
    std::memcpy(obj->Poly_Pt[0].Text_Id, t, sizeof t);
    std::memcpy(obj->Poly_Pt[1].Normal_Id, nq, sizeof nq);
    obj->Poly_Pt[0].Normal = {0, 0, 1, 1};
    EXPECT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Normal_Flip", L"done"));
    EXPECT_EQ(ids(obj->Poly_Pt[0].Node_Id, 3), (std::vector<int>{7, 6, 5}));
    EXPECT_EQ(ids(obj->Poly_Pt[0].Text_Id, 3), (std::vector<int>{3, 2, 1}));
    EXPECT_EQ(ids(obj->Poly_Pt[1].Node_Id, 4), (std::vector<int>{8, 7, 6, 5}));
    EXPECT_EQ(ids(obj->Poly_Pt[1].Normal_Id, 4), (std::vector<int>{4, 3, 2, 1}));
    EXPECT_EQ(ids(obj->Poly_Pt[2].Node_Id, 2), (std::vector<int>{1, 2}));
    EXPECT_EQ(obj->Poly_Pt[0].Normal.z, 1.0f); // normals are not refreshed
    EXPECT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(ids(obj->Poly_Pt[0].Node_Id, 3), (std::vector<int>{5, 6, 7}));
    EXPECT_EQ(ids(obj->Poly_Pt[0].Text_Id, 3), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(ids(obj->Poly_Pt[1].Node_Id, 4), (std::vector<int>{5, 6, 7, 8}));
}

TEST_F(OrientationTest, FlipKeepsLinksAndNodeNormals)
{
    ObjectPtr obj(make_tetrahedron());
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    const Vector_4 before = obj->Node_Pt[0].Normal;
    const std::vector<int> links(obj->Node_Pt[0].Poly_Id, obj->Node_Pt[0].Poly_Id + 3);
    ASSERT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(std::memcmp(&before, &obj->Node_Pt[0].Normal, sizeof before), 0);
    EXPECT_EQ(ids(obj->Node_Pt[0].Poly_Id, 3), links);
}

TEST_F(OrientationTest, FlipRefusals)
{
    EXPECT_EQ(Movie_Normal_Flip(nullptr), 0);
    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Normal_Flip(empty.get()), 0);
    ObjectPtr lines(make_object({{0, 0, 0}, {3, 4, 0}}, {{0, 1}}, GEOM_LINE));
    EXPECT_EQ(Movie_Normal_Flip(lines.get()), 0);
    ObjectPtr none(make_object({{0, 0, 0}}, {}));
    EXPECT_EQ(Movie_Normal_Flip(none.get()), 1);
    std::vector<Line> want;
    for (const wchar_t* why : {L"! obj", L"! Node_Nb", L"! GEOM_POLY", L"done"})
        for (const Line& l : traced(L"Movie_Normal_Flip", why)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(OrientationTest, NormalPolyAfterFlipNegates)
{
    ObjectPtr obj(make_object({{0, 0, 2}, {1, 0, 2}, {0, 1, 2}}, {{0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[0].Plane_D, -2.0f);
    ASSERT_EQ(Movie_Normal_Flip(obj.get()), 1);
    sink.clear();
    Movie_Normal_Poly(obj.get(), 0);
    EXPECT_TRUE(sink.lines().empty());
    const Movie_Poly& p = obj->Poly_Pt[0];
    EXPECT_EQ(p.Normal.x, 0.0f);
    EXPECT_EQ(p.Normal.y, 0.0f);
    EXPECT_EQ(p.Normal.z, -1.0f);
    EXPECT_EQ(p.Normal.w, 1.0f);
    EXPECT_EQ(p.Plane_D, 2.0f);
    EXPECT_EQ(p.Axis, 2);
    EXPECT_EQ(p.Size, 2.0f);
}

TEST_F(OrientationTest, NormalPolyLeavesQuadDiagonalsOut)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {-3, 2, 0}}, {{0, 1, 2, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[0].Size, 20.0f);
    Movie_Normal_Poly(obj.get(), 0);
    EXPECT_EQ(obj->Poly_Pt[0].Size, 4.0f);
}

TEST_F(OrientationTest, NormalPolyReadsPosAsItStands)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}));
    // Pos_Done is 0 and Pos is all zero: the face is degenerate as seen.
    Movie_Normal_Poly(obj.get(), 0);
    EXPECT_EQ(obj->Pos_Done, 0);
    EXPECT_EQ(obj->Poly_Pt[0].Normal.z, 0.0f);
    EXPECT_EQ(obj->Poly_Pt[0].Normal.w, 1.0f);
    EXPECT_EQ(obj->Poly_Pt[0].Size, 0.0f);
}

TEST_F(OrientationTest, NormalNodeIsThePlainMean)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 1, 2}, {0, 2, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    Movie_Normal_Node(obj.get(), 0);
    const Vector_4& n = obj->Node_Pt[0].Normal;
    EXPECT_FLOAT_EQ(n.x, 0.5f);
    EXPECT_FLOAT_EQ(n.y, 0.0f);
    EXPECT_FLOAT_EQ(n.z, 0.5f);
    EXPECT_FLOAT_EQ(n.w, 1.0f);
}

TEST_F(OrientationTest, NormalNodeWithoutLinksDividesByZero)
{
    ObjectPtr obj(make_object({{0, 0, 0}}, {}));
    Movie_Normal_Node(obj.get(), 0);
    EXPECT_TRUE(std::isnan(obj->Node_Pt[0].Normal.x));
}

} // namespace
