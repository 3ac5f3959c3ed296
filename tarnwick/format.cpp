#include "format.h"

#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <locale.h>

#include "utf.h"

namespace tarnwick {
namespace {

// Numbers are formatted by the C library under the "C" locale, switched per
// thread for the call only, so a host's LC_NUMERIC never changes a message.
class CLocaleScope {
public:
    CLocaleScope()
    {
        static locale_t c_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        old_ = c_locale ? uselocale(c_locale) : static_cast<locale_t>(nullptr);
    }
    ~CLocaleScope()
    {
        if (old_) uselocale(old_);
    }

private:
    locale_t old_;
};

struct Conversion {
    bool left = false;
    std::string flags;
    int width = -1;
    int precision = -1;
    char length = 0; // 'H' hh, 'h', 'l', 'L' ll, 'z', 'j', 't', 'D' long double
    char conv = 0;
};

inline void append_literal(std::wstring& out, const char* s, size_t n) { append_utf8_as_wide(out, s, n); }
inline void append_literal(std::wstring& out, const wchar_t* s, size_t n) { out.append(s, n); }

void pad_and_append(std::wstring& out, const std::wstring& field, const Conversion& cv)
{
    size_t w = cv.width > 0 ? static_cast<size_t>(cv.width) : 0;
    if (field.size() >= w) {
        out += field;
    } else if (cv.left) {
        out += field;
        out.append(w - field.size(), L' ');
    } else {
        out.append(w - field.size(), L' ');
        out += field;
    }
}

void append_string(std::wstring& out, const Conversion& cv, bool wide, const void* p)
{
    std::wstring field;
    if (!p) {
        field = L"(null)";
    } else if (wide) {
        field = static_cast<const wchar_t*>(p);
    } else {
        const char* s = static_cast<const char*>(p);
        append_utf8_as_wide(field, s, std::strlen(s));
    }
    if (cv.precision >= 0 && field.size() > static_cast<size_t>(cv.precision))
        field.resize(static_cast<size_t>(cv.precision));
    pad_and_append(out, field, cv);
}

// Formats one numeric conversion with the C library and widens it (the
// result is ASCII).
template <class T>
void append_number(std::wstring& out, const Conversion& cv, const char* length_text, T value)
{
    // The conversion rebuilt with every '*' resolved: at most a few dozen bytes.
    char f[64];
    size_t k = 0;
    f[k++] = '%';
    for (char c : cv.flags)
        if (k < 8) f[k++] = c;
    if (cv.left) f[k++] = '-';
    int wp = std::snprintf(f + k, sizeof f - k, cv.width >= 0 ? "%d" : "", cv.width);
    k += static_cast<size_t>(wp > 0 ? wp : 0);
    if (cv.precision >= 0) {
        wp = std::snprintf(f + k, sizeof f - k, ".%d", cv.precision);
        k += static_cast<size_t>(wp > 0 ? wp : 0);
    }
    for (const char* l = length_text; *l && k + 2 < sizeof f; ++l) f[k++] = *l;
    f[k++] = cv.conv;
    f[k] = 0;
    char small[128];
    int n;
    {
        CLocaleScope c;
        n = std::snprintf(small, sizeof small, f, value);
    }
    if (n < 0) return;
    if (static_cast<size_t>(n) < sizeof small) {
        for (int i = 0; i < n; ++i) out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(small[i])));
        return;
    }
    std::string big(static_cast<size_t>(n) + 1, '\0');
    {
        CLocaleScope c;
        std::snprintf(big.data(), big.size(), f, value);
    }
    for (int i = 0; i < n; ++i) out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(big[i])));
}

