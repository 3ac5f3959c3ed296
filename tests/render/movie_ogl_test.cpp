// Drawing from buffer objects in a real headless context: which buffers are
// built, what they hold, what a reset deletes, the fall-back to immediate
// mode, and the GL state a draw leaves behind.
#include <utility>

#include "gl_host.h"

namespace {

using namespace pfx_render_test;
using pfx_test::Lines;
using pfx_test::make_object;
using pfx_test::ObjectPtr;

// The five buffer fields in field order (positions, flat and smooth
// normals, flat and smooth colours): each name, marked "x" when it no
// longer names a buffer. A fresh context hands out names 1, 2, 3, ... and
// none of them twice.
std::string buffers(const Movie_Objs& o)
{
    std::string out;
    for (GLuint name : {o.VBO_Vertex, o.VBO_Normal_Flat, o.VBO_Normal_Smooth, o.VBO_Color_Flat, o.VBO_Color_Smooth})
        out += std::to_string(name) + (name && !glIsBuffer(name) ? "x " : " ");
    return out;
}

// An object and what drawing it shows.
template <class T>
struct Case {
    ObjectPtr obj;
    std::vector<T> want;
};

using MovieOpenGLDraw = GlTest;

TEST_F(MovieOpenGLDraw, EachModeBuildsItsBuffersOnceAndAResetMarksGroupsThatTheNextRealDrawDeletes)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED | DISPLACED);
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 3, 0};
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1);
    EXPECT_EQ(obj->Pos_Done, 1) << "stale positions are computed first";
    EXPECT_EQ(buffers(*obj), "1 0 2 0 3 ");
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), -3, 0, 1000), 1) << "every mode but 2 is smooth";
    EXPECT_EQ(buffers(*obj), "1 0 2 0 3 ");
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 2, 0, 1000), 1);
    EXPECT_EQ(buffers(*obj) + std::to_string(obj->VBO_Nb), "1 4 2 5 3 9");
    EXPECT_EQ(buffer_contents<float>(1), filled(*obj, pfx::render::fill_vertex));
    EXPECT_EQ(buffer_contents<float>(4), filled(*obj, pfx::render::fill_normal_flat));
    EXPECT_EQ(buffer_contents<float>(2), filled(*obj, pfx::render::fill_normal_smooth));
    EXPECT_EQ(buffer_contents<uint32_t>(5), filled(*obj, pfx::render::fill_color_flat));
    EXPECT_EQ(buffer_contents<uint32_t>(3), filled(*obj, pfx::render::fill_color_smooth));

    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 2), 1);
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 0x40), 1);
    EXPECT_EQ(Movie_OpenGL_Reset(nullptr, 1), 0);
    EXPECT_EQ(obj->VBO_Reset, 0x42) << "bits accumulate, unknown ones too";
    obj->Node_Pt[0].Coord.x = 5;
    obj->Pos_Done = 0;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 0, 0, 1000), 1) << "mode 0 does nothing";
    EXPECT_EQ(buffers(*obj), "1 4 2 5 3 ");
    EXPECT_EQ(obj->VBO_Reset, 0x42);
    EXPECT_EQ(obj->Pos_Done, 0);

    // A nonzero part deletes both normal buffers but builds nothing; the
    // deleted names stay in their fields.
    Movie_OpenGL_Draw(obj.get(), 1, 1, 1000);
    EXPECT_EQ(buffers(*obj), "1 4x 2x 5 3 ");
    EXPECT_EQ(obj->VBO_Reset, 0);

    // Only the smooth normals come back; the changed positions reach their
    // buffer only after a reset of their group.
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(buffers(*obj), "1 4x 6 5 3 ");
    EXPECT_EQ(obj->Node_Pt[0].Pos.x, 6.0f);
    EXPECT_EQ(buffer_contents<float>(1)[0], 11.0f) << "node 0 as first displaced";
    Movie_OpenGL_Reset(obj.get(), 7);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    EXPECT_EQ(buffers(*obj), "7 4x 8 5x 9 ");
    EXPECT_EQ(buffer_contents<float>(7)[0], 6.0f);
    EXPECT_EQ(obj->Flags, GEOM_POLY | COLORED | DISPLACED);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, ObjectsThatCannotUseBuffersAreDrawnPolygonByPolygonForGood)
{
    Case<GLenum> rows[] = {
        // A polygon of another corner count or no polygon at all sends the
        // object to immediate mode for good, before any buffer exists.
        {ObjectPtr(make_object({{1, 1, 0}, {9, 1, 0}, {1, 9, 0}}, {{0, 1, 2}, {0, 1}}, GEOM_POLY)),
         {GL_POLYGON_TOKEN, GL_LINE_TOKEN}},
        {ObjectPtr(make_object({{1, 1, 0}}, {}, GEOM_POLY | COLORED)), {}},
        // Without the polygon bit buffers are never asked about.
        {tri_and_quad(GEOM_LINE | COLORED), {GL_POLYGON_TOKEN, GL_POLYGON_TOKEN, GL_POLYGON_TOKEN}},
    };
    for (auto& [obj, want] : rows) {
        SCOPED_TRACE(obj->Flags);
        const unsigned flags = obj->Flags | (obj->Flags & GEOM_POLY ? NO_VBO : 0);
        for (int draw = 0; draw < 2; ++draw) { // a reset in between clears no flag
            std::vector<GLenum> drawn;
            for (const FbPrim& p : feedback([&] { EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 2, 0, 1000), 1); }))
                drawn.push_back(p.token);
            EXPECT_EQ(drawn, want);
            EXPECT_EQ(obj->Flags, flags);
            EXPECT_EQ(buffers(*obj) + std::to_string(obj->VBO_Nb), "0 0 0 0 0 0");
            Movie_OpenGL_Reset(obj.get(), 7);
        }
    }
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, EachFailedScratchArrayIsReportedAndTheDrawFallsBack)
{
    auto memory_line = [](const wchar_t* var_dim) {
        return Lines{pfx_test::memory_error(L"movie_OGL", L"malloc (var=" + std::wstring(var_dim) + L"x4)")};
    };
    // The buffers each sweep step leaves; names go on counting from one step
    // to the next, as the GL hands out no deleted name again.
    const std::pair<short, std::vector<std::string>> rows[] = {
        {1, {"0 0 0 0 0 NO_VBO", "1 0 0 0 0 NO_VBO", "2 0 3 0 0 NO_VBO", "4 0 5 0 6 "}},
        {2, {"0 0 0 0 0 NO_VBO", "7 0 0 0 0 NO_VBO", "8 9 0 0 0 NO_VBO", "10 11 0 12 0 "}},
    };
    for (const auto& [mode, want_built] : rows) {
        SCOPED_TRACE(mode);
        std::vector<Lines> transcripts;
        std::vector<std::string> built;
        pfx_test::for_each_alloc_failure([&](long) {
            sink.clear();
            ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED);
            EXPECT_EQ(feedback([&] { EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), mode, 0, 1000), 1); }).size(), 3u)
                << "everything is drawn, polygon by polygon if need be";
            transcripts.push_back(pfx_test::mask_line_numbers(sink.lines()));
            built.push_back(buffers(*obj) + (obj->Flags & NO_VBO ? "NO_VBO" : ""));
        });
        // Two polygons: room for 2 x 18 floats or 2 x 6 colours.
        EXPECT_EQ(transcripts, (std::vector<Lines>{memory_line(L"vertex_pt, dim=36"), memory_line(L"normal_pt, dim=36"),
                                                   memory_line(L"color_pt, dim=12"), {}}));
        EXPECT_EQ(built, want_built);
    }
}

