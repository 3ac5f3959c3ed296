#include "png_out.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace polyfex_cli {

bool write_png(const std::string& path, int width, int height, const std::vector<uint8_t>& rgba,
               std::string& error)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        error = std::strerror(errno);
        return false;
    }
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!png || !info) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        error = "out of memory";
        return false;
    }
    // libpng reports its errors by a long jump back here; nothing with a
    // destructor lives between this point and the calls that may jump.
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        error = "libpng failed to write the image";
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_filler(png, 0, PNG_FILLER_AFTER); // rows hold RGBA, the file RGB
    for (int y = 0; y < height; ++y)
        png_write_row(png, const_cast<png_bytep>(&rgba[static_cast<size_t>(y) * width * 4]));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (std::fclose(file) != 0) {
        error = std::strerror(errno);
        return false;
    }
    return true;
}

} // namespace polyfex_cli
