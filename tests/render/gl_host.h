// A test host for the drawing operations: objects to draw, a fresh headless
// context per test and the means to see what was drawn (buffer contents,
// feedback mode).
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "render/vbo_build.h"
#include "sample_scene.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_render_test {

using Floats = std::vector<float>;

// A colour as the records hold it: the bytes r, g, b, a in memory order
// (this is a little-endian machine).
inline uint32_t rgba(uint32_t r, uint32_t g, uint32_t b, uint32_t a) { return r | g << 8 | b << 16 | a << 24; }

// Capture sink, allocation injection off, and a current context of the
// scene's size where object x and y are window coordinates and z in
// [-10, 10] is depth.
class GlTest : public pfx_test::PfxTest {
protected:
    void SetUp() override
    {
#if !PFX_RENDER_HAVE_EGL
        GTEST_SKIP() << "built without EGL";
#endif
        ASSERT_EQ(context_.open(kSceneSize, kSceneSize), "") << "no headless OpenGL context";
        glMatrixMode(GL_PROJECTION);
        glOrtho(0, kSceneSize, 0, kSceneSize, -10, 10);
        glMatrixMode(GL_MODELVIEW);
    }
    void TearDown() override
    {
        if (glGetString(GL_VERSION)) {
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        }
        pfx_test::PfxTest::TearDown();
    }
    GlContext context_;
};

// A triangle (10,10) (30,10) (10,30) and a quad (40,40) (60,40) (60,60) (40,60),
// counter-clockwise in window coordinates, with polygon normals, node normals
// (0.1 i, 0, 1) and node colours (10 i, 100 + i, 7, 200 + i).
inline pfx_test::ObjectPtr tri_and_quad(unsigned flags)
{
    pfx_test::ObjectPtr obj(pfx_test::make_object(
        {{10, 10, 0}, {30, 10, 0}, {10, 30, 0}, {40, 40, 0}, {60, 40, 0}, {60, 60, 0}, {40, 60, 0}},
        {{0, 1, 2}, {3, 4, 5, 6}}, flags));
    obj->Poly_Pt[0].Normal = Vector_4{0, 0, 1, 1};
    obj->Poly_Pt[1].Normal = Vector_4{0, 0.6f, 0.8f, 1};
    for (uint32_t i = 0; i < 7; ++i) {
        obj->Node_Pt[i].Normal = Vector_4{0.1f * i, 0, 1, 1};
        obj->Node_Pt[i].Color = rgba(10 * i, 100 + i, 7, 200 + i);
    }
    return obj;
}

// Nodes i at Coord (i, 10 i, 100 i) with Normal (i, 0, 1); Pos not computed.
inline pfx_test::ObjectPtr numbered(int nodes, const std::vector<std::vector<int>>& polys)
{
    std::vector<pfx_test::P3> pts;
    for (int i = 0; i < nodes; ++i) pts.push_back({float(i), 10.0f * i, 100.0f * i});
    pfx_test::ObjectPtr obj(pfx_test::make_object(pts, polys));
    for (int i = 0; i < nodes; ++i) obj->Node_Pt[i].Normal = Vector_4{float(i), 0, 1, 1};
    return obj;
}

// Gives the object a list of texture pairs or of normal triples, and each
// polygon p the ids of its corners into it, ids[p].
inline void set_list(Movie_Objs& obj, bool normals, const Floats& values, const std::vector<std::vector<int>>& ids)
{
    float*& list = normals ? obj.Normal_Pt : obj.Text_Pt;
    (normals ? obj.Normal_Nb : obj.Text_Nb) = int(values.size()) / (normals ? 3 : 2);
    list = static_cast<float*>(std::malloc(values.size() * sizeof(float)));
    std::copy(values.begin(), values.end(), list);
    for (size_t p = 0; p < ids.size(); ++p)
        std::copy(ids[p].begin(), ids[p].end(), normals ? obj.Poly_Pt[p].Normal_Id : obj.Poly_Pt[p].Text_Id);
}

// A fill into room for every polygon, cut to the count it reports.
template <class T>
std::vector<T> filled(const Movie_Objs& obj, long long (*fill)(const Movie_Objs&, T*))
{
    std::vector<T> out(size_t(obj.Poly_Nb) * 18, T(99));
    out.resize(size_t(fill(obj, out.data())));
    return out;
}

// What a buffer holds; every buffer the library makes is static.
template <class T>
std::vector<T> buffer_contents(GLuint name)
{
    GLint size = 0, usage = 0;
    glBindBuffer(GL_ARRAY_BUFFER, name);
    glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
    glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_USAGE, &usage);
    EXPECT_EQ(usage, GL_STATIC_DRAW);
    std::vector<T> out(size_t(size) / sizeof(T));
    glGetBufferSubData(GL_ARRAY_BUFFER, 0, size, out.data());
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return out;
}

// What immediate-mode drawing sent, as the GL saw it after transformation.
struct FbVertex {
    float x, y, z, r, g, b, a, s, t, unused_r, unused_q;
};
struct FbPrim {
    GLenum token; // GL_POINT_TOKEN, GL_LINE_TOKEN or GL_POLYGON_TOKEN
    std::vector<FbVertex> v;
};

template <class Draw>
std::vector<FbPrim> feedback(Draw&& draw, size_t capacity = 1 << 16)
{
    std::vector<GLfloat> buf(capacity);
    glFeedbackBuffer(GLsizei(capacity), GL_3D_COLOR_TEXTURE, buf.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    const GLint n = glRenderMode(GL_RENDER);
    EXPECT_GE(n, 0) << "feedback buffer overflow";
    std::vector<FbPrim> prims;
    for (GLint i = 0; i < n;) {
        FbPrim p{GLenum(buf[i++]), {}};
        if (p.token == GL_LINE_RESET_TOKEN) p.token = GL_LINE_TOKEN;
        const int count = p.token == GL_POINT_TOKEN ? 1 : p.token == GL_LINE_TOKEN ? 2
                        : p.token == GL_POLYGON_TOKEN ? int(buf[i++]) : 0;
        if (count <= 0) {
            ADD_FAILURE() << "unexpected feedback token " << p.token;
            break;
        }
        p.v.resize(size_t(count));
        std::memcpy(p.v.data(), &buf[i], sizeof(FbVertex) * size_t(count));
        i += GLint(sizeof(FbVertex) / sizeof(float)) * count;
        prims.push_back(p);
    }
    return prims;
}

} // namespace pfx_render_test
