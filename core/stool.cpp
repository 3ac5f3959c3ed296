// Movie_Stool: a line-by-line dump of an object through the sink.
#include <charconv>
#include <cstring>

#include "polyfex.h"

namespace {
[[maybe_unused]] constexpr char kModule[] = "movie_func";

constexpr char kRule[] = "------------------------------------";
constexpr size_t kLinkText = 120;

// " 4 7 ..." for the node's links, cut at the buffer: an entry that does not
// fit whole is left out with all after it, never written past the end.
void link_text(const Movie_Node& n, char (&text)[kLinkText])
{
    size_t len = 0;
    text[0] = '\0';
    if (!n.Poly_Id) return;
    for (int k = 0; k < n.Poly_Id_Nb; ++k) {
        char entry[16];
        entry[0] = ' ';
        const auto r = std::to_chars(entry + 1, entry + sizeof entry, n.Poly_Id[k]);
        const size_t m = static_cast<size_t>(r.ptr - entry);
        if (len + m >= kLinkText) break;
        std::memcpy(text + len, entry, m);
        len += m;
        text[len] = '\0';
    }
}

} // namespace

extern "C" PFX_API void Movie_Stool(Movie_Objs* obj, int flag)
{
    // note: a null object dumps nothing.
    if (!obj) return;
    const unsigned int f = static_cast<unsigned int>(flag);
    Error_Fct(hwnd, f, "----- Movie_Stool: nodes:%d polys:%d", obj->Node_Nb, obj->Poly_Nb);
    for (int i = 0; i < obj->Node_Nb; ++i) {
        const Movie_Node& n = obj->Node_Pt[i];
        Error_Fct(hwnd, f, "node[%d] %.2f %.2f %.2f (dir:%.2f %.2f %.2f)", i, n.Coord.x, n.Coord.y, n.Coord.z,
                  n.Normal.x, n.Normal.y, n.Normal.z);
    }
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        const Movie_Poly& poly = obj->Poly_Pt[p];
        Error_Fct(hwnd, f, "poly[%d] %d %d %d (dir:%.2f %.2f %.2f)", p, poly.Node_Id[0], poly.Node_Id[1],
                  poly.Node_Id[2], poly.Normal.x, poly.Normal.y, poly.Normal.z);
    }
    if (obj->Node_Nb == 0) {
        Error_Fct(hwnd, f, kRule);
        return;
    }
    for (int i = 0; i < obj->Node_Nb; ++i) {
        char text[kLinkText];
        link_text(obj->Node_Pt[i], text);
        Error_Fct(hwnd, f, "node[%d] %d connect (%hs)", i, obj->Node_Pt[i].Poly_Id_Nb, text);
    }
    Error_Fct(hwnd, f, kRule);
}