template <class Ch>
std::wstring vformat_impl(const Ch* fmt, va_list ap)
{
    constexpr bool kWideFormat = sizeof(Ch) != 1;
    std::wstring out;
    if (!fmt) return out;
    const Ch* p = fmt;
    while (*p) {
        const Ch* lit = p;
        while (*p && *p != Ch('%')) ++p;
        if (p > lit) append_literal(out, lit, static_cast<size_t>(p - lit));
        if (!*p) break;
        ++p; // '%'
        if (*p == Ch('%')) {
            out.push_back(L'%');
            ++p;
            continue;
        }
        Conversion cv;
        for (;; ++p) {
            if (*p == Ch('-')) cv.left = true;
            else if (*p == Ch('+') || *p == Ch(' ') || *p == Ch('#') || *p == Ch('0'))
                cv.flags.push_back(static_cast<char>(*p));
            else break;
        }
        if (*p == Ch('*')) {
            cv.width = va_arg(ap, int);
            if (cv.width < 0) {
                cv.left = true;
                cv.width = -cv.width;
            }
            ++p;
        } else if (*p >= Ch('0') && *p <= Ch('9')) {
            cv.width = 0;
            while (*p >= Ch('0') && *p <= Ch('9')) cv.width = cv.width * 10 + (*p++ - Ch('0'));
        }
        if (*p == Ch('.')) {
            ++p;
            cv.precision = 0;
            if (*p == Ch('*')) {
                cv.precision = va_arg(ap, int);
                ++p;
            } else {
                while (*p >= Ch('0') && *p <= Ch('9')) cv.precision = cv.precision * 10 + (*p++ - Ch('0'));
            }
        }
        if (*p == Ch('h')) {
            ++p;
            cv.length = 'h';
            if (*p == Ch('h')) { cv.length = 'H'; ++p; }
        } else if (*p == Ch('l')) {
            ++p;
            cv.length = 'l';
            if (*p == Ch('l')) { cv.length = 'L'; ++p; }
        } else if (*p == Ch('z') || *p == Ch('j') || *p == Ch('t')) {
            cv.length = static_cast<char>(*p++);
        } else if (*p == Ch('L') || *p == Ch('q')) {
            cv.length = 'D';
            ++p;
        } else if (*p == Ch('I') && p[1] == Ch('6') && p[2] == Ch('4')) {
            cv.length = 'L';
            p += 3;
        }
        if (!*p) break;
        cv.conv = static_cast<char>(*p++);
        switch (cv.conv) {
        case 'd': case 'i': {
            long long v;
            switch (cv.length) {
            case 'H': v = static_cast<signed char>(va_arg(ap, int)); break;
            case 'h': v = static_cast<short>(va_arg(ap, int)); break;
            case 'l': v = va_arg(ap, long); break;
            case 'L': v = va_arg(ap, long long); break;
            case 'z': v = va_arg(ap, ptrdiff_t); break;
            case 'j': v = va_arg(ap, intmax_t); break;
            case 't': v = va_arg(ap, ptrdiff_t); break;
            default: v = va_arg(ap, int); break;
            }
            append_number(out, cv, "ll", v);
            break;
        }
        case 'u': case 'x': case 'X': case 'o': {
            unsigned long long v;
            switch (cv.length) {
            case 'H': v = static_cast<unsigned char>(va_arg(ap, unsigned)); break;
            case 'h': v = static_cast<unsigned short>(va_arg(ap, unsigned)); break;
            case 'l': v = va_arg(ap, unsigned long); break;
            case 'L': v = va_arg(ap, unsigned long long); break;
            case 'z': v = va_arg(ap, size_t); break;
            case 'j': v = va_arg(ap, uintmax_t); break;
            case 't': v = static_cast<unsigned long long>(va_arg(ap, ptrdiff_t)); break;
            default: v = va_arg(ap, unsigned); break;
            }
            append_number(out, cv, "ll", v);
            break;
        }
        case 'f': case 'F': case 'e': case 'E': case 'g': case 'G': case 'a': case 'A':
            if (cv.length == 'D') append_number(out, cv, "L", va_arg(ap, long double));
            else append_number(out, cv, "", va_arg(ap, double));
            break;
        case 'p':
            append_number(out, cv, "", va_arg(ap, void*));
            break;
        case 'c': case 'C': {
            bool wide = cv.length == 'l' || (cv.length != 'h' && (kWideFormat || cv.conv == 'C'));
            wchar_t c[2] = {0, 0};
            if (wide) {
                c[0] = static_cast<wchar_t>(va_arg(ap, wint_t));
                Conversion s = cv;
                s.precision = -1;
                append_string(out, s, true, c);
            } else {
                char n[2] = {static_cast<char>(va_arg(ap, int)), 0};
                c[0] = static_cast<wchar_t>(static_cast<unsigned char>(n[0]));
                Conversion s = cv;
                s.precision = -1;
                append_string(out, s, true, c);
            }
            break;
        }
        case 's': case 'S': {
            // %ls wide, %hs narrow; a bare %s has the format's own width.
            bool wide = cv.length == 'l' || (cv.length != 'h' && (kWideFormat || cv.conv == 'S'));
            append_string(out, cv, wide, va_arg(ap, const void*));
            break;
        }
        case 'n':
            (void)va_arg(ap, void*); // never written: a message can't report into memory
            break;
        default:
            // Unknown conversion: shown as written, so the fault is visible.
            out.push_back(L'%');
            out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(cv.conv)));
            break;
        }
    }
    return out;
}

} // namespace

std::wstring vformat(const char* format, va_list ap) { return vformat_impl(format, ap); }
std::wstring vformat(const wchar_t* format, va_list ap) { return vformat_impl(format, ap); }

} // namespace tarnwick
