// The per-corner arrays behind the GPU buffers, without a GL context.

#include "gl_host.h"

namespace {

using namespace pfx::render;
using namespace pfx_render_test;
using pfx_test::ObjectPtr;
using Colours = std::vector<uint32_t>;

using VboBuild = pfx_test::PfxTest;

TEST_F(VboBuild, FillsWriteEachTriangleCornerWithQuadsCutOnTheirFirstDiagonal)
{
    ObjectPtr obj = numbered(7, {{0, 1, 2}, {3, 4, 5, 6}, {6, 5, 0}});
    Movie_Compute_Pos(obj.get());
    obj->Node_Pt[1].Pos = Vector_4{7, 8, 9, 1}; // positions come from Pos, not Coord
    const uint32_t node_colour[7] = {rgba(255, 0, 0, 10), rgba(0, 255, 0, 20), rgba(0, 0, 255, 30),
                                     rgba(255, 0, 0, 1),  rgba(0, 255, 0, 2),  rgba(0, 0, 255, 3),
                                     rgba(255, 255, 254, 4)};
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Color = node_colour[i];
    obj->Poly_Pt[0].Normal = Vector_4{0, 0, 1, 1};
    obj->Poly_Pt[1].Normal = Vector_4{0.6f, 0.8f, 0, 1};
    obj->Poly_Pt[2].Normal = Vector_4{1, 0, 0, 1};
    obj->Poly_Pt[2].Color = rgba(9, 8, 7, 6); // a polygon's own colour is used whole

    // Corners: nodes 0 1 2, 3 4 5, 5 6 3, 6 5 0.
    EXPECT_EQ(filled(*obj, fill_vertex), (Floats{0, 0, 0, 7, 8, 9, 2, 20, 200, 3, 30, 300, 4, 40, 400, 5, 50, 500, 5,
                                                 50, 500, 6, 60, 600, 3, 30, 300, 6, 60, 600, 5, 50, 500, 0, 0, 0}));
    EXPECT_EQ(filled(*obj, fill_normal_smooth), (Floats{0, 0, 1, 1, 0, 1, 2, 0, 1, 3, 0, 1, 4, 0, 1, 5, 0, 1,
                                                        5, 0, 1, 6, 0, 1, 3, 0, 1, 6, 0, 1, 5, 0, 1, 0, 0, 1}));
    EXPECT_EQ(filled(*obj, fill_normal_flat), (Floats{0, 0, 1, 0, 0, 1, 0, 0, 1, 0.6f, 0.8f, 0, 0.6f, 0.8f, 0,
                                                      0.6f, 0.8f, 0, 0.6f, 0.8f, 0, 0.6f, 0.8f, 0, 0.6f, 0.8f, 0,
                                                      1, 0, 0, 1, 0, 0, 1, 0, 0}));
    const uint32_t* c = node_colour;
    EXPECT_EQ(filled(*obj, fill_color_smooth),
              (Colours{c[0], c[1], c[2], c[3], c[4], c[5], c[5], c[6], c[3], c[6], c[5], c[0]}));
    // Means of the corner bytes (255 / 4 and 509 / 4 truncated) with the
    // last corner's alpha.
    const uint32_t tri = rgba(85, 85, 85, 30), quad = rgba(127, 127, 127, 4), own = rgba(9, 8, 7, 6);
    EXPECT_EQ(filled(*obj, fill_color_flat),
              (Colours{tri, tri, tri, quad, quad, quad, quad, quad, quad, own, own, own}));

    // A normal list wins over the node normals, through each corner's index.
    set_list(*obj, true, {1, 0, 0, 0, 1, 0}, {{1, 0, 0}, {0, 1, 1, 0}, {0, 0, 1}});
    EXPECT_EQ(filled(*obj, fill_normal_smooth),
              (Floats{0, 1, 0, 1, 0, 0, 1, 0, 0, /**/ 1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0,
                      1, 0, 0, /**/ 1, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(VboBuild, AnyOtherCornerCountFailsEveryFillAndNoPolygonsFillNothing)
{
    for (int corners : {0, 1, 2, 5, -1}) {
        SCOPED_TRACE(corners);
        ObjectPtr obj = numbered(5, {{0, 1, 2}, {0, 1, 2, 3}, {0, 1, 2}});
        obj->Poly_Pt[1].Node_Id_Nb = corners;
        if (corners < 0) obj->Poly_Nb = 0; // no room at all: a write would show
        EXPECT_EQ((std::vector<size_t>{filled(*obj, fill_vertex).size(), filled(*obj, fill_normal_flat).size(),
                                       filled(*obj, fill_normal_smooth).size(), filled(*obj, fill_color_flat).size(),
                                       filled(*obj, fill_color_smooth).size()}),
                  std::vector<size_t>(5, 0));
    }
    EXPECT_TRUE(sink.lines().empty());
}

} // namespace
