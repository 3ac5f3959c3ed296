// Both ".mov" readers over every file of tests/data/mov/read: the transcript
// after the entry line and every object read must match expected.txt. Then
// what no stored file can show: open failures, null arguments, progress and
// every allocation failure.
#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

using pfx_test::Line;
using pfx_test::printable;
using pfx_test::wide;

namespace {

const std::string kDir = pfx_test::test_path("data/mov/read/");

// Sections of a text file: "== name" starts one, "#" lines are comments.
std::map<std::string, std::string> sections(const std::string& path)
{
    std::map<std::string, std::string> out;
    std::ifstream in(path);
    std::string line, *cur = nullptr;
    while (std::getline(in, line))
        if (line.rfind("== ", 0) == 0) cur = &out[line.substr(3)];
        else if (cur && line.rfind("#", 0) != 0) *cur += line + "\n";
    return out;
}

// One line per message: flag letter and text; memory lines lose the source
// line number, which moves with every edit of the library.
std::string render(const std::vector<Line>& lines)
{
    std::string out;
    for (size_t i = 1; i < lines.size(); ++i) {
        const unsigned f = lines[i].flag;
        std::wstring text = lines[i].text;
        if (f == MSG_MEMORY) text = text.substr(text.find(L" of ") + 4);
        out += f == MSG_TRACE ? "T " : f == MSG_USER ? "U " : f == MSG_PROGRESS ? "P " : f == MSG_MEMORY ? "M " : "? ";
        out += printable(text) + "\n";
    }
    return out;
}

std::string dump(const Movie_Objs& o)
{
    char buf[200];
    std::snprintf(buf, sizeof buf, "object %s flags=0x%X pos_done=%d\n",
                  o.Name ? printable(o.Name).c_str() : "(null)", o.Flags, o.Pos_Done);
    std::string out = buf;
    auto ints = [&](const char* label, const int* v, int n) {
        out += n > 0 ? label : "";
        for (int i = 0; i < n; ++i) out += ' ' + std::to_string(v[i]);
        out += '\n';
    };
    for (const Movie_Node& n : std::vector<Movie_Node>(o.Node_Pt, o.Node_Pt + o.Node_Nb)) {
        std::snprintf(buf, sizeof buf, "  n %g %g %g", n.Coord.x, n.Coord.y, n.Coord.z);
        out += buf;
        if (std::memcmp(&n.Coord, &n.Pos, sizeof n.Pos) != 0 || n.Coord.w != 0 || n.Mark || n.New_Id ||
            (n.Poly_Id == nullptr) != (n.Poly_Id_Nb == 0))
            out += " (Pos, w, Mark, New_Id or Poly_Id set)";
        ints(" links", n.Poly_Id, n.Poly_Id_Nb);
    }
    for (const Movie_Poly& p : std::vector<Movie_Poly>(o.Poly_Pt, o.Poly_Pt + o.Poly_Nb)) {
        out += "  p";
        ints("", p.Node_Id, std::min(p.Node_Id_Nb, 4));
    }
    EXPECT_EQ(o.Path ? std::wstring(o.Path) : L"", wide(kDir));
    EXPECT_EQ(o.Node_Pt == nullptr, o.Node_Nb == 0);
    EXPECT_EQ(o.Poly_Pt == nullptr, o.Poly_Nb == 0);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(o.Matrix[r][c], r == c ? 1.0 : 0.0);
    return out;
}

Line entry(const std::wstring& op, const std::wstring& dir, const std::wstring& name)
{
    return {MSG_TRACE, L">>> in  " + op + L"(" + dir + L"," + name + L")"};
}

class MovieRead : public pfx_test::PfxTest {
protected:
    // Both readers on dir/name.mov: their transcripts and objects as text.
    std::string read_both(const std::string& dir, const std::string& name)
    {
        sink.clear();
        Movie_Objs* obj = Movie_Read(wide(dir).c_str(), wide(name).c_str());
        EXPECT_EQ(sink.lines().at(0), entry(L"Movie_Read", wide(dir), wide(name)));
        std::string out = "-- Movie_Read\n" + render(sink.lines()) + (obj ? dump(*obj) : "");
        pfx_test::free_object(obj);
        sink.clear();
        Movie_Objs** list = reinterpret_cast<Movie_Objs**>(1); // must come back null on failure
        int n = Movie_Read_Merge(wide(dir).c_str(), wide(name).c_str(), &list);
        EXPECT_EQ(sink.lines().at(0), entry(L"Movie_Read_Merge", wide(dir), wide(name)));
        EXPECT_EQ(list == nullptr, n == 0);
        out += "-- Movie_Read_Merge\n" + render(sink.lines());
        for (int k = 0; k < n; ++k) out += dump(*list[k]);
        pfx_test::free_object_list(list, n);
        return out;
    }
};

TEST_F(MovieRead, EveryStoredFileGivesItsExpectedTranscriptAndObjects)
{
    std::map<std::string, std::string> expected = sections(kDir + "expected.txt");
    size_t files = 0;
    DIR* d = opendir(kDir.c_str());
    ASSERT_NE(d, nullptr);
    while (dirent* e = readdir(d)) {
        std::string n = e->d_name;
        // ".mov" itself is the file of an empty name.
        if (n.size() < 4 || n.compare(n.size() - 4, 4, ".mov") != 0) continue;
        n.resize(n.size() - 4);
        SCOPED_TRACE(n);
        ++files;
        EXPECT_EQ(read_both(kDir, n), expected[n]);
    }
    closedir(d);
    EXPECT_EQ(files, expected.size());
    EXPECT_GE(files, 60u);
}

TEST_F(MovieRead, OpenFailureNamesTheDirectoryAndTheFile)
{
    // Without its trailing separator the directory names another file.
    const std::string bare = kDir.substr(0, kDir.size() - 1);
    const std::wstring why = Error_Perror(ENOENT);
    const std::string block = "U \\xF1\\x04ERROR:\\x02 Unable to open file!\nU \\xF1\\x09 dir:\\x01" + bare +
                              "\nU \\xF1\\x09 file\\x01example\nU \\xF1\\x09 " + printable(why) + "\n";
    EXPECT_EQ(read_both(bare, "example"), "-- Movie_Read\n" + block + "T <<< out Movie_Read(! fil_mov)\n" +
                                              "-- Movie_Read_Merge\n" + block +
                                              "T <<< out Movie_Read_Merge(! fil_mov)\n");
    EXPECT_EQ(std::wstring(Kren_Err_Str), why);
}

TEST_F(MovieRead, NullDirectoryAddsNothingAndANullResultIsRefused)
{
    EXPECT_EQ(Movie_Read(nullptr, L"no_such_file_here"), nullptr);
    EXPECT_EQ(sink.lines().front(), entry(L"Movie_Read", L"(null)", L"no_such_file_here"));
    EXPECT_EQ(sink.lines().back(), (Line{MSG_TRACE, L"<<< out Movie_Read(! fil_mov)"}));
    EXPECT_EQ(Movie_Read_Merge(L"/", L"x", nullptr), 0);
    EXPECT_EQ(sink.lines().back(), (Line{MSG_TRACE, L"<<< out Movie_Read_Merge(! out)"}));
}

TEST_F(MovieRead, ProgressPingsEvery256AndAddsUpToThePlan)
{
    static long long start, inc, starts, ping_on, ping_off;
    Util_Progress_Start = [](int total) { start = total, ++starts; };
    Util_Progress_Inc = [](int amount) { inc += amount; };
    Util_Progress_PingPong = [](float w) { ++(w == 1.0f ? ping_on : ping_off); };
    const std::string dir = pfx_test::temp_dir();
    std::string body;
    for (int i = 0; i < 300; ++i) body += std::to_string(i) + " 0 0\n";
    pfx_test::write_file(dir + "one.mov", "1 300 2 5\n1 2\n" + body + "1 2 -3\n299 -300\n");
    pfx_test::write_file(dir + "two.mov", "2 300 2 5\n1 1\n2 2\n" + body + "1 2 -3\n299 -300\n");
    pfx_test::ObjectPtr obj(Movie_Read(wide(dir).c_str(), L"one"));
    ASSERT_TRUE(obj);
    // Nodes 0 and 256, connectivity position 0, split position 0.
    EXPECT_EQ(ping_on, 4);
    EXPECT_EQ(ping_off + starts + inc, 0);
    start = inc = starts = ping_on = ping_off = 0;
    Movie_Objs** list = nullptr;
    EXPECT_EQ(Movie_Read_Merge(wide(dir).c_str(), L"two", &list), 2);
    pfx_test::free_object_list(list, 2);
    Util_Progress_Start = nullptr, Util_Progress_Inc = nullptr, Util_Progress_PingPong = nullptr;
    EXPECT_EQ(starts, 1);
    // nodes + 2 connect + per object (nodes + 2 polygons).
    EXPECT_EQ(start, 300 + 2 * 5 + (300 + 2) + (300 + 2));
    // 256 per started block of nodes, the connectivity, the polygons, then per
    // object its polygons three times and the file's nodes once.
    EXPECT_EQ(inc, 512 + 5 + 2 + (3 * 1 + 300) + (3 * 1 + 300));
    // Stage ends: connectivity, split, and four per object.
    EXPECT_EQ(ping_off, 2 + 4 * 2);
    // Nodes 0, 256; connectivity 0; split 0; per object: polygon 0 of the
    // assignment, nodes 0 and 256 of the walk, polygon 0 of the renumbering
    // and of the links.
    EXPECT_EQ(ping_on, 2 + 1 + 1 + 2 * 5);
}

// Every run of the sweep as text: the transcript of the failing read, then
// what it returned. Expected runs are in alloc_failures.txt.
TEST_F(MovieRead, EveryAllocationFailureIsReportedAndReleased)
{
    // In the second file node 1 is used by 17 polygons of object 1, so its
    // link list grows once and is trimmed; object 2 holds a quad.
    std::map<std::string, std::string> expected = sections(pfx_test::test_path("data/mov/alloc_failures.txt"));
    std::string got;
    pfx_test::for_each_alloc_failure([&](long n) {
        sink.clear();
        pfx_test::ObjectPtr obj(Movie_Read(wide(kDir).c_str(), L"example_merged"));
        got += "-- " + std::to_string(n) + "\n" + render(sink.lines()) + (obj ? "=> object\n" : "");
    });
    EXPECT_EQ(got, expected["Movie_Read"]);
    got.clear();
    pfx_test::for_each_alloc_failure([&](long n) {
        sink.clear();
        Movie_Objs** list = nullptr;
        int count = Movie_Read_Merge(wide(kDir).c_str(), L"links_grow_and_trim", &list);
        EXPECT_EQ(list == nullptr, count == 0);
        pfx_test::free_object_list(list, count);
        // Only the failing line and what follows it.
        std::vector<Line> lines = sink.lines();
        size_t m = 1;
        while (m < lines.size() && lines[m].flag != MSG_MEMORY) ++m;
        lines.erase(lines.begin() + 1, lines.begin() + std::min(m, lines.size() - 1));
        got += "-- " + std::to_string(n) + "\n" + render(lines) + "=> " + std::to_string(count) + "\n";
    });
    EXPECT_EQ(got, expected["Movie_Read_Merge"]);
}

} // namespace
