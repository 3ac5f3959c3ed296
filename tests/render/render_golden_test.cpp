// Pixels: the lit, coloured sample scene drawn flat and smooth, from buffers
// and in immediate mode, against the references goldens_render writes.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>

#include "gl_host.h"

namespace {

using namespace pfx_render_test;

// Software rendering is exact on one machine; across CPUs and Mesa builds a
// channel may move a step or two, and edge pixels a little more. So: at most
// 0.5 % of the pixels off by more than kTolerance in some channel, and a
// mean channel difference of at most 0.5 (a shift of every colour fails).
constexpr int kTolerance = 6;
constexpr int kMaxPixelsOver = kSceneSize * kSceneSize / 200;
// The pixels whose worst channel is off by more than kTolerance, and the
// mean channel difference.
std::pair<int, double> diff(const Image& a, const Image& b)
{
    if (a.rgba.size() != b.rgba.size()) return {kSceneSize * kSceneSize, 255};
    int over = 0;
    double sum = 0;
    for (size_t p = 0; p < a.rgba.size(); p += 4) {
        int worst = 0;
        for (size_t c = p; c < p + 4; ++c) {
            sum += std::abs(a.rgba[c] - b.rgba[c]);
            worst = std::max(worst, std::abs(a.rgba[c] - b.rgba[c]));
        }
        over += worst > kTolerance;
    }
    return {over, sum / double(a.rgba.size())};
}

using RenderGolden = GlTest;

TEST_F(RenderGolden, EachVariantMatchesItsReferenceAndTheReferencesShowTheObject)
{
    std::vector<Image> got, want(std::size(kSceneVariants));
    for (const SceneVariant& v : kSceneVariants) {
        got.push_back(render_variant(v));
        Image& ref = want[got.size() - 1];
        EXPECT_EQ(read_png(pfx_test::test_path(std::string("golden/render/") + v.file), ref), "");
        const auto [over, mean] = diff(got.back(), ref);
        EXPECT_LE(over, kMaxPixelsOver) << v.file;
        EXPECT_LE(mean, 0.5) << v.file;
    }
    // Flat shading gives one colour per polygon, so both paths agree but for
    // the diagonal pixels of quads.
    EXPECT_LE(diff(got[0], got[2]).first, kMaxPixelsOver);
    // The references themselves differ visibly between flat and smooth
    // shading, so neither is blank.
    EXPECT_GT(diff(want[0], want[1]).first, kSceneSize * kSceneSize / 10);
}

} // namespace
