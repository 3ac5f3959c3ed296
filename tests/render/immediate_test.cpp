// Immediate-mode drawing seen through GL feedback mode: which primitives,
// which corners in which order, which colours, normals and texture
// coordinates, and which polygons each part draws.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "gl_host.h"
#include "render/vbo_build.h"
#include "support/objects.h"

namespace {

using namespace pfx_render_test;
using pfx_test::make_object;
using pfx_test::ObjectPtr;

uint32_t rgba(uint8_t r, uint8_t g, uint8_t b, uint8_t a)
{
    return pfx::render::pack_color({r, g, b, a});
}

using XY = std::pair<float, float>;
std::vector<XY> corners(const FbPrim& p)
{
    std::vector<XY> out;
    for (const FbVertex& v : p.v) out.push_back({v.x, v.y});
    return out;
}

void expect_colour(const FbVertex& v, int r, int g, int b, const char* what)
{
    EXPECT_NEAR(v.r, r / 255.0f, 1e-6f) << what;
    EXPECT_NEAR(v.g, g / 255.0f, 1e-6f) << what;
    EXPECT_NEAR(v.b, b / 255.0f, 1e-6f) << what;
    EXPECT_EQ(v.a, 1.0f) << what;
}

std::vector<float> current_normal()
{
    std::vector<float> n(3);
    glGetFloatv(GL_CURRENT_NORMAL, n.data());
    return n;
}

// A triangle (10,10) (30,10) (10,30) and a quad (40,40) (60,40) (60,60)
// (40,60), both counter-clockwise in window coordinates.
ObjectPtr tri_and_quad(unsigned flags)
{
    ObjectPtr obj(make_object({{10, 10, 0}, {30, 10, 0}, {10, 30, 0}, {40, 40, 0}, {60, 40, 0},
                               {60, 60, 0}, {40, 60, 0}},
                              {{0, 1, 2}, {3, 4, 5, 6}}, flags));
    obj->Poly_Pt[0].Normal = Vector_4{0, 0, 1, 1};
    obj->Poly_Pt[1].Normal = Vector_4{0, 0.6f, 0.8f, 1};
    return obj;
}

using ImmediateDraw = GlTest;

TEST_F(ImmediateDraw, TrianglesGoOutWithTheirCornersReversed)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO);
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    EXPECT_EQ(prims[0].kind, static_cast<GLenum>(GL_POLYGON));
    EXPECT_EQ(corners(prims[0]), (std::vector<XY>{{10, 30}, {30, 10}, {10, 10}}));
    EXPECT_LT(signed_area2(prims[0]), 0) << "clockwise: the reverse of the polygon's own order";
}

TEST_F(ImmediateDraw, QuadsGoOutAsQuadsWithTheirCornersReversed)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO);
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u) << "the GL cuts the quad into two triangles";
    std::set<XY> seen;
    for (int i : {1, 2}) {
        ASSERT_EQ(prims[i].v.size(), 3u);
        EXPECT_LT(signed_area2(prims[i]), 0) << i;
        for (const XY& c : corners(prims[i])) seen.insert(c);
    }
    EXPECT_EQ(seen, (std::set<XY>{{40, 40}, {60, 40}, {60, 60}, {40, 60}}));
    EXPECT_EQ(corners(prims[1])[0], (XY{40, 60})) << "corner 3 first";
}

TEST_F(ImmediateDraw, BuffersKeepTheForwardOrder)
{
    // The same object from buffers: the two paths wind opposite ways.
    ObjectPtr obj = tri_and_quad(GEOM_POLY);
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_NE(obj->VBO_Vertex, 0u);
    ASSERT_EQ(prims.size(), 3u);
    EXPECT_EQ(corners(prims[0]), (std::vector<XY>{{10, 10}, {30, 10}, {10, 30}}));
    EXPECT_EQ(corners(prims[1]), (std::vector<XY>{{40, 40}, {60, 40}, {60, 60}}));
    EXPECT_EQ(corners(prims[2]), (std::vector<XY>{{60, 60}, {40, 60}, {40, 40}}));
    for (const FbPrim& p : prims) EXPECT_GT(signed_area2(p), 0);
}

