// A test host for the drawing operations: a fresh headless context per test
// (egl_context.h) and the means to see what was drawn. Built without EGL,
// every GL test skips.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "egl_context.h"
#include "support/capture.h"

namespace pfx_render_test {

// Window size of the test fixture (see set_window_projection).
constexpr int kWidth = 64;
constexpr int kHeight = 64;

// The usual fixture: capture sink, allocation injection off, and a fresh
// current context with the window projection.
class GlTest : public pfx_test::PfxTest {
protected:
    void SetUp() override
    {
#if PFX_RENDER_HAVE_EGL
        const std::string why = context_.open(kWidth, kHeight);
        ASSERT_EQ(why, "") << "no headless OpenGL context";
#else
        GTEST_SKIP() << "built without EGL";
#endif
        set_window_projection(kWidth, kHeight);
    }
    void TearDown() override
    {
#if PFX_RENDER_HAVE_EGL
        if (glGetString(GL_VERSION)) {
            EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        }
#endif
        context_.close();
        pfx_test::PfxTest::TearDown();
    }
    GlContext context_;
};

// ---- Buffer contents ---------------------------------------------------------

inline GLint buffer_size(GLuint name)
{
    GLint size = -1;
    glBindBuffer(GL_ARRAY_BUFFER, name);
    glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return size;
}

template <class T>
std::vector<T> buffer_contents(GLuint name)
{
    const GLint size = buffer_size(name);
    std::vector<T> out(size > 0 ? static_cast<size_t>(size) / sizeof(T) : 0);
    glBindBuffer(GL_ARRAY_BUFFER, name);
    if (!out.empty()) glGetBufferSubData(GL_ARRAY_BUFFER, 0, size, out.data());
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return out;
}
inline std::vector<float> buffer_floats(GLuint name) { return buffer_contents<float>(name); }
inline std::vector<uint32_t> buffer_colors(GLuint name) { return buffer_contents<uint32_t>(name); }

// ---- Buffer-call log ------------------------------------------------------------
//
// While a BufferSpy lives, GLEW's five buffer-function pointers (the ones the
// library calls) point at wrappers that write one line per call and then
// call the driver's function. The driver still does the work; the log only
// adds the order and the arguments of the calls.

inline std::vector<std::string>& buffer_log()
{
    static std::vector<std::string> log;
    return log;
}

struct RealBufferFunctions {
    PFNGLGENBUFFERSPROC gen;
    PFNGLBINDBUFFERPROC bind;
    PFNGLBUFFERDATAPROC data;
    PFNGLISBUFFERPROC is;
    PFNGLDELETEBUFFERSPROC del;
};
inline RealBufferFunctions& real_buffer_functions()
{
    static RealBufferFunctions real{};
    return real;
}

inline std::string names_text(GLsizei n, const GLuint* names)
{
    std::string s;
    for (GLsizei i = 0; i < n; ++i) {
        if (i) s += ',';
        s += std::to_string(names[i]);
    }
    return s;
}

inline void GLAPIENTRY spy_gen(GLsizei n, GLuint* names)
{
    real_buffer_functions().gen(n, names);
    buffer_log().push_back("gen(" + std::to_string(n) + ") -> " + names_text(n, names));
}
inline void GLAPIENTRY spy_bind(GLenum target, GLuint name)
{
    buffer_log().push_back(std::string("bind(") +
                           (target == GL_ARRAY_BUFFER ? "ARRAY" : std::to_string(target)) + ", " +
                           std::to_string(name) + ")");
    real_buffer_functions().bind(target, name);
}
inline void GLAPIENTRY spy_data(GLenum target, GLsizeiptr size, const void* data, GLenum usage)
{
    buffer_log().push_back(std::string("data(") +
                           (target == GL_ARRAY_BUFFER ? "ARRAY" : std::to_string(target)) + ", " +
                           std::to_string(size) + ", " +
                           (usage == GL_STATIC_DRAW ? "STATIC_DRAW" : std::to_string(usage)) +
                           (data ? ")" : ", null)"));
    real_buffer_functions().data(target, size, data, usage);
}
inline GLboolean GLAPIENTRY spy_is(GLuint name)
{
    const GLboolean r = real_buffer_functions().is(name);
    buffer_log().push_back("is(" + std::to_string(name) + ") -> " + (r ? "yes" : "no"));
    return r;
}
inline void GLAPIENTRY spy_delete(GLsizei n, const GLuint* names)
{
    buffer_log().push_back("delete(" + std::to_string(n) + ", " + names_text(n, names) + ")");
    real_buffer_functions().del(n, names);
}

class BufferSpy {
public:
    BufferSpy()
    {
        buffer_log().clear();
        real_buffer_functions() = {glGenBuffers, glBindBuffer, glBufferData, glIsBuffer,
                                   glDeleteBuffers};
        glGenBuffers = spy_gen;
        glBindBuffer = spy_bind;
        glBufferData = spy_data;
        glIsBuffer = spy_is;
        glDeleteBuffers = spy_delete;
    }
    ~BufferSpy()
    {
        const RealBufferFunctions& r = real_buffer_functions();
        glGenBuffers = r.gen;
        glBindBuffer = r.bind;
        glBufferData = r.data;
        glIsBuffer = r.is;
        glDeleteBuffers = r.del;
    }
    BufferSpy(const BufferSpy&) = delete;
    BufferSpy& operator=(const BufferSpy&) = delete;

