// Expected message lines of the core operations, for transcript tests.
#pragma once

#include <string>
#include <vector>

#include "support/capture.h"

namespace pfx_test {

inline Line entry_line(const std::wstring& name)
{
    return {MSG_TRACE, L">>> in  Polyfex: " + name + L"()"};
}
inline Line exit_line(const std::wstring& name, const std::wstring& reason)
{
    return {MSG_TRACE, L"<<< out Polyfex: " + name + L"(" + reason + L")"};
}
// Entry and exit of a traced call that stops with reason.
inline std::vector<Line> traced(const std::wstring& name, const std::wstring& reason)
{
    return {entry_line(name), exit_line(name, reason)};
}
inline Line note_line(const std::wstring& text) { return {MSG_NOTE, text}; }

// A memory-error line of module, whatever its source line number:
// "line %-4d of <module> \nmemory error in <rest>".
inline bool is_memory_line(const Line& l, const std::wstring& module, const std::wstring& rest)
{
    if (l.flag != MSG_MEMORY) return false;
    const std::wstring& t = l.text;
    if (t.compare(0, 5, L"line ") != 0) return false;
    size_t i = 5;
    const size_t digits = i;
    while (i < t.size() && t[i] >= L'0' && t[i] <= L'9') ++i;
    if (i == digits) return false;
    while (i < t.size() && t[i] == L' ') ++i;
    return t.compare(i, std::wstring::npos, L"of " + module + L" \nmemory error in " + rest) == 0;
}

} // namespace pfx_test