TEST_F(ImmediateDraw, PointsAndLinesKeepTheirOrderAndGetTheFixedNormal)
{
    ObjectPtr obj(make_object({{5, 5, 0}, {20, 5, 0}, {20, 25, 0}}, {{2}, {0, 1}},
                              GEOM_POINT | GEOM_LINE | COLORED));
    for (int i = 0; i < 3; ++i) obj->Node_Pt[i].Color = rgba(255, 255, 255, 255);
    obj->Text_Nb = 1;
    obj->Text_Pt = static_cast<float*>(std::calloc(2, sizeof(float)));
    obj->Text_Pt[0] = 0.75f;
    // Whatever the host set last stays current: points and lines send no
    // colour and no texture coordinate.
    glColor4f(0.25f, 0.5f, 0.75f, 1.0f);
    glTexCoord2f(0.125f, 0.875f);
    glNormal3f(1, 0, 0);
    std::vector<float> normal_after;
    const std::vector<FbPrim> prims = feedback([&] {
        Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
        normal_after = current_normal();
    });
    ASSERT_EQ(prims.size(), 2u);
    EXPECT_EQ(prims[0].kind, static_cast<GLenum>(GL_POINTS));
    EXPECT_EQ(corners(prims[0]), (std::vector<XY>{{20, 25}}));
    EXPECT_EQ(prims[1].kind, static_cast<GLenum>(GL_LINES));
    EXPECT_EQ(corners(prims[1]), (std::vector<XY>{{5, 5}, {20, 5}}));
    for (const FbPrim& p : prims)
        for (const FbVertex& v : p.v) {
            EXPECT_EQ(v.r, 0.25f);
            EXPECT_EQ(v.b, 0.75f);
            EXPECT_EQ(v.s, 0.125f);
            EXPECT_EQ(v.t, 0.875f);
        }
    EXPECT_EQ(normal_after, (std::vector<float>{0, 0, -1}));
}

TEST_F(ImmediateDraw, FlatModeSendsOnePolygonNormalAndColour)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED | NO_VBO);
    obj->Node_Pt[0].Color = rgba(255, 0, 0, 10);
    obj->Node_Pt[1].Color = rgba(0, 255, 0, 20);
    obj->Node_Pt[2].Color = rgba(0, 0, 255, 30);
    obj->Poly_Pt[1].Color = rgba(10, 20, 30, 40);
    std::vector<float> normal_after;
    const std::vector<FbPrim> prims = feedback([&] {
        Movie_OpenGL_Draw(obj.get(), 2, 0, 1000);
        normal_after = current_normal();
    });
    ASSERT_EQ(prims.size(), 3u);
    for (const FbVertex& v : prims[0].v) expect_colour(v, 85, 85, 85, "mean of the corners");
    for (int i : {1, 2})
        for (const FbVertex& v : prims[i].v) expect_colour(v, 10, 20, 30, "own colour");
    EXPECT_EQ(normal_after, (std::vector<float>{0, 0.6f, 0.8f}));
}

TEST_F(ImmediateDraw, FlatQuadColourIsTheMeanOfFourCorners)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED | NO_VBO);
    obj->Node_Pt[3].Color = rgba(255, 0, 0, 1);
    obj->Node_Pt[4].Color = rgba(0, 255, 0, 2);
    obj->Node_Pt[5].Color = rgba(0, 0, 255, 3);
    obj->Node_Pt[6].Color = rgba(255, 255, 254, 4);
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 2, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    for (int i : {1, 2})
        for (const FbVertex& v : prims[i].v) expect_colour(v, 127, 127, 127, "sum / 4");
}

