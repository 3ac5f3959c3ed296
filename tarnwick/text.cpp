// Path splitting, conversions and small text helpers.
#include <cstring>
#include <string>

#include "tarnwick.h"
#include "utf.h"

namespace {

template <class Ch>
size_t length_of(const Ch* s)
{
    size_t n = 0;
    while (s[n]) ++n;
    return n;
}

template <class Ch>
void copy_out(Ch* dst, const Ch* src, size_t n)
{
    if (!dst) return;
    for (size_t i = 0; i < n; ++i) dst[i] = src[i];
    dst[n] = 0;
}

// Directory up to and including the last separator ('/' or '\'), extension
// from the last dot of the remaining name (a leading dot belongs to the
// name: ".hidden" has no extension).
template <class Ch>
void split_path(const Ch* path, Ch* dir, Ch* name, Ch* ext)
{
    if (!path) {
        copy_out(dir, path, 0);
        copy_out(name, path, 0);
        copy_out(ext, path, 0);
        return;
    }
    size_t n = length_of(path);
    size_t base = 0;
    for (size_t i = 0; i < n; ++i)
        if (path[i] == Ch('/') || path[i] == Ch('\\')) base = i + 1;
    size_t dot = n;
    for (size_t i = n; i > base + 1; --i)
        if (path[i - 1] == Ch('.')) {
            dot = i - 1;
            break;
        }
    copy_out(dir, path, base);
    copy_out(name, path + base, dot - base);
    copy_out(ext, path + dot, n - dot);
}

} // namespace

void Get_Generic_Name(const char* path, char* dir, char* name, char* ext) { split_path(path, dir, name, ext); }

void Get_Generic_Name(const wchar_t* path, wchar_t* dir, wchar_t* name, wchar_t* ext)
{
    split_path(path, dir, name, ext);
}

wchar_t* Char_2_Wchar(const char* text)
{
    if (!text) return nullptr;
    thread_local std::wstring buf;
    buf.clear();
    tarnwick::append_utf8_as_wide(buf, text, std::strlen(text));
    return buf.data();
}

char* Wchar_2_Char(const wchar_t* text)
{
    if (!text) return nullptr;
    thread_local std::string buf;
    buf.clear();
    tarnwick::append_wide_as_utf8(buf, text, wcslen(text));
    return buf.data();
}

char* Int_2_Str(long long v, char* buf)
{
    thread_local char own[32];
    char* out = buf ? buf : own;
    char digits[24];
    unsigned long long u = v < 0 ? 0ULL - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + u % 10);
        u /= 10;
    } while (u);
    int k = 0;
    if (v < 0) out[k++] = '-';
    for (int i = n - 1; i >= 0; --i) {
        out[k++] = digits[i];
        if (i > 0 && i % 3 == 0) out[k++] = ',';
    }
    out[k] = 0;
    return out;
}

char* Str_Strip_Spaces(char* line)
{
    if (!line) return line;
    auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    size_t n = std::strlen(line);
    while (n > 0 && blank(line[n - 1])) --n;
    size_t s = 0;
    while (s < n && blank(line[s])) ++s;
    if (s) std::memmove(line, line + s, n - s);
    line[n - s] = 0;
    return line;
}
