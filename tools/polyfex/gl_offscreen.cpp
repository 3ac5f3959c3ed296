#include "gl_offscreen.h"

#include <GL/glew.h>
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <cstring>

namespace polyfex_cli {
namespace {

EGLDisplay surfaceless_display()
{
    auto get_display = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
        eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (!get_display)
        return EGL_NO_DISPLAY;
    return get_display(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
}

// A colour and depth target of `samples` samples (0: plain) on `fbo`.
bool make_target(GLuint fbo, GLuint colour, GLuint depth, int samples, int w, int h)
{
    glBindFramebuffer(GL_FRAMEBUFFER, fbo);
    glBindRenderbuffer(GL_RENDERBUFFER, colour);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA8, w, h);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour);
    if (depth) {
        glBindRenderbuffer(GL_RENDERBUFFER, depth);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH_COMPONENT24, w, h);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth);
    }
    return glGetError() == GL_NO_ERROR &&
           glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

} // namespace

OffscreenGl::~OffscreenGl() { close(); }

bool OffscreenGl::open(int width, int height, std::string& error)
{
    width_ = width;
    height_ = height;
    EGLDisplay display = surfaceless_display();
    EGLint major = 0, minor = 0;
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, &major, &minor)) {
        error = "no EGL display (Mesa's EGL and DRI drivers: libegl1 libgl1-mesa-dri)";
        return false;
    }
    display_ = display;
    const EGLint config_wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                                    EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint configs = 0;
    if (!eglBindAPI(EGL_OPENGL_API) ||
        !eglChooseConfig(display, config_wanted, &config, 1, &configs) || configs < 1) {
        error = "the EGL display offers no desktop OpenGL";
        return false;
    }
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    if (context == EGL_NO_CONTEXT) {
        error = "no OpenGL context could be created";
        return false;
    }
    context_ = context;
    if (!eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) {
        error = "the OpenGL context cannot be made current without a surface";
        return false;
    }
    // note: without an X display glewInit reports GLEW_ERROR_NO_GLX_DISPLAY
    // after it has loaded the core functions; what the library and this
    // target need is whether those pointers are set.
    glewExperimental = GL_TRUE;
    glewInit();
    if (!glGenBuffers || !glBindBuffer || !glBufferData || !glIsBuffer || !glDeleteBuffers ||
        !glGenFramebuffers || !glRenderbufferStorageMultisample || !glBlitFramebuffer) {
        error = "the OpenGL driver lacks buffer or framebuffer objects";
        return false;
    }
    glGetError();
    glGenFramebuffers(1, &draw_fbo_);
    glGenFramebuffers(1, &resolve_fbo_);
    glGenRenderbuffers(3, buffers_);
    multisampled_ = make_target(draw_fbo_, buffers_[0], buffers_[1], 4, width, height);
    if (multisampled_) {
        if (!make_target(resolve_fbo_, buffers_[2], 0, 0, width, height)) {
            error = "no framebuffer of " + std::to_string(width) + "x" + std::to_string(height);
            return false;
        }
    } else if (!make_target(draw_fbo_, buffers_[0], buffers_[1], 0, width, height)) {
        error = "no framebuffer of " + std::to_string(width) + "x" + std::to_string(height);
        return false;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, draw_fbo_);
    glViewport(0, 0, width, height);
    return true;
}

std::vector<uint8_t> OffscreenGl::read_pixels()
{
    GLuint source = draw_fbo_;
    if (multisampled_) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, draw_fbo_);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolve_fbo_);
        glBlitFramebuffer(0, 0, width_, height_, 0, 0, width_, height_, GL_COLOR_BUFFER_BIT,
                          GL_NEAREST);
        source = resolve_fbo_;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, source);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    const size_t row = static_cast<size_t>(width_) * 4;
    std::vector<uint8_t> bottom_up(row * height_);
    glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, bottom_up.data());
    glBindFramebuffer(GL_FRAMEBUFFER, draw_fbo_);
    // OpenGL counts rows from the bottom, images from the top.
    std::vector<uint8_t> top_down(bottom_up.size());
    for (int y = 0; y < height_; ++y)
        std::memcpy(&top_down[y * row], &bottom_up[(height_ - 1 - y) * row], row);
    return top_down;
}

std::string OffscreenGl::renderer() const
{
    const GLubyte* name = glGetString(GL_RENDERER);
    return name ? reinterpret_cast<const char*>(name) : "unknown";
}

void OffscreenGl::close()
{
    if (context_) {
        if (draw_fbo_ || resolve_fbo_) {
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            glDeleteRenderbuffers(3, buffers_);
            glDeleteFramebuffers(1, &draw_fbo_);
            glDeleteFramebuffers(1, &resolve_fbo_);
        }
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display_, context_);
        context_ = nullptr;
    }
    if (display_) {
        // note: the display is released with the process, not with
        // eglTerminate: Mesa's teardown there drops two small blocks of its
        // own that the leak checker then reports, and the command ends right
        // after its one picture anyway.
        eglReleaseThread();
        display_ = nullptr;
    }
}

} // namespace polyfex_cli
