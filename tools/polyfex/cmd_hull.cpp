// polyfex hull IN OUT: the convex hull of the input's nodes.
#include <exception>

#include "commands.h"
#include "console.h"
#include "mesh_files.h"
#include "object_facts.h"

namespace polyfex_cli {

int run_hull(const HullOptions& options)
{
    std::string error;
    if (!check_output_path(options.out, error)) {
        error_line(error);
        return kExitBadInput;
    }
    ObjectList objs;
    if (!read_objects(options.in, objs, error)) {
        error_line(error);
        return kExitBadInput;
    }
    // note: the hull of a file is that of all its nodes, whatever object holds them.
    if (!objs.merge_all()) {
        error_line("hull: out of memory while merging the objects of " + quoted(options.in));
        return kExitFailed;
    }
    Movie_Objs* source = objs[0];
    if (source->Node_Nb < 4) {
        error_line("hull: " + quoted(options.in) + " has " + count_text(source->Node_Nb) +
                   " nodes; a hull needs 4 or more");
        return kExitBadInput;
    }
    ObjectList hull;
    try {
        hull.add(Movie_Convex_Hull(source, nullptr));
    } catch (const std::exception& e) {
        // The hull engine's container exceptions are the one kind the library
        // lets out: memory or size limits.
        error_line(std::string("hull: the hull engine gave up: ") + e.what());
        return kExitFailed;
    }
    if (hull.empty() || hull[0]->Poly_Nb == 0) {
        error_line("hull: no hull built for " + quoted(options.in) + " (out of memory?)");
        return kExitFailed;
    }
    Movie_Objs* h = hull[0];
    const double surface = Movie_Surface(h);
    const double volume = Movie_Volume(h);
    out_line("hull of " + count_text(source->Node_Nb) + " nodes: " + count_text(h->Node_Nb) +
             " nodes, " + count_text(h->Poly_Nb) + " triangles");
    out_line("  surface " + number_text(surface));
    out_line("  volume  " + number_text(volume));
    WriteOptions w;
    w.stl_ascii = options.ascii;
    if (!write_objects(hull, options.out, w, error)) {
        error_line(error);
        return kExitFailed;
    }
    out_line("written to " + options.out);
    return kExitOk;
}

} // namespace polyfex_cli
