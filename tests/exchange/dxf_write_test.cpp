#include <cerrno>
#include <string>
#include <vector>

#include "exchange/dxf_vrml_cases.h"
#include "polyfex.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::Line;
using pfx_test::ObjectPtr;
using pfx_test::read_file;
using pfx_test::wide;

class DxfWrite : public pfx_test::PfxTest {
protected:
    // Writes the list and returns the file's bytes.
    std::string write(std::vector<Movie_Objs*> list, Pfx_Progress progress = nullptr)
    {
        if (list.empty() || list.back()) list.push_back(nullptr);
        const std::string path = pfx_test::temp_dir() + "out.dxf";
        EXPECT_EQ(DXF_Write(list.data(), wide(path).c_str(), L"ignored", progress), 1);
        return read_file(path);
    }
    const std::vector<Line> entry_only = {{MSG_ENTRY, L"in DXF_Write()"}};
};

std::string header(const char* min_x, const char* min_y, const char* min_z, const char* max_x,
                   const char* max_y, const char* max_z)
{
    return std::string("  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1008\n  9\n$TILEMODE\n 70\n1\n"
                       "  9\n$UCSORG\n 10\n0.0\n 20\n0.0\n 30\n0.0\n"
                       "  9\n$UCSXDIR\n 10\n1.0\n 20\n0.0\n 30\n0.0\n"
                       "  9\n$UCSYDIR\n 10\n0.0\n 20\n1.0\n 30\n0.0\n"
                       "  9\n$EXTMIN\n 10\n") +
           min_x + "\n 20\n" + min_y + "\n 30\n" + min_z + "\n  9\n$EXTMAX\n 10\n" + max_x + "\n 20\n" + max_y +
           "\n 30\n" + max_z + "\n  0\nENDSEC\n";
}

const char kTables[] = "  0\nSECTION\n  2\nTABLES\n"
                       "  0\nTABLE\n  2\nLTYPE\n 70\n1\n  0\nLTYPE\n  2\nCONTINUOUS\n 70\n64\n"
                       "  3\nSolid line\n 72\n65\n 73\n0\n 40\n0.0\n  0\nENDTAB\n"
                       "  0\nTABLE\n  2\nLAYER\n 70\n1\n  0\nLAYER\n  2\n0\n 70\n0\n 62\n7\n 6\nCONTINUOUS\n"
                       "  0\nENDTAB\n"
                       "  0\nTABLE\n  2\nSTYLE\n 70\n1\n  0\nSTYLE\n  2\nSTANDARD\n 70\n0\n 40\n0.0\n"
                       " 41\n1.0\n 50\n0.0\n 71\n0\n 42\n0.2\n 3\ntxt\n 4\n\n  0\nENDTAB\n  0\nENDSEC\n";

// The entity section of a file: what lies between "ENTITIES" and the end.
std::string entities(const std::string& file)
{
    const std::string open = "  0\nSECTION\n  2\nENTITIES\n";
    const size_t at = file.find(open);
    if (at == std::string::npos) return "<no entity section>";
    return file.substr(at + open.size());
}

