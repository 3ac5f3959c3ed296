// Drawing from buffer objects in a real headless context: which buffers are
// built, what they hold, what a reset deletes, the fall-back to immediate
// mode, and the GL state a draw leaves behind.
#include <cstdint>
#include <cwctype>
#include <string>
#include <vector>

#include "gl_host.h"
#include "render/vbo_build.h"
#include "support/objects.h"

namespace {

using namespace pfx_render_test;
using pfx_test::Line;
using pfx_test::make_object;
using pfx_test::ObjectPtr;
using Log = std::vector<std::string>;

uint32_t rgba(uint8_t r, uint8_t g, uint8_t b, uint8_t a)
{
    return pfx::render::pack_color({r, g, b, a});
}

// One triangle and one quad, coloured, with polygon and node normals.
ObjectPtr tri_and_quad(unsigned flags = GEOM_POLY | COLORED)
{
    ObjectPtr obj(make_object({{1, 1, 0}, {9, 1, 0}, {1, 9, 0}, {20, 20, 1}, {30, 20, 1},
                               {30, 30, 1}, {20, 30, 1}},
                              {{0, 1, 2}, {3, 4, 5, 6}}, flags));
    obj->Poly_Pt[0].Normal = Vector_4{0, 0, 1, 1};
    obj->Poly_Pt[1].Normal = Vector_4{0, 0.6f, 0.8f, 1};
    for (int i = 0; i < 7; ++i) {
        obj->Node_Pt[i].Normal = Vector_4{0.1f * i, 0, 1, 1};
        obj->Node_Pt[i].Color = rgba(uint8_t(10 * i), uint8_t(100 + i), 7, uint8_t(200 + i));
    }
    return obj;
}

std::vector<float> positions(const Movie_Objs& obj, std::initializer_list<int> nodes)
{
    std::vector<float> out;
    for (int i : nodes) out.insert(out.end(), {obj.Node_Pt[i].Pos.x, obj.Node_Pt[i].Pos.y, obj.Node_Pt[i].Pos.z});
    return out;
}

// The build of one buffer of `bytes` bytes into the next name.
Log build_log(GLuint old_name, GLuint name, long long bytes)
{
    return {"is(" + std::to_string(old_name) + ") -> no", "gen(1) -> " + std::to_string(name),
            "bind(ARRAY, " + std::to_string(name) + ")",
            "data(ARRAY, " + std::to_string(bytes) + ", STATIC_DRAW)", "bind(ARRAY, 0)"};
}
Log join(std::initializer_list<Log> parts)
{
    Log out;
    for (const Log& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// Memory-error lines with the source line number replaced by "#".
std::vector<Line> without_line_numbers(const std::vector<Line>& lines)
{
    std::vector<Line> out;
    for (Line l : lines) {
        if (l.text.rfind(L"line ", 0) == 0) {
            size_t end = 5;
            while (end < l.text.size() && (iswdigit(l.text[end]) || l.text[end] == L' ')) ++end;
            l.text = L"line # " + l.text.substr(end);
        }
        out.push_back(l);
    }
    return out;
}
Line memory_line(const char* var, long long count)
{
    return {MSG_MEMORY, L"line # of movie_OGL \nmemory error in malloc (var=" +
                            pfx_test::wide(var) + L", dim=" + std::to_wstring(count) + L"x4)"};
}

using MovieOpenGLDraw = GlTest;

TEST_F(MovieOpenGLDraw, NullOrEmptyObjectGivesZeroAndNoGlCall)
{
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(nullptr, 1, 0, 1000), 0);
    ObjectPtr empty(make_object({}, {}, GEOM_POLY | COLORED | GEOM_POINT));
    EXPECT_EQ(Movie_OpenGL_Draw(empty.get(), 1, 0, 1000), 0);
    EXPECT_EQ(spy.take(), Log{});
    EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));
    EXPECT_FALSE(glIsEnabled(GL_POINT_SMOOTH));
    EXPECT_EQ(empty->Flags & NO_VBO, 0u);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, FirstSmoothDrawBuildsPositionNormalAndColourBuffers)
{
    ObjectPtr obj = tri_and_quad();
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1);
    // 9 corners: 108 bytes of floats per position or normal buffer, 36 of
    // colours; then the draw binds the three buffers in turn.
    EXPECT_EQ(spy.take(), join({build_log(0, 1, 108), build_log(0, 2, 108), build_log(0, 3, 36),
                                {"bind(ARRAY, 1)", "bind(ARRAY, 2)", "bind(ARRAY, 3)",
                                 "bind(ARRAY, 0)"}}));
    EXPECT_EQ(obj->VBO_Vertex, 1u);
    EXPECT_EQ(obj->VBO_Normal_Smooth, 2u);
    EXPECT_EQ(obj->VBO_Color_Smooth, 3u);
    EXPECT_EQ(obj->VBO_Normal_Flat, 0u);
    EXPECT_EQ(obj->VBO_Color_Flat, 0u);
    EXPECT_EQ(obj->VBO_Nb, 9);
    EXPECT_EQ(obj->Flags & NO_VBO, 0u);

    EXPECT_EQ(buffer_floats(obj->VBO_Vertex), positions(*obj, {0, 1, 2, 3, 4, 5, 5, 6, 3}));
    std::vector<float> normals;
    for (int i : {0, 1, 2, 3, 4, 5, 5, 6, 3}) normals.insert(normals.end(), {0.1f * i, 0, 1});
    EXPECT_EQ(buffer_floats(obj->VBO_Normal_Smooth), normals);
    std::vector<uint32_t> colours;
    for (int i : {0, 1, 2, 3, 4, 5, 5, 6, 3}) colours.push_back(obj->Node_Pt[i].Color);
    EXPECT_EQ(buffer_colors(obj->VBO_Color_Smooth), colours);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, LaterDrawsReuseTheBuffers)
{
    ObjectPtr obj = tri_and_quad();
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1);
    EXPECT_EQ(spy.take(), (Log{"is(1) -> yes", "is(2) -> yes", "is(3) -> yes", "bind(ARRAY, 1)",
                               "bind(ARRAY, 2)", "bind(ARRAY, 3)", "bind(ARRAY, 0)"}));
}

