// Pieces the DXF and VRML writers share: the search for a closed run of line
// segments, a record builder that formats a few lines at a time, and the
// output buffer with its fall-back.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>

#include "core/text_out.h"
#include "polyfex.h"

namespace pfx {

// Line objects hold segments Node_Id[0] -> Node_Id[1]. The first segment
// after segment i that ends where segment i starts closes a run i..j; -1 when
// none does. The writers continue at j + 1, so the scans over one object add
// up to a single pass over its segments.
inline int find_run_end(const Movie_Poly* polys, int nb, int i)
{
    const int start = polys[i].Node_Id[0];
    for (int j = i + 1; j < nb; ++j)
        if (polys[j].Node_Id[1] == start) return j;
    return -1;
}

// A few output lines built on the stack and handed to the buffer in one
// piece: formatting a whole record at once keeps the per-number cost to the
// digit conversion itself. The capacity covers the largest record with room
// to spare (a float printed with "%f" is at most 47 characters).
class Record {
public:
    template <size_t N>
    Record& text(const char (&s)[N])
    {
        std::memcpy(buf_ + len_, s, N - 1);
        len_ += N - 1;
        return *this;
    }
    Record& fixed(float v, int precision)
    {
        len_ += format_fixed(buf_ + len_, sizeof buf_ - len_, static_cast<double>(v), precision);
        return *this;
    }
    Record& integer(long long v)
    {
        len_ += format_int(buf_ + len_, sizeof buf_ - len_, v);
        return *this;
    }
    void put_to(OutBuf& out)
    {
        out.put(buf_, len_);
        len_ = 0;
    }

private:
    char buf_[1024];
    size_t len_ = 0;
};

// The writers' output buffer. A large buffer makes the speed; when it can't
// be had a small one still writes the same bytes.
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