size_t count(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

std::string vertex(const char* x, const char* y, const char* z, int flag)
{
    return std::string("  0\nVERTEX\n  8\n0\n 10\n") + x + "\n 20\n" + y + "\n 30\n" + z + "\n 70\n" +
           std::to_string(flag) + "\n";
}

std::string face(int a, int b, int c)
{
    return "  0\nVERTEX\n  8\n0\n 10\n0\n 20\n0\n 30\n0\n 70\n128\n 71\n" + std::to_string(a) + "\n 72\n" +
           std::to_string(b) + "\n 73\n" + std::to_string(c) + "\n";
}

std::string line(const char* x0, const char* y0, const char* z0, const char* x1, const char* y1, const char* z1)
{
    return std::string("  0\nLINE\n  8\n0\n 10\n") + x0 + "\n 20\n" + y0 + "\n 30\n" + z0 + "\n 11\n" + x1 +
           "\n 21\n" + y1 + "\n 31\n" + z1 + "\n";
}

const char kEnd[] = "  0\nENDSEC\n  0\nEOF\n";
const char kSeqEnd[] = "  0\nSEQEND\n  8\n0\n";

TEST_F(DxfWrite, TriangleWholeFile)
{
    ObjectPtr o(pfx_test::make_object({{0, 0, 0}, {1.5f, 0, 0}, {0, 2.25f, -0.5f}}, {{0, 1, 2}}));
    o->Box_Min = {-1, -2, -3, 0};
    o->Box_Max = {4, 5.5f, 6.25f, 0};
    const std::string expected =
        header("-1.000000", "-2.000000", "-3.000000", "4.000000", "5.500000", "6.250000") + kTables +
        "  0\nSECTION\n  2\nENTITIES\n" + "  0\nPOLYLINE\n  8\n0\n 66\n1\n 70\n64\n 71\n3\n 72\n1\n" +
        vertex("0.000000", "0.000000", "0.000000", 192) + vertex("1.500000", "0.000000", "0.000000", 192) +
        vertex("0.000000", "2.250000", "-0.500000", 192) + face(1, 2, 3) + kSeqEnd + kEnd;
    EXPECT_EQ(write({o.get()}), expected);
    EXPECT_EQ(sink.lines(), entry_only);
}

TEST_F(DxfWrite, QuadGivesTwoFaceRecords)
{
    ObjectPtr o(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}}));
    const std::string e = entities(write({o.get()}));
    EXPECT_NE(e.find(" 71\n4\n 72\n2\n"), std::string::npos);
    EXPECT_NE(e.find(face(1, 2, 3) + face(1, 3, 4) + kSeqEnd), std::string::npos);
}

TEST_F(DxfWrite, LineRunsAndLines)
{
    const std::vector<pfx_test::P3> sq = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    {
        ObjectPtr loop(pfx_test::make_object(sq, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, GEOM_LINE));
        const std::string expected = std::string("  0\nPOLYLINE\n  8\n0\n 66\n1\n 70\n9\n 71\n3\n") +
                                     vertex("0.000000", "0.000000", "0.000000", 32) +
                                     vertex("1.000000", "0.000000", "0.000000", 32) +
                                     vertex("1.000000", "1.000000", "0.000000", 32) +
                                     vertex("0.000000", "1.000000", "0.000000", 32) + kSeqEnd + kEnd;
        EXPECT_EQ(entities(write({loop.get()})), expected) << "closed loop";
    }
    {
        ObjectPtr chain(pfx_test::make_object(sq, {{0, 1}, {1, 2}}, GEOM_LINE));
        const std::string expected =
            line("0.000000", "0.000000", "0.000000", "1.000000", "0.000000", "0.000000") +
            line("1.000000", "0.000000", "0.000000", "1.000000", "1.000000", "0.000000") + kEnd;
        EXPECT_EQ(entities(write({chain.get()})), expected) << "open chain";
    }
    {
        // Segment 0 is never closed: the loop 1-2-3 after it is lines too.
        ObjectPtr o(pfx_test::make_object(sq, {{0, 1}, {1, 2}, {2, 3}, {3, 1}}, GEOM_LINE));
        const std::string e = entities(write({o.get()}));
        EXPECT_EQ(count(e, "  0\nLINE\n"), 4u);
        EXPECT_EQ(count(e, "POLYLINE"), 0u);
    }
    {
        // A run, then a segment that nothing closes.
        ObjectPtr o(pfx_test::make_object(sq, {{0, 1}, {1, 0}, {2, 3}}, GEOM_LINE));
        const std::string expected = std::string("  0\nPOLYLINE\n  8\n0\n 66\n1\n 70\n9\n 71\n1\n") +
                                     vertex("0.000000", "0.000000", "0.000000", 32) +
                                     vertex("1.000000", "0.000000", "0.000000", 32) + kSeqEnd +
                                     line("1.000000", "1.000000", "0.000000", "0.000000", "1.000000", "0.000000") +
                                     kEnd;
        EXPECT_EQ(entities(write({o.get()})), expected) << "run then line";
    }
}

TEST_F(DxfWrite, PointsAtFirstCorner)
{
    ObjectPtr o(pfx_test::make_object({{1, 2, 3}, {-4, 5, -6}}, {{1}, {0}}, GEOM_POINT));
    const std::string expected = "  0\nPOINT\n  8\n0\n 10\n-4.000000\n 20\n5.000000\n 30\n-6.000000\n"
                                 "  0\nPOINT\n  8\n0\n 10\n1.000000\n 20\n2.000000\n 30\n3.000000\n" +
                                 std::string(kEnd);
    EXPECT_EQ(entities(write({o.get()})), expected);
}

