// Outside readers accept every DXF and VRML golden file and a written
// 100,000-triangle mesh, and find in each what we wrote.
//
// DXF: ezdxf (Debian's python3-ezdxf, run by the system interpreter) reads
// the files through tests/tools/dxf_check.py, which prints its audit result
// and the entities it found. VRML: tovrmlx3d (Debian's view3dscene) converts
// each file to classic VRML on stdout. Both are compared with counts taken
// from our own bytes by the small scanners below.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "exchange/dxf_vrml_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

// Exit status (-1 when it did not run) and standard output of a command.
std::pair<int, std::string> run(const std::string& command)
{
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return {-1, out};
    char buf[65536];
    for (size_t n; (n = fread(buf, 1, sizeof buf, pipe)) > 0;) out.append(buf, n);
    const int st = pclose(pipe);
    return {WIFEXITED(st) ? WEXITSTATUS(st) : -1, out};
}

// What dxf_check.py prints for one file, from our own groups: the entity
// counts, then one line per POLYLINE in drawing order.
std::string dxf_report(const std::string& file)
{
    std::vector<std::pair<std::string, std::string>> g;
    std::istringstream in(file);
    for (std::string code, value; std::getline(in, code) && std::getline(in, value);)
        g.emplace_back(code.erase(0, code.find_first_not_of(' ')), value);
    int points = 0, lines = 0, polylines = 0;
    std::string shapes;
    size_t i = 0;
    while (i < g.size() && g[i].second != "ENTITIES") ++i;
    for (; i < g.size(); ++i) {
        if (g[i].first != "0") continue;
        points += g[i].second == "POINT";
        lines += g[i].second == "LINE";
        if (g[i].second != "POLYLINE") continue;
        ++polylines;
        int flags = 0, vertices = 0, faces = 0;
        size_t j = i + 1;
        for (; j < g.size() && g[j].first != "0"; ++j)
            if (g[j].first == "70") flags = std::atoi(g[j].second.c_str());
        for (; j < g.size() && g[j].second != "SEQEND"; ++j)
            if (g[j].first == "70") (std::atoi(g[j].second.c_str()) == 128 ? faces : vertices)++;
        shapes += (flags & 64) ? "polyface " + std::to_string(vertices) + " " + std::to_string(faces)
                               : "polyline3d " + std::to_string(vertices) + ((flags & 1) ? " closed" : " open");
        shapes += "\n";
    }
    return "audit 0 0\nentities LINE=" + std::to_string(lines) + " POINT=" + std::to_string(points) +
           " POLYLINE=" + std::to_string(polylines) + "\n" + shapes + "end\n";
}

// One line per geometry node of a classic VRML file: its kind, its number of
// coordinate points and of coordIndex entries. Comments are skipped.
std::string vrml_summary(const std::string& text)
{
    std::string spaced;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '#') i = std::min(text.find('\n', i), text.size());
        const char c = i < text.size() ? text[i] : ' ';
        if (c == '[' || c == ']') spaced += ' ';
        spaced += c == ',' || c == '{' || c == '}' ? ' ' : c;
        if (c == '[' || c == ']') spaced += ' ';
    }
    std::istringstream in(spaced);
    const std::vector<std::string> t{std::istream_iterator<std::string>(in), {}};
    // A multiple-value field is bracketed or one bare value.
    auto values = [&](size_t i, size_t one) {
        size_t n = 0;
        if (i >= t.size() || t[i] != "[") return one;
        while (++i < t.size() && t[i] != "]") ++n;
        return n;
    };
    std::string s, kind;
    size_t points = 0, indices = 0;
    for (size_t i = 0; i <= t.size(); ++i) {
        const std::string& w = i < t.size() ? t[i] : kind;
        const bool geometry = i < t.size() && (w == "PointSet" || w == "IndexedLineSet" || w == "IndexedFaceSet");
        if ((geometry || i == t.size()) && !kind.empty())
            s += kind + " points=" + std::to_string(points) + " indices=" + std::to_string(indices) + "\n";
        if (geometry) kind = w, points = indices = 0;
        if (w == "point") points = values(i + 1, 3) / 3;
        if (w == "coordIndex") indices = values(i + 1, 1);
    }
    return s;
}

