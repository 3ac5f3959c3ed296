#include "core/text_out.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "core/alloc.h"
#include "core/float_fixed.h"
#include "polyfex.h"

namespace pfx {

OutBuf::OutBuf(FILE* file, size_t capacity) : file_(file), buf_(nullptr), cap_(capacity < 4096 ? 4096 : capacity)
{
    buf_ = static_cast<char*>(raw_malloc(cap_));
}

OutBuf::~OutBuf()
{
    flush();
    std::free(buf_);
}

void OutBuf::flush()
{
    if (buf_ && len_ && file_) std::fwrite(buf_, 1, len_, file_);
    len_ = 0;
}

void OutBuf::reserve(size_t n)
{
    if (len_ + n > cap_) flush();
}

OutBuf& OutBuf::put(const char* text, size_t n)
{
    if (!buf_) return *this;
    if (n >= cap_) {
        flush();
        if (file_) std::fwrite(text, 1, n, file_);
        return *this;
    }
    reserve(n);
    std::memcpy(buf_ + len_, text, n);
    len_ += n;
    return *this;
}

OutBuf& OutBuf::put(const char* text) { return put(text, std::strlen(text)); }

OutBuf& OutBuf::put(char c)
{
    if (!buf_) return *this;
    reserve(1);
    buf_[len_++] = c;
    return *this;
}

OutBuf& OutBuf::bytes(const void* data, size_t n) { return put(static_cast<const char*>(data), n); }

OutBuf& OutBuf::wide(const wchar_t* text)
{
    if (!text) return put("(null)");
    const char* utf8 = Wchar_2_Char(text);
    return put(utf8 ? utf8 : "");
}

size_t format_fixed(char* out, size_t cap, double v, int precision)
{
    auto r = std::to_chars(out, out + cap, v, std::chars_format::fixed, precision);
    if (r.ec != std::errc()) return 0;
    return static_cast<size_t>(r.ptr - out);
}

size_t format_int(char* out, size_t cap, long long v)
{
    auto r = std::to_chars(out, out + cap, v);
    if (r.ec != std::errc()) return 0;
    return static_cast<size_t>(r.ptr - out);
}

OutBuf& OutBuf::padded(const char* text, size_t n, int width)
{
    size_t w = static_cast<size_t>(width < 0 ? -width : width);
    if (n >= w) return put(text, n);
    if (width < 0) {
        put(text, n);
        for (size_t i = n; i < w; ++i) put(' ');
    } else {
        for (size_t i = n; i < w; ++i) put(' ');
        put(text, n);
    }
    return *this;
}

OutBuf& OutBuf::fixed(double v, int width, int precision)
{
    // Fixed notation of a double can run to 309 digits before the point.
    char tmp[400];
    size_t n = format_fixed(tmp, sizeof tmp, v, precision);
    return padded(tmp, n, width);
}

LineBuf& LineBuf::fixed(float v, int width, int precision)
{
    if (!room(width)) return *this;
    char* at = buf_ + len_ + kLead;
    size_t n = format_float_fixed(at, v, precision);
    if (n == 0) n = format_fixed(at, kDigits, static_cast<double>(v), precision);
    return place(n, width);
}

OutBuf& OutBuf::integer(long long v, int width)
{
    char tmp[32];
    size_t n = format_int(tmp, sizeof tmp, v);
    return padded(tmp, n, width);
}

} // namespace pfx
