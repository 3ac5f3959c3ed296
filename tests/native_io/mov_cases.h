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

inline std::vector<Line> join(std::vector<Line> a, const std::vector<Line>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

} // namespace mov_test
