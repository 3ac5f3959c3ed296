#include "support/capture.h"

#include <cstdio>
#include <ostream>
#include <sstream>

#include "core/alloc.h"
#include "support/objects.h"

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

Lines lines_with_flag(unsigned int flag, std::initializer_list<std::wstring> texts)
{
    Lines r;
    for (const std::wstring& t : texts) r.push_back({flag, t});
    return r;
}

Lines golden_lines(const std::string& rel, unsigned int flag)
{
    Lines r;
    std::wistringstream in(wide(read_file(test_path("golden/" + rel))));
    for (std::wstring t; std::getline(in, t);) r.push_back({flag, t});
    return r;
}

Line trace_in(const std::wstring& name) { return {MSG_TRACE, L">>> in  Polyfex: " + name + L"()"}; }

Lines traced(const std::wstring& name, std::initializer_list<const wchar_t*> reasons)
{
    Lines r;
    for (const wchar_t* why : reasons)
        r.insert(r.end(), {trace_in(name), {MSG_TRACE, L"<<< out Polyfex: " + name + L"(" + why + L")"}});
    return r;
}

Line memory_error(const std::wstring& module, const std::wstring& rest)
{
    return {MSG_MEMORY, L"line # of " + module + L" \nmemory error in " + rest};
}

Lines mask_line_numbers(Lines lines)
{
    for (Line& l : lines) {
        const size_t of = l.text.find(L" of ");
        if (l.flag == MSG_MEMORY && l.text.rfind(L"line ", 0) == 0 && of != std::wstring::npos &&
            l.text.find_first_not_of(L"0123456789", 5) > 5)
            l.text.replace(0, of, L"line #");
    }
    return lines;
}

void PfxTest::TearDown() { pfx::alloc_fail_at(0); }

} // namespace pfx_test