class RealReaders : public PfxTest {
protected:
    void SetUp() override { dir = temp_dir(); }
    std::string dir;
    // The goldens of one format, then the 250 x 200-cell grid mesh written
    // now, of which our own scanner's view is checked first.
    std::vector<std::string> files(bool dxf, const std::string& mesh_summary)
    {
        std::vector<std::string> paths;
        for (const WriterCase& c : writer_cases())
            if (dxf ? c.dxf : c.vrml)
                paths.push_back(test_path(dxf ? "golden/dxf/" : "golden/vrml/") + c.name + (dxf ? ".dxf" : ".wrl"));
        std::vector<P3> nodes;
        std::vector<std::vector<int>> tris;
        for (int r = 0; r <= 200; ++r)
            for (int c = 0; c <= 250; ++c) {
                nodes.push_back({c * 0.25f, r * 0.5f, 0.01f * static_cast<float>((r * 7 + c * 3) % 11)});
                const int a = r * 251 + c;
                if (r < 200 && c < 250) tris.insert(tris.end(), {{a, a + 1, a + 252}, {a, a + 252, a + 251}});
            }
        ObjectPtr mesh(make_object(nodes, tris));
        Movie_Init_Dim(mesh.get());
        Movie_Objs* list[2] = {mesh.get(), nullptr};
        paths.push_back(dir + (dxf ? "mesh.dxf" : "mesh.wrl"));
        const std::wstring path = wide(paths.back());
        EXPECT_EQ(dxf ? DXF_Write(list, path.c_str(), L"", nullptr)
                      : VRLM_Write(list, nullptr, nullptr, path.c_str(), L"", nullptr),
                  1);
        const std::string bytes = read_file(paths.back());
        EXPECT_EQ(dxf ? dxf_report(bytes) : vrml_summary(bytes), mesh_summary);
        return paths;
    }
};

TEST_F(RealReaders, EzdxfReadsEveryDxfFileAsWritten)
{
    if (run("/usr/bin/python3 -c 'import ezdxf' 2>&1").first != 0)
        GTEST_SKIP() << "python3-ezdxf is not usable with /usr/bin/python3";
    const std::vector<std::string> paths =
        files(true, "audit 0 0\nentities LINE=0 POINT=0 POLYLINE=1\npolyface 50451 100000\nend\n");
    std::string command = "/usr/bin/python3 '" + test_path("tools/dxf_check.py") + "'";
    for (const std::string& p : paths) command += " '" + p + "'";
    const std::string out = run(command + " 2>&1").second;
    std::string want;
    for (const std::string& p : paths) want += "file " + p + "\n" + dxf_report(read_file(p));
    EXPECT_EQ(out, want);
}

TEST_F(RealReaders, Tovrmlx3dConvertsEveryVrmlFileWithoutAWarning)
{
    if (run("tovrmlx3d --version 2>&1").first != 0) GTEST_SKIP() << "tovrmlx3d (view3dscene) is not installed";
    // Three indices per triangle and a -1 between triangles.
    const std::vector<std::string> paths = files(false, "IndexedFaceSet points=50451 indices=399999\n");
    EXPECT_EQ(vrml_summary(read_file(test_path("golden/vrml/loop_then_segment.wrl"))),
              "IndexedLineSet points=5 indices=6\n");
    const std::string err = dir + "stderr.txt";
    for (const std::string& p : paths) {
        const auto [status, out] = run("tovrmlx3d '" + p + "' --encoding classic 2> '" + err + "'");
        EXPECT_EQ(status, 0) << p;
        EXPECT_EQ(read_file(err), "") << p;
        EXPECT_EQ(vrml_summary(out), vrml_summary(read_file(p))) << p;
    }
}

} // namespace
} // namespace pfx_test