TEST_F(MovieOpenGLDraw, FlatModeBuildsItsOwnNormalAndColourBuffers)
{
    ObjectPtr obj = tri_and_quad();
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 2, 0, 1000), 1);
    EXPECT_EQ(spy.take(), join({{"is(1) -> yes"}, build_log(0, 4, 108), build_log(0, 5, 36),
                                {"bind(ARRAY, 1)", "bind(ARRAY, 4)", "bind(ARRAY, 5)",
                                 "bind(ARRAY, 0)"}}));
    EXPECT_EQ(obj->VBO_Normal_Flat, 4u);
    EXPECT_EQ(obj->VBO_Color_Flat, 5u);
    std::vector<float> flat;
    for (int i = 0; i < 3; ++i) flat.insert(flat.end(), {0, 0, 1});
    for (int i = 0; i < 6; ++i) flat.insert(flat.end(), {0, 0.6f, 0.8f});
    EXPECT_EQ(buffer_floats(obj->VBO_Normal_Flat), flat);
    // Means of the corner bytes, alpha of the last corner (node 2, node 6).
    const uint32_t tri = rgba(10, 101, 7, 202), quad = rgba(45, 104, 7, 206);
    EXPECT_EQ(buffer_colors(obj->VBO_Color_Flat),
              (std::vector<uint32_t>{tri, tri, tri, quad, quad, quad, quad, quad, quad}));
    // Every mode other than 2 is smooth, negative ones included.
    spy.take();
    Movie_OpenGL_Draw(obj.get(), -3, 0, 1000);
    EXPECT_EQ(spy.take(), (Log{"is(1) -> yes", "is(2) -> yes", "is(3) -> yes", "bind(ARRAY, 1)",
                               "bind(ARRAY, 2)", "bind(ARRAY, 3)", "bind(ARRAY, 0)"}));
}

