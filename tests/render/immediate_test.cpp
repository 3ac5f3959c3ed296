// Immediate-mode drawing seen through GL feedback mode: which primitives,
// which corners in which order, which colours, normals and texture
// coordinates, and which polygons each part draws.
#include <cmath>
#include <sstream>
#include <utility>

#include "gl_host.h"

namespace {

using namespace pfx_render_test;
using pfx_test::make_object;
using pfx_test::ObjectPtr;

// The primitives drawn, each ended by " |", points and lines named. Per
// corner: its window x,y; or its colour bytes r,g,b,a; or its texture pair
// s,t; or, under light_along_z, the z of its normal.
enum class Show { Corners, Colours, Texture, NormalZ };
std::string dump(const std::vector<FbPrim>& prims, Show show)
{
    std::ostringstream os;
    for (const FbPrim& p : prims) {
        os << (p.token == GL_POINT_TOKEN ? "point" : p.token == GL_LINE_TOKEN ? "line" : "");
        for (const FbVertex& v : p.v) {
            if (show == Show::Corners) os << ' ' << v.x << ',' << v.y;
            if (show == Show::Colours)
                os << ' ' << std::lround(v.r * 255) << ',' << std::lround(v.g * 255) << ','
                   << std::lround(v.b * 255) << ',' << std::lround(v.a * 255);
            if (show == Show::Texture) os << ' ' << v.s << ',' << v.t;
            if (show == Show::NormalZ) os << ' ' << std::round(v.r * 100) / 100;
        }
        os << " |";
    }
    return os.str();
}
// A white material without ambient colour under GL's default light, which
// shines along +z: a corner's lit red is the z of its normal. (Colour
// tracking in earlier draws has left the material as their last colour.)
void light_along_z()
{
    const GLfloat white[4] = {1, 1, 1, 1}, black[4] = {0, 0, 0, 1};
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, black);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, white);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
}
std::vector<FbPrim> draw(Movie_Objs* obj, short mode)
{
    return feedback([&] { Movie_OpenGL_Draw(obj, mode, 0, 1000); });
}

using ImmediateDraw = GlTest;

TEST_F(ImmediateDraw, PolygonsGoOutReversedButBuffersKeepTheForwardOrder)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | NO_VBO | DISPLACED);
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 0, 0};
    // Corners 2, 1, 0 and 3, 2, 1, 0; the GL cuts the quad into two triangles.
    EXPECT_EQ(dump(draw(obj.get(), 1), Show::Corners), " 11,32 31,12 11,12 | 41,62 61,62 41,42 | 61,62 61,42 41,42 |");

    // Polygons of other corner counts draw nothing, smooth or flat.
    obj->Poly_Pt[1].Node_Id_Nb = 5;
    EXPECT_EQ(draw(obj.get(), 1).size(), 1u);
    obj->Poly_Pt[1].Node_Id_Nb = 0;
    EXPECT_EQ(draw(obj.get(), 2).size(), 1u);

    obj->Poly_Pt[1].Node_Id_Nb = 4;
    obj->Flags &= ~NO_VBO;
    EXPECT_EQ(dump(draw(obj.get(), 1), Show::Corners), " 11,12 31,12 11,32 | 41,42 61,42 61,62 | 61,62 41,62 41,42 |");
    EXPECT_NE(obj->VBO_Vertex, 0u);
}

TEST_F(ImmediateDraw, PointsAndLinesKeepTheirOrderAndTheHostsColourWithTheFixedNormal)
{
    ObjectPtr obj(make_object({{5, 5, 0}, {20, 5, 0}, {20, 25, 0}}, {{2}, {0, 1}},
                              GEOM_POINT | GEOM_LINE | COLORED));
    for (int i = 0; i < 3; ++i) obj->Node_Pt[i].Color = rgba(255, 255, 255, 255);
    set_list(*obj, false, {0.75f, 0}, {});
    // Points and lines send no colour and no texture coordinate: what the
    // host set last stays current.
    glColor4f(0.2f, 0.4f, 0.6f, 1.0f);
    glTexCoord2f(0.125f, 0.875f);
    glNormal3f(1, 0, 0);
    const std::vector<FbPrim> prims = draw(obj.get(), 1);
    Floats normal(3);
    glGetFloatv(GL_CURRENT_NORMAL, normal.data());
    EXPECT_EQ(normal, (Floats{0, 0, -1}));
    EXPECT_EQ(dump(prims, Show::Corners), "point 20,25 |line 5,5 20,5 |");
    EXPECT_EQ(dump(prims, Show::Colours), "point 51,102,153,255 |line 51,102,153,255 51,102,153,255 |");
    EXPECT_EQ(dump(prims, Show::Texture), "point 0.125,0.875 |line 0.125,0.875 0.125,0.875 |");
}

