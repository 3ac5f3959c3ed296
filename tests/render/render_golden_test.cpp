// Pixels: the lit, coloured sample scene drawn flat and smooth, from buffers
// and in immediate mode, against the references goldens_render writes.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "gl_host.h"
#include "support/objects.h"

namespace {

using namespace pfx_render_test;

// Software rendering is exact on one machine; across CPUs and Mesa builds a
// channel may move a step or two, and edge pixels a little more. So: at most
// 0.5 % of the pixels off by more than kTolerance in some channel, and a
// mean channel difference of at most 0.5 (a shift of every colour fails).
constexpr int kTolerance = 6;
constexpr int kMaxPixelsOver = kSceneSize * kSceneSize / 200;
struct Diff {
    int pixels_over = kSceneSize * kSceneSize;
    double mean = 255;
};
Diff compare(const Image& a, const Image& b)
{
    if (a.rgba.size() != b.rgba.size()) return {};
    Diff d{0, 0};
    for (size_t p = 0; p < a.rgba.size(); p += 4) {
        int worst = 0;
        for (size_t c = p; c < p + 4; ++c) {
            d.mean += std::abs(a.rgba[c] - b.rgba[c]);
            worst = std::max(worst, std::abs(a.rgba[c] - b.rgba[c]));
        }
        d.pixels_over += worst > kTolerance;
    }
    d.mean /= double(a.rgba.size());
    return d;
}
void expect_close(const Image& a, const Image& b, const char* what)
{
    const Diff d = compare(a, b);
    EXPECT_LE(d.pixels_over, kMaxPixelsOver) << what;
    EXPECT_LE(d.mean, 0.5) << what;
}

class RenderGolden : public GlTest {
protected:
    RenderGolden() : GlTest(kSceneSize) {}
};

TEST_F(RenderGolden, EachVariantMatchesItsReferenceAndTheReferencesShowTheObject)
{
    std::vector<Image> got, want;
    for (const SceneVariant& v : kSceneVariants) {
        got.push_back(render_variant(v));
        want.emplace_back();
        EXPECT_EQ(read_png(pfx_test::test_path(std::string("golden/render/") + v.file), want.back()), "");
        expect_close(got.back(), want.back(), v.file);
    }
    // Flat shading gives one colour per polygon, so both paths agree but for
    // the diagonal pixels of quads.
    EXPECT_LE(compare(got[0], got[2]).pixels_over, kMaxPixelsOver);
    // The references themselves: the object covers a good part of the image
    // (the top-left pixel is background), and flat and smooth differ visibly.
    const std::vector<uint8_t>& flat = want[0].rgba;
    int covered = 0;
    for (size_t p = 0; p < flat.size(); p += 4)
        covered += std::memcmp(&flat[p], &flat[0], 3) != 0;
    EXPECT_GT(covered, kSceneSize * kSceneSize / 3);
    EXPECT_GT(compare(want[0], want[1]).pixels_over, kSceneSize * kSceneSize / 10);
}

} // namespace