TEST_F(MovieOpenGLDraw, QuadObjectHoldsSixCornersPerQuad)
{
    ObjectPtr obj(pfx_test::make_unit_cube_quads());
    for (int k = 0; k < 6; ++k) obj->Poly_Pt[k].Normal = Vector_4{float(k), 0, 1, 1};
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 2, 0, 1000), 1);
    EXPECT_EQ(obj->VBO_Nb, 36);
    std::vector<float> flat, pos;
    for (int k = 0; k < 6; ++k) {
        for (int c = 0; c < 6; ++c) flat.insert(flat.end(), {float(k), 0, 1});
        const int* id = obj->Poly_Pt[k].Node_Id;
        const std::vector<float> p = positions(*obj, {id[0], id[1], id[2], id[2], id[3], id[0]});
        pos.insert(pos.end(), p.begin(), p.end());
    }
    EXPECT_EQ(buffer_floats(obj->VBO_Normal_Flat), flat);
    EXPECT_EQ(buffer_floats(obj->VBO_Vertex), pos);
    EXPECT_EQ(obj->VBO_Color_Flat, 0u) << "not COLORED: no colour buffer";
}

TEST_F(MovieOpenGLDraw, FlatColourOfUncolouredTriangle)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY | COLORED));
    obj->Node_Pt[0].Color = rgba(255, 0, 0, 10);
    obj->Node_Pt[1].Color = rgba(0, 255, 0, 20);
    obj->Node_Pt[2].Color = rgba(0, 0, 255, 30);
    Movie_OpenGL_Draw(obj.get(), 2, 0, 1000);
    const uint32_t c = rgba(85, 85, 85, 30);
    EXPECT_EQ(buffer_colors(obj->VBO_Color_Flat), (std::vector<uint32_t>{c, c, c}));
}

TEST_F(MovieOpenGLDraw, NormalListFeedsTheSmoothNormalBuffer)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY);
    obj->Normal_Nb = 2;
    obj->Normal_Pt = static_cast<float*>(std::calloc(6, sizeof(float)));
    obj->Normal_Pt[0] = 1; // (1, 0, 0)
    obj->Normal_Pt[4] = 1; // (0, 1, 0)
    const int tri[4] = {1, 0, 1, 0}, quad[4] = {0, 0, 1, 1};
    std::copy(tri, tri + 4, obj->Poly_Pt[0].Normal_Id);
    std::copy(quad, quad + 4, obj->Poly_Pt[1].Normal_Id);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    std::vector<float> want;
    for (int id : {1, 0, 1, 0, 0, 1, 1, 1, 0})
        want.insert(want.end(), {float(id == 0), float(id == 1), 0});
    EXPECT_EQ(buffer_floats(obj->VBO_Normal_Smooth), want);
}

TEST_F(MovieOpenGLDraw, FirstDrawComputesStalePositions)
{
    ObjectPtr obj = tri_and_quad();
    obj->Flags |= DISPLACED;
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 3, 0};
    ASSERT_EQ(obj->Pos_Done, 0);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(obj->Pos_Done, 1);
    const std::vector<float> v = buffer_floats(obj->VBO_Vertex);
    ASSERT_EQ(v.size(), 27u);
    EXPECT_EQ(std::vector<float>(v.begin(), v.begin() + 3), (std::vector<float>{2, 3, 3}));
}

TEST_F(MovieOpenGLDraw, ModeZeroDoesNothingNotEvenDeleting)
{
    ObjectPtr obj = tri_and_quad();
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 7), 1);
    obj->Pos_Done = 0;
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 0, 0, 1000), 1);
    EXPECT_EQ(spy.take(), Log{});
    EXPECT_EQ(obj->VBO_Reset, 7);
    EXPECT_EQ(obj->Pos_Done, 0);
    EXPECT_TRUE(glIsBuffer(obj->VBO_Vertex));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Color_Smooth));
    spy.take();

    // The next real draw deletes every marked name, one per call, in field
    // order, and builds what it needs again.
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1);
    const Log log = spy.take();
    ASSERT_GE(log.size(), 5u);
    EXPECT_EQ(Log(log.begin(), log.begin() + 5),
              (Log{"delete(1, 1)", "delete(1, 0)", "delete(1, 2)", "delete(1, 0)", "delete(1, 3)"}));
    EXPECT_EQ(obj->VBO_Reset, 0);
    EXPECT_EQ(obj->VBO_Nb, 9);
    EXPECT_TRUE(glIsBuffer(obj->VBO_Vertex));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Normal_Smooth));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Color_Smooth));
}

