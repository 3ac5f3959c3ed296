#include <cstring>

#include "core/core_lines.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class TriangleTest : public PfxTest {};

std::vector<int> corners(const Movie_Poly& p)
{
    return std::vector<int>(p.Node_Id, p.Node_Id + p.Node_Id_Nb);
}

const std::vector<P3> kSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 2, 0}, {3, 3, 1}};

TEST_F(TriangleTest, SplitsOneQuadIntoTwoTriangles)
{
    ObjectPtr obj(make_object(kSquare, {{0, 1, 2, 3}}));
    EXPECT_EQ(Movie_Triangle(obj.get()), 1);
    ASSERT_EQ(obj->Poly_Nb, 2);
    EXPECT_EQ(corners(obj->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(corners(obj->Poly_Pt[1]), (std::vector<int>{0, 2, 3}));
    EXPECT_EQ(obj->Poly_Pt[0].Node_Id[3], 3); // the former fourth slot stays
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(TriangleTest, LeavesTrianglesAlone)
{
    ObjectPtr obj(make_object(kSquare, {{0, 1, 2}, {0, 2, 3}}));
    EXPECT_EQ(Movie_Triangle(obj.get()), 0);
    EXPECT_EQ(obj->Poly_Nb, 2);
    EXPECT_EQ(corners(obj->Poly_Pt[1]), (std::vector<int>{0, 2, 3}));
}

TEST_F(TriangleTest, AppendsSecondHalvesInQuadOrder)
{
    ObjectPtr obj(make_object(kSquare, {{0, 1, 2, 3}, {1, 2, 4}, {2, 3, 4, 5}, {0, 1}}, GEOM_POLY | GEOM_LINE));
    EXPECT_EQ(Movie_Triangle(obj.get()), 2);
    ASSERT_EQ(obj->Poly_Nb, 6);
    EXPECT_EQ(corners(obj->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(corners(obj->Poly_Pt[1]), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(corners(obj->Poly_Pt[2]), (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(corners(obj->Poly_Pt[3]), (std::vector<int>{0, 1}));
    EXPECT_EQ(corners(obj->Poly_Pt[4]), (std::vector<int>{0, 2, 3}));
    EXPECT_EQ(corners(obj->Poly_Pt[5]), (std::vector<int>{2, 4, 5}));
}

TEST_F(TriangleTest, SecondHalfInheritsTheQuadsAttributes)
{
    ObjectPtr obj(make_object(kSquare, {{0, 1, 2, 3}}));
    Movie_Poly& q = obj->Poly_Pt[0];
    q.Normal = {0, 0, 1, 1};
    q.Color = 0x11223344u;
    q.Size = 2.0f;
    q.Plane_D = -0.5f;
    q.Axis = 2;
    q.Mark = 7;
    const int text[4] = {10, 11, 12, 13}, normal[4] = {20, 21, 22, 23};
    std::memcpy(q.Text_Id, text, sizeof text);
    std::memcpy(q.Normal_Id, normal, sizeof normal);
    ASSERT_EQ(Movie_Triangle(obj.get()), 1);
    const Movie_Poly& t = obj->Poly_Pt[1];
    EXPECT_EQ(t.Normal.z, 1.0f);
    EXPECT_EQ(t.Color, 0x11223344u);
    EXPECT_EQ(t.Size, 2.0f);
    EXPECT_EQ(t.Plane_D, -0.5f);
    EXPECT_EQ(t.Axis, 2);
    EXPECT_EQ(t.Mark, 0u);
    EXPECT_EQ(std::vector<int>(t.Text_Id, t.Text_Id + 4), (std::vector<int>{10, 12, 13, 0}));
    EXPECT_EQ(std::vector<int>(t.Normal_Id, t.Normal_Id + 4), (std::vector<int>{20, 22, 23, 0}));
    EXPECT_EQ(std::vector<int>(obj->Poly_Pt[0].Text_Id, obj->Poly_Pt[0].Text_Id + 4),
              (std::vector<int>{10, 11, 12, 13}));
}

TEST_F(TriangleTest, RefusesQuietly)
{
    EXPECT_EQ(Movie_Triangle(nullptr), 0);
    ObjectPtr lines(make_object(kSquare, {{0, 1, 2, 3}}, GEOM_LINE));
    EXPECT_EQ(Movie_Triangle(lines.get()), 0);
    EXPECT_EQ(lines->Poly_Pt[0].Node_Id_Nb, 4);
    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Triangle(empty.get()), 0);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(TriangleTest, ReportsAFailedGrowAndKeepsEarlierSplits)
{
    const int failing = for_each_alloc_failure([&](long n) {
        ObjectPtr o(make_object(kSquare, {{0, 1, 2, 3}, {2, 3, 4, 5}}));
        sink.clear();
        pfx::alloc_fail_at(n); // the builder's own allocations come first
        const int r = Movie_Triangle(o.get());
        if (n == 1) {
            EXPECT_EQ(r, 0);
            EXPECT_EQ(o->Poly_Nb, 2);
            EXPECT_EQ(corners(o->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
            EXPECT_EQ(o->Poly_Pt[1].Node_Id_Nb, 4);
            ASSERT_EQ(sink.lines().size(), 1u);
            EXPECT_TRUE(is_memory_line(sink.lines()[0], L"movie_func", L"realloc (var=mov->Poly_Pt, dim=3x120)"));
        } else if (n == 2) {
            EXPECT_EQ(r, 0);
            EXPECT_EQ(o->Poly_Nb, 3);
            EXPECT_EQ(corners(o->Poly_Pt[1]), (std::vector<int>{2, 3, 4}));
            EXPECT_EQ(corners(o->Poly_Pt[2]), (std::vector<int>{0, 2, 3}));
            ASSERT_EQ(sink.lines().size(), 1u);
            EXPECT_TRUE(is_memory_line(sink.lines()[0], L"movie_func", L"realloc (var=mov->Poly_Pt, dim=4x120)"));
        } else {
            EXPECT_EQ(r, 2);
        }
    });
    EXPECT_EQ(failing, 2);
}

} // namespace
