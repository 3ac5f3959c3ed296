// Drawing from buffer objects in a real headless context: which buffers are
// built, what they hold, what a reset deletes, the fall-back to immediate
// mode, and the GL state a draw leaves behind.
#include <cstdint>
#include <string>
#include <vector>

#include "gl_host.h"
#include "support/objects.h"

namespace {

using namespace pfx_render_test;
using pfx_test::Line;
using pfx_test::make_object;
using pfx_test::ObjectPtr;
using Names = std::vector<uint32_t>;

// In field order: positions, flat and smooth normals, flat and smooth colours.
Names names(const Movie_Objs& o)
{
    return {o.VBO_Vertex, o.VBO_Normal_Flat, o.VBO_Normal_Smooth, o.VBO_Color_Flat, o.VBO_Color_Smooth};
}

// A fill's output, as the buffer built from it should hold it.
template <class T>
std::vector<T> filled(const Movie_Objs& obj, long long (*fill)(const Movie_Objs&, T*))
{
    std::vector<T> out(size_t(obj.Poly_Nb) * 18);
    out.resize(size_t(fill(obj, out.data())));
    return out;
}

// The calls that build one buffer of `bytes` bytes in place of old_name.
std::string built(uint32_t old_name, uint32_t name, int bytes)
{
    const std::string n = std::to_string(name);
    return "is " + std::to_string(old_name) + " no; gen " + n + "; bind " + n + "; data " +
           std::to_string(bytes) + "; bind 0; ";
}

using MovieOpenGLDraw = GlTest;

TEST_F(MovieOpenGLDraw, NullOrEmptyObjectGivesZeroAndNoGlCall)
{
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(nullptr, 1, 0, 1000), 0);
    ObjectPtr empty(make_object({}, {}, GEOM_POLY | COLORED | GEOM_POINT));
    EXPECT_EQ(Movie_OpenGL_Draw(empty.get(), 1, 0, 1000), 0);
    EXPECT_EQ(spy.take(), "");
    EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));
    EXPECT_FALSE(glIsEnabled(GL_POINT_SMOOTH));
    EXPECT_EQ(empty->Flags & NO_VBO, 0u);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, EachModeBuildsItsBuffersOnceFromTheFills)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED | DISPLACED);
    for (int i = 0; i < 7; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 3, 0};
    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 1, 0, 1000), 1);
    // 9 corners: 108 bytes per position or normal buffer, 36 of colours;
    // then the draw binds the three buffers in turn.
    EXPECT_EQ(spy.take(), built(0, 1, 108) + built(0, 2, 108) + built(0, 3, 36) +
                              "bind 1; bind 2; bind 3; bind 0; ");
    EXPECT_EQ(obj->Pos_Done, 1) << "stale positions are computed first";
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), -3, 0, 1000), 1) << "every mode but 2 is smooth";
    EXPECT_EQ(spy.take(), "is 1 yes; is 2 yes; is 3 yes; bind 1; bind 2; bind 3; bind 0; ");
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 2, 0, 1000), 1);
    EXPECT_EQ(spy.take(), "is 1 yes; " + built(0, 4, 108) + built(0, 5, 36) + "bind 1; bind 4; bind 5; bind 0; ");
    EXPECT_EQ(names(*obj), (Names{1, 4, 2, 5, 3}));
    EXPECT_EQ(obj->VBO_Nb, 9);
    EXPECT_EQ(obj->Flags & NO_VBO, 0u);
    EXPECT_EQ(buffer_contents<float>(1), filled(*obj, pfx::render::fill_vertex));
    EXPECT_EQ(buffer_contents<float>(4), filled(*obj, pfx::render::fill_normal_flat));
    EXPECT_EQ(buffer_contents<float>(2), filled(*obj, pfx::render::fill_normal_smooth));
    EXPECT_EQ(buffer_contents<uint32_t>(5), filled(*obj, pfx::render::fill_color_flat));
    EXPECT_EQ(buffer_contents<uint32_t>(3), filled(*obj, pfx::render::fill_color_smooth));
    EXPECT_EQ(buffer_contents<float>(1)[0], 11.0f) << "displaced position";
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, ResetMarksGroupsThatTheNextRealDrawDeletes)
{
    ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    Movie_OpenGL_Draw(obj.get(), 2, 0, 1000); // names 1 to 5
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 2), 1);
    EXPECT_EQ(Movie_OpenGL_Reset(obj.get(), 0x40), 1);
    EXPECT_EQ(Movie_OpenGL_Reset(nullptr, 1), 0);
    EXPECT_EQ(obj->VBO_Reset, 0x42) << "bits accumulate, unknown ones too";
    obj->Node_Pt[0].Coord.x = 5;
    obj->Pos_Done = 0;

    BufferSpy spy;
    EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), 0, 0, 1000), 1) << "mode 0 does nothing";
    EXPECT_EQ(spy.take(), "");
    EXPECT_EQ(obj->VBO_Reset, 0x42);
    EXPECT_EQ(obj->Pos_Done, 0);

    // A nonzero part deletes both normal buffers but builds nothing; the
    // deleted names stay in their fields.
    Movie_OpenGL_Draw(obj.get(), 1, 1, 1000);
    EXPECT_EQ(spy.take(), "delete 4; delete 2; ");
    EXPECT_EQ(obj->VBO_Reset, 0);
    EXPECT_EQ(names(*obj), (Names{1, 4, 2, 5, 3}));

    // Only the smooth normals come back; the changed positions reach their
    // buffer after a reset of their group, which deletes in field order.
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    const std::string normals = std::to_string(obj->VBO_Normal_Smooth);
    EXPECT_EQ(spy.take(), "is 1 yes; " + built(2, obj->VBO_Normal_Smooth, 108) + "is 3 yes; bind 1; bind " +
                              normals + "; bind 3; bind 0; ");
    EXPECT_EQ(obj->Node_Pt[0].Pos.x, 5.0f);
    EXPECT_EQ(buffer_contents<float>(1)[0], 10.0f);
    spy.take();
    Movie_OpenGL_Reset(obj.get(), 7);
    Movie_OpenGL_Draw(obj.get(), 1, 0, 1000);
    const std::string deletes = "delete 1; delete 4; delete " + normals + "; delete 5; delete 3; ";
    EXPECT_EQ(spy.take().substr(0, deletes.size()), deletes);
    EXPECT_EQ(buffer_contents<float>(obj->VBO_Vertex)[0], 5.0f);
    EXPECT_EQ(obj->VBO_Reset, 0);
}

