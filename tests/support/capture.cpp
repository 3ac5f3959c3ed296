#include "support/capture.h"

#include <cstdio>
#include <ostream>

#include "core/alloc.h"

namespace pfx_test {

std::string printable(const std::wstring& text)
{
    std::string out;
    for (wchar_t c : text) {
        unsigned u = static_cast<unsigned>(c);
        if (u < 0x20 || u == 0xF1) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02X", u);
            out += buf;
        } else if (u < 0x80) {
            out.push_back(static_cast<char>(u));
        } else if (u < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (u >> 6)));
            out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
        } else if (u < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (u >> 12)));
            out.push_back(static_cast<char>(0x80 | ((u >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (u >> 18)));
            out.push_back(static_cast<char>(0x80 | ((u >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((u >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
        }
    }
    return out;
}

void PrintTo(const Line& line, std::ostream* os)
{
    char flag[16];
    std::snprintf(flag, sizeof flag, "0x%X", line.flag);
    *os << "{" << flag << ", \"" << printable(line.text) << "\"}";
}

CaptureSink::CaptureSink() { Tarnwick_Set_Handler(&CaptureSink::handler, this); }

CaptureSink::~CaptureSink() { Tarnwick_Set_Handler(nullptr, nullptr); }

void CaptureSink::handler(unsigned int flag, const wchar_t* line, void* self)
{
    static_cast<CaptureSink*>(self)->lines_.push_back(Line{flag, line});
}

std::vector<std::wstring> CaptureSink::texts(unsigned int flag) const
{
    std::vector<std::wstring> out;
    for (const Line& l : lines_)
        if (l.flag == flag) out.push_back(l.text);
    return out;
}

void PfxTest::TearDown() { pfx::alloc_fail_at(0); }

} // namespace pfx_test
