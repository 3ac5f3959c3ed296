// polyfex convert IN OUT: from any readable format to any writable one.
#include "commands.h"
#include "console.h"
#include "mesh_files.h"
#include "object_facts.h"

namespace polyfex_cli {
namespace {

long long total_polygons(const ObjectList& objs)
{
    long long n = 0;
    for (Movie_Objs* obj : objs.all())
        n += obj->Poly_Nb;
    return n;
}

long long total_nodes(const ObjectList& objs)
{
    long long n = 0;
    for (Movie_Objs* obj : objs.all())
        n += obj->Node_Nb;
    return n;
}

// "1 node", "2 nodes".
std::string counted(long long n, const char* noun)
{
    return count_text(n) + " " + noun + (n == 1 ? "" : "s");
}

bool is_faces(const Movie_Objs* obj) { return obj->Node_Nb > 0 && (obj->Flags & GEOM_POLY); }

// The edits, in the order a user expects them: split the quads, then remove
// what is doubled or unused, then turn the faces over.
void edit(ObjectList& objs, const ConvertOptions& o)
{
    if (o.triangulate) {
        long long split = 0;
        for (Movie_Objs* obj : objs.all())
            split += Movie_Triangle(obj);
        out_line("triangulate: " + counted(split, "quad") + " split");
    }
    if (o.clean) {
        const long long polys = total_polygons(objs), nodes = total_nodes(objs);
        for (Movie_Objs* obj : objs.all()) {
            // The doubled-face search walks the node links: rebuild them.
            if (is_faces(obj) && !(obj->Flags & NORMALS_DONE)) {
                Movie_Init_Norm(obj);
                Movie_Cleanup_Poly(obj);
            }
            if (obj->Node_Nb > 0)
                Movie_Cleanup_Node(obj);
        }
        out_line("clean: " + counted(polys - total_polygons(objs), "polygon") + " and " +
                 counted(nodes - total_nodes(objs), "node") + " removed");
    }
    if (o.flip) {
        long long flipped = 0;
        for (Movie_Objs* obj : objs.all())
            if (is_faces(obj) && Movie_Normal_Flip(obj))
                ++flipped;
        out_line("flip: " + counted(flipped, "object") + " turned over");
    }
}

} // namespace

int run_convert(const ConvertOptions& o)
{
    const Format out_format = format_of(o.out);
    if ((o.ascii || o.binary) && out_format != Format::Stl)
        warning_line("--ascii and --binary choose the STL encoding; " + quoted(o.out) +
                     " is no STL file");
    if (o.merge && out_format != Format::Mov)
        warning_line("--merge chooses the merged .mov layout; " + quoted(o.out) +
                     " is no .mov file");
    std::string error;
    // Said before reading, so that a long read is not wasted.
    if (!check_output_path(o.out, error)) {
        error_line(error);
        return kExitBadInput;
    }

    ObjectList objs;
    if (!read_objects(o.in, objs, error)) {
        error_line(error);
        return kExitBadInput;
    }
    edit(objs, o);
    const size_t objects_read = objs.size();
    WriteOptions w;
    w.stl_ascii = o.ascii;
    w.merge = o.merge;
    if (!write_objects(objs, o.out, w, error)) {
        error_line(error);
        return kExitFailed;
    }
    std::string what = std::to_string(objects_read) + (objects_read == 1 ? " object" : " objects");
    if (objs.size() != objects_read)
        what += " merged into 1";
    else if (o.merge && out_format == Format::Mov && objects_read > 1)
        what += " written as 1";
    out_line(o.in + " -> " + o.out + ": " + what + ", " + count_text(total_nodes(objs)) +
             " nodes, " + count_text(total_polygons(objs)) + " polygons");
    return kExitOk;
}

} // namespace polyfex_cli