    // The calls so far, and a fresh start.
    std::vector<std::string> take()
    {
        std::vector<std::string> out;
        out.swap(buffer_log());
        return out;
    }
};

// ---- Feedback mode -------------------------------------------------------------------
//
// What immediate-mode drawing sent, as the GL saw it after transformation:
// window x, y, depth, the colour, and texture coordinates s, t.

struct FbVertex {
    float x, y, z;
    float r, g, b, a;
    float s, t;
};
struct FbPrim {
    GLenum kind; // GL_POINTS, GL_LINES or GL_POLYGON
    std::vector<FbVertex> v;
};

template <class Draw>
std::vector<FbPrim> feedback(Draw&& draw, size_t capacity = 1 << 16)
{
    std::vector<GLfloat> buf(capacity);
    glFeedbackBuffer(static_cast<GLsizei>(capacity), GL_3D_COLOR_TEXTURE, buf.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    const GLint n = glRenderMode(GL_RENDER);
    std::vector<FbPrim> prims;
    EXPECT_GE(n, 0) << "feedback buffer overflow";
    constexpr int kVertexFloats = 3 + 4 + 4; // x y z, r g b a, s t r q
    auto vertex_at = [&](GLint& i) {
        FbVertex v{buf[i], buf[i + 1], buf[i + 2], buf[i + 3], buf[i + 4],
                   buf[i + 5], buf[i + 6], buf[i + 7], buf[i + 8]};
        i += kVertexFloats;
        return v;
    };
    for (GLint i = 0; i < n;) {
        const GLenum token = static_cast<GLenum>(buf[i++]);
        FbPrim p{};
        int count = 0;
        if (token == GL_POINT_TOKEN) {
            p.kind = GL_POINTS;
            count = 1;
        } else if (token == GL_LINE_TOKEN || token == GL_LINE_RESET_TOKEN) {
            p.kind = GL_LINES;
            count = 2;
        } else if (token == GL_POLYGON_TOKEN) {
            p.kind = GL_POLYGON;
            count = static_cast<int>(buf[i++]);
        } else if (token == GL_PASS_THROUGH_TOKEN) {
            ++i;
            continue;
        } else {
            ADD_FAILURE() << "unexpected feedback token " << token;
            break;
        }
        for (int k = 0; k < count; ++k) p.v.push_back(vertex_at(i));
        prims.push_back(p);
    }
    return prims;
}

// Twice the signed area of a feedback polygon in window coordinates:
// positive for counter-clockwise corners.
inline float signed_area2(const FbPrim& p)
{
    float a = 0;
    for (size_t i = 0; i < p.v.size(); ++i) {
        const FbVertex& u = p.v[i];
        const FbVertex& w = p.v[(i + 1) % p.v.size()];
        a += u.x * w.y - w.x * u.y;
    }
    return a;
}

} // namespace pfx_render_test