TEST_F(MovieOpenGLDraw, ObjectsThatCannotUseBuffersAreDrawnPolygonByPolygon)
{
    struct Row {
        ObjectPtr obj;
        short mode;
        const char* calls;
        std::vector<GLenum> drawn;
    };
    Row rows[] = {
        // A polygon of another corner count sends the object to immediate
        // mode for good, before any buffer exists.
        {ObjectPtr(make_object({{1, 1, 0}, {9, 1, 0}, {1, 9, 0}}, {{0, 1, 2}, {0, 1}}, GEOM_POLY)),
         1, "is 0 no; ", {GL_POLYGON_TOKEN, GL_LINE_TOKEN}},
        {ObjectPtr(make_object({{1, 1, 0}}, {}, GEOM_POLY | COLORED)), 2, "is 0 no; ", {}},
        // Without the polygon bit buffers are never asked about.
        {tri_and_quad(GEOM_LINE | COLORED), 1, "",
         {GL_POLYGON_TOKEN, GL_POLYGON_TOKEN, GL_POLYGON_TOKEN}},
    };
    for (Row& row : rows) {
        SCOPED_TRACE(row.obj->Flags);
        const unsigned flags = row.obj->Flags | (*row.calls ? NO_VBO : 0);
        BufferSpy spy;
        std::vector<GLenum> drawn;
        for (const FbPrim& p : feedback([&] {
                 EXPECT_EQ(Movie_OpenGL_Draw(row.obj.get(), row.mode, 0, 1000), 1);
             }))
            drawn.push_back(p.token);
        EXPECT_EQ(drawn, row.drawn);
        EXPECT_EQ(spy.take(), row.calls);
        EXPECT_EQ(row.obj->Flags, flags);
        EXPECT_EQ(row.obj->VBO_Nb, 0);
        // A reset deletes the names it finds (none), neither clears the flag
        // nor asks about buffers again.
        Movie_OpenGL_Reset(row.obj.get(), 7);
        feedback([&] { Movie_OpenGL_Draw(row.obj.get(), row.mode, 0, 1000); });
        EXPECT_EQ(spy.take(), "delete 0; delete 0; delete 0; delete 0; delete 0; ");
        EXPECT_EQ(row.obj->Flags, flags);
    }
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieOpenGLDraw, EachFailedScratchArrayIsReportedAndTheDrawFallsBack)
{
    auto memory_line = [](const wchar_t* var_dim) {
        return std::vector<Line>{{MSG_MEMORY, L"line # of movie_OGL \nmemory error in malloc (var=" +
                                                  std::wstring(var_dim) + L"x4)"}};
    };
    for (short mode : {1, 2}) {
        SCOPED_TRACE(mode);
        std::vector<std::vector<Line>> transcripts;
        std::vector<std::string> built_buffers;
        pfx_test::for_each_alloc_failure([&](long) {
            sink.clear();
            ObjectPtr obj = tri_and_quad(GEOM_POLY | COLORED);
            const std::vector<FbPrim> prims = feedback([&] {
                EXPECT_EQ(Movie_OpenGL_Draw(obj.get(), mode, 0, 1000), 1);
            });
            EXPECT_EQ(prims.size(), 3u) << "everything is drawn, polygon by polygon if need be";
            std::vector<Line> lines = sink.lines();
            for (Line& l : lines) // without the source line number
                if (const size_t of = l.text.find(L" of "); of != std::wstring::npos)
                    l.text = L"line #" + l.text.substr(of);
            transcripts.push_back(lines);
            const bool flat = mode == 2;
            std::string built;
            for (uint32_t name : {obj->VBO_Vertex, flat ? obj->VBO_Normal_Flat : obj->VBO_Normal_Smooth,
                                  flat ? obj->VBO_Color_Flat : obj->VBO_Color_Smooth})
                built += glIsBuffer(name) ? '1' : '0';
            built_buffers.push_back(built + (obj->Flags & NO_VBO ? " NO_VBO" : ""));
            Movie_OpenGL_Reset(obj.get(), 7);
            Movie_OpenGL_Draw(obj.get(), mode, 1, 0);
        });
        // Two polygons: room for 2 x 18 floats or 2 x 6 colours.
        EXPECT_EQ(transcripts, (std::vector<std::vector<Line>>{memory_line(L"vertex_pt, dim=36"),
                                                               memory_line(L"normal_pt, dim=36"),
                                                               memory_line(L"color_pt, dim=12"), {}}));
        EXPECT_EQ(built_buffers, (std::vector<std::string>{"000 NO_VBO", "100 NO_VBO", "110 NO_VBO", "111"}));
    }
}

