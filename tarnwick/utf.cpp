#include "utf.h"

namespace tarnwick {

void append_utf8_as_wide(std::wstring& out, const char* text, size_t n)
{
    const unsigned char* s = reinterpret_cast<const unsigned char*>(text);
    size_t i = 0;
    while (i < n) {
        unsigned c = s[i];
        int extra = (c >= 0xC2 && c <= 0xDF) ? 1 : (c >= 0xE0 && c <= 0xEF) ? 2
                  : (c >= 0xF0 && c <= 0xF4) ? 3 : 0;
        if (extra == 0 || i + extra >= n) {
            out.push_back(static_cast<wchar_t>(c));
            ++i;
            continue;
        }
        unsigned cp = c & (0x3F >> extra);
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            unsigned d = s[i + k];
            if ((d & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            cp = (cp << 6) | (d & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        if (ok && ((extra == 2 && cp < 0x800) || (extra == 3 && (cp < 0x10000 || cp > 0x10FFFF)) ||
                   (cp >= 0xD800 && cp <= 0xDFFF)))
            ok = false;
        if (!ok) {
            out.push_back(static_cast<wchar_t>(c));
            ++i;
            continue;
        }
        out.push_back(static_cast<wchar_t>(cp));
        i += extra + 1;
    }
}

void append_wide_as_utf8(std::string& out, const wchar_t* text, size_t n)
{
    for (size_t i = 0; i < n; ++i) {
        unsigned long cp = static_cast<unsigned long>(static_cast<unsigned int>(text[i]));
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
        if (cp < 0x80) {
            out.push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
}

} // namespace tarnwick