TEST_F(DxfWrite, EachGeometryBitOnItsOwn)
{
    ObjectPtr none(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, 0));
    EXPECT_EQ(entities(write({none.get()})), kEnd) << "no geometry bit, no entity";
    ObjectPtr other(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_OTHER));
    EXPECT_EQ(entities(write({other.get()})), kEnd) << "GEOM_OTHER alone names no entity";
    ObjectPtr all(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}},
                                        GEOM_POINT | GEOM_LINE | GEOM_POLY | GEOM_OTHER));
    const std::string e = entities(write({all.get()}));
    // The point, then the line (0 -> 1, never closed), then the polyface.
    const size_t point = e.find("  0\nPOINT\n"), lines = e.find("  0\nLINE\n"), mesh = e.find(" 70\n64\n");
    ASSERT_NE(point, std::string::npos);
    ASSERT_NE(lines, std::string::npos);
    ASSERT_NE(mesh, std::string::npos);
    EXPECT_LT(point, lines);
    EXPECT_LT(lines, mesh);
}

TEST_F(DxfWrite, ExtentsFromStoredBoxes)
{
    ObjectPtr a(pfx_test::make_object({{0, 0, 0}}, {}));
    ObjectPtr b(pfx_test::make_object({{0, 0, 0}}, {}));
    ObjectPtr c(pfx_test::make_object({{0, 0, 0}}, {}));
    // Stored boxes are taken as they are, even when the nodes disagree.
    a->Box_Min = {1, 2, 3, 0};
    a->Box_Max = {4, 5, 6, 0};
    b->Box_Min = {-1, 7, 2, 0};
    b->Box_Max = {3, 8, 9, 0};
    c->Box_Min = {0.5f, 0.5f, -10, 0};
    c->Box_Max = {10, 0.5f, 0.5f, 0};
    const std::string file = write({a.get(), b.get(), c.get()});
    EXPECT_EQ(file.substr(0, file.find(kTables)),
              header("-1.000000", "0.500000", "-10.000000", "10.000000", "8.000000", "9.000000"));
}

// note: the extents of an empty list are the origin; the list's only entry,
// the null one, is never read through (the sanitizer run proves it).
TEST_F(DxfWrite, EmptyListHasZeroExtentsAndNoEntity)
{
    const std::string file = write({nullptr});
    EXPECT_EQ(file, header("0.000000", "0.000000", "0.000000", "0.000000", "0.000000", "0.000000") + kTables +
                        "  0\nSECTION\n  2\nENTITIES\n" + kEnd);
    EXPECT_EQ(sink.lines(), entry_only);
}

TEST_F(DxfWrite, PositionsComputedFirst)
{
    ObjectPtr o(pfx_test::make_object({{1, 1, 1}}, {{0}}, GEOM_POINT | DISPLACED));
    o->Node_Pt[0].Displ = {1, 2, 3, 0};
    o->Node_Pt[0].Pos = {99, 99, 99, 0}; // stale
    const std::string e = entities(write({o.get()}));
    EXPECT_EQ(e, "  0\nPOINT\n  8\n0\n 10\n2.000000\n 20\n3.000000\n 30\n4.000000\n" + std::string(kEnd));
    EXPECT_EQ(o->Pos_Done, 1);
    // With Pos_Done set, Pos is used as it stands.
    o->Node_Pt[0].Pos = {7, 8, 9, 0};
    EXPECT_EQ(entities(write({o.get()})),
              "  0\nPOINT\n  8\n0\n 10\n7.000000\n 20\n8.000000\n 30\n9.000000\n" + std::string(kEnd));
}

