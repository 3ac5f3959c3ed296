#include <cmath>

#include "core/core_lines.h"
#include "core/sphere_mesh.h"
#include "core/volume.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class MeasuresTest : public PfxTest {};

TEST_F(MeasuresTest, SurfaceOfUnitSquare)
{
    ObjectPtr quad(make_object({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}}));
    EXPECT_EQ(Movie_Surface(quad.get()), 1.0f);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Surface", L"done"));
    EXPECT_EQ(quad->Pos_Done, 1);
    ObjectPtr tri(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1}}, GEOM_POLY | GEOM_LINE));
    EXPECT_EQ(Movie_Surface(tri.get()), 0.5f);
}

TEST_F(MeasuresTest, SurfaceOfQuadUsesBothHalves)
{
    // A non-planar quad: (P0, P1, P2) and (P2, P3, P0).
    ObjectPtr quad(make_object({{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 2}}, {{0, 1, 2, 3}}));
    const float want = float(2.0 + 0.5 * std::sqrt(48.0)); // cross (4, -4, 4)
    EXPECT_FLOAT_EQ(Movie_Surface(quad.get()), want);
}

TEST_F(MeasuresTest, PerimeterIsMeasuredInTheXyPlane)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {3, 4, 0}, {0, 0, 5}}, {{0, 1}, {0, 2}, {0, 1, 2}}, GEOM_LINE | GEOM_POLY));
    EXPECT_EQ(Movie_Perimeter(obj.get()), 5.0f);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Perimeter", L"done"));
}

TEST_F(MeasuresTest, UnitCubeVolumeAndItsFlip)
{
    ObjectPtr obj(make_unit_cube_triangles());
    EXPECT_EQ(Movie_Volume(obj.get()), 1.0f);
    EXPECT_EQ(sink.lines(), traced(L"Movie_Volume", L"done"));
    EXPECT_EQ(Movie_Surface(obj.get()), 6.0f);
    ASSERT_EQ(Movie_Normal_Flip(obj.get()), 1);
    EXPECT_EQ(Movie_Volume(obj.get()), -1.0f);
    EXPECT_EQ(Movie_Surface(obj.get()), 6.0f);
}

TEST_F(MeasuresTest, CubeOfQuadsMovedAwayKeepsItsVolume)
{
    ObjectPtr obj(make_unit_cube_quads());
    EXPECT_EQ(Movie_Volume(obj.get()), 1.0f);
    obj->Flags |= DISPLACED;
    for (int i = 0; i < obj->Node_Nb; ++i) obj->Node_Pt[i].Displ = {10, -20, 30, 0};
    obj->Pos_Done = 0;
    EXPECT_FLOAT_EQ(Movie_Volume(obj.get()), 1.0f);
}

TEST_F(MeasuresTest, StandingTriangleHasAreaButNoVolume)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}, {{0, 1, 2}}));
    EXPECT_EQ(Movie_Volume(obj.get()), 0.0f);
    EXPECT_EQ(Movie_Surface(obj.get()), 0.5f);
}

TEST_F(MeasuresTest, PrismIsProjectedAreaTimesMeanHeight)
{
    std::srand(7);
    auto rnd = [] { return double(std::rand()) / RAND_MAX * 4.0 - 2.0; };
    for (int i = 0; i < 200; ++i) {
        const double x[3] = {rnd(), rnd(), rnd()}, y[3] = {rnd(), rnd(), rnd()};
        const double z[3] = {1 + rnd() + 2, 1 + rnd() + 2, 1 + rnd() + 2};
        const double area2 = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
        if (std::fabs(area2) < 1e-3) continue;
        const double want = 0.5 * area2 * (z[0] + z[1] + z[2]) / 3.0;
        EXPECT_NEAR(pfx::prism_volume(x, y, z), want, 1e-9 * (1 + std::fabs(want))) << i;
    }
}

TEST_F(MeasuresTest, PrismSkipsSlabsOfVerticalEdges)
{
    // Corners 1 and 2 share x: only the slab over [0, 1] counts, which is the
    // whole triangle here.
    const double x[3] = {0, 1, 1}, y[3] = {0, 0, 1}, z[3] = {1, 1, 1};
    EXPECT_DOUBLE_EQ(pfx::prism_volume(x, y, z), 0.5);
    const double xr[3] = {0, 1, 1}, yr[3] = {0, 1, 0};
    EXPECT_DOUBLE_EQ(pfx::prism_volume(xr, yr, z), -0.5);
}

TEST_F(MeasuresTest, SphereMeasuresApproachTheirLimits)
{
    ObjectPtr obj(make_uv_sphere(128, 64));
    const double pi = std::acos(-1.0);
    EXPECT_NEAR(Movie_Volume(obj.get()), 4.0 / 3.0 * pi, 0.01);
    EXPECT_NEAR(Movie_Surface(obj.get()), 4.0 * pi, 0.01);
}

