// Buffered text output with printf's digits.
//
// Writers format numbers with std::to_chars (the same digits and rounding as
// printf's %f and %d in the C locale) into a large buffer that goes to the
// file in big blocks.
#pragma once

#include <cstddef>
#include <cstdio>
#include <wchar.h>

namespace pfx {

class OutBuf {
public:
    // The buffer is taken from the hooked allocator; ok() is false when that
    // failed, and every write is then dropped.
    explicit OutBuf(FILE* file, size_t capacity = size_t(1) << 20);
    ~OutBuf(); // flushes; the caller closes the file
    OutBuf(const OutBuf&) = delete;
    OutBuf& operator=(const OutBuf&) = delete;

    bool ok() const { return buf_ != nullptr; }

    OutBuf& put(const char* text);
    OutBuf& put(const char* text, size_t n);
    OutBuf& put(char c);
    // Raw bytes (binary formats).
    OutBuf& bytes(const void* data, size_t n);
    // A wide string as UTF-8; null as "(null)" (printf's %ls).
    OutBuf& wide(const wchar_t* text);

    // "%*.*f": right-aligned in width (a negative width left-aligns).
    OutBuf& fixed(double v, int width, int precision);
    // "%*d" / "%*lld": right-aligned in width (a negative width left-aligns).
    OutBuf& integer(long long v, int width = 0);
    // "%-*s" / "%*s" for a narrow text that is already formatted.
    OutBuf& padded(const char* text, size_t n, int width);

    // Writes what is buffered to the file.
    void flush();

private:
    void reserve(size_t n);
    FILE* file_;
    char* buf_;
    size_t cap_;
    size_t len_ = 0;
};

// Formats into a small caller buffer, for building one field before padding
// it. Each returns the number of characters written (no terminator).
size_t format_fixed(char* out, size_t cap, double v, int precision);
size_t format_int(char* out, size_t cap, long long v);

} // namespace pfx