TEST_F(MovieOpenGLDraw, ResetDeletesOnlyTheMarkedGroups)
{
    ObjectPtr obj = tri_and_quad();
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    Movie_OpenGL_Draw(obj.get(), 2, 0, 1000); // all five buffers: 1 .. 5
    ASSERT_EQ(obj->VBO_Color_Flat, 5u);

    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 2), 1);
    BufferSpy spy;
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    // Both normal buffers go; only the smooth one comes back, and the gen
    // call hands out a freed name again.
    const Log log = spy.take();
    EXPECT_EQ(Log(log.begin(), log.begin() + 4),
              (Log{"delete(1, 4)", "delete(1, 2)", "is(1) -> yes", "is(2) -> no"}));
    EXPECT_FALSE(glIsBuffer(obj->VBO_Normal_Flat));
    EXPECT_EQ(obj->VBO_Normal_Flat, 4u) << "the deleted name stays in its field";
    EXPECT_TRUE(glIsBuffer(obj->VBO_Normal_Smooth));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Vertex));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Color_Flat));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Color_Smooth));
}

TEST_F(MovieOpenGLDraw, ResetAccumulatesBitsAndKeepsUnknownOnes)
{
    ObjectPtr obj = tri_and_quad();
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 1), 1);
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 4), 1);
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 0x40), 1);
    EXPECT_EQ(obj->VBO_Reset, 0x45);
    EXPECT_EQ(Movie_OpenGL_Reset(nullptr, 1), 0);

    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(obj->VBO_Reset, 0);
}

TEST_F(MovieOpenGLDraw, ChangedPositionsReachBuffersOnlyAfterReset)
{
    ObjectPtr obj = tri_and_quad();
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    const std::vector<float> before = buffer_floats(obj->VBO_Vertex);
    obj->Node_Pt[0].Coord.x = 5;
    obj->Pos_Done = 0;
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(obj->Node_Pt[0].Pos.x, 5.0f);
    EXPECT_EQ(buffer_floats(obj->VBO_Vertex), before);

    Movie_OpenGL_Reset(obj.get(), 1);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(buffer_floats(obj->VBO_Vertex)[0], 5.0f);
}

TEST_F(MovieOpenGLDraw, NonzeroPartDeletesMarkedButNeverBuilds)
{
    ObjectPtr obj = tri_and_quad();
    BufferSpy spy;
    Movie_OpenGL_Draw(obj.get(), 1, 1, 1000);
    EXPECT_EQ(spy.take(), Log{});
    EXPECT_EQ(obj->VBO_Vertex, 0u);

    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    Movie_OpenGL_Reset(obj.get(), 1);
    spy.take();
    Movie_OpenGL_Draw(obj.get(), 1, 1, 1000);
    EXPECT_EQ(spy.take(), Log{"delete(1, 1)"});
    EXPECT_FALSE(glIsBuffer(obj->VBO_Vertex));
}

