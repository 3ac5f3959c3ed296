// An OpenGL context without a window: EGL on Mesa's surfaceless platform,
// drawing into a framebuffer object.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace polyfex_cli {

class OffscreenGl {
public:
    OffscreenGl() = default;
    ~OffscreenGl();
    OffscreenGl(const OffscreenGl&) = delete;
    OffscreenGl& operator=(const OffscreenGl&) = delete;

    // Makes a compatibility-profile context current, initialises GLEW for it
    // and binds a width x height colour and depth target (4x multisampled when
    // the driver offers it). False, with the reason in `error`, when any step
    // fails.
    bool open(int width, int height, std::string& error);
    // The rendered image, RGBA rows from the top.
    std::vector<uint8_t> read_pixels();
    // "llvmpipe (LLVM ...)": the renderer the driver reports.
    std::string renderer() const;

private:
    void close();
    void* display_ = nullptr;
    void* context_ = nullptr;
    unsigned int draw_fbo_ = 0, resolve_fbo_ = 0;
    unsigned int buffers_[3] = {0, 0, 0};
    int width_ = 0, height_ = 0;
    bool multisampled_ = false;
};

} // namespace polyfex_cli
