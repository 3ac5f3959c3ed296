// Pixels: the lit, coloured sample scene drawn flat and smooth, from buffers
// and in immediate mode, compared with the reference images that the
// goldens_render tool writes on purpose.
#include <string>

#include "gl_host.h"
#include "sample_scene.h"
#include "support/objects.h"

namespace {

using namespace pfx_render_test;

// Software rendering is exact on one machine; across CPUs and Mesa builds
// a channel may move by a step or two, and edge pixels a little more.
constexpr int kTolerance = 6;
constexpr int kMaxPixelsOver = kSceneSize * kSceneSize / 200; // 0.5 %
constexpr double kMaxMeanDiff = 0.5;

class RenderGolden : public GlTest {
protected:
    void SetUp() override
    {
#if PFX_RENDER_HAVE_EGL
        // The scene has its own size: replace the fixture's context.
        context_.close();
        const std::string why = context_.open(kSceneSize, kSceneSize);
        ASSERT_EQ(why, "") << "no headless OpenGL context";
#else
        GTEST_SKIP() << "built without EGL";
#endif
    }
};

Image golden(const char* file)
{
    Image img;
    const std::string err = read_png(pfx_test::test_path(std::string("golden/render/") + file), img);
    EXPECT_EQ(err, "");
    return img;
}

TEST_F(RenderGolden, EachVariantMatchesItsReference)
{
    for (const SceneVariant& v : kSceneVariants) {
        const Image got = render_variant(v);
        const Image want = golden(v.file);
        ASSERT_EQ(want.width, kSceneSize) << v.file;
        const ImageDiff d = compare_images(got, want, kTolerance);
        EXPECT_LE(d.pixels_over, kMaxPixelsOver) << v.file << ": max channel diff " << d.max_channel;
        EXPECT_LE(d.mean_abs, kMaxMeanDiff) << v.file;
    }
}

TEST_F(RenderGolden, SceneShowsTheObjectLitAndShaded)
{
    // Guards the references themselves: the object covers a good part of
    // the image, and flat and smooth shading differ visibly.
    const Image flat = golden("flat_buffers.png");
    const Image smooth = golden("smooth_buffers.png");
    const Image background = golden("flat_buffers.png");
    int covered = 0;
    const uint8_t* bg = &background.rgba[0]; // top-left corner: background
    for (size_t p = 0; p + 3 < flat.rgba.size(); p += 4)
        if (flat.rgba[p] != bg[0] || flat.rgba[p + 1] != bg[1] || flat.rgba[p + 2] != bg[2]) ++covered;
    EXPECT_GT(covered, kSceneSize * kSceneSize / 3);
    EXPECT_GT(compare_images(flat, smooth, kTolerance).pixels_over, kSceneSize * kSceneSize / 10);
}

TEST_F(RenderGolden, BothPathsDrawTheSameFlatPicture)
{
    // Flat shading gives one colour per polygon, so the buffer path and the
    // polygon-by-polygon path agree but for the diagonal pixels of quads.
    const Image buffers = render_variant(kSceneVariants[0]);
    const Image immediate = render_variant(kSceneVariants[2]);
    const ImageDiff d = compare_images(buffers, immediate, kTolerance);
    EXPECT_LE(d.pixels_over, kMaxPixelsOver);
}

} // namespace
