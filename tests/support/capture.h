// Test fixtures shared by every test file.
//
// CaptureSink installs a Tarnwick handler for its lifetime and records every
// line the library sends as (flag, text). Tests compare whole transcripts, so
// a changed line, flag or order fails them.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "polyfex.h"

namespace pfx_test {

struct Line {
    unsigned int flag;
    std::wstring text;
    bool operator==(const Line& o) const { return flag == o.flag && text == o.text; }
};
// Readable in gtest failure output (UTF-8, markup shown as \xNN escapes).
void PrintTo(const Line& line, std::ostream* os);
std::string printable(const std::wstring& text);

class CaptureSink {
public:
    CaptureSink();
    ~CaptureSink();
    CaptureSink(const CaptureSink&) = delete;
    CaptureSink& operator=(const CaptureSink&) = delete;

    const std::vector<Line>& lines() const { return lines_; }
    // Only the lines sent with this flag word.
    std::vector<std::wstring> texts(unsigned int flag) const;
    void clear() { lines_.clear(); }

private:
    static void handler(unsigned int flag, const wchar_t* line, void* self);
    std::vector<Line> lines_;
};

// The usual base: a fresh capture per test and allocation injection off.
class PfxTest : public ::testing::Test {
protected:
    void TearDown() override;
    CaptureSink sink;
};

// Transcript building blocks shared by the test files.
using Lines = std::vector<Line>;

template <class T>
std::vector<T> operator+(std::vector<T> a, const std::vector<T>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Lines lines_with_flag(unsigned int flag, std::initializer_list<std::wstring> texts);
// Each line of tests/golden/<rel> sent with flag.
Lines golden_lines(const std::string& rel, unsigned int flag);
// The entry line of an exported function; traced() gives one whole call per
// reason: the entry line, then the exit line with that reason.
Line trace_in(const std::wstring& name);
Lines traced(const std::wstring& name, std::initializer_list<const wchar_t*> reasons);
// Memory-error lines carry the library's source line number, which moves
// with every edit: tests compare them as "line # of <module> ...".
Line memory_error(const std::wstring& module, const std::wstring& rest);
Lines mask_line_numbers(Lines lines);

// Runs op(n) with the n-th hooked allocation failing, for n = 1, 2, ... until
// a run makes fewer than n allocations (it then ran without a failure), and
// returns how many failing runs there were. op must release whatever the
// operation returned; under the sanitizer preset every leak fails the suite.
template <class Op>
int for_each_alloc_failure(Op op);

} // namespace pfx_test

#include "support/capture_impl.h"
