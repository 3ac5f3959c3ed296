#include "native_io/mov_carve.h"

#include <cstdlib>

#include "core/alloc.h"
#include "core/record_sizes.h"
#include "native_io/mov_build.h"
#include "native_io/mov_report.h"
#include "native_io/mov_split.h"

namespace {

constexpr char kModule[] = "movie_read";
constexpr int kFirstLinks = 16;
constexpr char kLinksVar[] = "((*obj)[k]->Node_Pt)[jj].Poly_Id";

// A list starts with room for 16 links and doubles when full, so its room
// follows from its length alone: full when the length is 16 or more and a
// power of two.
bool links_full(int n)
{
    return n >= kFirstLinks && (n & (n - 1)) == 0;
}

int links_room(int n)
{
    int room = kFirstLinks;
    while (room < n) room *= 2;
    return room;
}

bool add_link(Movie_Node& node, int polygon)
{
    if (links_full(node.Poly_Id_Nb)) {
        if (!PFX_REALLOC_AS(node.Poly_Id, 2LL * node.Poly_Id_Nb, 4, kLinksVar)) return false;
    }
    node.Poly_Id[node.Poly_Id_Nb++] = polygon;
    return true;
}

bool build_links(Movie_Objs* obj)
{
    Movie_Node* nodes = obj->Node_Pt;
    for (int jj = 0; jj < obj->Node_Nb; ++jj)
        if (!PFX_MALLOC_AS(nodes[jj].Poly_Id, kFirstLinks, 4, kLinksVar)) return false;
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        if (p % 256 == 0) pfx::mov::progress_ping(1.0f);
        const Movie_Poly& poly = obj->Poly_Pt[p];
        for (int j = 0; j < poly.Node_Id_Nb; ++j)
            if (!add_link(nodes[poly.Node_Id[j]], p)) return false;
    }
    for (int jj = 0; jj < obj->Node_Nb; ++jj) {
        Movie_Node& node = nodes[jj];
        if (node.Poly_Id_Nb == 0) {
            std::free(node.Poly_Id);
            node.Poly_Id = nullptr;
        } else if (links_room(node.Poly_Id_Nb) != node.Poly_Id_Nb) {
            if (!PFX_REALLOC_AS(node.Poly_Id, node.Poly_Id_Nb, 4, kLinksVar)) return false;
        }
    }
    pfx::mov::progress_inc(obj->Poly_Nb);
    pfx::mov::progress_ping(0.0f);
    return true;
}

} // namespace

namespace pfx::mov {

int assign_polygons(Movie_Objs* obj, const Movie_Poly* poly, PartRange range, int* bad_polygon,
                    int* bad_sides)
{
    int n = range.stop - range.start + 1;
    if (n > 0) {
        if (!PFX_CALLOC_AS(obj->Poly_Pt, n, pfx::kPolyRecordBytes, "(*obj)[k]->Poly_Pt")) return 0;
        pfx::advise_huge(obj->Poly_Pt, static_cast<std::size_t>(n) * sizeof(Movie_Poly));
        obj->Poly_Nb = n;
    }
    for (int i = 0; i < n; ++i) {
        if (i % 512 == 0) progress_ping(1.0f);
        const Movie_Poly& src = poly[range.start - 1 + i];
        if (src.Node_Id_Nb > 4) {
            *bad_polygon = range.start + i;
            *bad_sides = src.Node_Id_Nb;
            return -1;
        }
        Movie_Poly& dst = obj->Poly_Pt[i];
        dst.Node_Id_Nb = src.Node_Id_Nb;
        // Slots past Node_Id_Nb stay zero, whatever an unfinished polygon left.
        for (int j = 0; j < src.Node_Id_Nb; ++j) dst.Node_Id[j] = src.Node_Id[j];
        obj->Flags |= geometry_bit(src.Node_Id_Nb);
    }
    progress_inc(n);
    progress_ping(0.0f);
    return 1;
}

bool carve_nodes(Movie_Objs* obj, Movie_Node* node, int node_nb)
{
    // Node_Id_Nb is at most 4 here and every stored number was checked
    // against the node count while splitting.
    for (int i = 0; i < node_nb; ++i) node[i].Mark = 0;
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        const Movie_Poly& poly = obj->Poly_Pt[p];
        for (int j = 0; j < poly.Node_Id_Nb; ++j) node[poly.Node_Id[j]].Mark = 1;
    }
    int used = 0;
    for (int i = 0; i < node_nb; ++i) used += node[i].Mark ? 1 : 0;
    // note: an object whose polygons use no node keeps Node_Pt null, as an
    // object without nodes has it.
    if (used > 0) {
        if (!PFX_CALLOC_AS(obj->Node_Pt, used, pfx::kNodeRecordBytes, "(*obj)[k]->Node_Pt")) return false;
        pfx::advise_huge(obj->Node_Pt, static_cast<std::size_t>(used) * sizeof(Movie_Node));
        obj->Node_Nb = used;
    }
    obj->Pos_Done = 1;

    int next = 0;
    for (int i = 0; i < node_nb; ++i) {
        if (i % 256 == 0) progress_ping(1.0f);
        if (!node[i].Mark) continue;
        Movie_Node& dst = obj->Node_Pt[next];
        dst.Coord = node[i].Coord;
        dst.Pos = node[i].Coord;
        node[i].New_Id = next++;
    }
    progress_inc(node_nb);
    progress_ping(0.0f);

    for (int p = 0; p < obj->Poly_Nb; ++p) {
        if (p % 256 == 0) progress_ping(1.0f);
        Movie_Poly& poly = obj->Poly_Pt[p];
        for (int j = 0; j < poly.Node_Id_Nb; ++j)
            poly.Node_Id[j] = static_cast<int>(node[poly.Node_Id[j]].New_Id);
    }
    progress_inc(obj->Poly_Nb);
    progress_ping(0.0f);

    return build_links(obj);
}

} // namespace pfx::mov