TEST_F(MovieOpenGLDraw, BadPolygonSendsTheObjectToImmediateModeForGood)
{
    ObjectPtr obj(make_object({{1, 1, 0}, {9, 1, 0}, {1, 9, 0}}, {{0, 1, 2}, {0, 1}}, GEOM_POLY));
    BufferSpy spy;
    std::vector<FbPrim> prims;
    prims = feedback([&] { EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1); });
    EXPECT_EQ(spy.take(), Log{"is(0) -> no"}) << "the failed fill creates no buffer";
    EXPECT_EQ(obj->Flags, GEOM_POLY | NO_VBO);
    EXPECT_EQ(obj->VBO_Nb, 0);
    ASSERT_EQ(prims.size(), 2u) << "drawn in immediate mode at once";
    EXPECT_EQ(prims[0].kind, static_cast<GLenum>(GL_POLYGON));
    EXPECT_EQ(prims[1].kind, static_cast<GLenum>(GL_LINES));

    // A reset neither clears the flag nor asks about buffers again.
    Movie_OpenGL_Reset(obj.get(), 7);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(spy.take(), (Log{"delete(1, 0)", "delete(1, 0)", "delete(1, 0)", "delete(1, 0)",
                               "delete(1, 0)"}));
    EXPECT_NE(obj->Flags & NO_VBO, 0u);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, NoPolygonsMarkNoVboAndDrawNothing)
{
    ObjectPtr obj(make_object({{1, 1, 0}}, {}, GEOM_POLY | COLORED));
    BufferSpy spy;
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 2, 0, 1000); });
    EXPECT_TRUE(prims.empty());
    EXPECT_EQ(spy.take(), Log{"is(0) -> no"});
    EXPECT_NE(obj->Flags & NO_VBO, 0u);
    EXPECT_EQ(obj->VBO_Nb, 0);
}

TEST_F(MovieOpenGLDraw, ObjectsWithoutPolygonBitNeverUseBuffers)
{
    ObjectPtr obj = tri_and_quad(GEOM_LINE | COLORED);
    BufferSpy spy;
    const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
    EXPECT_EQ(spy.take(), Log{});
    EXPECT_EQ(prims.size(), 3u) << "a triangle, and a quad as two triangles";
    EXPECT_EQ(obj->Flags & NO_VBO, 0u);
}

TEST_F(MovieOpenGLDraw, LaterBuilderFailureKeepsEarlierBuffers)
{
    // The colour fill meets the same polygon counts as the others, so make
    // the position and normal buffers first, then break the object.
    ObjectPtr obj = tri_and_quad(GEOM_POLY);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    obj->Flags |= COLORED;
    obj->Poly_Pt[1].Node_Id_Nb = 5;
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_NE(obj->Flags & NO_VBO, 0u);
    EXPECT_EQ(obj->VBO_Color_Smooth, 0u);
    EXPECT_TRUE(glIsBuffer(obj->VBO_Vertex));
    EXPECT_TRUE(glIsBuffer(obj->VBO_Normal_Smooth));
    EXPECT_EQ(obj->VBO_Nb, 9);
}

TEST_F(MovieOpenGLDraw, EachFailedScratchArrayIsReportedAndFallsBack)
{
    // Smooth, coloured: three scratch arrays, each of which may fail.
    std::vector<std::vector<Line>> transcripts;
    std::vector<unsigned> flags;
    std::vector<std::vector<bool>> built;
    const int failing = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        ObjectPtr obj = tri_and_quad();
        const std::vector<FbPrim> prims = feedback([&] {
            EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1);
        });
        transcripts.push_back(without_line_numbers(sink.lines()));
        flags.push_back(obj->Flags);
        built.push_back({glIsBuffer(obj->VBO_Vertex) == GL_TRUE,
                         glIsBuffer(obj->VBO_Normal_Smooth) == GL_TRUE,
                         glIsBuffer(obj->VBO_Color_Smooth) == GL_TRUE});
        // A failed build still draws everything, polygon by polygon.
        EXPECT_EQ(prims.size(), 3u);
        Movie_OpenGL_Reset(obj.get(), 7);
        Movie_OpenGL_Draw(obj.get(), 1, 1, 0);
    });
    ASSERT_EQ(failing, 3);
    // Two polygons: room for 2 x 18 floats or 2 x 6 colours.
    EXPECT_EQ(transcripts[0], std::vector<Line>{memory_line("vertex_pt", 36)});
    EXPECT_EQ(transcripts[1], std::vector<Line>{memory_line("normal_pt", 36)});
    EXPECT_EQ(transcripts[2], std::vector<Line>{memory_line("color_pt", 12)});
    EXPECT_TRUE(transcripts[3].empty());
    for (int n = 0; n < 3; ++n) EXPECT_NE(flags[n] & NO_VBO, 0u) << n;
    EXPECT_EQ(flags[3] & NO_VBO, 0u);
    EXPECT_EQ(built[0], (std::vector<bool>{false, false, false}));
    EXPECT_EQ(built[1], (std::vector<bool>{true, false, false}));
    EXPECT_EQ(built[2], (std::vector<bool>{true, true, false}));
    EXPECT_EQ(built[3], (std::vector<bool>{true, true, true}));
}