TEST_F(DxfWrite, EveryGroupCodeLineIsThreeWideButThree)
{
    std::vector<pfx_test::WriterCase> cases = pfx_test::writer_cases();
    for (pfx_test::WriterCase& c : cases) {
        if (!c.dxf) continue;
        const std::string file = write(c.list());
        std::vector<std::string> lines;
        for (size_t at = 0; at < file.size();) {
            size_t end = file.find('\n', at);
            ASSERT_NE(end, std::string::npos) << c.name << ": every line ends with \\n";
            lines.push_back(file.substr(at, end - at));
            at = end + 1;
        }
        ASSERT_EQ(lines.size() % 2, 0u) << c.name;
        int short_codes = 0;
        for (size_t i = 0; i < lines.size(); i += 2) {
            const std::string& code = lines[i];
            if (code == " 6" || code == " 3" || code == " 4") {
                ++short_codes;
                continue;
            }
            // Blanks, then digits up to the third character.
            const size_t digits = code.find_first_not_of(' ');
            ASSERT_TRUE(code.size() == 3 && digits < 3 &&
                        code.find_first_not_of("0123456789", digits) == std::string::npos)
                << c.name << " line " << i + 1 << ": '" << code << "'";
        }
        EXPECT_EQ(short_codes, 3) << c.name;
    }
}

std::vector<int> g_progress;
void record_progress(int n) { g_progress.push_back(n); }

TEST_F(DxfWrite, ProgressEvery256Faces)
{
    std::vector<pfx_test::P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    std::vector<std::vector<int>> polys(600, std::vector<int>{0, 1, 2, 3});
    ObjectPtr mesh(pfx_test::make_object(nodes, polys));
    g_progress.clear();
    const std::string e = entities(write({mesh.get()}, record_progress));
    EXPECT_EQ(g_progress, (std::vector<int>{256, 256, 256}));
    EXPECT_NE(e.find(" 71\n4\n 72\n1200\n"), std::string::npos);

    // Lines and points report no progress.
    std::vector<std::vector<int>> segs(600, std::vector<int>{0, 1});
    ObjectPtr lines(pfx_test::make_object(nodes, segs, GEOM_LINE | GEOM_POINT));
    g_progress.clear();
    write({lines.get()}, record_progress);
    EXPECT_TRUE(g_progress.empty());
}

TEST_F(DxfWrite, OpenFailureBlock)
{
    ObjectPtr o(pfx_test::make_object({{0, 0, 0}}, {{0}}, GEOM_POINT));
    std::vector<Movie_Objs*> list = {o.get(), nullptr};
    const std::string dir = pfx_test::temp_dir();
    const std::wstring path = wide(dir + "missing/out.dxf");
    EXPECT_EQ(DXF_Write(list.data(), path.c_str(), L"", nullptr), 0);
    const std::vector<Line> expected = {
        {MSG_ENTRY, L"in DXF_Write()"},
        {MSG_USER, L""},
        {MSG_USER, L"------------- WARNING --------------"},
        {MSG_USER, L"Unable to write the file"},
        {MSG_USER, wide(dir + "missing/")}, // the directory alone is over 30 characters
        {MSG_USER, L"out.dxf"},
        {MSG_USER, Error_Perror(ENOENT)},
        {MSG_USER, L"------------------------------------"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

// The only allocation is the output buffer; whichever allocation fails, the
// file comes out the same and nothing is reported.
TEST_F(DxfWrite, SameBytesWhenTheBufferCannotBeHad)
{
    ObjectPtr o(pfx_test::make_unit_cube_quads());
    const std::string expected = write({o.get()});
    const std::string path = pfx_test::temp_dir() + "fail.dxf";
    std::vector<Movie_Objs*> list = {o.get(), nullptr};
    const int runs = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        EXPECT_EQ(DXF_Write(list.data(), wide(path).c_str(), L"", nullptr), 1);
        EXPECT_EQ(read_file(path), expected);
        EXPECT_EQ(sink.lines(), entry_only);
    });
    EXPECT_GE(runs, 1);
}

TEST_F(DxfWrite, GoldenFiles)
{
    int compared = 0;
    for (pfx_test::WriterCase& c : pfx_test::writer_cases()) {
        if (!c.dxf) continue;
        sink.clear();
        const std::string golden = read_file(pfx_test::test_path("golden/dxf/" + c.name + ".dxf"));
        ASSERT_FALSE(golden.empty()) << "missing golden " << c.name;
        EXPECT_EQ(write(c.list()), golden) << c.name;
        EXPECT_EQ(sink.lines(), entry_only) << c.name;
        ++compared;
    }
    EXPECT_EQ(compared, 15);
}

} // namespace
