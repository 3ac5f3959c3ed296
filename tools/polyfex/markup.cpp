#include "markup.h"

namespace polyfex_cli {
namespace {

constexpr const char* kReset = "\033[0m";

const char* ansi(Style style)
{
    switch (style) {
    case Style::Error: return "\033[1;31m";
    case Style::Warning: return "\033[1;33m";
    case Style::Emphasis: return "\033[1m";
    case Style::Dim: return "\033[2m";
    case Style::Good: return "\033[32m";
    }
    return "";
}

void append_utf8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x110000) {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += "\xEF\xBF\xBD"; // not a code point: the replacement character
    }
}

} // namespace

std::string to_utf8(const wchar_t* text)
{
    std::string out;
    if (!text)
        return out;
    for (; *text; ++text)
        append_utf8(out, static_cast<char32_t>(*text));
    return out;
}

std::string render_markup(const wchar_t* line, bool colour)
{
    std::string out;
    if (!line)
        return out;
    const wchar_t* p = line;
    // note: U+00F1 marks a line as marked up only in first position; elsewhere
    // it is an ordinary letter (a file name may hold it).
    if (*p == 0xF1)
        ++p;
    bool styled_open = false;
    for (; *p; ++p) {
        const wchar_t c = *p;
        switch (c) {
        case 0x01:
        case 0x04:
        case 0x05:
            if (colour) {
                out += ansi(c == 0x04 ? Style::Error : c == 0x05 ? Style::Warning : Style::Emphasis);
                styled_open = true;
            }
            break;
        case 0x02:
            if (colour && styled_open) {
                out += kReset;
                styled_open = false;
            }
            break;
        case L'\t': out += "  "; break;
        case L'\n':
        case L'\r':
            if (p[1] == 0 || (c == L'\r' && p[1] == L'\n' && p[2] == 0))
                goto done; // the line end that closes the line
            if (c == L'\n')
                out += '\n';
            break;
        default:
            if (c < 0x20)
                break; // other control characters carry no text
            append_utf8(out, static_cast<char32_t>(c));
        }
    }
done:
    if (styled_open)
        out += kReset;
    return out;
}

std::string styled(const std::string& text, Style style, bool colour)
{
    if (!colour)
        return text;
    return ansi(style) + text + kReset;
}

} // namespace polyfex_cli
