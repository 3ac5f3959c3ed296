// A real OpenGL context without a display, for the drawing tests and the
// tool that renders their reference images.
//
// The context comes from EGL on Mesa's surfaceless platform with a pbuffer
// surface and the desktop OpenGL API, which gives a compatibility-profile
// context on the llvmpipe software renderer. The host initialises GLEW for
// it, as any host of the library must. Built without EGL (the render.cmake
// dependency file could not find it), opening a context fails.
#pragma once

#define GLEW_NO_GLU
#include <GL/glew.h>

#if PFX_RENDER_HAVE_EGL
#include <EGL/egl.h>
#include <EGL/eglext.h>
#endif

#include <string>

namespace pfx_render_test {

#if PFX_RENDER_HAVE_EGL

// The display lives for the whole process (initialising it loads the
// driver); each test gets a fresh context and surface, so GL state never
// leaks from one test into the next.
inline EGLDisplay shared_display(std::string& why)
{
    static EGLDisplay display = EGL_NO_DISPLAY;
    static std::string failure;
    static bool tried = false;
    if (!tried) {
        tried = true;
        auto get_platform_display = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
            eglGetProcAddress("eglGetPlatformDisplayEXT"));
        if (!get_platform_display) {
            failure = "no eglGetPlatformDisplayEXT";
        } else {
            display = get_platform_display(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY,
                                           nullptr);
            EGLint major = 0, minor = 0;
            if (display == EGL_NO_DISPLAY) {
                failure = "no surfaceless display";
            } else if (!eglInitialize(display, &major, &minor)) {
                failure = "eglInitialize failed";
                display = EGL_NO_DISPLAY;
            }
        }
    }
    why = failure;
    return display;
}

class GlContext {
public:
    GlContext() = default;
    GlContext(const GlContext&) = delete;
    GlContext& operator=(const GlContext&) = delete;
    ~GlContext() { close(); }

    // Makes a width x height RGBA8 + depth context current and initialises
    // GLEW. Returns an empty text on success, else what failed.
    std::string open(int width, int height)
    {
        std::string why;
        display_ = shared_display(why);
        if (display_ == EGL_NO_DISPLAY) return why;
        const EGLint config_attribs[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT,
                                         EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                         EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8,
                                         EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        if (!eglChooseConfig(display_, config_attribs, &config, 1, &count) || count < 1)
            return "no pbuffer config";
        const EGLint surface_attribs[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
        surface_ = eglCreatePbufferSurface(display_, config, surface_attribs);
        if (surface_ == EGL_NO_SURFACE) return "no pbuffer surface";
        if (!eglBindAPI(EGL_OPENGL_API)) return "no desktop OpenGL API";
        context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, nullptr);
        if (context_ == EGL_NO_CONTEXT) return "no context";
        if (!eglMakeCurrent(display_, surface_, surface_, context_)) return "eglMakeCurrent failed";
        // GLEW 2.2 without an X display returns GLEW_ERROR_NO_GLX_DISPLAY
        // after it has loaded the core entry points, so the code says
        // nothing: what matters is that the buffer functions are there.
        glewExperimental = GL_TRUE;
        (void)glewInit();
        glGetError(); // glewInit may leave an error from its own queries
        if (!glGenBuffers || !glBindBuffer || !glBufferData || !glIsBuffer || !glDeleteBuffers ||
            !glGetBufferSubData)
            return "GLEW loaded no buffer functions";
        return {};
    }

    void close()
    {
        if (display_ == EGL_NO_DISPLAY) return;
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (context_ != EGL_NO_CONTEXT) eglDestroyContext(display_, context_);
        if (surface_ != EGL_NO_SURFACE) eglDestroySurface(display_, surface_);
        context_ = EGL_NO_CONTEXT;
        surface_ = EGL_NO_SURFACE;
        display_ = EGL_NO_DISPLAY;
    }

private:
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLSurface surface_ = EGL_NO_SURFACE;
    EGLContext context_ = EGL_NO_CONTEXT;
};

#else // no EGL at build time

class GlContext {
public:
    std::string open(int, int) { return "built without EGL"; }
    void close() {}
};

#endif

// Object x and y map 1:1 to window coordinates, and z in [-10, 10] to
// depth (10 - z) / 20.
inline void set_window_projection(int width, int height)
{
    glViewport(0, 0, width, height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, width, 0, height, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

} // namespace pfx_render_test