TEST_F(MovieOpenGLDraw, FlatBuildersReportTheSameVariables)
{
    std::vector<std::vector<Line>> transcripts;
    pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        ObjectPtr obj = tri_and_quad();
        Movie_OpenGL_Draw(obj.get(), 2, 0, 1000);
        transcripts.push_back(without_line_numbers(sink.lines()));
        Movie_OpenGL_Reset(obj.get(), 7);
        Movie_OpenGL_Draw(obj.get(), 2, 1, 0);
    });
    ASSERT_EQ(transcripts.size(), 4u);
    EXPECT_EQ(transcripts[1], std::vector<Line>{memory_line("normal_pt", 36)});
    EXPECT_EQ(transcripts[2], std::vector<Line>{memory_line("color_pt", 12)});
}

// ---- GL state left behind ---------------------------------------------------

TEST_F(MovieOpenGLDraw, BufferDrawLeavesArraysOffAndNoBufferBound)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY); // not COLORED
    glEnableClientState(GL_COLOR_ARRAY);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_FALSE(glIsEnabled(GL_VERTEX_ARRAY));
    EXPECT_FALSE(glIsEnabled(GL_NORMAL_ARRAY));
    EXPECT_FALSE(glIsEnabled(GL_COLOR_ARRAY)) << "all three go off, whatever was on";
    GLint bound = -1;
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0);
}

TEST_F(MovieOpenGLDraw, ColouredObjectTracksColourOnlyDuringTheDraw)
{
    ObjectPtr obj = tri_and_quad();
    glColorMaterial(GL_FRONT, GL_EMISSION);
    glEnable(GL_COLOR_MATERIAL);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));
    GLint face = 0, parameter = 0;
    glGetIntegerv(GL_COLOR_MATERIAL_FACE, &face);
    glGetIntegerv(GL_COLOR_MATERIAL_PARAMETER, &parameter);
    EXPECT_EQ(face, GL_FRONT_AND_BACK);
    EXPECT_EQ(parameter, GL_AMBIENT_AND_DIFFUSE);
}

TEST_F(MovieOpenGLDraw, UncolouredObjectLeavesColourTrackingAlone)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY);
    glColorMaterial(GL_FRONT, GL_EMISSION);
    glEnable(GL_COLOR_MATERIAL);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
    GLint parameter = 0;
    glGetIntegerv(GL_COLOR_MATERIAL_PARAMETER, &parameter);
    EXPECT_EQ(parameter, GL_EMISSION);
    EXPECT_EQ(obj->VBO_Color_Smooth, 0u);
}

TEST_F(MovieOpenGLDraw, PointObjectRestoresPointSmoothingAndSize)
{
    for (bool smooth_before : {false, true}) {
        ObjectPtr obj(make_object({{5, 5, 0}, {9, 5, 0}}, {{0}, {1}}, GEOM_POINT));
        if (smooth_before) glEnable(GL_POINT_SMOOTH);
        glPointSize(4.0f);
        const std::vector<FbPrim> prims = feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
        EXPECT_EQ(prims.size(), 2u);
        EXPECT_FALSE(glIsEnabled(GL_POINT_SMOOTH)) << smooth_before;
        GLfloat size = 0;
        glGetFloatv(GL_POINT_SIZE, &size);
        EXPECT_EQ(size, 1.0f) << smooth_before;
    }
}

TEST_F(MovieOpenGLDraw, OtherObjectsLeavePointStateAlone)
{
    ObjectPtr obj = tri_and_quad();
    glEnable(GL_POINT_SMOOTH);
    glPointSize(4.0f);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_TRUE(glIsEnabled(GL_POINT_SMOOTH));
    GLfloat size = 0;
    glGetFloatv(GL_POINT_SIZE, &size);
    EXPECT_EQ(size, 4.0f);
}

} // namespace
