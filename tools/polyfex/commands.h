// The subcommands. Each returns the process exit status.
#pragma once

#include <string>
#include <vector>

namespace polyfex_cli {

enum ExitStatus {
    kExitOk = 0,
    kExitFindings = 1, // check: the object has defects
    kExitBadInput = 2, // usage error, missing, unreadable or unknown input
    kExitFailed = 3,   // the output could not be written or rendered
};

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
};
int run_info(const InfoOptions& options);

struct ConvertOptions {
    std::string in, out;
    bool ascii = false;
    bool binary = false;
    bool merge = false;
    bool triangulate = false;
    bool clean = false;
    bool flip = false;
};
int run_convert(const ConvertOptions& options);

struct CheckOptions {
    std::string file;
    int max_findings = 20;
};
int run_check(const CheckOptions& options);

struct HullOptions {
    std::string in, out;
    bool ascii = false;
};
int run_hull(const HullOptions& options);

struct RenderOptions {
    std::string in, out;
    std::string size = "800x600"; // WxH
    bool smooth = false;
    std::string view = "iso";
};
int run_render(const RenderOptions& options);
// The views `render` knows, for the help text and the option check.
const std::vector<std::string>& render_views();

struct DumpOptions {
    std::string file;
};
int run_dump(const DumpOptions& options);

// The bundled sample the bare command demonstrates on, empty when none is found.
std::string find_sample(const std::string& name);

} // namespace polyfex_cli