TEST_F(ImmediateDraw, FlatModeSendsColourAndNormalPerPolygonSmoothModeColourTextureAndNormalPerCorner)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED | NO_VBO);
    obj->Poly_Pt[1].Color = rgba(10, 20, 30, 40);
    set_list(*obj, false, {0, 0.5f, 0.25f, 0.75f, 1, 0.125f}, {{2, 0, 1}});
    // The triangle's flat colour is its corners' mean.
    EXPECT_EQ(dump(draw(obj.get(), 2), Show::Colours),
              " 10,101,7,255 10,101,7,255 10,101,7,255 | 10,20,30,255 10,20,30,255 10,20,30,255"
              " | 10,20,30,255 10,20,30,255 10,20,30,255 |");
    // Smooth: the triangle's corners 2, 1, 0 with texture pairs 1, 0, 2;
    // the quad's first triangle has corners 3, 2, 0, its second 2, 1, 0.
    const std::vector<FbPrim> prims = draw(obj.get(), 1);
    EXPECT_EQ(dump(prims, Show::Colours), " 20,102,7,255 10,101,7,255 0,100,7,255 | 60,106,7,255 50,105,7,255 "
                                          "30,103,7,255 | 50,105,7,255 40,104,7,255 30,103,7,255 |");
    EXPECT_EQ(dump(prims, Show::Texture), " 0.25,0.75 0,0.5 1,0.125 | 0,0.5 0,0.5 0,0.5 | 0,0.5 0,0.5 0,0.5 |");

    // Lit, flat corners show their polygon's normal, smooth ones their
    // node's, unless a normal list names another.
    obj->Flags &= ~COLORED;
    obj->Node_Pt[1].Normal = Vector_4{0, 0.6f, 0.8f, 1};
    obj->Node_Pt[2].Normal = Vector_4{0.8f, 0, 0.6f, 1};
    light_along_z();
    EXPECT_EQ(dump(draw(obj.get(), 2), Show::NormalZ), " 1 1 1 | 0.8 0.8 0.8 | 0.8 0.8 0.8 |");
    EXPECT_EQ(dump(draw(obj.get(), 1), Show::NormalZ), " 0.6 0.8 1 | 1 1 1 | 1 1 1 |");
    set_list(*obj, true, {0, 0, 0.5f, 0, 0, 0.25f}, {{1, 0, 0}});
    EXPECT_EQ(dump(draw(obj.get(), 1), Show::NormalZ), " 0.5 0.5 0.25 | 0.5 0.5 0.5 | 0.5 0.5 0.5 |");
}

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

TEST_F(ImmediateDraw, PartsDrawRunsThatStartAThousandPolygonsApart)
{
    struct Row {
        int polys, part, part_size;
        std::vector<std::pair<int, int>> runs; // [first, end) of the triangles drawn
        unsigned flags = GEOM_POLY | NO_VBO;
    };
    const Row rows[] = {
        {49, 0, 10, {{0, 49}}}, // fewer than fifty polygons: one part of 1000
        {49, 1, 10, {}},
        {50, 0, 10, {{0, 10}}},
        {50, 2, 10, {{20, 30}}},
        {2500, 1, 300, {{300, 600}, {1300, 1600}, {2300, 2500}}},
        {2500, 1, 1000, {{1000, 2500}}},
        {2500, 1, 1200, {{1200, 2400}, {2200, 2500}}}, // runs longer than the stride overlap
        {2500, 3, 1000, {}},
        {2500, 1, 0, {}},
        {2500, 2, 1000, {{2000, 2500}}, GEOM_POLY}, // a nonzero part never builds buffers
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.polys << " " << row.part << " " << row.part_size);
        ObjectPtr obj = numbered_triangles(row.polys, row.flags);
        std::vector<int> want, got;
        for (auto [first, end] : row.runs)
            for (int k = first; k < end; ++k) want.push_back(k);
        // Each triangle by its corner 0, which is sent last.
        auto draw_part = [&] { Movie_OpenGL_Draw(obj.get(), 1, row.part, row.part_size); };
        for (const FbPrim& p : feedback(draw_part, 1 << 20))
            got.push_back(int(std::lround(p.v.back().y - 1)) * 60 + int(std::lround(p.v.back().x - 1)));
        EXPECT_EQ(got, want);
        EXPECT_EQ(obj->VBO_Vertex, 0u);
        EXPECT_EQ(obj->Flags, row.flags);
    }
}

} // namespace
