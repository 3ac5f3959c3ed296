// polyfex check FILE: the library's four integrity tests on every object.
#include "commands.h"
#include "console.h"
#include "mesh_files.h"
#include "object_facts.h"

namespace polyfex_cli {
namespace {

struct TestRun {
    const char* label;
    int (*test)(Movie_Objs*);
    bool faces_only; // reads every polygon as the triangle of its first corners
};

const TestRun kTests[] = {
    {"nodes", Movie_Test_Nodes, false},
    {"links", Movie_Test_Links, false},
    {"edges", Movie_Test_Edges, true},
    {"polygons", Movie_Test_Polygons, true},
};

bool has_quads(const Movie_Objs* obj)
{
    for (int p = 0; p < obj->Poly_Nb; ++p)
        if (obj->Poly_Pt[p].Node_Id_Nb == 4)
            return true;
    return false;
}

long long check_object(Movie_Objs* obj, size_t index, int max_findings)
{
    const bool c = colour_out();
    const bool faces = obj->Node_Nb > 0 && (obj->Flags & GEOM_POLY);
    out_line("  object " + std::to_string(index + 1) + ": " +
             styled(object_name(obj), Style::Emphasis, c) + " (" + count_text(obj->Node_Nb) +
             " nodes, " + count_text(obj->Poly_Nb) + " polygons)");
    if (faces) {
        // note: the edge test reads each polygon as the triangle of its first
        // three corners, which makes a quad's diagonal look like an open edge;
        // quads are split first, as the native readers do on reading.
        if (has_quads(obj)) {
            Movie_Triangle(obj);
            out_line("    (quads split into triangles: " + count_text(obj->Poly_Nb) +
                     " polygons)");
        }
        // The tests read the links and positions that this rebuilds.
        if (!(obj->Flags & NORMALS_DONE))
            Movie_Init_Norm(obj);
    }
    if (obj->Poly_Nb > 0 && obj->Pos_Done == 0)
        Movie_Compute_Pos(obj);

    long long total = 0;
    for (const TestRun& t : kTests) {
        std::string label = std::string(t.label) + std::string(11 - std::string(t.label).size(), ' ');
        if (t.faces_only && !faces) {
            out_line("    " + label + styled("skipped (no triangles or quads)", Style::Dim, c));
            continue;
        }
        NoteCollector notes;
        const int found = t.test(obj);
        std::vector<std::string> lines = notes.take();
        total += found;
        if (found == 0 && lines.empty()) {
            out_line("    " + label + styled("ok", Style::Good, c));
            continue;
        }
        out_line("    " + label +
                 styled(count_text(found) + (found == 1 ? " finding" : " findings"), Style::Warning, c));
        const size_t shown = max_findings < 0 ? lines.size()
                             : lines.size() < static_cast<size_t>(max_findings)
                                 ? lines.size()
                                 : static_cast<size_t>(max_findings);
        for (size_t i = 0; i < shown; ++i)
            out_line("      " + lines[i]);
        if (shown < lines.size())
            out_line("      ... and " + count_text(static_cast<long long>(lines.size() - shown)) +
                     " more (--max-findings to see them)");
    }
    return total;
}

} // namespace

int run_check(const CheckOptions& options)
{
    ObjectList objs;
    std::string error;
    if (!read_objects(options.file, objs, error)) {
        error_line(error);
        return kExitBadInput;
    }
    const bool c = colour_out();
    out_line(styled(options.file, Style::Emphasis, c) + "  (" + std::to_string(objs.size()) +
             (objs.size() == 1 ? " object)" : " objects)"));
    long long total = 0;
    for (size_t i = 0; i < objs.size(); ++i)
        total += check_object(objs[i], i, options.max_findings);
    if (total == 0) {
        out_line(styled("clean: no findings", Style::Good, c));
        return kExitOk;
    }
    out_line(styled(count_text(total) + (total == 1 ? " finding" : " findings"), Style::Warning, c));
    return kExitFindings;
}

} // namespace polyfex_cli
