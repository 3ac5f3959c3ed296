// Copying triangle objects into flat per-corner arrays.
#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <vector>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::Line;
using pfx_test::make_object;
using pfx_test::ObjectPtr;

constexpr float kUntouched = -99.0f;

// Nodes i at Coord (i, 10 i, 100 i) with Normal (i, 0, 1).
ObjectPtr numbered(int nodes, const std::vector<std::vector<int>>& polys)
{
    std::vector<pfx_test::P3> pts;
    for (int i = 0; i < nodes; ++i) pts.push_back({float(i), 10.0f * i, 100.0f * i});
    ObjectPtr obj(make_object(pts, polys));
    for (int i = 0; i < nodes; ++i) obj->Node_Pt[i].Normal = Vector_4{float(i), 0, 1, 1};
    return obj;
}

std::vector<float> coords_of(std::initializer_list<int> nodes)
{
    std::vector<float> out;
    for (int i : nodes) out.insert(out.end(), {float(i), 10.0f * i, 100.0f * i});
    return out;
}
std::vector<float> normals_of(std::initializer_list<int> nodes)
{
    std::vector<float> out;
    for (int i : nodes) out.insert(out.end(), {float(i), 0, 1});
    return out;
}

struct Arrays {
    explicit Arrays(int polys)
        : pos(9 * polys + 3, kUntouched), tex(6 * polys + 2, kUntouched),
          normals(9 * polys + 3, kUntouched)
    {
    }
    int copy(Movie_Objs* obj) { return Movie_To_Array(obj, pos.data(), tex.data(), normals.data()); }
    std::vector<float> pos, tex, normals;
};

std::vector<float> head(const std::vector<float>& v, size_t n) { return {v.begin(), v.begin() + n}; }
bool untouched_from(const std::vector<float>& v, size_t n)
{
    for (size_t i = n; i < v.size(); ++i)
        if (v[i] != kUntouched) return false;
    return true;
}

using MovieToArray = pfx_test::PfxTest;

TEST_F(MovieToArray, OneTriangleGivesItsCornersReversed)
{
    ObjectPtr obj = numbered(10, {{4, 7, 9}});
    Arrays a(1);
    EXPECT_EQ(a.copy(obj.get()), 3);
    EXPECT_EQ(head(a.pos, 9), coords_of({9, 7, 4}));
    EXPECT_EQ(head(a.normals, 9), normals_of({9, 7, 4}));
    EXPECT_TRUE(untouched_from(a.pos, 9));
    EXPECT_TRUE(untouched_from(a.normals, 9));
    EXPECT_TRUE(untouched_from(a.tex, 0)) << "no texture coordinates, no writes";
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieToArray, SeveralTrianglesInPolygonOrder)
{
    ObjectPtr obj = numbered(5, {{0, 1, 2}, {2, 3, 4}, {4, 0, 2}});
    Arrays a(3);
    EXPECT_EQ(a.copy(obj.get()), 9);
    EXPECT_EQ(head(a.pos, 27), coords_of({2, 1, 0, 4, 3, 2, 2, 0, 4}));
    EXPECT_TRUE(untouched_from(a.pos, 27));
}

TEST_F(MovieToArray, TextureCoordinatesThroughEachCornersIndex)
{
    ObjectPtr obj = numbered(3, {{0, 1, 2}, {2, 1, 0}});
    obj->Text_Nb = 3;
    obj->Text_Pt = static_cast<float*>(std::calloc(6, sizeof(float)));
    const float uv[6] = {0.0f, 0.5f, 1.0f, 1.5f, 2.0f, 2.5f};
    std::copy(uv, uv + 6, obj->Text_Pt);
    const int t0[4] = {2, 0, 1, 0}, t1[4] = {1, 1, 2, 0};
    std::copy(t0, t0 + 4, obj->Poly_Pt[0].Text_Id);
    std::copy(t1, t1 + 4, obj->Poly_Pt[1].Text_Id);
    Arrays a(2);
    EXPECT_EQ(a.copy(obj.get()), 6);
    // Corners 2, 1, 0 of each triangle: pairs 1, 0, 2 then 2, 1, 1.
    EXPECT_EQ(head(a.tex, 12),
              (std::vector<float>{1.0f, 1.5f, 0.0f, 0.5f, 2.0f, 2.5f, 2.0f, 2.5f, 1.0f, 1.5f,
                                  1.0f, 1.5f}));
    EXPECT_TRUE(untouched_from(a.tex, 12));
}

