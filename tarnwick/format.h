// printf-style formatting into a wide line, independent of the process
// locale. In both the narrow and the wide format form, %ls takes a wide
// string and %hs a narrow (UTF-8) one; a bare %s takes a string of the
// format's own width. Numbers follow the C locale.
#pragma once

#include <cstdarg>
#include <string>

namespace tarnwick {

std::wstring vformat(const char* format, va_list ap);
std::wstring vformat(const wchar_t* format, va_list ap);

} // namespace tarnwick
