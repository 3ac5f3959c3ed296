#include "core/core_lines.h"
#include "support/sphere_mesh.h"
#include "core/volume.h"

using namespace pfx_test;

using MeasuresTest = PfxTest;

TEST_F(MeasuresTest, SurfaceVolumeAndPerimeterOfSmallShapes)
{
    const float quad_half = float(0.5 * std::sqrt(48.0)); // |(4, -4, 4)| / 2
    // The volume sums prisms down to a base plane one below the lowest node.
    const struct {
        std::vector<P3> nodes;
        Polys polys;
        float surface, volume, perimeter;
    } rows[] = {
        {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}}, 1, 1, 0},
        // a non-planar quad is the triangles (P0, P1, P2) and (P2, P3, P0)
        {{{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 2}}, {{0, 1, 2, 3}}, 2 + quad_half, 16.0f / 3, 0},
        // the perimeter is measured in the xy plane, over segments only
        {{{0, 0, 0}, {3, 4, 0}, {0, 0, 5}}, {{0, 1}, {0, 2}, {0, 1, 2}}, 12.5f, 0, 5},
        {{{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}, {{0, 1, 2}}, 0.5f, 0, 0}, // standing: no volume
        {{{0, 0, 0}}, {}, 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.polys));
        sink.clear();
        ObjectPtr obj(make_object(row.nodes, row.polys, GEOM_POLY | GEOM_LINE));
        EXPECT_FLOAT_EQ(Movie_Surface(obj.get()), row.surface);
        EXPECT_EQ(obj->Pos_Done, 1);
        EXPECT_FLOAT_EQ(Movie_Volume(obj.get()), row.volume);
        EXPECT_EQ(Movie_Perimeter(obj.get()), row.perimeter);
        EXPECT_EQ(sink.lines(), traced(L"Movie_Surface", {L"done"}) + traced(L"Movie_Volume", {L"done"}) +
                                    traced(L"Movie_Perimeter", {L"done"}));
    }
}

TEST_F(MeasuresTest, CubeVolumeFollowsOrientationAndDisplacement)
{
    ObjectPtr tris(make_unit_cube_triangles()), quads(make_unit_cube_quads());
    EXPECT_EQ(Movie_Volume(tris.get()), 1.0f);
    EXPECT_EQ(Movie_Surface(tris.get()), 6.0f);
    ASSERT_EQ(Movie_Normal_Flip(tris.get()), 1);
    EXPECT_EQ(Movie_Volume(tris.get()), -1.0f);
    EXPECT_EQ(Movie_Surface(tris.get()), 6.0f);
    EXPECT_EQ(Movie_Volume(quads.get()), 1.0f);
    quads->Flags |= DISPLACED;
    for (int i = 0; i < quads->Node_Nb; ++i) quads->Node_Pt[i].Displ = {10, -20, 30, 0};
    quads->Pos_Done = 0;
    EXPECT_FLOAT_EQ(Movie_Volume(quads.get()), 1.0f);
    ObjectPtr sphere(make_uv_sphere(128, 64));
    const double pi = std::acos(-1.0);
    EXPECT_NEAR(Movie_Volume(sphere.get()), 4.0 / 3.0 * pi, 0.01);
    EXPECT_NEAR(Movie_Surface(sphere.get()), 4.0 * pi, 0.01);
}

TEST_F(MeasuresTest, PrismIsProjectedAreaTimesMeanHeight)
{
    std::srand(7);
    auto rnd = [] { return double(std::rand()) / RAND_MAX * 4.0 - 2.0; };
    for (int i = 0; i < 200; ++i) {
        const double x[3] = {rnd(), rnd(), rnd()}, y[3] = {rnd(), rnd(), rnd()}, z[3] = {3 + rnd(), 3 + rnd(), 3 + rnd()};
        const double area2 = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
        if (std::fabs(area2) < 1e-3) continue;
        const double want = 0.5 * area2 * (z[0] + z[1] + z[2]) / 3.0;
        EXPECT_NEAR(pfx::prism_volume(x, y, z), want, 1e-9 * (1 + std::fabs(want))) << i;
    }
}

TEST_F(MeasuresTest, CentreOfPlacedBoxes)
{
    auto boxed = [](Vector_4 lo, Vector_4 hi) {
        Movie_Objs* o = make_object({{0, 0, 0}}, {});
        o->Box_Min = lo;
        o->Box_Max = hi;
        return ObjectPtr(o);
    };
    ObjectPtr a = boxed({0, 0, 0, 0}, {1, 1, 1, 0}), b = boxed({2, 0, 0, 0}, {3, 1, 1, 0});
    b->Matrix.m[0][0] = 2.0;
    Movie_Objs* list[] = {a.get(), b.get(), nullptr};
    Vector_4 c{9, 9, 9, 9}, s{9, 9, 9, 9};
    EXPECT_EQ(Movie_Obj_Center(list, &c, &s), 6.0f);
    EXPECT_EQ(v4(c), (V4{3, 0.5f, 0.5f, 0}));
    EXPECT_EQ(v4(s), (V4{6, 1, 1, 0}));
    EXPECT_TRUE(a->Pos_Done == 0 && b->Pos_Done == 1); // positions are computed for the later objects only

    // Row three translates.
    ObjectPtr t = boxed({-1, -2, -3, 0}, {1, 2, 3, 0});
    t->Matrix.m[3][0] = 10, t->Matrix.m[3][2] = -1, t->Matrix.m[2][2] = 0.5;
    Movie_Objs* one[] = {t.get(), nullptr};
    EXPECT_EQ(Movie_Obj_Center(one, c, s), 4.0f);
    EXPECT_EQ(v4(c), (V4{10, 0, -1, 0}));
    EXPECT_EQ(v4(s), (V4{2, 4, 3, 0}));

    Movie_Objs* none[] = {nullptr};
    EXPECT_EQ(Movie_Obj_Center(none, &c, &s) + Movie_Obj_Center(nullptr, &c, &s), 0.0f);
    EXPECT_EQ(v4(c), (V4{10, 0, -1, 0})); // nothing to centre: outputs stay as they were
    EXPECT_TRUE(sink.lines().empty());
}

