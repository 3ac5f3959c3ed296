// A test host for the drawing operations: a fresh headless context per test
// and the means to see what was drawn (buffer contents, a log of the buffer
// calls, feedback mode).
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "render/vbo_build.h"
#include "sample_scene.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_render_test {

using Floats = std::vector<float>;

inline uint32_t rgba(uint8_t r, uint8_t g, uint8_t b, uint8_t a)
{
    return pfx::render::pack_color({r, g, b, a});
}

// Capture sink, allocation injection off, and a current size x size context
// where object x and y are window coordinates and z in [-10, 10] is depth.
class GlTest : public pfx_test::PfxTest {
protected:
    explicit GlTest(int size = 64) : size_(size) {}
    void SetUp() override
    {
        if (!PFX_RENDER_HAVE_EGL) GTEST_SKIP() << "built without EGL";
        ASSERT_EQ(context_.open(size_, size_), "") << "no headless OpenGL context";
        glViewport(0, 0, size_, size_);
        glMatrixMode(GL_PROJECTION);
        glOrtho(0, size_, 0, size_, -10, 10);
        glMatrixMode(GL_MODELVIEW);
    }
    void TearDown() override
    {
        if (PFX_RENDER_HAVE_EGL && glGetString(GL_VERSION)) {
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        }
        context_.close();
        pfx_test::PfxTest::TearDown();
    }
    int size_;
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
    for (int i = 0; i < 7; ++i) {
        obj->Node_Pt[i].Normal = Vector_4{0.1f * i, 0, 1, 1};
        obj->Node_Pt[i].Color = rgba(uint8_t(10 * i), uint8_t(100 + i), 7, uint8_t(200 + i));
    }
    return obj;
}

template <class T>
std::vector<T> buffer_contents(GLuint name)
{
    GLint size = 0;
    glBindBuffer(GL_ARRAY_BUFFER, name);
    glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
    std::vector<T> out(size_t(size) / sizeof(T));
    if (size > 0) glGetBufferSubData(GL_ARRAY_BUFFER, 0, size, out.data());
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return out;
}

// While a BufferSpy lives, GLEW's pointers to the five buffer functions the
// library calls lead through wrappers that log each call ("bind 3; ") and
// then call the driver, which still does the work.
struct SpyState {
    std::string log;
    PFNGLGENBUFFERSPROC gen;
    PFNGLBINDBUFFERPROC bind;
    PFNGLBUFFERDATAPROC data;
    PFNGLISBUFFERPROC is;
    PFNGLDELETEBUFFERSPROC del;
};
inline SpyState& spy_state()
{
    static SpyState state;
    return state;
}
inline void spy_note(const char* call, GLenum target, long long n, const char* tail = "")
{
    spy_state().log.append(call).append(target == GL_ARRAY_BUFFER ? " " : " target? ");
    spy_state().log.append(std::to_string(n)).append(tail).append("; ");
}

class BufferSpy {
public:
    BufferSpy()
    {
        SpyState& s = spy_state();
        s = {{}, glGenBuffers, glBindBuffer, glBufferData, glIsBuffer, glDeleteBuffers};
        // The library asks for and deletes one name at a time.
        glGenBuffers = [](GLsizei n, GLuint* names) {
            spy_state().gen(n, names);
            spy_note("gen", GL_ARRAY_BUFFER, names[0], n == 1 ? "" : " and more");
        };
        glBindBuffer = [](GLenum target, GLuint name) {
            spy_note("bind", target, name);
            spy_state().bind(target, name);
        };
        glBufferData = [](GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
            spy_note("data", target, size, usage != GL_STATIC_DRAW ? " usage?" : data ? "" : " null");
            spy_state().data(target, size, data, usage);
        };
        glIsBuffer = [](GLuint name) {
            const GLboolean yes = spy_state().is(name);
            spy_note("is", GL_ARRAY_BUFFER, name, yes ? " yes" : " no");
            return yes;
        };
        glDeleteBuffers = [](GLsizei n, const GLuint* names) {
            spy_note("delete", GL_ARRAY_BUFFER, names[0], n == 1 ? "" : " and more");
            spy_state().del(n, names);
        };
    }
    ~BufferSpy()
    {
        const SpyState& s = spy_state();
        glGenBuffers = s.gen, glBindBuffer = s.bind, glBufferData = s.data;
        glIsBuffer = s.is, glDeleteBuffers = s.del;
    }
    // The calls so far, and a fresh start.
    std::string take() { return std::exchange(spy_state().log, {}); }
};

// What immediate-mode drawing sent, as the GL saw it after transformation.
struct FbVertex {
    float x, y, z, r, g, b, a, s, t, unused_r, unused_q;
};
struct FbPrim {
    GLenum token; // GL_POINT_TOKEN, GL_LINE_TOKEN or GL_POLYGON_TOKEN
    std::vector<FbVertex> v;
    // Twice the signed window area: positive for counter-clockwise corners.
    float area2() const
    {
        float a = 0;
        for (size_t i = 0; i < v.size(); ++i)
            a += v[i].x * v[(i + 1) % v.size()].y - v[(i + 1) % v.size()].x * v[i].y;
        return a;
    }
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
                        : p.token == GL_POLYGON_TOKEN ? int(buf[i++]) : -1;
        if (count < 0) {
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