TEST_F(MovieOpenGLDraw, ColourTrackingPointStateAndArraysAreLeftAsAHostExpects)
{
    // Colour tracking on, points smooth and large, colour array on: after
    // the draw, {result, colour tracking, point smoothing, vertex / normal /
    // colour arrays, colour tracking's face and parameter, bound buffer,
    // point size}. An object without nodes is refused before any GL call.
    Case<GLint> rows[] = {
        {tri_and_quad(GEOM_POLY | COLORED), {1, 0, 1, 0, 0, 0, GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, 0, 4}},
        {tri_and_quad(GEOM_POLY), {1, 1, 1, 0, 0, 0, GL_FRONT, GL_EMISSION, 0, 4}},
        {ObjectPtr(make_object({{5, 5, 0}, {9, 5, 0}}, {{0}, {1}}, GEOM_POINT)),
         {1, 1, 0, 0, 0, 1, GL_FRONT, GL_EMISSION, 0, 1}},
        {ObjectPtr(make_object({}, {}, GEOM_POLY | COLORED | GEOM_POINT)),
         {0, 1, 1, 0, 0, 1, GL_FRONT, GL_EMISSION, 0, 4}},
    };
    EXPECT_EQ(Movie_OpenGL_Draw(nullptr, 1, 0, 1000), 0);
    for (auto& [obj, want] : rows) {
        SCOPED_TRACE(obj->Flags);
        glColorMaterial(GL_FRONT, GL_EMISSION);
        glEnable(GL_COLOR_MATERIAL);
        glEnable(GL_POINT_SMOOTH);
        glPointSize(4.0f);
        glEnableClientState(GL_COLOR_ARRAY);
        std::vector<GLint> got(1);
        feedback([&] { got[0] = Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); });
        for (GLenum cap : {GL_COLOR_MATERIAL, GL_POINT_SMOOTH, GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY})
            got.push_back(glIsEnabled(cap));
        // The size is read rounded: the 1.5 of the draw would show as 2.
        for (GLenum query :
             {GL_COLOR_MATERIAL_FACE, GL_COLOR_MATERIAL_PARAMETER, GL_ARRAY_BUFFER_BINDING, GL_POINT_SIZE})
            glGetIntegerv(query, &got.emplace_back());
        EXPECT_EQ(got, want);
        EXPECT_EQ(obj->Flags & NO_VBO, 0u);
    }
    EXPECT_TRUE(sink.lines().empty());
}

} // namespace