TEST_F(MeasuresTest, EmptyPolygonListGivesZeroDone)
{
    ObjectPtr obj(make_object({{0, 0, 0}}, {}, GEOM_POLY | GEOM_LINE));
    EXPECT_EQ(Movie_Volume(obj.get()), 0.0f);
    EXPECT_EQ(Movie_Surface(obj.get()), 0.0f);
    EXPECT_EQ(Movie_Perimeter(obj.get()), 0.0f);
    std::vector<Line> want;
    for (const wchar_t* n : {L"Movie_Volume", L"Movie_Surface", L"Movie_Perimeter"})
        for (const Line& l : traced(n, L"done")) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(MeasuresTest, RefusalsInOrder)
{
    ObjectPtr empty(make_object({}, {}));
    ObjectPtr lines(make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, GEOM_LINE));
    ObjectPtr tris(make_tetrahedron());
    EXPECT_EQ(Movie_Volume(nullptr), 0.0f);
    EXPECT_EQ(Movie_Volume(empty.get()), 0.0f);
    EXPECT_EQ(Movie_Volume(lines.get()), 0.0f);
    EXPECT_EQ(Movie_Surface(nullptr), 0.0f);
    EXPECT_EQ(Movie_Surface(empty.get()), 0.0f);
    EXPECT_EQ(Movie_Surface(lines.get()), 0.0f);
    EXPECT_EQ(Movie_Perimeter(nullptr), 0.0f);
    EXPECT_EQ(Movie_Perimeter(empty.get()), 0.0f);
    EXPECT_EQ(Movie_Perimeter(tris.get()), 0.0f);
    std::vector<Line> want;
    for (const wchar_t* n : {L"Movie_Volume", L"Movie_Surface"})
        for (const wchar_t* why : {L"! obj", L"! Node_Nb", L"! GEOM_POLY"})
            for (const Line& l : traced(n, why)) want.push_back(l);
    for (const wchar_t* why : {L"! obj", L"! Node_Nb", L"! GEOM_LINE"})
        for (const Line& l : traced(L"Movie_Perimeter", why)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

Movie_Objs* boxed(Vector_4 lo, Vector_4 hi)
{
    Movie_Objs* o = make_object({{0, 0, 0}}, {});
    o->Box_Min = lo;
    o->Box_Max = hi;
    return o;
}

TEST_F(MeasuresTest, CentreOfTwoPlacedBoxes)
{
    ObjectPtr a(boxed({0, 0, 0, 0}, {1, 1, 1, 0}));
    ObjectPtr b(boxed({2, 0, 0, 0}, {3, 1, 1, 0}));
    b->Matrix.m[0][0] = 2.0;
    Movie_Objs* list[] = {a.get(), b.get(), nullptr};
    Vector_4 c{9, 9, 9, 9}, s{9, 9, 9, 9};
    EXPECT_EQ(Movie_Obj_Center(list, &c, &s), 6.0f);
    EXPECT_EQ(c.x, 3.0f);
    EXPECT_EQ(c.y, 0.5f);
    EXPECT_EQ(c.z, 0.5f);
    EXPECT_EQ(c.w, 0.0f);
    EXPECT_EQ(s.x, 6.0f);
    EXPECT_EQ(s.y, 1.0f);
    EXPECT_EQ(s.z, 1.0f);
    EXPECT_EQ(s.w, 0.0f);
    EXPECT_TRUE(sink.lines().empty());
    EXPECT_EQ(a->Pos_Done, 0); // positions are computed for the later objects only
    EXPECT_EQ(b->Pos_Done, 1);
}

TEST_F(MeasuresTest, CentreTranslatesByRowThree)
{
    ObjectPtr a(boxed({-1, -2, -3, 0}, {1, 2, 3, 0}));
    a->Matrix.m[3][0] = 10;
    a->Matrix.m[3][2] = -1;
    a->Matrix.m[2][2] = 0.5;
    Movie_Objs* list[] = {a.get(), nullptr};
    Vector_4 c{}, s{};
    EXPECT_EQ(Movie_Obj_Center(list, c, s), 4.0f);
    EXPECT_EQ(c.x, 10.0f);
    EXPECT_EQ(c.z, -1.0f);
    EXPECT_EQ(s.z, 3.0f);
}

TEST_F(MeasuresTest, CentreOfNullListLeavesOutputsAlone)
{
    Vector_4 c{9, 9, 9, 9}, s{8, 8, 8, 8};
    Movie_Objs* list[] = {nullptr};
    EXPECT_EQ(Movie_Obj_Center(list, &c, &s), 0.0f);
    EXPECT_EQ(Movie_Obj_Center(nullptr, &c, &s), 0.0f);
    EXPECT_EQ(c.x, 9.0f);
    EXPECT_EQ(s.w, 8.0f);
}

} // namespace
