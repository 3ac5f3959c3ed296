#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "native_io/mov_cases.h"

using namespace mov_test;
using pfx_test::ObjectPtr;
using pfx_test::wide;

namespace {

class MovieRead : public pfx_test::PfxTest {
protected:
    // Writes text as dir/name.mov and reads it back.
    Movie_Objs* read(const std::string& text, const std::string& name = "cube")
    {
        dir = pfx_test::temp_dir();
        pfx_test::write_file(dir + name + ".mov", text);
        return Movie_Read(wide(dir).c_str(), wide(name).c_str());
    }
    // The transcript of a read that ends with reason after the given lines.
    std::vector<Line> ended(const std::vector<Line>& middle, const std::wstring& reason,
                            const std::wstring& name = L"cube")
    {
        std::vector<Line> all = {reader_entry(L"Movie_Read", wide(dir), name)};
        all = join(all, middle);
        all.push_back(reader_exit(L"Movie_Read", reason));
        return all;
    }
    std::string dir;
};

std::vector<int> corners(const Movie_Poly& p)
{
    return std::vector<int>(p.Node_Id, p.Node_Id + p.Node_Id_Nb);
}

TEST_F(MovieRead, ReadsTheMergedExampleAsOneObject)
{
    ObjectPtr obj(read(example_merged()));
    ASSERT_TRUE(obj);
    EXPECT_EQ(sink.lines(), ended({}, L"done"));
    EXPECT_EQ(obj->Flags, GEOM_POLY | FROM_MOV | SURFACE);
    EXPECT_EQ(obj->Pos_Done, 1);
    EXPECT_EQ(std::wstring(obj->Name), L"cube");
    EXPECT_EQ(std::wstring(obj->Path), wide(dir));
    ASSERT_EQ(obj->Node_Nb, 7);
    const Movie_Node& n6 = obj->Node_Pt[5];
    EXPECT_EQ(n6.Coord.x, 1.0f);
    EXPECT_EQ(n6.Coord.y, 1.0f);
    EXPECT_EQ(n6.Coord.z, 1.0f);
    EXPECT_EQ(n6.Coord.w, 0.0f);
    EXPECT_EQ(std::memcmp(&n6.Coord, &n6.Pos, sizeof(Vector_4)), 0);
    EXPECT_EQ(n6.Poly_Id, nullptr);
    // The quad comes back as two triangles, the second appended.
    ASSERT_EQ(obj->Poly_Nb, 3);
    EXPECT_EQ(corners(obj->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(corners(obj->Poly_Pt[1]), (std::vector<int>{3, 4, 5}));
    EXPECT_EQ(corners(obj->Poly_Pt[2]), (std::vector<int>{3, 5, 6}));
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(obj->Matrix[r][c], r == c ? 1.0 : 0.0);
}

TEST_F(MovieRead, OpensDirectoryPlusNamePlusExtension)
{
    dir = pfx_test::temp_dir();
    pfx_test::write_file(dir + "cube.mov", example_merged());
    // Without its trailing separator the directory names another file.
    std::wstring bare = wide(dir.substr(0, dir.size() - 1));
    EXPECT_EQ(Movie_Read(bare.c_str(), L"cube"), nullptr);
    const std::wstring why = Error_Perror(ENOENT);
    EXPECT_EQ(sink.lines(),
              (std::vector<Line>{reader_entry(L"Movie_Read", bare, L"cube"),
                                 user(L"\xF1\x04" L"ERROR:\x02 Unable to open file!"),
                                 user(L"\xF1\t dir:\x01" + bare), user(L"\xF1\t file\x01" L"cube"),
                                 user(L"\xF1\t " + why), reader_exit(L"Movie_Read", L"! fil_mov")}));
    EXPECT_EQ(std::wstring(Kren_Err_Str), why);
}

TEST_F(MovieRead, RejectsEachHeaderKindWithItsLines)
{
    EXPECT_EQ(read("    -1      3      1      3 \n     1      1 \n"), nullptr);
    EXPECT_EQ(sink.lines(), ended(join(unreadable(L"cube"),
                                       {user(L"\xF1\t MOVIE file must be of type surface"),
                                        user(L"\xF1\t nb_obj param. must be greater than 0")}),
                                  L"nb_obj < 0"));
    sink.clear();
    EXPECT_EQ(read("     0      3      1      3 \n"), nullptr);
    EXPECT_EQ(sink.lines(), ended({}, L"! nb_obj"));
    sink.clear();
    EXPECT_EQ(read(example_multi()), nullptr);
    EXPECT_EQ(sink.lines(), ended(join(unreadable(L"cube"),
                                       {user(L"\xF1\t MOVIE file must have only one object"),
                                        user(L"\xF1\t nb_obj param. must be equal to 1")}),
                                  L"nb_obj > 1"));
}

TEST_F(MovieRead, NegativeFirstNumberMeansAnotherTypeWhateverFollows)
{
    EXPECT_EQ(read("-1\nsomething else entirely\n"), nullptr);
    EXPECT_EQ(sink.lines().back(), reader_exit(L"Movie_Read", L"nb_obj < 0"));
}

TEST_F(MovieRead, RejectsABackwardOrEmptyPartLineQuietly)
{
    const std::string nodes = "0 0 0\n1 0 0\n0 1 0\n1 2 -3\n";
    EXPECT_EQ(read("1 3 1 3\n3 2\n" + nodes), nullptr);
    EXPECT_EQ(sink.lines(), ended({}, L"part_stop < part_start"));
    sink.clear();
    EXPECT_EQ(read("1 3 1 3\n0 0\n" + nodes), nullptr);
    EXPECT_EQ(sink.lines(), ended({}, L"part_stop < part_start"));
}

TEST_F(MovieRead, RejectsAPolygonOfFiveNodes)
{
    EXPECT_EQ(read("1 5 2 8\n1 2\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 2 0\n1 2 -3\n1 2 3 4 -5\n"), nullptr);
    EXPECT_EQ(sink.lines(), ended({user(L"\xF1\x04" L"ERROR:\x02 Bad polygon in file!"),
                                   user(L"\xF1\t \x01" L"cube.mov"),
                                   user(L"\xF1\t polygon \x01" L"2\x02 has \x01" L"5\x02 sides")},
                                  L"bad polygon"));
}

TEST_F(MovieRead, SurplusPolygonsAreCountedAndStillSized)
{
    const std::string head = "1 3 1 6\n1 1\n0 0 0\n1 0 0\n0 1 0\n";
    EXPECT_EQ(read(head + "1 2 -3\n1 2 -3\n"), nullptr);
    EXPECT_EQ(sink.lines(), ended({user(L"\xF1\x04" L"ERROR:\x02 Bad polygon count in file!"),
                                   user(L"\xF1\t \x01" L"cube.mov"),
                                   user(L"\xF1\t expecting \x01" L"1\x02 polygon but read \x01" L"2\x02")},
                                  L"k != nb_poly"));
    sink.clear();
    // A surplus polygon of six nodes is not stored but still rejected as such.
    EXPECT_EQ(read("1 3 1 9\n1 1\n0 0 0\n1 0 0\n0 1 0\n1 2 -3\n1 2 3 1 2 -3\n"), nullptr);
    EXPECT_EQ(sink.lines().back(), reader_exit(L"Movie_Read", L"bad polygon"));
    EXPECT_EQ(sink.lines()[3].text, L"\xF1\t polygon \x01" L"2\x02 has \x01" L"6\x02 sides");
}

TEST_F(MovieRead, AnEmptyPolygonLineLosesOnePolygon)
{
    // As the writer writes a polygon without nodes: an empty line.
    EXPECT_EQ(read("     1      3      2      3 \n     1      2 \n0 0 0\n1 0 0\n0 1 0\n"
                   "     1      2     -3 \n\n"),
              nullptr);
    EXPECT_EQ(sink.lines()[3].text,
              L"\xF1\t expecting \x01" L"2\x02 polygon but read \x01" L"1\x02");
}

TEST_F(MovieRead, ReadsNodesWithoutPolygons)
{
    ObjectPtr obj(read("1 3 0 0\n1 1\n0 0 0\n1 0 0\n0 1 0\n"));
    ASSERT_TRUE(obj);
    EXPECT_EQ(obj->Node_Nb, 3);
    EXPECT_EQ(obj->Poly_Nb, 0);
    EXPECT_EQ(obj->Poly_Pt, nullptr);
    EXPECT_EQ(obj->Flags, FROM_MOV | SURFACE);
}

TEST_F(MovieRead, CollectsOneGeometryBitPerCornerCount)
{
    ObjectPtr obj(read("1 4 3 6\n1 3\n0 0 0\n1 0 0\n0 1 0\n1 1 1\n-4\n1 -2\n1 2 -3\n"));
    ASSERT_TRUE(obj);
    EXPECT_EQ(obj->Flags, GEOM_POINT | GEOM_LINE | GEOM_POLY | 0x21u);
    EXPECT_EQ(corners(obj->Poly_Pt[0]), std::vector<int>{3});
    EXPECT_EQ(corners(obj->Poly_Pt[1]), (std::vector<int>{0, 1}));
}

TEST_F(MovieRead, ReadsEveryNumberFormThatScanfReads)
{
    ObjectPtr obj(read("+1 3 1 3\n+1 +1\n1e-3 -2 +.5\n0x1p-2 2.5E+1 -0\ninf -INF 7.\n1 +2 -3"));
    ASSERT_TRUE(obj);
    const Movie_Node* n = obj->Node_Pt;
    EXPECT_EQ(n[0].Coord.x, 1e-3f);
    EXPECT_EQ(n[0].Coord.y, -2.0f);
    EXPECT_EQ(n[0].Coord.z, 0.5f);
    EXPECT_EQ(n[1].Coord.x, 0.25f);
    EXPECT_EQ(n[1].Coord.y, 25.0f);
    EXPECT_TRUE(std::signbit(n[1].Coord.z));
    EXPECT_TRUE(std::isinf(n[2].Coord.x) && n[2].Coord.x > 0);
    EXPECT_TRUE(std::isinf(n[2].Coord.y) && n[2].Coord.y < 0);
    EXPECT_EQ(n[2].Coord.z, 7.0f);
    EXPECT_EQ(corners(obj->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
}

TEST_F(MovieRead, ReadsWindowsLineEndsAndAMissingLastLineEnd)
{
    std::string crlf;
    for (char c : example_merged()) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    ObjectPtr a(read(example_merged()));
    ObjectPtr b(read(crlf));
    std::string unended = example_merged();
    unended.pop_back();
    ObjectPtr c(read(unended));
    ASSERT_TRUE(a && b && c);
    for (Movie_Objs* o : {b.get(), c.get()}) {
        ASSERT_EQ(o->Node_Nb, a->Node_Nb);
        ASSERT_EQ(o->Poly_Nb, a->Poly_Nb);
        EXPECT_EQ(std::memcmp(o->Node_Pt, a->Node_Pt, sizeof(Movie_Node) * a->Node_Nb), 0);
        EXPECT_EQ(std::memcmp(o->Poly_Pt, a->Poly_Pt, sizeof(Movie_Poly) * a->Poly_Nb), 0);
    }
}

TEST_F(MovieRead, IgnoresTextAfterTheConnectivity)
{
    ObjectPtr obj(read(example_merged() + "whatever follows\n-1 x\n"));
    ASSERT_TRUE(obj);
    EXPECT_EQ(obj->Poly_Nb, 3);
}

TEST_F(MovieRead, EmptyNameGivesNoNameButPrintsTheExtension)
{
    ObjectPtr obj(read(example_merged(), ""));
    ASSERT_TRUE(obj);
    EXPECT_EQ(obj->Name, nullptr);
    sink.clear();
    EXPECT_EQ(read("-1 0 0 0\n", ""), nullptr);
    EXPECT_EQ(sink.lines()[2].text, L"\xF1\t \x01.mov");
}

TEST_F(MovieRead, NullDirectoryReadsTheNameAlone)
{
    // A null directory adds nothing to the path and leaves Path null.
    EXPECT_EQ(Movie_Read(nullptr, L"no_such_file_here"), nullptr);
    EXPECT_EQ(sink.lines().front(), reader_entry(L"Movie_Read", L"(null)", L"no_such_file_here"));
    EXPECT_EQ(sink.lines().back(), reader_exit(L"Movie_Read", L"! fil_mov"));
}

TEST_F(MovieRead, ReadsANonAsciiDirectoryAndName)
{
    std::string base = pfx_test::temp_dir() + "Gr\xC3\xBC\xC3\x9F" "e/";
    ASSERT_EQ(mkdir(base.c_str(), 0755), 0);
    pfx_test::write_file(base + "Gr\xC3\xBC\xC3\x9F" "e.mov", example_merged());
    ObjectPtr obj(Movie_Read(wide(base).c_str(), L"Gr\u00FC\u00DFe"));
    ASSERT_TRUE(obj);
    EXPECT_EQ(std::wstring(obj->Name), L"Gr\u00FC\u00DFe");
    EXPECT_EQ(std::wstring(obj->Path), wide(base));
    EXPECT_EQ(obj->Node_Nb, 7);
}

TEST_F(MovieRead, PingsEvery256NodesAndIntegers)
{
    static int pings;
    pings = 0;
    Util_Progress_PingPong = [](float working) { pings += working == 1.0f ? 1 : 1000; };
    std::string text = "1 300 1 3\n1 1\n";
    for (int i = 0; i < 300; ++i) text += "0 0 0\n";
    text += "1 2 -3\n";
    ObjectPtr obj(read(text));
    Util_Progress_PingPong = nullptr;
    ASSERT_TRUE(obj);
    // Nodes 0 and 256, connectivity position 0, split position 0.
    EXPECT_EQ(pings, 4);
}

TEST_F(MovieRead, EveryAllocationFailureIsReportedAndReleased)
{
    dir = pfx_test::temp_dir();
    pfx_test::write_file(dir + "cube.mov", example_merged());
    std::vector<std::wstring> seen;
    int runs = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        Movie_Objs* obj = Movie_Read(wide(dir).c_str(), L"cube");
        const std::vector<Line>& lines = sink.lines();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[0], reader_entry(L"Movie_Read", wide(dir), L"cube"));
        if (lines[1].flag != MSG_MEMORY) {
            // The last run, in which nothing failed.
            EXPECT_EQ(lines, ended({}, L"done"));
        } else if (obj) {
            // Only the quad split may fail and still give the object.
            seen.push_back(lines[1].text.substr(lines[1].text.find(L"\n") + 1));
            EXPECT_EQ(memory_module(lines[1]), L"movie_func");
            EXPECT_EQ(seen.back(), L"memory error in realloc (var=mov->Poly_Pt, dim=3x120)");
            EXPECT_EQ(lines.size(), 3u);
            EXPECT_EQ(lines[2], reader_exit(L"Movie_Read", L"done"));
        } else {
            seen.push_back(lines[1].text.substr(lines[1].text.find(L"\n") + 1));
            EXPECT_EQ(memory_module(lines[1]), L"movie_read");
            EXPECT_EQ(lines.size(), 2u);
        }
        pfx_test::free_object(obj);
    });
    // The whole-file buffer may be grown by the loader; its lines name it.
    std::vector<std::wstring> own;
    for (const std::wstring& s : seen)
        if (s.find(L"var=buffer") == std::wstring::npos) own.push_back(s);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.front(), L"memory error in malloc (var=buffer, dim=" +
                                std::to_wstring(example_merged().size() + 1) + L"x1)");
    EXPECT_EQ(runs, static_cast<int>(seen.size()));
    EXPECT_EQ(own, (std::vector<std::wstring>{
                       L"memory error in calloc (var=obj, dim=1x288)",
                       L"memory error in _wcsdup (var=obj->Name)",
                       L"memory error in _wcsdup (var=obj->Path)",
                       L"memory error in calloc (var=obj->Node_Pt, dim=7x96)",
                       L"memory error in malloc (var=connect, dim=7x4)",
                       L"memory error in calloc (var=obj->Poly_Pt, dim=2x120)",
                       L"memory error in realloc (var=mov->Poly_Pt, dim=3x120)",
                   }));
}

} // namespace
