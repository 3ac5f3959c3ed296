// Library lines as terminal text.
#pragma once

#include <string>
#include <wchar.h>

namespace polyfex_cli {

// UTF-8 text of a wide (UTF-32) string; null gives "".
std::string to_utf8(const wchar_t* text);

// One line from the library's sink as it is shown: the leading marker of a
// marked-up line dropped, tabs as two blanks, and the style characters turned
// into ANSI styles when `colour` is set or removed when it is not (ERROR label
// red, WARNING label yellow, emphasised values bold). A line end closing the
// line is dropped; line ends inside it stay.
std::string render_markup(const wchar_t* line, bool colour);

// ANSI styles used by the command's own lines.
enum class Style { Error, Warning, Emphasis, Dim, Good };
std::string styled(const std::string& text, Style style, bool colour);

} // namespace polyfex_cli
