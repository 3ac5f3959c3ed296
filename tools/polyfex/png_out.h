// PNG files through libpng.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace polyfex_cli {

// Writes RGBA rows from the top as an 8-bit RGB PNG. False, with the reason in
// `error`, when the file can't be written.
bool write_png(const std::string& path, int width, int height, const std::vector<uint8_t>& rgba,
               std::string& error);

} // namespace polyfex_cli
