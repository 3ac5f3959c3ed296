// Expected message lines of the core operations, for transcript tests.
#pragma once

#include <regex>
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
    static const std::wregex head(L"line [0-9]+ *of ");
    std::wsmatch m;
    if (!std::regex_search(l.text, m, head) || m.position(0) != 0) return false;
    return l.text.substr(m.length(0)) == module + L" \nmemory error in " + rest;
}

} // namespace pfx_test
