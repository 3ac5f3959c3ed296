// The per-corner arrays behind the GPU buffers, without a GL context.
#include "render/vbo_build.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::make_object;
using pfx_test::ObjectPtr;
using namespace pfx::render;

std::vector<float> vertex_array(const Movie_Objs& obj)
{
    std::vector<float> out(static_cast<size_t>(obj.Poly_Nb) * kFloatsPerPoly, -99.0f);
    out.resize(static_cast<size_t>(fill_vertex(obj, out.data())));
    return out;
}

uint32_t rgba(uint8_t r, uint8_t g, uint8_t b, uint8_t a) { return pack_color({r, g, b, a}); }

// Nodes i at (i, 10 i, 100 i) with Pos computed.
ObjectPtr numbered(int nodes, const std::vector<std::vector<int>>& polys)
{
    std::vector<pfx_test::P3> pts;
    for (int i = 0; i < nodes; ++i) pts.push_back({float(i), 10.0f * i, 100.0f * i});
    ObjectPtr obj(make_object(pts, polys));
    Movie_Compute_Pos(obj.get());
    return obj;
}

std::vector<float> corners_of(std::initializer_list<int> nodes)
{
    std::vector<float> out;
    for (int i : nodes) out.insert(out.end(), {float(i), 10.0f * i, 100.0f * i});
    return out;
}

using VboBuild = pfx_test::PfxTest;

TEST_F(VboBuild, TrianglesKeepTheirCornerOrder)
{
    ObjectPtr obj = numbered(5, {{0, 1, 2}, {4, 3, 1}});
    EXPECT_EQ(vertex_array(*obj), corners_of({0, 1, 2, 4, 3, 1}));
}

TEST_F(VboBuild, QuadsBecomeTwoTrianglesOnTheirFirstDiagonal)
{
    ObjectPtr obj = numbered(6, {{1, 2, 3, 4}, {5, 0, 1}});
    EXPECT_EQ(vertex_array(*obj), corners_of({1, 2, 3, 3, 4, 1, 5, 0, 1}));
}

TEST_F(VboBuild, PositionsComeFromPosNotCoord)
{
    ObjectPtr obj = numbered(3, {{0, 1, 2}});
    obj->Node_Pt[1].Pos = Vector_4{7, 8, 9, 1};
    EXPECT_EQ(vertex_array(*obj), (std::vector<float>{0, 0, 0, 7, 8, 9, 2, 20, 200}));
}

TEST_F(VboBuild, AnyOtherCornerCountFailsTheWholeFill)
{
    for (int corners : {0, 1, 2, 5}) {
        ObjectPtr obj = numbered(5, {{0, 1, 2}, {0, 1, 2, 3}, {0, 1, 2}});
        obj->Poly_Pt[1].Node_Id_Nb = corners;
        std::vector<float> f(3 * 18);
        std::vector<uint32_t> c(3 * 6);
        EXPECT_EQ(fill_vertex(*obj, f.data()), 0) << corners;
        EXPECT_EQ(fill_normal_flat(*obj, f.data()), 0) << corners;
        EXPECT_EQ(fill_normal_smooth(*obj, f.data()), 0) << corners;
        EXPECT_EQ(fill_color_flat(*obj, c.data()), 0) << corners;
        EXPECT_EQ(fill_color_smooth(*obj, c.data()), 0) << corners;
    }
}

TEST_F(VboBuild, NoPolygonsFillNothing)
{
    ObjectPtr obj = numbered(3, {});
    float f[1] = {-1};
    uint32_t c[1] = {7};
    EXPECT_EQ(fill_vertex(*obj, f), 0);
    EXPECT_EQ(fill_normal_flat(*obj, f), 0);
    EXPECT_EQ(fill_color_flat(*obj, c), 0);
    EXPECT_EQ(f[0], -1);
    EXPECT_EQ(c[0], 7u);
}

TEST_F(VboBuild, FlatNormalsRepeatThePolygonNormalPerCorner)
{
    ObjectPtr obj = numbered(4, {{0, 1, 2, 3}, {0, 1, 2}});
    obj->Poly_Pt[0].Normal = Vector_4{0, 0, 1, 1};
    obj->Poly_Pt[1].Normal = Vector_4{0.6f, 0.8f, 0, 1};
    std::vector<float> f(2 * 18);
    ASSERT_EQ(fill_normal_flat(*obj, f.data()), 27);
    f.resize(27);
    std::vector<float> want;
    for (int i = 0; i < 6; ++i) want.insert(want.end(), {0, 0, 1});
    for (int i = 0; i < 3; ++i) want.insert(want.end(), {0.6f, 0.8f, 0});
    EXPECT_EQ(f, want);
}

