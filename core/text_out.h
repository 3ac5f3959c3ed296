// Buffered text output with printf's digits.
//
// Writers format numbers with std::to_chars (the same digits and rounding as
// printf's %f and %d in the C locale) into a large buffer that goes to the
// file in big blocks.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>
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

// A few output lines put together in a small array and handed to the buffer
// in one piece: formatting a whole line at once keeps the per-number cost to
// the digit conversion. Floats take the exact integer path where it applies.
// A line or record holds a handful of numbers, far below the array; the
// guards only keep it that way.
class LineBuf {
public:
    template <size_t N>
    LineBuf& text(const char (&s)[N])
    {
        if (len_ + N - 1 <= sizeof buf_) {
            std::memcpy(buf_ + len_, s, N - 1);
            len_ += N - 1;
        }
        return *this;
    }
    LineBuf& put(char c)
    {
        if (len_ < sizeof buf_) buf_[len_++] = c;
        return *this;
    }
    // "%*.*f" of a float (a width of 0 or less is no width).
    LineBuf& fixed(float v, int width, int precision);
    // "%*lld".
    LineBuf& integer(long long v, int width = 0)
    {
        if (!room(width)) return *this;
        if (width <= 0) { // nothing to align: the digits go straight to the line
            len_ = static_cast<size_t>(std::to_chars(buf_ + len_, buf_ + sizeof buf_, v).ptr - buf_);
            return *this;
        }
        char* at = buf_ + len_ + kLead;
        return place(static_cast<size_t>(std::to_chars(at, at + kDigits, v).ptr - at), width);
    }
    // Blanks up to column start + width; a longer field keeps every character.
    LineBuf& pad_from(size_t start, size_t width)
    {
        while (len_ < start + width && len_ < sizeof buf_) buf_[len_++] = ' ';
        return *this;
    }
    size_t size() const { return len_; }
    void put_to(OutBuf& out)
    {
        out.put(buf_, len_);
        len_ = 0;
    }

private:
    // A number is formatted kLead characters past the end of the line and
    // then moved into place behind its blanks with fixed-size copies, which
    // compile to a few vector moves: a library call per number would cost
    // more than formatting it.
    static constexpr size_t kLead = 16, kField = 32;
    // Room for any number's digits ("%f" of the largest float is 47
    // characters, a long long 20).
    static constexpr size_t kDigits = 96;
    bool room(int width) const
    {
        return len_ + kLead + kDigits + static_cast<size_t>(width > 0 ? width : 0) <= sizeof buf_;
    }
    // Right-aligns the n characters at the end of the line + kLead in width,
    // as "%*d" and "%*.*f" align.
    LineBuf& place(size_t n, int width)
    {
        char* at = buf_ + len_;
        const size_t w = width > 0 ? static_cast<size_t>(width) : 0;
        const size_t pad = w > n ? w - n : 0;
        if (pad <= kLead && n <= kField) {
            std::memset(at, ' ', kLead);
            std::memmove(at + pad, at + kLead, kField);
        } else {
            std::memmove(at + pad, at + kLead, n);
            std::memset(at, ' ', pad);
        }
        len_ += pad + n;
        return *this;
    }
    char buf_[1600];
    size_t len_ = 0;
};

// The text writers' output buffer. A large buffer makes the speed; when it
// can't be had a small one still writes the same bytes.
// note: should even the small one fail, the writes are dropped and the file
// is left short; the writers still give 1, since nothing written after the
// file opened is checked and their result only says that it opened.
class WriterBuffer {
public:
    explicit WriterBuffer(FILE* file)
    {
        out_.emplace(file, size_t(1) << 20);
        if (!out_->ok()) {
            out_.reset();
            out_.emplace(file, 4096);
        }
    }
    OutBuf& out() { return *out_; }

private:
    std::optional<OutBuf> out_;
};

} // namespace pfx
