#include <cmath>

#include "core/core_lines.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class InitNormTest : public PfxTest {};

std::vector<int> links(const Movie_Node& n)
{
    return std::vector<int>(n.Poly_Id, n.Poly_Id + n.Poly_Id_Nb);
}

void expect_vec(const Vector_4& v, float x, float y, float z, float w)
{
    EXPECT_FLOAT_EQ(v.x, x);
    EXPECT_FLOAT_EQ(v.y, y);
    EXPECT_FLOAT_EQ(v.z, z);
    EXPECT_FLOAT_EQ(v.w, w);
}

TEST_F(InitNormTest, RightTriangleInTheXyPlane)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}));
    EXPECT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", L"done"));
    const Movie_Poly& p = obj->Poly_Pt[0];
    expect_vec(p.Normal, 0, 0, 1, 1);
    EXPECT_EQ(p.Plane_D, 0.0f);
    EXPECT_EQ(p.Axis, 2);
    EXPECT_EQ(p.Size, 2.0f);
    EXPECT_EQ(obj->Pos_Done, 1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(links(obj->Node_Pt[i]), std::vector<int>{0});
        expect_vec(obj->Node_Pt[i].Normal, 0, 0, 1, 1);
    }
}

TEST_F(InitNormTest, ReversedCornersPointDown)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 2, 1}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    expect_vec(obj->Poly_Pt[0].Normal, 0, 0, -1, 1);
}

TEST_F(InitNormTest, PlaneConstantHoldsForCornerZero)
{
    ObjectPtr obj(make_object({{0, 0, 3}, {1, 0, 3}, {0, 1, 3}}, {{0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[0].Plane_D, -3.0f);
}

TEST_F(InitNormTest, AxisTiesGoToTheLaterAxis)
{
    // Normal (1,1,1)/sqrt3: all equal -> 2.
    ObjectPtr eq(make_object({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(eq.get()), 1);
    EXPECT_EQ(eq->Poly_Pt[0].Axis, 2);
    // Plane x + y = 1 (normal (1,1,0)/sqrt2): |x| = |y| > |z| -> 1.
    ObjectPtr xy(make_object({{1, 0, 0}, {0, 1, 0}, {1, 0, 1}}, {{0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(xy.get()), 1);
    EXPECT_EQ(xy->Poly_Pt[0].Axis, 1);
    // Plane x = 0 -> 0.
    ObjectPtr x(make_object({{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 1, 2}}));
    ASSERT_EQ(Movie_Init_Norm(x.get()), 1);
    EXPECT_EQ(x->Poly_Pt[0].Axis, 0);
    expect_vec(x->Poly_Pt[0].Normal, 1, 0, 0, 1);
}

TEST_F(InitNormTest, QuadSizeTakesTheDiagonals)
{
    // |P0-P1|^2 = 1, |P2-P1|^2 = 4, |P3-P1|^2 = 5, |P0-P2|^2 = 5 ... make one diagonal longest.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {-3, 2, 0}}, {{0, 1, 2, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[0].Size, 20.0f); // |P3 - P1|^2 = 16 + 4
    EXPECT_EQ(links(obj->Node_Pt[3]), std::vector<int>{0});
}

TEST_F(InitNormTest, SizeCountsW)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}));
    obj->Node_Pt[0].Coord.w = 3.0f;
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[0].Size, 10.0f); // 1 + 9
}

TEST_F(InitNormTest, SharedNodeTakesTheMeanDirection)
{
    // Node 0 is in a triangle of z = 0 (normal +z) and one of x = 0 (normal +x).
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 1, 2}, {0, 2, 3}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    expect_vec(obj->Poly_Pt[1].Normal, 1, 0, 0, 1);
    const float h = 1.0f / std::sqrt(2.0f);
    expect_vec(obj->Node_Pt[0].Normal, h, 0, h, 1);
    EXPECT_EQ(links(obj->Node_Pt[0]), (std::vector<int>{0, 1}));
    EXPECT_EQ(links(obj->Node_Pt[2]), (std::vector<int>{0, 1}));
    EXPECT_EQ(links(obj->Node_Pt[3]), std::vector<int>{1});
}

TEST_F(InitNormTest, DegenerateFaceAddsNothingToItsNodes)
{
    // Polygon 1 repeats node 0: its direction is zero, yet node 0 keeps the
    // direction of polygon 0 and nothing turns into nan.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 0, 1}}));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    expect_vec(obj->Poly_Pt[1].Normal, 0, 0, 0, 1);
    EXPECT_EQ(obj->Poly_Pt[1].Axis, 2);
    EXPECT_EQ(links(obj->Node_Pt[0]), (std::vector<int>{0, 1, 1}));
    expect_vec(obj->Node_Pt[0].Normal, 0, 0, 1, 1);
    expect_vec(obj->Node_Pt[1].Normal, 0, 0, 1, 1);
}

TEST_F(InitNormTest, NodeOfOnlyDegenerateFacesGetsZeroNotNan)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{0, 1, 2}}));
    obj->Node_Pt[1].Normal = {NAN, NAN, NAN, NAN}; // stale garbage is overwritten
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    for (int i = 0; i < 3; ++i) expect_vec(obj->Node_Pt[i].Normal, 0, 0, 0, 1);
}