TEST_F(VboBuild, SmoothNormalsFromNodesOrFromTheNormalList)
{
    ObjectPtr obj = numbered(4, {{0, 1, 2, 3}});
    for (int i = 0; i < 4; ++i) obj->Node_Pt[i].Normal = Vector_4{float(i), 0, 1, 1};
    std::vector<float> f(18);
    ASSERT_EQ(fill_normal_smooth(*obj, f.data()), 18);
    EXPECT_EQ(f, (std::vector<float>{0, 0, 1, 1, 0, 1, 2, 0, 1, 2, 0, 1, 3, 0, 1, 0, 0, 1}));

    // A normal list wins over the node normals, through each corner's index.
    float* list = static_cast<float*>(std::calloc(6, sizeof(float)));
    list[0] = 1; // entry 0: (1, 0, 0)
    list[4] = 1; // entry 1: (0, 1, 0)
    obj->Normal_Pt = list;
    obj->Normal_Nb = 2;
    const int ids[4] = {1, 0, 0, 1};
    std::copy(ids, ids + 4, obj->Poly_Pt[0].Normal_Id);
    ASSERT_EQ(fill_normal_smooth(*obj, f.data()), 18);
    EXPECT_EQ(f, (std::vector<float>{0, 1, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0}));
}

TEST_F(VboBuild, SmoothColoursAreTheCornerNodesBytes)
{
    ObjectPtr obj = numbered(4, {{0, 1, 2, 3}});
    for (int i = 0; i < 4; ++i) obj->Node_Pt[i].Color = rgba(uint8_t(i), 2, 3, uint8_t(40 + i));
    std::vector<uint32_t> c(6);
    ASSERT_EQ(fill_color_smooth(*obj, c.data()), 6);
    EXPECT_EQ(c, (std::vector<uint32_t>{rgba(0, 2, 3, 40), rgba(1, 2, 3, 41), rgba(2, 2, 3, 42),
                                        rgba(2, 2, 3, 42), rgba(3, 2, 3, 43), rgba(0, 2, 3, 40)}));
}

TEST_F(VboBuild, FlatColourAveragesCornersWithTheLastCornersAlpha)
{
    ObjectPtr obj = numbered(7, {{0, 1, 2}, {3, 4, 5, 6}, {0, 1, 2}});
    obj->Node_Pt[0].Color = rgba(255, 0, 0, 10);
    obj->Node_Pt[1].Color = rgba(0, 255, 0, 20);
    obj->Node_Pt[2].Color = rgba(0, 0, 255, 30);
    obj->Node_Pt[3].Color = rgba(255, 0, 0, 1);
    obj->Node_Pt[4].Color = rgba(0, 255, 0, 2);
    obj->Node_Pt[5].Color = rgba(0, 0, 255, 3);
    obj->Node_Pt[6].Color = rgba(255, 255, 254, 4);
    // A polygon's own colour is used whole, alpha included.
    obj->Poly_Pt[2].Color = rgba(9, 8, 7, 6);
    std::vector<uint32_t> c(18);
    ASSERT_EQ(fill_color_flat(*obj, c.data()), 12);
    c.resize(12);
    const uint32_t tri = rgba(85, 85, 85, 30);
    const uint32_t quad = rgba(127, 127, 127, 4); // 255/4 and 509/4 truncated
    const uint32_t own = rgba(9, 8, 7, 6);
    EXPECT_EQ(c, (std::vector<uint32_t>{tri, tri, tri, quad, quad, quad, quad, quad, quad, own,
                                        own, own}));
    EXPECT_EQ(flat_color(*obj, obj->Poly_Pt[0]), tri);
}

TEST_F(VboBuild, ColourBytesFollowMemoryOrder)
{
    const uint8_t bytes[4] = {1, 2, 3, 4};
    uint32_t packed;
    std::memcpy(&packed, bytes, 4);
    const Rgba c = color_bytes(packed);
    EXPECT_EQ(c.r, 1);
    EXPECT_EQ(c.g, 2);
    EXPECT_EQ(c.b, 3);
    EXPECT_EQ(c.a, 4);
    EXPECT_EQ(pack_color(c), packed);
}

TEST_F(VboBuild, FillsSendNothingToTheSink)
{
    ObjectPtr obj = numbered(3, {{0, 1, 2}, {0, 1}});
    vertex_array(*obj);
    EXPECT_TRUE(sink.lines().empty());
}

} // namespace