TEST_F(ImmediateDraw, SmoothModeSendsColourAndTextureCoordinatePerCorner)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED | NO_VBO);
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Color = rgba(uint8_t(30 * i), uint8_t(5 + i), 200, 9);
    obj->Text_Nb = 3;
    obj->Text_Pt = static_cast<float*>(std::calloc(6, sizeof(float)));
    const float uv[6] = {0.0f, 0.5f, 0.25f, 0.75f, 1.0f, 0.125f};
    std::copy(uv, uv + 6, obj->Text_Pt);
    const int ids[4] = {2, 0, 1, 0};
    std::copy(ids, ids + 4, obj->Poly_Pt[0].Text_Id);
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    const FbPrim& tri = prims[0];
    ASSERT_EQ(tri.v.size(), 3u);
    // Corners 2, 1, 0: nodes 2, 1, 0 and texture pairs 1, 0, 2.
    expect_colour(tri.v[0], 60, 7, 200, "node 2");
    expect_colour(tri.v[1], 30, 6, 200, "node 1");
    expect_colour(tri.v[2], 0, 5, 200, "node 0");
    EXPECT_EQ(tri.v[0].s, 0.25f);
    EXPECT_EQ(tri.v[0].t, 0.75f);
    EXPECT_EQ(tri.v[1].s, 0.0f);
    EXPECT_EQ(tri.v[1].t, 0.5f);
    EXPECT_EQ(tri.v[2].s, 1.0f);
    EXPECT_EQ(tri.v[2].t, 0.125f);
}

// With one white light along +z in eye space, no ambient light and a white
// diffuse material, a lit vertex's red channel is the z of its normal: the
// feedback colours show which normal went with which corner.
void light_along_z()
{
    const GLfloat dir[4] = {0, 0, 1, 0}, white[4] = {1, 1, 1, 1}, black[4] = {0, 0, 0, 1};
    glLightfv(GL_LIGHT0, GL_POSITION, dir);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, black);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, black);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, white);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
}

std::vector<float> lit_red(const FbPrim& p)
{
    std::vector<float> out;
    for (const FbVertex& v : p.v) out.push_back(std::round(v.r * 100) / 100);
    return out;
}

TEST_F(ImmediateDraw, SmoothModeSendsNodeNormalsPerCorner)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO);
    const float z[3] = {1.0f, 0.8f, 0.6f};
    obj->Node_Pt[0].Normal = Vector_4{0, 0, z[0], 1};
    obj->Node_Pt[1].Normal = Vector_4{0, 0.6f, z[1], 1};
    obj->Node_Pt[2].Normal = Vector_4{0.8f, 0, z[2], 1};
    light_along_z();
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    EXPECT_EQ(lit_red(prims[0]), (std::vector<float>{0.6f, 0.8f, 1.0f}));
}

TEST_F(ImmediateDraw, NormalListWinsOverNodeNormals)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO);
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Normal = Vector_4{0, 0, 1, 1};
    obj->Normal_Nb = 2;
    obj->Normal_Pt = static_cast<float*>(std::calloc(6, sizeof(float)));
    obj->Normal_Pt[2] = 0.5f;  // entry 0: (0, 0, 0.5)
    obj->Normal_Pt[5] = 0.25f; // entry 1: (0, 0, 0.25)
    const int ids[4] = {1, 0, 0, 0};
    std::copy(ids, ids + 4, obj->Poly_Pt[0].Normal_Id);
    light_along_z();
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    EXPECT_EQ(lit_red(prims[0]), (std::vector<float>{0.5f, 0.5f, 0.25f}));
}

TEST_F(ImmediateDraw, FlatModeLightsEveryCornerWithThePolygonNormal)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO);
    obj->Node_Pt[0].Normal = Vector_4{0, 0, 0.1f, 1};
    light_along_z();
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 2, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    EXPECT_EQ(lit_red(prims[0]), (std::vector<float>{1, 1, 1}));
    EXPECT_EQ(lit_red(prims[1]), (std::vector<float>{0.8f, 0.8f, 0.8f}));
}

TEST_F(ImmediateDraw, PointsAreLitWithTheNormalFacingAway)
{
    ObjectPtr obj(make_object({{5, 5, 0}}, {{0}}, GEOM_POINT));
    light_along_z();
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 1u);
    EXPECT_EQ(lit_red(prims[0]), (std::vector<float>{0}));
}

TEST_F(ImmediateDraw, OtherCornerCountsDrawNothing)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO);
    obj->Poly_Pt[1].Node_Id_Nb = 5;
    std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    EXPECT_EQ(prims.size(), 1u);
    obj->Poly_Pt[1].Node_Id_Nb = 0;
    prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 2, 0, 1000); });
    EXPECT_EQ(prims.size(), 1u);
}

