// polyfex: inspect, convert, check, hull and render surface meshes.
//
// A host of the Polyfex library like any other: it links the shared module
// and Tarnwick, installs a message handler and the progress pointers, checks
// the library's version, and calls the exported operations.
#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cstdio>
#include <string>

#include "commands.h"
#include "console.h"
#include "mesh_files.h"

namespace polyfex_cli {
namespace {

constexpr char kExpectedLibrary[] = "5.2";

std::string version_text()
{
    const char* library = Get_Version_3D(nullptr);
    return std::string("polyfex ") + POLYFEX_CLI_VERSION + " (library " +
           (library ? library : "unknown") + ")";
}

// The library this command was written against: Get_Version_3D answers only
// to the version it implements.
bool library_compatible()
{
    return Get_Version_3D(kExpectedLibrary) != nullptr;
}

struct GlobalOptions {
    bool verbose = false;
    std::string colour = "auto";
    std::string progress = "auto";
};

When when_of(const std::string& text)
{
    return text == "always" ? When::Always : text == "never" ? When::Never : When::Auto;
}

// Options every subcommand accepts, before or after its name.
void add_global_options(CLI::App& app, GlobalOptions& g)
{
    app.add_flag("-v,--verbose", g.verbose, "Show the library's trace lines and notes");
    app.add_option("--color", g.colour, "Colour the messages: auto (on a terminal), always, never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();
    app.add_option("--progress", g.progress,
                   "Progress bar on stderr: auto (on a terminal), always, never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();
}

std::string find_sample_dir()
{
    std::vector<std::string> candidates;
    char exe[4096];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n > 0) {
        exe[n] = 0;
        std::string dir(exe);
        dir.erase(dir.find_last_of('/') + 1);
        for (const char* up : {"samples", "../samples", "../../samples"})
            candidates.push_back(dir + up);
    }
    candidates.push_back(POLYFEX_SAMPLES_DIR);
    for (const std::string& dir : candidates)
        if (access((dir + "/cube.mov").c_str(), R_OK) == 0)
            return dir;
    return "";
}

int demo(CLI::App& app)
{
    std::fputs(app.help().c_str(), stdout);
    const std::string sample = find_sample("cube.mov");
    if (sample.empty())
        return kExitOk;
    out_line("");
    out_line("Demo on a bundled sample: polyfex info " + sample);
    out_line("");
    InfoOptions info;
    info.files = {sample};
    const int status = run_info(info);
    out_line("");
    out_line("Try next: polyfex convert " + sample + " cube.obj, polyfex render " + sample +
             " cube.png, polyfex check " + sample);
    return status;
}

int run(int argc, char** argv)
{
    CLI::App app{"polyfex: inspect, convert, check, hull and render surface meshes\n"
                 "(.mov, .obj, .stl read; .mov, .obj, .stl, .dxf, .wrl written)",
                 "polyfex"};
    app.set_version_flag("--version", version_text, "Show the command's and the library's version");
    GlobalOptions g;
    add_global_options(app, g);
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.footer("Exit status: 0 done, 1 check found defects, 2 bad usage or unreadable input,\n"
               "3 output not written.");

    InfoOptions info;
    CLI::App* info_cmd = app.add_subcommand("info", "Objects, counts, bounds and measures of each file");
    info_cmd->add_option("files", info.files, "Mesh files (.mov .obj .stl)")->required();
    info_cmd->add_flag("--json", info.json, "One JSON document instead of text");

    ConvertOptions conv;
    CLI::App* conv_cmd = app.add_subcommand("convert", "Write a mesh in the format of OUT's extension");
    conv_cmd->add_option("in", conv.in, "Input (.mov .obj .stl)")->required();
    conv_cmd->add_option("out", conv.out, "Output (.mov .obj .stl .dxf .wrl)")->required();
    auto* ascii = conv_cmd->add_flag("--ascii", conv.ascii, "STL as text");
    auto* binary = conv_cmd->add_flag("--binary", conv.binary, "STL as binary (the default)");
    ascii->excludes(binary);
    conv_cmd->add_flag("--merge", conv.merge, ".mov: all objects as one merged object");
    conv_cmd->add_flag("--triangulate", conv.triangulate, "Split every quad into two triangles");
    conv_cmd->add_flag("--clean", conv.clean, "Remove doubled faces and unused nodes");
    conv_cmd->add_flag("--flip", conv.flip, "Reverse the orientation of every face");

    CheckOptions check;
    CLI::App* check_cmd = app.add_subcommand(
        "check", "The integrity tests: exit 0 when clean, 1 on findings, 2 when unreadable");
    check_cmd->add_option("file", check.file, "Mesh file")->required();
    check_cmd->add_option("--max-findings", check.max_findings,
                          "Findings shown per test and object (-1: all)")
        ->capture_default_str();

    HullOptions hull;
    CLI::App* hull_cmd = app.add_subcommand("hull", "Convex hull of the input's nodes, written to OUT");
    hull_cmd->add_option("in", hull.in, "Input (.mov .obj .stl)")->required();
    hull_cmd->add_option("out", hull.out, "Output (.mov .obj .stl .dxf .wrl)")->required();
    hull_cmd->add_flag("--ascii", hull.ascii, "STL as text");

    RenderOptions render;
    CLI::App* render_cmd = app.add_subcommand("render", "Draw the mesh offscreen into a PNG picture");
    render_cmd->add_option("in", render.in, "Input (.mov .obj .stl)")->required();
    render_cmd->add_option("out", render.out, "Picture (.png)")->required();
    render_cmd->add_option("--size", render.size, "Picture size WxH")->capture_default_str();
    bool flat_shading = false;
    auto* flat = render_cmd->add_flag("--flat", flat_shading, "One normal per face (the default)");
    auto* smooth = render_cmd->add_flag("--smooth", render.smooth, "Normals averaged at the nodes");
    flat->excludes(smooth);
    render_cmd->add_option("--view", render.view, "Camera direction")
        ->check(CLI::IsMember(render_views()))
        ->capture_default_str();

    DumpOptions dump;
    CLI::App* dump_cmd = app.add_subcommand("dump", "The library's dump: one line per node and polygon");
    dump_cmd->add_option("file", dump.file, "Mesh file")->required();

    for (CLI::App* sub : app.get_subcommands({}))
        sub->fallthrough();

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        std::fprintf(stderr, "polyfex: error: %s (see polyfex --help)\n", e.what());
        return kExitBadInput;
    }

    ConsoleSettings settings;
    settings.verbose = g.verbose;
    settings.colour = when_of(g.colour);
    settings.progress = when_of(g.progress);
    console_start(settings);
    struct Stop {
        ~Stop() { console_stop(); }
    } stop;

    if (!library_compatible()) {
        error_line("the loaded library is not Polyfex " + std::string(kExpectedLibrary) + " (" +
                   version_text() + ")");
        return kExitFailed;
    }
    if (*info_cmd)
        return run_info(info);
    if (*conv_cmd)
        return run_convert(conv);
    if (*check_cmd)
        return run_check(check);
    if (*hull_cmd)
        return run_hull(hull);
    if (*render_cmd)
        return run_render(render);
    if (*dump_cmd)
        return run_dump(dump);
    return demo(app);
}

} // namespace

std::string find_sample(const std::string& name)
{
    const std::string dir = find_sample_dir();
    return dir.empty() ? "" : dir + "/" + name;
}

} // namespace polyfex_cli

int main(int argc, char** argv) { return polyfex_cli::run(argc, argv); }
