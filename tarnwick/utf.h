// UTF-8 <-> wide conversion shared by the formatter and the string helpers.
#pragma once

#include <string>
#include <wchar.h>

namespace tarnwick {

// Decodes UTF-8; a byte that does not start a valid sequence stands for
// itself (Latin-1), so text from files of any encoding survives and the
// single-byte markup characters of narrow messages (0xF1) come through.
void append_utf8_as_wide(std::wstring& out, const char* text, size_t n);
// Encodes as UTF-8; values that are not Unicode scalars become U+FFFD.
void append_wide_as_utf8(std::string& out, const wchar_t* text, size_t n);

} // namespace tarnwick