TEST_F(ImmediateDraw, PositionsIncludeTheDisplacement)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO | DISPLACED);
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 0, 0};
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    ASSERT_EQ(prims.size(), 3u);
    EXPECT_EQ(corners(prims[0]), (std::vector<XY>{{11, 32}, {31, 12}, {11, 12}}));
}

// ---- Parts ------------------------------------------------------------------------

// n small triangles; triangle k sits at a window position that encodes k.
ObjectPtr numbered_triangles(int n, unsigned flags)
{
    std::vector<pfx_test::P3> nodes;
    std::vector<std::vector<int>> polys;
    for (int k = 0; k < n; ++k) {
        const float x = float(1 + k % 60), y = float(1 + k / 60);
        nodes.insert(nodes.end(), {{x, y, 0}, {x + 0.5f, y, 0}, {x, y + 0.5f, 0}});
        polys.push_back({3 * k, 3 * k + 1, 3 * k + 2});
    }
    return ObjectPtr(make_object(nodes, polys, flags));
}

// The indices of the triangles drawn, from their corner 0 (sent last).
std::vector<int> drawn(Movie_Objs* obj, int part, int part_size)
{
    const std::vector<FbPrim> prims =
        feedback([&] { Movie_OpenGL_Draw(obj, 1, part, part_size); }, 1 << 20);
    std::vector<int> out;
    for (const FbPrim& p : prims) {
        const FbVertex& c0 = p.v.back();
        out.push_back(int(std::lround(c0.y - 1)) * 60 + int(std::lround(c0.x - 1)));
    }
    return out;
}

std::vector<int> range(int first, int end)
{
    std::vector<int> out;
    for (int k = first; k < end; ++k) out.push_back(k);
    return out;
}
std::vector<int> join(std::initializer_list<std::vector<int>> parts)
{
    std::vector<int> out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

TEST_F(ImmediateDraw, FewerThanFiftyPolygonsAreDrawnWhole)
{
    ObjectPtr obj49 = numbered_triangles(49, GEOM_POLY | NO_VBO);
    EXPECT_EQ(drawn(obj49.get(), 0, 10), range(0, 49));
    ObjectPtr obj50 = numbered_triangles(50, GEOM_POLY | NO_VBO);
    EXPECT_EQ(drawn(obj50.get(), 0, 10), range(0, 10));
    EXPECT_EQ(drawn(obj50.get(), 2, 10), range(20, 30));
    // The part size of a small object is 1000, so its part 1 starts past its end.
    EXPECT_EQ(drawn(obj49.get(), 1, 10), std::vector<int>{});
}

TEST_F(ImmediateDraw, NonzeroPartDrawsImmediatelyEvenWhenBuffersWouldDo)
{
    ObjectPtr obj = numbered_triangles(2500, GEOM_POLY);
    BufferSpy spy;
    EXPECT_EQ(drawn(obj.get(), 2, 1000), range(2000, 2500));
    EXPECT_EQ(spy.take(), std::vector<std::string>{});
    EXPECT_EQ(obj->VBO_Vertex, 0u);
    EXPECT_EQ(obj->Flags & NO_VBO, 0u);
}

TEST_F(ImmediateDraw, RunsStartAThousandPolygonsApart)
{
    ObjectPtr obj = numbered_triangles(2500, GEOM_POLY | NO_VBO);
    EXPECT_EQ(drawn(obj.get(), 1, 300), join({range(300, 600), range(1300, 1600), range(2300, 2500)}));
    EXPECT_EQ(drawn(obj.get(), 1, 1000), range(1000, 2500));
    EXPECT_EQ(drawn(obj.get(), 0, 1000), range(0, 2500));
    // Runs longer than the stride overlap.
    EXPECT_EQ(drawn(obj.get(), 1, 1200), join({range(1200, 2400), range(2200, 2500)}));
    EXPECT_EQ(drawn(obj.get(), 3, 1000), std::vector<int>{});
    EXPECT_EQ(drawn(obj.get(), 1, 0), std::vector<int>{});
    EXPECT_EQ(drawn(obj.get(), 1, -5), std::vector<int>{});
}

} // namespace
