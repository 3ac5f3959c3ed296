// Renders the reference scene of the drawing tests in a headless context and
// writes one PNG per variant. Run it only when a change to the drawing is
// meant to change the pictures, and look at the new images before
// committing them.
//
//   goldens_render [output directory]   (default: tests/golden/render)
#include <cstdio>
#include <string>

#include "render/sample_scene.h"

int main(int argc, char** argv)
{
    using namespace pfx_render_test;
    const std::string dir = argc > 1 ? argv[1] : PFX_GOLDEN_DIR;
    GlContext context;
    const std::string why = context.open(kSceneSize, kSceneSize);
    if (!why.empty()) {
        std::fprintf(stderr, "goldens_render: no OpenGL context: %s\n", why.c_str());
        return 1;
    }
    std::printf("renderer: %s, %s\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)),
                reinterpret_cast<const char*>(glGetString(GL_VERSION)));
    for (const SceneVariant& v : kSceneVariants) {
        const Image img = render_variant(v);
        const std::string path = dir + "/" + v.file;
        const std::string err = write_png(path, img);
        if (!err.empty()) {
            std::fprintf(stderr, "goldens_render: %s\n", err.c_str());
            return 1;
        }
        std::printf("wrote %s\n", path.c_str());
    }
    return 0;
}