TEST_F(MovieOpenGLDraw, ColourTrackingPointStateAndArraysAreLeftAsAHostExpects)
{
    // Colour tracking on, points smooth and large, colour array on: after
    // the draw, {colour tracking, its face, its parameter, point smoothing,
    // point size x 100, vertex / normal / colour arrays, bound buffer}.
    const std::pair<unsigned, std::vector<GLint>> rows[] = {
        {GEOM_POLY | COLORED, {0, GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, 1, 400, 0, 0, 0, 0}},
        {GEOM_POLY, {1, GL_FRONT, GL_EMISSION, 1, 400, 0, 0, 0, 0}},
        {GEOM_POINT, {1, GL_FRONT, GL_EMISSION, 0, 100, 0, 0, 1, 0}},
    };
    for (const auto& [flags, want] : rows) {
        SCOPED_TRACE(flags);
        ObjectPtr obj = flags == GEOM_POINT ? ObjectPtr(make_object({{5, 5, 0}, {9, 5, 0}}, {{0}, {1}}, flags))
                                            : tri_and_quad(flags);
        glColorMaterial(GL_FRONT, GL_EMISSION);
        glEnable(GL_COLOR_MATERIAL);
        glEnable(GL_POINT_SMOOTH);
        glPointSize(4.0f);
        glEnableClientState(GL_COLOR_ARRAY);
        EXPECT_FALSE(feedback([&] { Movie_OpenGL_Draw(obj.get(), 1, 0, 1000); }).empty());
        std::vector<GLint> got(9);
        got[0] = glIsEnabled(GL_COLOR_MATERIAL);
        glGetIntegerv(GL_COLOR_MATERIAL_FACE, &got[1]);
        glGetIntegerv(GL_COLOR_MATERIAL_PARAMETER, &got[2]);
        got[3] = glIsEnabled(GL_POINT_SMOOTH);
        GLfloat point_size = 0;
        glGetFloatv(GL_POINT_SIZE, &point_size);
        got[4] = GLint(point_size * 100);
        got[5] = glIsEnabled(GL_VERTEX_ARRAY);
        got[6] = glIsEnabled(GL_NORMAL_ARRAY);
        got[7] = glIsEnabled(GL_COLOR_ARRAY);
        glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &got[8]);
        EXPECT_EQ(got, want);
    }
}

} // namespace
