// Reading and writing the reference images (8-bit RGBA PNG, top row first),
// and comparing two images within a tolerance.
#pragma once

#include <png.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace pfx_render_test {

struct Image {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgba; // width * height * 4, top row first
};

// Empty text on success, else what failed.
inline std::string write_png(const std::string& path, const Image& img)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(img.width);
    png.height = static_cast<png_uint_32>(img.height);
    png.format = PNG_FORMAT_RGBA;
    if (!png_image_write_to_file(&png, path.c_str(), 0, img.rgba.data(), 0, nullptr))
        return std::string("cannot write ") + path + ": " + png.message;
    return {};
}

inline std::string read_png(const std::string& path, Image& img)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str()))
        return std::string("cannot read ") + path + ": " + png.message;
    png.format = PNG_FORMAT_RGBA;
    img.width = static_cast<int>(png.width);
    img.height = static_cast<int>(png.height);
    img.rgba.assign(PNG_IMAGE_SIZE(png), 0);
    if (!png_image_finish_read(&png, nullptr, img.rgba.data(), 0, nullptr)) {
        png_image_free(&png);
        return std::string("cannot decode ") + path + ": " + png.message;
    }
    return {};
}

struct ImageDiff {
    int max_channel = 0;  // largest difference of one channel
    int pixels_over = 0;  // pixels with some channel differing by more than the tolerance
    double mean_abs = 0;  // mean absolute difference over all channels
};

inline ImageDiff compare_images(const Image& a, const Image& b, int tolerance)
{
    ImageDiff d;
    if (a.width != b.width || a.height != b.height || a.rgba.size() != b.rgba.size()) {
        d.max_channel = 255;
        d.pixels_over = a.width * a.height;
        d.mean_abs = 255;
        return d;
    }
    long long sum = 0;
    for (size_t p = 0; p + 3 < a.rgba.size(); p += 4) {
        int worst = 0;
        for (int c = 0; c < 4; ++c) {
            const int diff = std::abs(int(a.rgba[p + c]) - int(b.rgba[p + c]));
            sum += diff;
            if (diff > worst) worst = diff;
        }
        if (worst > d.max_channel) d.max_channel = worst;
        if (worst > tolerance) ++d.pixels_over;
    }
    d.mean_abs = a.rgba.empty() ? 0.0 : double(sum) / double(a.rgba.size());
    return d;
}

} // namespace pfx_render_test
