// A real OpenGL context without a display, the reference images, and the
// scene they show. Shared by the drawing tests and the goldens_render tool
// that rewrites the references, so both draw exactly the same thing.
//
// The context comes from EGL on Mesa's surfaceless platform (a pbuffer and
// the desktop API: a compatibility profile on llvmpipe). The host initialises
// GLEW for it, as any host of the library must. Built without EGL (render.cmake
// could not find it), opening a context fails and the GL tests skip.
#pragma once

#define GLEW_NO_GLU
#include <GL/glew.h>
#if PFX_RENDER_HAVE_EGL
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <png.h>
#endif

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "polyfex.h"

namespace pfx_render_test {

// 8-bit RGBA rows as the GL reads them back: bottom row first. The PNG
// files hold them top row first, as image viewers expect.
struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> rgba;
};

#if PFX_RENDER_HAVE_EGL

class GlContext {
public:
    ~GlContext()
    {
        if (display_ == EGL_NO_DISPLAY) return;
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display_, context_);
        eglDestroySurface(display_, surface_);
    }

    // Makes a width x height RGBA8 + depth context current with GLEW loaded.
    // Returns an empty text on success, else what failed.
    std::string open(int width, int height)
    {
        // The display lives for the whole process (initialising it loads the
        // driver); each context and surface is fresh, so GL state never leaks
        // from one test into the next.
        static const EGLDisplay display = [] {
            EGLDisplay d = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
            return d != EGL_NO_DISPLAY && eglInitialize(d, nullptr, nullptr) ? d : EGL_NO_DISPLAY;
        }();
        if (display == EGL_NO_DISPLAY) return "no surfaceless EGL display";
        const EGLint config_attribs[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                         EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8,
                                         EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE};
        const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        if (!eglChooseConfig(display, config_attribs, &config, 1, &count) || count < 1 || !eglBindAPI(EGL_OPENGL_API))
            return "no pbuffer config";
        surface_ = eglCreatePbufferSurface(display, config, size);
        context_ = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
        display_ = display; // the destructor releases whatever was made
        if (!eglMakeCurrent(display, surface_, surface_, context_)) return "no current context";
        // GLEW 2.2 without an X display reports GLEW_ERROR_NO_GLX_DISPLAY after
        // loading the core entry points, and may leave a GL error behind: what
        // matters is that the buffer functions are there.
        glewExperimental = GL_TRUE;
        (void)glewInit();
        glGetError();
        return glGenBuffers && glGetBufferSubData ? "" : "GLEW loaded no buffer functions";
    }

private:
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLSurface surface_ = EGL_NO_SURFACE;
    EGLContext context_ = EGL_NO_CONTEXT;
};

// Empty text on success, else what failed. A negative row stride stores
// the bottom-up rows top row first.
inline std::string write_png(const std::string& path, const Image& img)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION, png.format = PNG_FORMAT_RGBA;
    png.width = png_uint_32(img.width), png.height = png_uint_32(img.height);
    if (png_image_write_to_file(&png, path.c_str(), 0, img.rgba.data(), -4 * img.width, nullptr)) return {};
    return "cannot write " + path + ": " + png.message;
}

inline std::string read_png(const std::string& path, Image& img)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) return "cannot read " + path;
    png.format = PNG_FORMAT_RGBA;
    img.width = int(png.width), img.height = int(png.height);
    img.rgba.assign(PNG_IMAGE_SIZE(png), 0);
    if (png_image_finish_read(&png, nullptr, img.rgba.data(), -4 * img.width, nullptr)) return {};
    png_image_free(&png);
    return "cannot decode " + path;
}

#else // no EGL at build time

struct GlContext {
    std::string open(int, int) { return "built without EGL"; }
};
inline std::string read_png(const std::string&, Image&) { return "built without libpng"; }

#endif

constexpr int kSceneSize = 96;

// One variant of the scene: its reference file, the draw mode, and whether
// the object may use buffers (else it carries NO_VBO).
struct SceneVariant {
    const char* file;
    short mode;
    bool buffers;
};
constexpr SceneVariant kSceneVariants[] = {
    {"flat_buffers.png", 2, true},
    {"smooth_buffers.png", 1, true},
    {"flat_immediate.png", 2, false},
    {"smooth_immediate.png", 1, false},
};

