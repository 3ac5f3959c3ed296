// The message blocks the STL readers send, and an object as one line of text.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {

inline std::vector<Line> operator+(std::vector<Line> a, const std::vector<Line>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

namespace stl {

inline std::vector<Line> user(std::initializer_list<std::wstring> texts)
{
    std::vector<Line> lines;
    for (const std::wstring& t : texts) lines.push_back({MSG_USER, L"\xF1" + t});
    return lines;
}

// The binary header shown as two right-aligned lines of 40 characters.
inline std::vector<Line> header(const std::string& first, const std::string& second = "")
{
    auto line = [](const std::string& t) {
        return Line{MSG_PROGRESS, L"\x01" + std::wstring(40 - t.size(), L' ') + wide(t)};
    };
    return {line(first), line(second)};
}

inline std::vector<Line> error(const std::wstring& title, const std::wstring& file, const std::wstring& where,
                               const std::wstring& last)
{
    return user({L"\x04" L"ERROR:\x02\t " + title, L"\t file:\x01" + file + L"\x02 " + where, L"\t " + last});
}
inline std::vector<Line> syntax_error(const std::wstring& file, int line, const std::wstring& keyword)
{
    return error(L"Syntax error in STL file!", file, L"line:\x01" + std::to_wstring(line),
                 L"didn't find key-word \x01\"" + keyword + L"\"");
}
inline std::vector<Line> end_of_file(const std::wstring& file, int line)
{
    return error(L"Error in STL file!", file, L"line:\x01" + std::to_wstring(line), L"End Of File while reading");
}
inline std::vector<Line> short_read(const std::wstring& file, int got)
{
    return error(L"in STL file (" + std::to_wstring(got) + L")!", file, L"polygon:\x01" L"0",
                 L"End Of File while reading");
}

// The count beyond the file: the warning, then the outcome of the byte swap.
inline std::vector<Line> too_many(const std::wstring& file, long long count, const std::wstring& outcome)
{
    const std::wstring n = std::to_wstring(count);
    return user({L"\x05WARNING:\x02\t in STL file " + file, L"\t to many polygons (\x01" + n + L"\x02)!",
                 L"\t attempting to swap all bytes...", L"\t " + outcome});
}
inline std::wstring solved(long long now)
{
    return L"...problem solved! (now \x01" + std::to_wstring(now) + L"\x02 polygons) ";
}
inline const std::wstring kNope = L"...nope, sorry.  Can't read this file.";

// "x y z," per node, then "|" and "a b c (normal)," per polygon.
inline std::string describe(const Movie_Objs* o)
{
    std::string s;
    char b[96];
    for (int i = 0; i < o->Node_Nb; ++i) {
        std::snprintf(b, sizeof b, "%g %g %g,", o->Node_Pt[i].Coord.x, o->Node_Pt[i].Coord.y, o->Node_Pt[i].Coord.z);
        s += b;
    }
    s += "|";
    for (int i = 0; i < o->Poly_Nb; ++i) {
        const Movie_Poly& p = o->Poly_Pt[i];
        for (int k = 0; k < p.Node_Id_Nb; ++k) s += std::to_string(p.Node_Id[k]) + " ";
        std::snprintf(b, sizeof b, "(%g %g %g),", p.Normal.x, p.Normal.y, p.Normal.z);
        s += b;
    }
    return s;
}

} // namespace stl
} // namespace pfx_test
