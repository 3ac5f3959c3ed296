// Shared material of the ".mov" tests: the two-object example (a triangle
// and a unit square one unit above it), its file texts, and the expected
// trace and message lines of the native readers and writers.
#pragma once

#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

namespace mov_test {

using pfx_test::Line;

inline Movie_Objs* make_example_triangle()
{
    return pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
}
inline Movie_Objs* make_example_square()
{
    return pfx_test::make_object({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}});
}

// A displaced object whose positions are not computed yet, with a point, a
// segment, a triangle and two quads, and values that test the rounding.
inline Movie_Objs* make_mixed_object()
{
    Movie_Objs* obj = pfx_test::make_object(
        {{0.123456f, -0.000004f, 12345.678f},
         {-1.5f, 99999.99f, -0.000005f},
         {1e-7f, 3.14159265f, -2.718281828f},
         {100.0f, 200.0f, 300.0f},
         {-7.25f, 0.5f, 0.0625f}},
        {{0}, {0, 1}, {1, 2, 3}, {0, 1, 2, 3}, {4, 3, 2, 1}},
        GEOM_POINT | GEOM_LINE | GEOM_POLY | DISPLACED);
    obj->Node_Pt[3].Displ = {1.0f, -2.0f, 0.5f, 0.0f};
    return obj;
}

// Node and connectivity lines the two example objects share in both files.
inline std::string example_body()
{
    return "     0.00000      0.00000      0.00000 \n"
           "     1.00000      0.00000      0.00000 \n"
           "     0.00000      1.00000      0.00000 \n"
           "     0.00000      0.00000      1.00000 \n"
           "     1.00000      0.00000      1.00000 \n"
           "     1.00000      1.00000      1.00000 \n"
           "     0.00000      1.00000      1.00000 \n"
           "     1      2     -3 \n"
           "     4      5      6     -7 \n";
}
// As Movie_Write writes the example (two objects).
inline std::string example_multi()
{
    return "     2      7      2      7 \n"
           "     1      1 \n"
           "     2      2 \n" +
           example_body();
}
// As Movie_Write_Merge writes it (one object).
inline std::string example_merged()
{
    return "     1      7      2      7 \n"
           "     1      2 \n" +
           example_body();
}

// Trace lines of the readers ("Movie_Read", "Movie_Read_Merge").
inline Line reader_entry(const std::wstring& op, const std::wstring& dir, const std::wstring& name)
{
    return {MSG_TRACE, L">>> in  " + op + L"(" + dir + L"," + name + L")"};
}
inline Line reader_exit(const std::wstring& op, const std::wstring& reason)
{
    return {MSG_TRACE, L"<<< out " + op + L"(" + reason + L")"};
}
// Trace lines of the writers ("Movie_Write", "Movie_Write_Merge").
inline Line writer_entry(const std::wstring& op, const std::wstring& path)
{
    return {MSG_TRACE, L">>> in  Polyfex: " + op + L"(" + path + L")"};
}
inline Line writer_exit(const std::wstring& op, const std::wstring& reason)
{
    return {MSG_TRACE, L"<<< out Polyfex: " + op + L"(" + reason + L")"};
}

inline Line user(const std::wstring& text)
{
    return {MSG_USER, text};
}
inline Line progress(const std::wstring& text)
{
    return {MSG_PROGRESS, text};
}

// The head and file lines of the readers' "Unable to read the file!" block.
inline std::vector<Line> unreadable(const std::wstring& name)
{
    return {user(L"\xF1\x04" L"ERROR:\x02 Unable to read the file!"), user(L"\xF1\t \x01" + name + L".mov")};
}

// The module named by a memory-error line ("line %-4d of <module> \n...").
inline std::wstring memory_module(const Line& l)
{
    size_t of = l.text.find(L" of ");
    size_t end = l.text.find(L" \n");
    if (l.flag != MSG_MEMORY || of == std::wstring::npos || end == std::wstring::npos || end < of) return L"";
    return l.text.substr(of + 4, end - of - 4);
}

inline std::vector<Line> join(std::vector<Line> a, const std::vector<Line>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

} // namespace mov_test