TEST_F(InitNormTest, UnusedNodeKeepsItsNormalNormalised)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 5}}, {{0, 1, 2}}));
    obj->Node_Pt[3].Normal = {0, 3, 4, 7};
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    expect_vec(obj->Node_Pt[3].Normal, 0, 0.6f, 0.8f, 7);
}

TEST_F(InitNormTest, RunningTwiceDoesNotDoubleTheLinks)
{
    ObjectPtr obj(make_tetrahedron());
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    std::vector<std::vector<int>> first;
    for (int i = 0; i < obj->Node_Nb; ++i) first.push_back(links(obj->Node_Pt[i]));
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    for (int i = 0; i < obj->Node_Nb; ++i) {
        EXPECT_EQ(links(obj->Node_Pt[i]), first[i]);
        EXPECT_EQ(obj->Node_Pt[i].Poly_Id_Nb, 3);
    }
}

TEST_F(InitNormTest, SegmentsGetNoLinks)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1}, {1, 2}, {2}}));
    obj->Poly_Pt[0].Normal = {9, 9, 9, 9};
    EXPECT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", L"done"));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(obj->Node_Pt[i].Poly_Id_Nb, 0);
    EXPECT_EQ(obj->Poly_Pt[0].Normal.x, 9.0f);
}

TEST_F(InitNormTest, UsesDisplacedPositions)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY | DISPLACED));
    for (int i = 0; i < 3; ++i) obj->Node_Pt[i].Displ = {0, 0, 2, 0};
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Node_Pt[0].Pos.z, 2.0f);
    EXPECT_EQ(obj->Poly_Pt[0].Plane_D, -2.0f);
}

TEST_F(InitNormTest, RefusalsInOrder)
{
    EXPECT_EQ(Movie_Init_Norm(nullptr), 0);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", L"! obj"));
    sink.clear();
    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Init_Norm(empty.get()), 0);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", L"! Node_Nb"));
    sink.clear();
    ObjectPtr lines(make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, GEOM_LINE | NORMALS_DONE));
    EXPECT_EQ(Movie_Init_Norm(lines.get()), 0);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", L"! GEOM_POLY"));
    sink.clear();
    ObjectPtr done(make_tetrahedron());
    done->Flags |= NORMALS_DONE;
    EXPECT_EQ(Movie_Init_Norm(done.get()), 0);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", L"already done"));
    EXPECT_EQ(done->Node_Pt[0].Poly_Id_Nb, 0);
}

TEST_F(InitNormTest, PolygonNamingAMissingNodeIsSkipped)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1, 7}, {2, 1, -1}}));
    obj->Poly_Pt[1].Size = 5.0f;
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Poly_Pt[1].Size, 5.0f);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(links(obj->Node_Pt[i]), std::vector<int>{0});
}

TEST_F(InitNormTest, DoesNotSetNormalsDone)
{
    ObjectPtr obj(make_tetrahedron());
    const unsigned flags = obj->Flags;
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    EXPECT_EQ(obj->Flags, flags);
}

TEST_F(InitNormTest, ReportsEachFailedLinkAndLeavesThatNodeAsItWas)
{
    const int failing = for_each_alloc_failure([&](long n) {
        ObjectPtr o(make_tetrahedron());
        sink.clear();
        pfx::alloc_fail_at(n);
        const int r = Movie_Init_Norm(o.get());
        if (n > 12) {
            EXPECT_EQ(r, 1);
            return;
        }
        EXPECT_EQ(r, 0);
        // Links are made in polygon order, three per triangle.
        const Movie_Poly& p = o->Poly_Pt[(n - 1) / 3];
        const Movie_Node& failed = o->Node_Pt[p.Node_Id[(n - 1) % 3]];
        int made_before = 0;
        for (long k = 0; k < n - 1; ++k)
            if (o->Poly_Pt[k / 3].Node_Id[k % 3] == p.Node_Id[(n - 1) % 3]) ++made_before;
        EXPECT_EQ(failed.Poly_Id_Nb, made_before);
        const std::vector<Line> want_entry = {entry_line(L"Movie_Init_Norm")};
        ASSERT_EQ(sink.lines().size(), 2u);
        EXPECT_EQ(sink.lines()[0], want_entry[0]);
        const std::wstring dim = L"realloc (var=n->Poly_Id, dim=" + std::to_wstring(made_before + 1) + L"x4)";
        EXPECT_TRUE(is_memory_line(sink.lines()[1], L"movie_func", dim)) << printable(sink.lines()[1].text);
    });
    EXPECT_EQ(failing, 12);
}

} // namespace
