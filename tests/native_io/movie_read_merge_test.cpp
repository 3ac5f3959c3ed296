#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "native_io/mov_cases.h"

using namespace mov_test;
using pfx_test::wide;

namespace {

// The objects of one read, released with the list.
struct ReadList {
    Movie_Objs** list = nullptr;
    int count = 0;
    ~ReadList() { pfx_test::free_object_list(list, count); }
    Movie_Objs& operator[](int k) const { return *list[k]; }
};

class MovieReadMerge : public pfx_test::PfxTest {
protected:
    // Writes text as dir/name.mov and reads it into r.
    int read(ReadList& r, const std::string& text, const std::string& name = "cube")
    {
        dir = pfx_test::temp_dir();
        pfx_test::write_file(dir + name + ".mov", text);
        r.list = reinterpret_cast<Movie_Objs**>(1); // must come back null on failure
        r.count = Movie_Read_Merge(wide(dir).c_str(), wide(name).c_str(), &r.list);
        return r.count;
    }
    std::vector<Line> ended(const std::vector<Line>& middle, const std::wstring& reason)
    {
        std::vector<Line> all = {reader_entry(L"Movie_Read_Merge", wide(dir), L"cube")};
        all = join(all, middle);
        all.push_back(reader_exit(L"Movie_Read_Merge", reason));
        return all;
    }
    // The four progress notes of a complete read.
    static std::vector<Line> notes(const std::wstring& nodes, const std::wstring& connect)
    {
        return {progress(L"-> Reading " + nodes + L" nodes"),
                progress(L"-> Reading " + connect + L" connectivity"),
                progress(L"-> assigning polygons to objects"),
                progress(L"-> Computing node connectivity")};
    }
    std::string dir;
};

std::vector<int> corners(const Movie_Poly& p)
{
    return std::vector<int>(p.Node_Id, p.Node_Id + p.Node_Id_Nb);
}
std::vector<int> links(const Movie_Node& n)
{
    return std::vector<int>(n.Poly_Id, n.Poly_Id + n.Poly_Id_Nb);
}
std::vector<float> xyz(const Movie_Node& n)
{
    return {n.Coord.x, n.Coord.y, n.Coord.z, n.Pos.x, n.Pos.y, n.Pos.z};
}

TEST_F(MovieReadMerge, SplitsTheExampleIntoNamedObjects)
{
    ReadList r;
    ASSERT_EQ(read(r, example_multi()), 2);
    EXPECT_EQ(sink.lines(), ended(notes(L"7", L"7"), L"done"));
    Movie_Objs& a = r[0];
    Movie_Objs& b = r[1];
    EXPECT_EQ(std::wstring(a.Name), L"cube.1");
    EXPECT_EQ(std::wstring(b.Name), L"cube.2");
    EXPECT_EQ(std::wstring(b.Path), wide(dir));
    EXPECT_EQ(a.Flags, GEOM_POLY | 0x21u);
    EXPECT_EQ(a.Pos_Done, 1);
    EXPECT_EQ(b.Matrix[3][3], 1.0);
    ASSERT_EQ(a.Node_Nb, 3);
    ASSERT_EQ(a.Poly_Nb, 1);
    EXPECT_EQ(corners(a.Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(links(a.Node_Pt[2]), std::vector<int>{0});
    ASSERT_EQ(b.Node_Nb, 4);
    EXPECT_EQ(xyz(b.Node_Pt[0]), (std::vector<float>{0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(xyz(b.Node_Pt[2]), (std::vector<float>{1, 1, 1, 1, 1, 1}));
    ASSERT_EQ(b.Poly_Nb, 2);
    EXPECT_EQ(corners(b.Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(corners(b.Poly_Pt[1]), (std::vector<int>{0, 2, 3}));
    // The links were built before the quad was split.
    EXPECT_EQ(links(b.Node_Pt[3]), std::vector<int>{0});
    EXPECT_EQ(b.Node_Pt[0].Mark, 0u);
    EXPECT_EQ(b.Node_Pt[3].New_Id, 0);
}

TEST_F(MovieReadMerge, OneObjectKeepsTheNameAndDropsUnusedNodes)
{
    ReadList r;
    ASSERT_EQ(read(r, "1 4 1 3\n1 1\n9 9 9\n0 0 0\n1 0 0\n0 1 0\n2 3 -4\n"), 1);
    EXPECT_EQ(std::wstring(r[0].Name), L"cube");
    ASSERT_EQ(r[0].Node_Nb, 3);
    EXPECT_EQ(r[0].Node_Pt[0].Coord.x, 0.0f);
    EXPECT_EQ(corners(r[0].Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
}

TEST_F(MovieReadMerge, SharedNodesAndOverlappingRangesAreCopied)
{
    ReadList r;
    // Node 3 is used by both objects; polygon 2 belongs to both ranges.
    ASSERT_EQ(read(r, "2 5 3 8\n1 2\n2 3\n0 0 0\n1 0 0\n2 0 0\n3 0 0\n4 0 0\n"
                      "1 2 -3\n3 -4\n3 4 -5\n"),
              2);
    ASSERT_EQ(r[0].Node_Nb, 4);
    ASSERT_EQ(r[1].Node_Nb, 3);
    EXPECT_EQ(r[1].Node_Pt[0].Coord.x, 2.0f);
    EXPECT_EQ(corners(r[0].Poly_Pt[1]), (std::vector<int>{2, 3}));
    EXPECT_EQ(corners(r[1].Poly_Pt[0]), (std::vector<int>{0, 1}));
    EXPECT_EQ(corners(r[1].Poly_Pt[1]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(links(r[1].Node_Pt[0]), (std::vector<int>{0, 1}));
    EXPECT_EQ(r[0].Flags, GEOM_LINE | GEOM_POLY | 0x21u);
}

TEST_F(MovieReadMerge, ZeroCountsEndWithTheTraceLineOnly)
{
    ReadList r;
    for (const char* head : {"1 3 1 0\n", "1 0 1 3\n", "1 3 0 3\n", "0 3 1 3\n"}) {
        sink.clear();
        EXPECT_EQ(read(r, std::string(head) + "1 1\n0 0 0\n1 0 0\n0 1 0\n1 2 -3\n"), 0);
        EXPECT_EQ(r.list, nullptr);
        EXPECT_EQ(sink.lines(), ended({}, L"! nb_obj or node or..."));
    }
}

TEST_F(MovieReadMerge, NegativeObjectCountIsAnotherType)
{
    ReadList r;
    EXPECT_EQ(read(r, "-1 3 1 3\n"), 0);
    EXPECT_EQ(sink.lines(), ended(join(unreadable(L"cube"),
                                       {user(L"\xF1\t MOVIE file must be of type surface"),
                                        user(L"\xF1\t nb_obj param. must be greater than 0")}),
                                  L"nb_obj < 0"));
}

TEST_F(MovieReadMerge, RejectsABigPolygonInsideAnObject)
{
    ReadList r;
    EXPECT_EQ(read(r, "2 5 2 8\n1 1\n2 2\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 2 0\n1 2 -3\n1 2 3 4 -5\n"), 0);
    EXPECT_EQ(r.list, nullptr);
    EXPECT_EQ(sink.lines(),
              ended(join({progress(L"-> Reading 5 nodes"), progress(L"-> Reading 8 connectivity"),
                          progress(L"-> assigning polygons to objects")},
                         {user(L"\xF1\x04" L"ERROR:\x02 Bad polygon in file!"),
                          user(L"\xF1\t \x01" L"cube.mov"),
                          user(L"\xF1\t polygon \x01" L"2\x02 has \x01" L"5\x02 sides")}),
                    L"bad polygon"));
}

TEST_F(MovieReadMerge, ABigPolygonOutsideEveryRangeIsNeverUsed)
{
    ReadList r;
    EXPECT_EQ(read(r, "1 5 2 8\n1 1\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 2 0\n1 2 -3\n1 2 3 4 -5\n"), 1);
    EXPECT_EQ(r[0].Poly_Nb, 1);
}

TEST_F(MovieReadMerge, SurplusPolygonsAreSkippedAndMissingOnesStayEmpty)
{
    ReadList r;
    ASSERT_EQ(read(r, "1 3 1 6\n1 1\n0 0 0\n1 0 0\n0 1 0\n1 2 -3\n3 2 -1\n"), 1);
    EXPECT_EQ(r[0].Poly_Nb, 1);
    EXPECT_EQ(corners(r[0].Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    ReadList s;
    ASSERT_EQ(read(s, "1 3 2 3\n1 2\n0 0 0\n1 0 0\n0 1 0\n1 2 -3\n"), 1);
    ASSERT_EQ(s[0].Poly_Nb, 2);
    EXPECT_EQ(s[0].Poly_Pt[1].Node_Id_Nb, 0);
    EXPECT_EQ(s[0].Poly_Pt[1].Node_Id[0], 0);
}

TEST_F(MovieReadMerge, AnEmptyRangeIsAnObjectWithoutPolygons)
{
    ReadList r;
    // As the writer gives an object without polygons: stop one below start.
    ASSERT_EQ(read(r, "2 3 1 3\n1 1\n2 1\n0 0 0\n1 0 0\n0 1 0\n1 2 -3\n"), 2);
    EXPECT_EQ(r[1].Poly_Nb, 0);
    EXPECT_EQ(r[1].Poly_Pt, nullptr);
    EXPECT_EQ(r[1].Node_Nb, 0);
    EXPECT_EQ(r[1].Node_Pt, nullptr);
    EXPECT_EQ(r[1].Flags, 0x21u);
    EXPECT_EQ(std::wstring(r[1].Name), L"cube.2");
}

TEST_F(MovieReadMerge, RejectsRangesOutsideThePolygonList)
{
    const std::string body = "0 0 0\n1 0 0\n0 1 0\n1 2 -3\n";
    for (const char* parts : {"0 1\n", "1 2\n", "1 -1\n", "3 1\n"}) {
        ReadList r;
        sink.clear();
        EXPECT_EQ(read(r, std::string("1 3 1 3\n") + parts + body), 0);
        EXPECT_EQ(r.list, nullptr);
        EXPECT_EQ(sink.lines().back(), reader_exit(L"Movie_Read_Merge", L"bad part")) << parts;
    }
    ReadList r;
    sink.clear();
    read(r, "1 3 1 3\n1 2\n" + body);
    EXPECT_EQ(sink.lines(),
              ended(join(unreadable(L"cube"),
                         {user(L"\xF1\t part \x01" L"1\x02 (polygons \x01" L"1\x02 to \x01" L"2\x02) "
                               L"lies outside the \x01" L"1\x02 polygons")}),
                    L"bad part"));
}

TEST_F(MovieReadMerge, ANodeOfTwentyTrianglesHasTwentyLinks)
{
    std::string text = "1 21 20 60\n1 20\n0 0 0\n";
    for (int i = 0; i < 20; ++i) text += std::to_string(i) + " 1 0\n";
    for (int i = 0; i < 20; ++i)
        text += "1 " + std::to_string(i + 2) + " -" + std::to_string(i == 19 ? 2 : i + 3) + "\n";
    ReadList r;
    ASSERT_EQ(read(r, text), 1);
    std::vector<int> expect;
    for (int i = 0; i < 20; ++i) expect.push_back(i);
    EXPECT_EQ(links(r[0].Node_Pt[0]), expect);
    EXPECT_EQ(links(r[0].Node_Pt[1]), (std::vector<int>{0, 19}));
}

// Progress amounts of one read.
struct Progress {
    static inline long long start = 0, inc = 0;
    static inline int starts = 0, ping_on = 0, ping_off = 0;
    Progress()
    {
        start = inc = 0;
        starts = ping_on = ping_off = 0;
        Util_Progress_Start = [](int total) { start = total, ++starts; };
        Util_Progress_Inc = [](int amount) { inc += amount; };
        Util_Progress_PingPong = [](float w) { (w == 1.0f ? ping_on : ping_off)++; };
    }
    ~Progress()
    {
        Util_Progress_Start = nullptr;
        Util_Progress_Inc = nullptr;
        Util_Progress_PingPong = nullptr;
    }
};

TEST_F(MovieReadMerge, ProgressAddsUpToThePlan)
{
    std::string text = "2 300 2 5\n1 1\n2 2\n";
    for (int i = 0; i < 300; ++i) text += std::to_string(i) + " 0 0\n";
    text += "1 2 -3\n299 -300\n";
    ReadList r;
    Progress p;
    ASSERT_EQ(read(r, text), 2);
    EXPECT_EQ(Progress::starts, 1);
    // nodes + 2 connect + per object (nodes + 2 polygons).
    EXPECT_EQ(Progress::start, 300 + 2 * 5 + (300 + 2) + (300 + 2));
    // 256 per started block of nodes, the connectivity, the polygons, then per
    // object its polygons three times and the file's nodes once.
    EXPECT_EQ(Progress::inc, 512 + 5 + 2 + (3 * 1 + 300) + (3 * 1 + 300));
    // Stage ends: connectivity, split, and four per object.
    EXPECT_EQ(Progress::ping_off, 2 + 4 * 2);
    // Nodes 0, 256; connectivity 0; split 0; per object: polygon 0 of the
    // assignment, nodes 0 and 256 of the walk, polygon 0 of the renumbering
    // and of the links.
    EXPECT_EQ(Progress::ping_on, 2 + 1 + 1 + 2 * 5);
}

TEST_F(MovieReadMerge, ReadsWindowsLineEnds)
{
    std::string crlf;
    for (char c : example_multi()) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    ReadList r;
    ASSERT_EQ(read(r, crlf), 2);
    EXPECT_EQ(r[1].Node_Nb, 4);
    EXPECT_EQ(r[1].Poly_Nb, 2);
}

TEST_F(MovieReadMerge, OpenFailureLeavesTheResultNull)
{
    dir = pfx_test::temp_dir();
    Movie_Objs** list = reinterpret_cast<Movie_Objs**>(1);
    EXPECT_EQ(Movie_Read_Merge(wide(dir).c_str(), L"cube", &list), 0);
    EXPECT_EQ(list, nullptr);
    const std::wstring why = Error_Perror(ENOENT);
    EXPECT_EQ(sink.lines(),
              ended({user(L"\xF1\x04" L"ERROR:\x02 Unable to open file!"), user(L"\xF1\t dir:\x01" + wide(dir)),
                     user(L"\xF1\t file\x01" L"cube"), user(L"\xF1\t " + why)},
                    L"! fil_mov"));
}

TEST_F(MovieReadMerge, RefusesANullResultPointer)
{
    EXPECT_EQ(Movie_Read_Merge(L"/", L"x", nullptr), 0);
    EXPECT_EQ(sink.lines().back(), reader_exit(L"Movie_Read_Merge", L"! out"));
}

TEST_F(MovieReadMerge, EveryAllocationFailureIsReportedAndReleased)
{
    dir = pfx_test::temp_dir();
    // Node 1 is used by 17 polygons of object 1, so its link list grows once
    // and is trimmed; object 2 holds a quad.
    std::string text = "2 22 19 58\n1 17\n18 19\n0 0 0\n";
    for (int i = 0; i < 17; ++i) text += std::to_string(i) + " 1 0\n";
    text += "0 0 1\n1 0 1\n1 1 1\n0 1 1\n";
    for (int i = 0; i < 17; ++i)
        text += "1 " + std::to_string(i + 2) + " -" + std::to_string(i == 16 ? 2 : i + 3) + "\n";
    text += "19 20 -21\n19 20 21 -22\n";
    pfx_test::write_file(dir + "cube.mov", text);
    std::vector<std::wstring> seen;
    int runs = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        Movie_Objs** list = nullptr;
        int n = Movie_Read_Merge(wide(dir).c_str(), L"cube", &list);
        const std::vector<Line>& lines = sink.lines();
        Line memory{0, L""};
        for (const Line& l : lines)
            if (l.flag == MSG_MEMORY) memory = l;
        if (memory.flag != 0) {
            seen.push_back(memory.text.substr(memory.text.find(L"\n") + 1));
            bool split = seen.back().find(L"mov->Poly_Pt") != std::wstring::npos;
            EXPECT_EQ(memory_module(memory), split ? L"movie_func" : L"movie_read");
        }
        if (n == 0) {
            EXPECT_EQ(list, nullptr);
            EXPECT_NE(lines.back().flag, MSG_TRACE); // no exit line after a memory error
            EXPECT_EQ(lines.back().flag, MSG_MEMORY);
        } else {
            EXPECT_EQ(lines.back(), reader_exit(L"Movie_Read_Merge", L"done"));
        }
        pfx_test::free_object_list(list, n);
    });
    std::vector<std::wstring> own;
    for (const std::wstring& s : seen)
        if (s.find(L"var=buffer") == std::wstring::npos) own.push_back(s);
    EXPECT_EQ(runs, static_cast<int>(seen.size()));
    const std::wstring links = L"((*obj)[k]->Node_Pt)[jj].Poly_Id";
    std::vector<std::wstring> expect = {
        L"calloc (var=*obj, dim=2x8)",
        L"calloc (var=(*obj)[k], dim=1x288)",
        L"calloc (var=(*obj)[k], dim=1x288)",
        L"malloc (var=part_start, dim=2x4)",
        L"malloc (var=part_stop, dim=2x4)",
        L"calloc (var=node, dim=22x96)",
        L"malloc (var=connect, dim=58x4)",
        L"calloc (var=poly, dim=19x120)",
        L"calloc (var=(*obj)[k]->Poly_Pt, dim=17x120)",
        L"calloc (var=(*obj)[k]->Poly_Pt, dim=2x120)",
        L"calloc (var=(*obj)[k]->Node_Pt, dim=18x96)",
    };
    for (int i = 0; i < 18; ++i) expect.push_back(L"malloc (var=" + links + L", dim=16x4)");
    expect.push_back(L"realloc (var=" + links + L", dim=32x4)");
    expect.push_back(L"realloc (var=" + links + L", dim=17x4)");
    for (int i = 1; i < 18; ++i) expect.push_back(L"realloc (var=" + links + L", dim=2x4)");
    expect.push_back(L"calloc (var=(*obj)[k]->Node_Pt, dim=4x96)");
    for (int i = 0; i < 4; ++i) expect.push_back(L"malloc (var=" + links + L", dim=16x4)");
    for (int i = 0; i < 4; ++i) expect.push_back(L"realloc (var=" + links + L", dim=" + (i < 3 ? L"2" : L"1") + L"x4)");
    expect.push_back(L"_wcsdup (var=(*obj)[k]->Name)");
    expect.push_back(L"_wcsdup (var=(*obj)[k]->Path)");
    expect.push_back(L"_wcsdup (var=(*obj)[k]->Name)");
    expect.push_back(L"_wcsdup (var=(*obj)[k]->Path)");
    expect.push_back(L"realloc (var=mov->Poly_Pt, dim=3x120)");
    for (std::wstring& e : expect) e = L"memory error in " + e;
    EXPECT_EQ(own, expect);
}

} // namespace
