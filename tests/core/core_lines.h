// Expected message lines of the core operations and whole-record views, so
// core tests compare complete transcripts and lists in one assertion.
#pragma once

#include <array>
#include <cmath>
#include <sstream>

#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {

using Ids = std::vector<int>;
using Polys = std::vector<Ids>;
using Lines = std::vector<Line>;
using V4 = std::array<float, 4>;

inline Line entry_line(const std::wstring& name) { return {MSG_TRACE, L">>> in  Polyfex: " + name + L"()"}; }
// One traced call per reason: entry line, then the exit line with that reason.
inline Lines traced(const std::wstring& name, std::initializer_list<const wchar_t*> reasons)
{
    Lines r;
    for (const wchar_t* why : reasons)
        r.insert(r.end(), {entry_line(name), {MSG_TRACE, L"<<< out Polyfex: " + name + L"(" + why + L")"}});
    return r;
}
inline Lines operator+(Lines a, const Lines& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline Lines notes(std::initializer_list<const wchar_t*> texts)
{
    Lines r;
    for (const wchar_t* t : texts) r.push_back({MSG_NOTE, t});
    return r;
}
// Each line of tests/golden/core/<name> as a note.
inline Lines golden_notes(const std::string& name)
{
    Lines r;
    std::wistringstream in(wide(read_file(test_path("golden/core/" + name))));
    for (std::wstring t; std::getline(in, t);) r.push_back({MSG_NOTE, t});
    return r;
}
// Memory-error lines carry the library's source line number; tests compare
// them as "line # of <module> ..." (the exact layout is proved in diag_test).
inline Line memory_line(const std::wstring& module, const std::wstring& rest)
{
    return {MSG_MEMORY, L"line # of " + module + L" \nmemory error in " + rest};
}
inline Lines masked(Lines lines)
{
    for (Line& l : lines) {
        const size_t of = l.text.find(L" of ");
        if (l.flag == MSG_MEMORY && l.text.rfind(L"line ", 0) == 0 && of != std::wstring::npos &&
            l.text.find_first_not_of(L"0123456789", 5) > 5)
            l.text.replace(0, of, L"line #");
    }
    return lines;
}

inline V4 v4(const Vector_4& v) { return {v.x, v.y, v.z, v.w}; }
inline bool near4(const Vector_4& got, V4 want)
{
    const V4 g = v4(got);
    for (int i = 0; i < 4; ++i)
        if (!(std::fabs(g[i] - want[i]) <= 1e-6f)) return false;
    return true;
}
inline Ids links_of(const Movie_Node& n) { return Ids(n.Poly_Id, n.Poly_Id + n.Poly_Id_Nb); }
inline Polys polys_of(const Movie_Objs& o)
{
    Polys r;
    for (int p = 0; p < o.Poly_Nb; ++p) r.emplace_back(o.Poly_Pt[p].Node_Id, o.Poly_Pt[p].Node_Id + o.Poly_Pt[p].Node_Id_Nb);
    return r;
}
// Gives a node a malloc'ed link list, as a reader would.
inline void set_links(Movie_Node& n, const Ids& ids)
{
    std::free(n.Poly_Id);
    n.Poly_Id = static_cast<int32_t*>(std::malloc(ids.size() * sizeof(int32_t) + 1));
    for (size_t k = 0; k < ids.size(); ++k) n.Poly_Id[k] = ids[k];
    n.Poly_Id_Nb = static_cast<int>(ids.size());
}

} // namespace pfx_test
