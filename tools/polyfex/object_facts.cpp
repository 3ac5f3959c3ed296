#include "object_facts.h"

#include <cstdint>
#include <cstdio>
#include <unordered_map>
#include <utility>

#include "markup.h"
#include "mesh_files.h"

namespace polyfex_cli {
namespace {

struct EdgeUse {
    long long open = 0, shared_twice = 0, more = 0;
};

// Counts, over the triangles and quads, how many faces use each undirected
// edge. The library offers an edge test too, but it searches the whole object
// for every unconfirmed edge; a hash of the edges stays linear on open meshes.
EdgeUse edge_use(const Movie_Objs* obj)
{
    std::unordered_map<uint64_t, int> uses;
    uses.reserve(static_cast<size_t>(obj->Poly_Nb) * 2);
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        const Movie_Poly& poly = obj->Poly_Pt[p];
        const int n = poly.Node_Id_Nb;
        if (n < 3 || n > 4)
            continue;
        for (int k = 0; k < n; ++k) {
            uint32_t a = static_cast<uint32_t>(poly.Node_Id[k]);
            uint32_t b = static_cast<uint32_t>(poly.Node_Id[(k + 1) % n]);
            if (a > b)
                std::swap(a, b);
            ++uses[(static_cast<uint64_t>(a) << 32) | b];
        }
    }
    EdgeUse e;
    for (const auto& [edge, count] : uses) {
        (void)edge;
        if (count == 1)
            ++e.open;
        else if (count == 2)
            ++e.shared_twice;
        else
            ++e.more;
    }
    return e;
}

} // namespace

ObjectFacts gather_facts(Movie_Objs* obj)
{
    ObjectFacts f;
    f.name = object_name(obj);
    f.flags = obj->Flags;
    f.nodes = obj->Node_Nb;
    f.polygons = obj->Poly_Nb;
    f.texture_coords = obj->Text_Nb;
    f.normals = obj->Normal_Nb;
    for (int p = 0; p < obj->Poly_Nb; ++p) {
        switch (obj->Poly_Pt[p].Node_Id_Nb) {
        case 1: ++f.points; break;
        case 2: ++f.segments; break;
        case 3: ++f.triangles; break;
        case 4: ++f.quads; break;
        default: break;
        }
    }
    f.memory = Movie_Memory(obj);
    if (Movie_Init_Dim(obj)) {
        f.has_bounds = true;
        f.box_min = obj->Box_Min;
        f.box_max = obj->Box_Max;
        Movie_Objs* one[2] = {obj, nullptr};
        Movie_Obj_Center(one, &f.centre, &f.size);
    }
    if ((obj->Flags & GEOM_POLY) && obj->Node_Nb > 0) {
        f.has_surface = true;
        f.surface = Movie_Surface(obj);
        EdgeUse e = edge_use(obj);
        f.open_edges = e.open;
        f.other_edges = e.more;
        // note: a surface is closed when every edge joins exactly two faces and
        // nothing but faces is in the object; only then is a volume meaningful.
        f.closed = e.open == 0 && e.more == 0 && e.shared_twice > 0 && f.points == 0 &&
                   f.segments == 0;
        if (f.closed)
            f.volume = Movie_Volume(obj);
    }
    if ((obj->Flags & GEOM_LINE) && obj->Node_Nb > 0) {
        f.has_perimeter = true;
        f.perimeter = Movie_Perimeter(obj);
    }
    return f;
}

std::vector<std::string> flag_words(unsigned int flags)
{
    static const struct {
        unsigned int bit;
        const char* name;
    } kNames[] = {
        {SURFACE, "SURFACE"},       {COLORED, "COLORED"},       {DISPLACED, "DISPLACED"},
        {FROM_MOV, "FROM_MOV"},     {FROM_STL, "FROM_STL"},     {FROM_OBJ, "FROM_OBJ"},
        {NO_VBO, "NO_VBO"},         {GEOM_POINT, "GEOM_POINT"}, {GEOM_LINE, "GEOM_LINE"},
        {GEOM_POLY, "GEOM_POLY"},   {GEOM_OTHER, "GEOM_OTHER"}, {NORMALS_DONE, "NORMALS_DONE"},
    };
    std::vector<std::string> words;
    unsigned int known = 0;
    for (const auto& n : kNames) {
        known |= n.bit;
        if (flags & n.bit)
            words.push_back(n.name);
    }
    if (unsigned int rest = flags & ~known) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%x", rest);
        words.push_back(hex);
    }
    return words;
}

std::string number_text(double value)
{
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.6g", value);
    return buf;
}

std::string point_text(const Vector_4& v)
{
    char buf[160];
    std::snprintf(buf, sizeof buf, "(%.6g, %.6g, %.6g)", v.x, v.y, v.z);
    return buf;
}

std::string count_text(long long value)
{
    return Int_2_Str(value, nullptr);
}

} // namespace polyfex_cli
