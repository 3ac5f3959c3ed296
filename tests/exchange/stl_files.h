// Transcripts and objects as text, to compare with the expected files under
// tests/golden/stl.
#pragma once

#include <cstdio>
#include <string>

#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test::stl {

// One message a line: the flag word, then the text with control characters
// escaped and dir shown as "<dir>/". Memory lines lose their source line.
inline std::string transcript(const CaptureSink& sink, const std::wstring& dir = L"")
{
    std::string s;
    char flag[16];
    for (const Line& l : sink.lines()) {
        std::wstring t = l.text;
        if (l.flag == MSG_MEMORY) t.erase(0, t.find(L" of ") + 4);
        for (size_t at; !dir.empty() && (at = t.find(dir)) != t.npos;) t.replace(at, dir.size(), L"<dir>/");
        std::snprintf(flag, sizeof flag, "%08X ", l.flag);
        s += flag + printable(t) + "\n";
    }
    return s;
}

// "flags path name: ", then "x y z," per node, "|" and "a b c (normal)," per polygon.
inline std::string describe(const Movie_Objs* o, const std::wstring& dir)
{
    char b[96];
    std::snprintf(b, sizeof b, "%#x ", o->Flags);
    std::string s = b;
    s.append(!o->Path ? "(null)" : o->Path == dir ? "<dir>/" : narrow(o->Path)).append(" ");
    s.append(o->Name ? narrow(o->Name) : "(null)").append(": ");
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

} // namespace pfx_test::stl