// A unit sphere of 8 bands of 12 polygons: triangle fans at the poles, quads
// between, counter-clockwise from outside. Node colours follow the position;
// every seventh polygon has its own colour. Node normals are the exact sphere
// normals, polygon normals those of their first three corners.
inline Movie_Objs* make_sample_object()
{
    constexpr int kStacks = 8, kSlices = 12, kNodes = 2 + (kStacks - 1) * kSlices;
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Flags = GEOM_POLY | COLORED;
    obj->Matrix.init();
    obj->Node_Nb = kNodes;
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(kNodes, sizeof(Movie_Node)));
    for (int i = 0; i < kNodes; ++i) { // the north pole, the rings, the south pole
        const int s = i == 0 ? 0 : i == kNodes - 1 ? kStacks : 1 + (i - 1) / kSlices;
        const double theta = M_PI * s / kStacks, phi = 2 * M_PI * ((i + kSlices - 1) % kSlices) / kSlices;
        const double x = std::sin(theta) * std::cos(phi), y = std::cos(theta), z = -std::sin(theta) * std::sin(phi);
        Movie_Node& n = obj->Node_Pt[i];
        n.Coord = Vector_4{float(x), float(y), float(z), 0.0f};
        n.Normal = Vector_4{float(x), float(y), float(z), 1.0f};
        const uint8_t rgba[4] = {uint8_t(140 + 100 * x), uint8_t(140 + 100 * y), uint8_t(140 + 100 * z), 255};
        std::memcpy(&n.Color, rgba, 4);
    }
    auto ring = [](int s, int k) { return 1 + (s - 1) * kSlices + k % kSlices; };
    std::vector<std::vector<int>> polys;
    for (int k = 0; k < kSlices; ++k) polys.push_back({0, ring(1, k), ring(1, k + 1)});
    for (int s = 1; s + 1 < kStacks; ++s)
        for (int k = 0; k < kSlices; ++k)
            polys.push_back({ring(s, k), ring(s + 1, k), ring(s + 1, k + 1), ring(s, k + 1)});
    for (int k = 0; k < kSlices; ++k) polys.push_back({kNodes - 1, ring(kStacks - 1, k + 1), ring(kStacks - 1, k)});
    obj->Poly_Nb = int(polys.size());
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(polys.size(), sizeof(Movie_Poly)));
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        Movie_Poly& poly = obj->Poly_Pt[p];
        poly.Node_Id_Nb = int(polys[p].size());
        std::memcpy(poly.Node_Id, polys[p].data(), polys[p].size() * sizeof(int));
        const Vector_4 &a = obj->Node_Pt[poly.Node_Id[0]].Coord, &b = obj->Node_Pt[poly.Node_Id[1]].Coord,
                       &c = obj->Node_Pt[poly.Node_Id[2]].Coord;
        const Vector_4 u{b.x - a.x, b.y - a.y, b.z - a.z, 0}, v{c.x - a.x, c.y - a.y, c.z - a.z, 0};
        poly.Normal = Vector_4{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x, 1}.normalise();
        const uint8_t own[4] = {250, 210, 40, 255};
        if (p % 7 == 3) std::memcpy(&poly.Color, own, 4);
    }
    return obj;
}

// Draws one variant into the current context, which is kSceneSize square,
// with the host's part of the frame (projection, a turned view, one
// directional light, depth testing; colour tracking is the library's
// business) and reads it back.
inline Image render_variant(const SceneVariant& v)
{
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1.25, 1.25, -1.25, 1.25, -5, 5);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const GLfloat light_dir[4] = {0.4f, 0.6f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, light_dir);
    glRotatef(25, 1, 0, 0);
    glRotatef(-35, 0, 1, 0);
    for (GLenum cap : {GL_LIGHTING, GL_LIGHT0, GL_DEPTH_TEST}) glEnable(cap);
    glClearColor(0.1f, 0.1f, 0.15f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    Movie_Objs* obj = make_sample_object();
    if (!v.buffers) obj->Flags |= NO_VBO;
    Movie_OpenGL_Draw(obj, v.mode, 0, 1000);

    Image img{kSceneSize, kSceneSize, std::vector<uint8_t>(size_t(kSceneSize) * kSceneSize * 4)};
    glReadPixels(0, 0, kSceneSize, kSceneSize, GL_RGBA, GL_UNSIGNED_BYTE, img.rgba.data());

    // The buffers live in the context: a host deletes them through a reset
    // and a draw before it releases the object.
    Movie_OpenGL_Reset(obj, 7);
    Movie_OpenGL_Draw(obj, v.mode, 1, 0);
    Movie_Free(obj);
    std::free(obj);
    return img;
}

} // namespace pfx_render_test