TEST_F(MovieToArray, NormalListWinsOverNodeNormals)
{
    ObjectPtr obj = numbered(3, {{0, 1, 2}});
    obj->Normal_Nb = 2;
    obj->Normal_Pt = static_cast<float*>(std::calloc(6, sizeof(float)));
    obj->Normal_Pt[2] = 1; // entry 0: (0, 0, 1)
    obj->Normal_Pt[3] = 1; // entry 1: (1, 0, 0)
    const int ids[4] = {0, 1, 1, 0};
    std::copy(ids, ids + 4, obj->Poly_Pt[0].Normal_Id);
    Arrays a(1);
    EXPECT_EQ(a.copy(obj.get()), 3);
    EXPECT_EQ(head(a.normals, 9), (std::vector<float>{1, 0, 0, 1, 0, 0, 0, 0, 1}));
}

TEST_F(MovieToArray, DisplacementIsNotApplied)
{
    ObjectPtr obj = numbered(3, {{0, 1, 2}});
    obj->Flags |= DISPLACED;
    for (int i = 0; i < 3; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 3, 0};
    Movie_Compute_Pos(obj.get());
    ASSERT_EQ(obj->Node_Pt[2].Pos.x, 3.0f);
    Arrays a(1);
    EXPECT_EQ(a.copy(obj.get()), 3);
    EXPECT_EQ(head(a.pos, 9), coords_of({2, 1, 0}));
}

TEST_F(MovieToArray, QuadStopsWithWarningAfterEarlierCorners)
{
    ObjectPtr obj = numbered(5, {{0, 1, 2}, {1, 2, 3, 4}, {2, 3, 4}});
    obj->Name = wcsdup(L"panel");
    obj->Text_Nb = 1;
    obj->Text_Pt = static_cast<float*>(std::calloc(2, sizeof(float)));
    Arrays a(3);
    EXPECT_EQ(a.copy(obj.get()), 0);
    EXPECT_EQ(sink.lines(),
              (std::vector<Line>{{MSG_USER, L"\xF1\x05WARNING:\x02 Polygon is not a triangle!"},
                                 {MSG_USER, L"\xF1\x02       Obj: panel"}}));
    EXPECT_EQ(head(a.pos, 9), coords_of({2, 1, 0}));
    EXPECT_TRUE(untouched_from(a.pos, 9));
    EXPECT_TRUE(untouched_from(a.normals, 9));
    EXPECT_TRUE(untouched_from(a.tex, 6));
}

TEST_F(MovieToArray, PointsAndLinesAreNotTrianglesEither)
{
    for (int corners : {1, 2, 0, 5}) {
        sink.clear();
        ObjectPtr obj = numbered(3, {{0, 1, 2}});
        obj->Poly_Pt[0].Node_Id_Nb = corners;
        obj->Name = wcsdup(L"o");
        Arrays a(1);
        EXPECT_EQ(a.copy(obj.get()), 0) << corners;
        EXPECT_EQ(sink.lines().size(), 2u) << corners;
        EXPECT_TRUE(untouched_from(a.pos, 0)) << corners;
    }
}

TEST_F(MovieToArray, NoPolygonsGiveThreeTimesTheCount)
{
    ObjectPtr obj = numbered(3, {});
    Arrays a(1);
    EXPECT_EQ(a.copy(obj.get()), 0);
    obj->Poly_Nb = -2; // a broken count passes straight through
    EXPECT_EQ(a.copy(obj.get()), -6);
    EXPECT_TRUE(untouched_from(a.pos, 0));
    EXPECT_TRUE(untouched_from(a.normals, 0));
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieToArray, NullObjectGivesZero)
{
    Arrays a(1);
    EXPECT_EQ(a.copy(nullptr), 0);
    EXPECT_TRUE(untouched_from(a.pos, 0));
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieToArray, ObjectIsOnlyRead)
{
    ObjectPtr obj = numbered(3, {{0, 1, 2}});
    const Movie_Objs before = *obj;
    Arrays a(1);
    a.copy(obj.get());
    EXPECT_EQ(obj->Pos_Done, before.Pos_Done);
    EXPECT_EQ(obj->Flags, before.Flags);
    EXPECT_EQ(obj->Node_Pt[2].Pos.x, 0.0f) << "positions are not computed";
}

} // namespace
