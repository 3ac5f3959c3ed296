// polyfex info FILE...: what each object holds and measures.
#include <cstdio>

#include "commands.h"
#include "console.h"
#include "json_out.h"
#include "mesh_files.h"
#include "object_facts.h"

namespace polyfex_cli {
namespace {

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& w : words)
        text += (text.empty() ? "" : " ") + w;
    return text;
}

std::string kinds_text(const ObjectFacts& f)
{
    std::string text;
    auto add = [&](long long n, const char* one, const char* many) {
        if (n == 0)
            return;
        text += (text.empty() ? "" : ", ") + count_text(n) + " " + (n == 1 ? one : many);
    };
    add(f.points, "point", "points");
    add(f.segments, "segment", "segments");
    add(f.triangles, "triangle", "triangles");
    add(f.quads, "quad", "quads");
    return text.empty() ? "" : "  (" + text + ")";
}

void print_object(const ObjectFacts& f, size_t index)
{
    const bool c = colour_out();
    char head[48];
    std::snprintf(head, sizeof head, "  object %zu: ", index + 1);
    out_line(head + styled(f.name, Style::Emphasis, c));
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08x", f.flags);
    out_line(std::string("    flags      ") + hex + "  " + joined(flag_words(f.flags)));
    out_line("    nodes      " + count_text(f.nodes));
    out_line("    polygons   " + count_text(f.polygons) + kinds_text(f));
    out_line("    texture    " + count_text(f.texture_coords) + " coordinates");
    out_line("    normals    " + count_text(f.normals) + " vectors");
    if (f.has_bounds) {
        out_line("    bounds     " + point_text(f.box_min) + " to " + point_text(f.box_max));
        out_line("    centre     " + point_text(f.centre) + "  size " + point_text(f.size));
    }
    if (f.has_surface) {
        out_line("    surface    " + number_text(f.surface));
        if (f.closed)
            out_line("    volume     " + number_text(f.volume) + "  (closed surface)");
        else
            out_line("    volume     -  (open surface: " + count_text(f.open_edges) +
                     " boundary edges" +
                     (f.other_edges ? ", " + count_text(f.other_edges) + " edges of 3+ faces" : "") +
                     ")");
    }
    if (f.has_perimeter)
        out_line("    perimeter  " + number_text(f.perimeter) + "  (in the xy-plane)");
    out_line("    memory     " + count_text(static_cast<long long>(f.memory)) + " bytes");
}

void json_object(JsonOut& j, const ObjectFacts& f)
{
    j.begin_object();
    j.value("name", f.name);
    j.value("flags", static_cast<long long>(f.flags));
    j.strings("flag_names", flag_words(f.flags));
    j.value("nodes", f.nodes).value("polygons", f.polygons);
    j.begin_object("polygon_kinds")
        .value("points", f.points)
        .value("segments", f.segments)
        .value("triangles", f.triangles)
        .value("quads", f.quads)
        .end_object();
    j.value("texture_coords", f.texture_coords).value("normals", f.normals);
    if (f.has_bounds) {
        j.begin_object("bounds")
            .numbers("min", {f.box_min.x, f.box_min.y, f.box_min.z})
            .numbers("max", {f.box_max.x, f.box_max.y, f.box_max.z})
            .end_object();
        j.numbers("centre", {f.centre.x, f.centre.y, f.centre.z});
        j.numbers("size", {f.size.x, f.size.y, f.size.z});
    } else {
        j.null("bounds").null("centre").null("size");
    }
    if (f.has_surface) {
        j.value("surface", f.surface).value("closed", f.closed);
        j.value("open_edges", f.open_edges);
        if (f.closed)
            j.value("volume", f.volume);
        else
            j.null("volume");
    } else {
        j.null("surface").value("closed", false).null("volume");
    }
    if (f.has_perimeter)
        j.value("perimeter", f.perimeter);
    else
        j.null("perimeter");
    j.value("memory", static_cast<long long>(f.memory));
    j.end_object();
}

struct FileReport {
    std::string path;
    std::string error; // empty when read
    std::vector<ObjectFacts> objects;
    bool has_all = false;
    Vector_4 all_centre{}, all_size{};
};

FileReport report_file(const std::string& path)
{
    FileReport r;
    r.path = path;
    ObjectList objs;
    if (!read_objects(path, objs, r.error))
        return r;
    for (Movie_Objs* obj : objs.all())
        r.objects.push_back(gather_facts(obj));
    if (objs.size() > 1) {
        bool all_bounded = true;
        for (const ObjectFacts& f : r.objects)
            all_bounded = all_bounded && f.has_bounds;
        // note: the common box of objects needs each one's box, which an object
        // without nodes does not have.
        if (all_bounded) {
            Movie_Obj_Center(objs.terminated(), &r.all_centre, &r.all_size);
            r.has_all = true;
        }
    }
    return r;
}

void print_report(const FileReport& r)
{
    const bool c = colour_out();
    const size_t n = r.objects.size();
    out_line(styled(r.path, Style::Emphasis, c) + "  (" + extension_of(format_of(r.path)) + ", " +
             std::to_string(n) + (n == 1 ? " object)" : " objects)"));
    if (r.has_all)
        out_line("  all objects: centre " + point_text(r.all_centre) + "  size " +
                 point_text(r.all_size));
    for (size_t i = 0; i < n; ++i)
        print_object(r.objects[i], i);
}

} // namespace

int run_info(const InfoOptions& options)
{
    std::vector<FileReport> reports;
    bool failed = false;
    for (const std::string& path : options.files) {
        reports.push_back(report_file(path));
        const FileReport& r = reports.back();
        if (!r.error.empty()) {
            error_line(r.error);
            failed = true;
        } else if (!options.json) {
            if (reports.size() > 1)
                out_line("");
            print_report(r);
        }
    }
    if (options.json) {
        JsonOut j;
        j.begin_object().begin_array("files");
        for (const FileReport& r : reports) {
            j.begin_object().value("path", r.path);
            if (!r.error.empty()) {
                j.value("error", r.error).end_object();
                continue;
            }
            j.value("format", extension_of(format_of(r.path)));
            if (r.has_all)
                j.numbers("centre", {r.all_centre.x, r.all_centre.y, r.all_centre.z})
                    .numbers("size", {r.all_size.x, r.all_size.y, r.all_size.z});
            j.begin_array("objects");
            for (const ObjectFacts& f : r.objects)
                json_object(j, f);
            j.end_array().end_object();
        }
        j.end_array().end_object();
        out_line(j.text());
    }
    return failed ? kExitBadInput : kExitOk;
}

} // namespace polyfex_cli
