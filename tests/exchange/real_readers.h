// Running outside readers over what the DXF and VRML writers produce.
//
// DXF: ezdxf (Debian's python3-ezdxf, run by the system interpreter) reads
// each file through tests/tools/dxf_check.py, which prints its audit result
// and the entities it found. VRML: tovrmlx3d (Debian's view3dscene) converts
// each file to classic VRML on stdout. Both results are compared with counts
// taken from our own bytes by the small scanners below, so the outside reader
// and our file must agree.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "support/objects.h"

namespace pfx_test {

constexpr char kPython[] = "/usr/bin/python3";

struct CommandResult {
    int status = -1; // exit status, -1 when it did not run
    std::string out;
};

// Runs a shell command and collects its standard output.
inline CommandResult run_command(const std::string& command)
{
    CommandResult r;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return r;
    char buf[65536];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) r.out.append(buf, n);
    const int st = pclose(pipe);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

inline std::string quoted(const std::string& path) { return "'" + path + "'"; }

// Empty when ezdxf can run, else why not.
inline std::string ezdxf_missing()
{
    const CommandResult r = run_command(std::string(kPython) + " -c 'import ezdxf' 2>&1");
    if (r.status == 0) return "";
    return std::string("python3-ezdxf is not usable with ") + kPython + " (apt-get install python3-ezdxf): " + r.out;
}

inline std::string tovrmlx3d_missing()
{
    const CommandResult r = run_command("tovrmlx3d --version 2>&1");
    if (r.status == 0) return "";
    return "tovrmlx3d is not installed (apt-get install view3dscene): " + r.out;
}

// ---- DXF --------------------------------------------------------------------

// What dxf_check.py prints for one file, computed from our own groups: the
// top-level entity counts, then one line per POLYLINE in drawing order.
inline std::string dxf_expected_report(const std::string& file)
{
    std::vector<std::pair<std::string, std::string>> groups;
    std::istringstream in(file);
    std::string code, value;
    while (std::getline(in, code) && std::getline(in, value)) {
        size_t b = code.find_first_not_of(' ');
        groups.emplace_back(b == std::string::npos ? "" : code.substr(b), value);
    }
    int points = 0, lines = 0, polylines = 0;
    std::vector<std::string> shapes;
    bool in_entities = false;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] == std::make_pair(std::string("2"), std::string("ENTITIES"))) in_entities = true;
        if (!in_entities || groups[i].first != "0") continue;
        const std::string& kind = groups[i].second;
        if (kind == "POINT") ++points;
        if (kind == "LINE") ++lines;
        if (kind != "POLYLINE") continue;
        ++polylines;
        int flags = 0, vertices = 0, faces = 0;
        size_t j = i + 1;
        for (; j < groups.size() && groups[j].first != "0"; ++j)
            if (groups[j].first == "70") flags = std::atoi(groups[j].second.c_str());
        for (; j < groups.size() && groups[j] != std::make_pair(std::string("0"), std::string("SEQEND")); ++j) {
            if (groups[j].first != "70") continue;
            const int f = std::atoi(groups[j].second.c_str());
            if (f == 128)
                ++faces;
            else
                ++vertices;
        }
        if (flags & 64)
            shapes.push_back("polyface " + std::to_string(vertices) + " " + std::to_string(faces));
        else
            shapes.push_back("polyline3d " + std::to_string(vertices) + ((flags & 1) ? " closed" : " open"));
    }
    std::string report = "audit 0 0\nentities LINE=" + std::to_string(lines) + " POINT=" + std::to_string(points) +
                         " POLYLINE=" + std::to_string(polylines) + "\n";
    for (const std::string& s : shapes) report += s + "\n";
    return report + "end\n";
}

// Runs the checker over several files; the result maps each file, in order,
// to its report (without the "file" line).
inline std::vector<std::string> ezdxf_reports(const std::vector<std::string>& paths, std::string* raw)
{
    // Built by appending: GCC 12 warns (-Wrestrict) on the chained form.
    std::string command = kPython;
    command += ' ';
    command += quoted(test_path("tools/dxf_check.py"));
    for (const std::string& p : paths) {
        command += ' ';
        command += quoted(p);
    }
    command += " 2>&1";
    const CommandResult r = run_command(command);
    *raw = r.out;
    std::vector<std::string> reports;
    std::istringstream in(r.out);
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("file ", 0) == 0) {
            reports.emplace_back();
            continue;
        }
        if (reports.empty()) reports.emplace_back();
        reports.back() += line + "\n";
    }
    return reports;
}

// ---- VRML -------------------------------------------------------------------

// The geometry of a classic-encoded VRML file, one line per geometry node in
// order: its kind, the number of coordinate points and the number of entries
// in coordIndex (a field left out counts 0). Comments are skipped.
inline std::string vrml_summary(const std::string& text)
{
    std::vector<std::string> tokens;
    std::string cur;
    auto flush = [&] {
        if (!cur.empty()) tokens.push_back(cur);
        cur.clear();
    };
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '#') {
            flush();
            while (i < text.size() && text[i] != '\n') ++i;
        } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ',') {
            flush();
        } else if (c == '[' || c == ']' || c == '{' || c == '}') {
            flush();
            tokens.push_back(std::string(1, c));
        } else {
            cur += c;
        }
    }
    flush();
    // The values of a multiple-value field: bracketed, or one bare value.
    auto values = [&](size_t& i, size_t per_value) {
        if (i < tokens.size() && tokens[i] == "[") {
            size_t n = 0;
            for (++i; i < tokens.size() && tokens[i] != "]"; ++i) ++n;
            return n;
        }
        i += per_value;
        return per_value;
    };
    struct Geometry {
        std::string kind;
        size_t points = 0, indices = 0;
    };
    std::vector<Geometry> geometry;
    for (size_t i = 0; i < tokens.size(); ++i) {
        const std::string& t = tokens[i];
        if (t == "PointSet" || t == "IndexedLineSet" || t == "IndexedFaceSet") {
            geometry.push_back({t});
        } else if (t == "point" && !geometry.empty()) {
            ++i;
            geometry.back().points = values(i, 3) / 3;
        } else if (t == "coordIndex" && !geometry.empty()) {
            ++i;
            geometry.back().indices = values(i, 1);
        }
    }
    std::string s;
    for (const Geometry& g : geometry)
        s += g.kind + " points=" + std::to_string(g.points) + " indices=" + std::to_string(g.indices) + "\n";
    return s;
}

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

// tovrmlx3d with the converted scene on stdout and its messages apart.
inline ToolRun run_tovrmlx3d(const std::string& path, const std::string& err_path)
{
    const CommandResult r =
        run_command("tovrmlx3d " + quoted(path) + " --encoding classic 2> " + quoted(err_path));
    return {r.status, r.out, read_file(err_path)};
}

} // namespace pfx_test
