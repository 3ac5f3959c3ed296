// STL files built in memory for the reader tests, and the message blocks
// the reader sends about them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "polyfex.h"
#include "support/capture.h"

namespace pfx_test::stl {

struct Tri {
    float n[3];
    float v[3][3];
};

// Normal (0, 0, 1), corners (x, y, z), (x + 1, y, z), (x, y + 1, z).
inline Tri tri(float x, float y, float z)
{
    return {{0, 0, 1}, {{x, y, z}, {x + 1, y, z}, {x, y + 1, z}}};
}

inline std::string triple(const float* v)
{
    char buf[96];
    std::snprintf(buf, sizeof buf, "%.9g %.9g %.9g", v[0], v[1], v[2]);
    return buf;
}

// Seven lines per facet after "solid <name>": facet i is on lines 2 + 7i to
// 8 + 7i, "endsolid" on line 2 + 7n.
inline std::string text_file(const std::string& name, const std::vector<Tri>& tris)
{
    std::string s = "solid " + name + "\n";
    for (const Tri& t : tris) {
        s += "  facet normal " + triple(t.n) + "\n    outer loop\n";
        for (const auto& v : t.v) s += "      vertex " + triple(v) + "\n";
        s += "    endloop\n  endfacet\n";
    }
    return s + "endsolid " + name + "\n";
}

inline void put_u32(std::string& s, uint32_t v, bool big_endian)
{
    for (int i = 0; i < 4; ++i) {
        int shift = big_endian ? 24 - 8 * i : 8 * i;
        s += static_cast<char>((v >> shift) & 0xff);
    }
}

inline void put_f32(std::string& s, float f, bool big_endian)
{
    uint32_t v;
    std::memcpy(&v, &f, 4);
    put_u32(s, v, big_endian);
}

// 80-byte header (the text, then zero bytes), the count, the facets.
inline std::string binary_file(const std::string& header, const std::vector<Tri>& tris, uint32_t count,
                               bool big_endian = false)
{
    std::string s = header.substr(0, 80);
    s.resize(80, '\0');
    put_u32(s, count, big_endian);
    for (const Tri& t : tris) {
        for (float f : t.n) put_f32(s, f, big_endian);
        for (const auto& v : t.v)
            for (float f : v) put_f32(s, f, big_endian);
        s += std::string(2, '\0');
    }
    return s;
}

inline void set_count_bytes(std::string& s, int b0, int b1, int b2, int b3)
{
    s[80] = static_cast<char>(b0);
    s[81] = static_cast<char>(b1);
    s[82] = static_cast<char>(b2);
    s[83] = static_cast<char>(b3);
}

inline bool ends_with(const std::wstring& s, const std::wstring& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

inline std::wstring w(const std::string& ascii) { return std::wstring(ascii.begin(), ascii.end()); }

// ---- message blocks ------------------------------------------------------------------------

inline std::vector<Line> header_lines(const std::string& first, const std::string& second)
{
    auto line = [](const std::string& t) {
        return Line{MSG_PROGRESS, L"\x01" + std::wstring(40 - t.size(), L' ') + w(t)};
    };
    return {line(first), line(second)};
}

inline std::vector<Line> syntax_error_block(const std::wstring& name, int line, const std::wstring& keyword)
{
    return {{MSG_USER, L"\xF1\x04" L"ERROR:\x02\t Syntax error in STL file!"},
            {MSG_USER, L"\xF1\t file:\x01" + name + L"\x02 line:\x01" + std::to_wstring(line)},
            {MSG_USER, L"\xF1\t didn't find key-word \x01\"" + keyword + L"\""}};
}

inline std::vector<Line> end_of_file_block(const std::wstring& name, int line)
{
    return {{MSG_USER, L"\xF1\x04" L"ERROR:\x02\t Error in STL file!"},
            {MSG_USER, L"\xF1\t file:\x01" + name + L"\x02 line:\x01" + std::to_wstring(line)},
            {MSG_USER, L"\xF1\t End Of File while reading"}};
}

inline std::vector<Line> short_read_block(const std::wstring& name, int got, int polygon)
{
    return {{MSG_USER, L"\xF1\x04" L"ERROR:\x02\t in STL file (" + std::to_wstring(got) + L")!"},
            {MSG_USER, L"\xF1\t file:\x01" + name + L"\x02 polygon:\x01" + std::to_wstring(polygon)},
            {MSG_USER, L"\xF1\t End Of File while reading"}};
}

inline std::vector<Line> warning_lines(const std::wstring& name, int count)
{
    return {{MSG_USER, L"\xF1\x05WARNING:\x02\t in STL file " + name},
            {MSG_USER, L"\xF1\t to many polygons (\x01" + std::to_wstring(count) + L"\x02)!"},
            {MSG_USER, L"\xF1\t attempting to swap all bytes..."}};
}

inline std::vector<Line> swap_lines(const std::wstring& name, int count, int now)
{
    std::vector<Line> l = warning_lines(name, count);
    l.push_back({MSG_USER, L"\xF1\t ...problem solved! (now \x01" + std::to_wstring(now) + L"\x02 polygons) "});
    return l;
}

inline std::vector<Line> nope_lines(const std::wstring& name, int count)
{
    std::vector<Line> l = warning_lines(name, count);
    l.push_back({MSG_USER, L"\xF1\t ...nope, sorry.  Can't read this file."});
    return l;
}

inline std::vector<Line> join(std::initializer_list<std::vector<Line>> parts)
{
    std::vector<Line> all;
    for (const auto& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

} // namespace pfx_test::stl
