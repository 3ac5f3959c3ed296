// STL_ASCII_Write and STL_BINARY_Write: golden files, transcripts,
// refusals, positions, progress and the way back through the reader.
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "core/platform.h"
#include "exchange/stl_write_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::Line;
using pfx_test::ObjectPtr;
using pfx_test::read_file;
using pfx_test::wide;

class StlWriteTest : public pfx_test::PfxTest {};

std::string golden(const std::string& name) { return read_file(pfx_test::test_path("golden/stl/" + name)); }

TEST_F(StlWriteTest, TextMatchesTheGoldenFiles)
{
    const std::string dir = pfx_test::temp_dir();
    for (const auto& c : pfx_test::stl::write_cases()) {
        ObjectPtr obj(c.make());
        const std::string path = dir + c.file + ".stl";
        ASSERT_EQ(STL_ASCII_Write(obj.get(), c.num, wide(path).c_str(), c.name, nullptr), 1) << c.file;
        const std::string want = golden(std::string(c.file) + ".stl");
        ASSERT_FALSE(want.empty()) << c.file;
        EXPECT_EQ(read_file(path), want) << c.file;
    }
}

TEST_F(StlWriteTest, BinaryMatchesTheGoldenFilesAfterTheDatedHeader)
{
    const std::string dir = pfx_test::temp_dir();
    for (const auto& c : pfx_test::stl::write_cases()) {
        ObjectPtr obj(c.make());
        const std::string path = dir + c.file + ".stl";
        char before[64], after[64];
        pfx::local_time_text(before, sizeof before, "%d %b %Y %H:%M");
        ASSERT_EQ(STL_BINARY_Write(obj.get(), c.num, wide(path).c_str(), c.name, nullptr), 1) << c.file;
        pfx::local_time_text(after, sizeof after, "%d %b %Y %H:%M");
        const std::string got = read_file(path);
        const std::string want = golden(std::string(c.file) + "_bin.stl");
        ASSERT_GE(want.size(), 84u) << c.file;
        ASSERT_EQ(got.size(), want.size()) << c.file;
        EXPECT_EQ(got.substr(80), want.substr(80)) << c.file;
        // The header: date, the object's own name (not the name argument), blanks.
        std::string name = obj->Name ? pfx_test::narrow(obj->Name) : "";
        auto header = [&](const char* date) {
            std::string h = std::string(date) + name;
            h.resize(80, ' ');
            return h;
        };
        const std::string h = got.substr(0, 80);
        EXPECT_TRUE(h == header(before) || h == header(after)) << h;
    }
}

TEST_F(StlWriteTest, CountsAndQuadsInBinary)
{
    const std::string path = pfx_test::temp_dir() + "quad.stl";
    ObjectPtr obj(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}}));
    ASSERT_EQ(STL_BINARY_Write(obj.get(), 0, wide(path).c_str(), L"q", nullptr), 1);
    const std::string got = read_file(path);
    ASSERT_EQ(got.size(), 84u + 2 * 50u);
    int32_t count;
    std::memcpy(&count, got.data() + 80, 4);
    EXPECT_EQ(count, 2);
    // Second facet: corners 2, 3, 0.
    float x[9];
    std::memcpy(x, got.data() + 84 + 50 + 12, sizeof x);
    EXPECT_EQ(std::vector<float>(x, x + 9), (std::vector<float>{1, 1, 0, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(got.substr(84 + 48, 2), std::string(2, '\0'));
}

TEST_F(StlWriteTest, TranscriptsOfBothWriters)
{
    const std::string path = pfx_test::temp_dir() + "cube.stl";
    const std::wstring wpath = wide(path);
    ObjectPtr obj(pfx_test::stl::cube_quads());
    ASSERT_EQ(STL_ASCII_Write(obj.get(), 1, wpath.c_str(), L"cube", nullptr), 1);
    const std::vector<Line> notes = {{MSG_NOTE, L"open file (" + wpath + L")\n"}, {MSG_NOTE, L"write obj cube (6 poly)\n"}};
    std::vector<Line> want = {{MSG_ENTRY, L"in STL_ASCII_Write()"}};
    want.insert(want.end(), notes.begin(), notes.end());
    EXPECT_EQ(sink.lines(), want);
    sink.clear();
    ASSERT_EQ(STL_BINARY_Write(obj.get(), 1, wpath.c_str(), L"cube", nullptr), 1);
    want[0] = {MSG_ENTRY, L"in STL_BINARY_Write()"};
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(StlWriteTest, PointLineAndOtherGeometryAreRefusedWithoutAFile)
{
    const std::string dir = pfx_test::temp_dir();
    for (unsigned int flag : {GEOM_POINT, GEOM_LINE, GEOM_OTHER, GEOM_POLY | GEOM_LINE}) {
        ObjectPtr obj(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, flag));
        const std::string path = dir + "refused.stl";
        for (bool text : {true, false}) {
            sink.clear();
            const int r = text ? STL_ASCII_Write(obj.get(), 0, wide(path).c_str(), L"x", nullptr)
                               : STL_BINARY_Write(obj.get(), 0, wide(path).c_str(), L"x", nullptr);
            EXPECT_EQ(r, 0);
            const std::vector<Line> want = {
                {MSG_ENTRY, text ? L"in STL_ASCII_Write()" : L"in STL_BINARY_Write()"},
                {MSG_USER, L"\xF1\x05WARNING:\x02 STL format only support polygons"}};
            EXPECT_EQ(sink.lines(), want);
            EXPECT_EQ(read_file(path), "");
        }
    }
    sink.clear();
    EXPECT_EQ(STL_ASCII_Write(nullptr, 0, L"/tmp/never.stl", L"x", nullptr), 0);
    EXPECT_EQ(STL_BINARY_Write(nullptr, 0, L"/tmp/never.stl", L"x", nullptr), 0);
    EXPECT_EQ(sink.lines().size(), 2u);
}

TEST_F(StlWriteTest, UnopenablePathSendsTheWriteFailureBlock)
{
    ObjectPtr obj(pfx_test::make_tetrahedron());
    const std::vector<Line> block = {{MSG_USER, L""},
                                     {MSG_USER, L"------------- WARNING --------------"},
                                     {MSG_USER, L"Unable to write the file"},
                                     {MSG_USER, L"/no_such_dir/t.stl"},
                                     {MSG_USER, L"No such file or directory"},
                                     {MSG_USER, L"------------------------------------"}};
    for (bool text : {true, false}) {
        sink.clear();
        const int r = text ? STL_ASCII_Write(obj.get(), 0, L"/no_such_dir/t.stl", L"t", nullptr)
                           : STL_BINARY_Write(obj.get(), 0, L"/no_such_dir/t.stl", L"t", nullptr);
        EXPECT_EQ(r, 0);
        std::vector<Line> want = {{MSG_ENTRY, text ? L"in STL_ASCII_Write()" : L"in STL_BINARY_Write()"}};
        want.insert(want.end(), block.begin(), block.end());
        EXPECT_EQ(sink.lines(), want);
    }
}

TEST_F(StlWriteTest, PositionsAreComputedOnlyWhenStale)
{
    const std::string dir = pfx_test::temp_dir();
    ObjectPtr obj(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY | DISPLACED));
    for (int k = 0; k < 3; ++k) obj->Node_Pt[k].Displ = Vector_4{10, 20, 30, 0};
    ASSERT_EQ(obj->Pos_Done, 0);
    ASSERT_EQ(STL_ASCII_Write(obj.get(), 0, wide(dir + "a.stl").c_str(), L"a", nullptr), 1);
    EXPECT_EQ(obj->Pos_Done, 1);
    const std::string a = read_file(dir + "a.stl");
    EXPECT_NE(a.find("        vertex             11             20             30\n"), std::string::npos) << a;
    // Stored positions are written as they are.
    obj->Node_Pt[1].Pos = Vector_4{-5, -6, -7, 0};
    ASSERT_EQ(STL_BINARY_Write(obj.get(), 0, wide(dir + "b.stl").c_str(), L"b", nullptr), 1);
    const std::string b = read_file(dir + "b.stl");
    float v[3];
    std::memcpy(v, b.data() + 84 + 24, sizeof v);
    EXPECT_EQ(std::vector<float>(v, v + 3), (std::vector<float>{-5, -6, -7}));
}

TEST_F(StlWriteTest, NegativeZeroCornersBecomePositiveNormalsStay)
{
    const std::string path = pfx_test::temp_dir() + "z.stl";
    ObjectPtr obj(pfx_test::stl::mixed());
    ASSERT_EQ(STL_BINARY_Write(obj.get(), 0, wide(path).c_str(), L"z", nullptr), 1);
    const std::string got = read_file(path);
    uint32_t normal_x, corner_x, corner_z;
    std::memcpy(&normal_x, got.data() + 84, 4);
    std::memcpy(&corner_x, got.data() + 84 + 12, 4);
    std::memcpy(&corner_z, got.data() + 84 + 20, 4);
    EXPECT_EQ(normal_x, 0x80000000u);
    EXPECT_EQ(corner_x, 0u);
    EXPECT_EQ(corner_z, 0u);
}

int g_progress_calls = 0;
int g_progress_total = 0;
void count_progress(int amount)
{
    ++g_progress_calls;
    g_progress_total += amount;
}

TEST_F(StlWriteTest, ProgressIsCalledEvery1024Polygons)
{
    std::vector<pfx_test::P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    std::vector<std::vector<int>> polys(2049, std::vector<int>{0, 1, 2});
    ObjectPtr obj(pfx_test::make_object(nodes, polys));
    const std::string dir = pfx_test::temp_dir();
    for (bool text : {true, false}) {
        g_progress_calls = g_progress_total = 0;
        const std::wstring path = wide(dir + (text ? "p.stl" : "pb.stl"));
        const int r = text ? STL_ASCII_Write(obj.get(), 0, path.c_str(), L"p", count_progress)
                           : STL_BINARY_Write(obj.get(), 0, path.c_str(), L"p", count_progress);
        EXPECT_EQ(r, 1);
        EXPECT_EQ(g_progress_calls, 3);
        EXPECT_EQ(g_progress_total, 3 * 1024);
    }
}

TEST_F(StlWriteTest, WrittenFilesReadBack)
{
    const std::string dir = pfx_test::temp_dir();
    ObjectPtr cube(pfx_test::stl::cube_quads());
    ASSERT_EQ(STL_ASCII_Write(cube.get(), 2, wide(dir + "t.stl").c_str(), L"Box", nullptr), 1);
    ASSERT_EQ(STL_BINARY_Write(cube.get(), 2, wide(dir + "b.stl").c_str(), L"Box", nullptr), 1);
    const std::wstring wdir = wide(dir);
    ObjectPtr t(STL_Read(wdir.c_str(), L"t"));
    ObjectPtr b(STL_Read(wdir.c_str(), L"b"));
    ASSERT_NE(t, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(std::wstring(t->Name), L"box_2");
    EXPECT_EQ(std::wstring(b->Name), L"b");
    for (const Movie_Objs* o : {t.get(), b.get()}) {
        EXPECT_EQ(o->Node_Nb, 8);
        EXPECT_EQ(o->Poly_Nb, 12);
        EXPECT_EQ(o->Poly_Pt[11].Normal.x, -1.0f);
    }
}

TEST_F(StlWriteTest, MissingOutputBufferIsAMemoryError)
{
    const std::string dir = pfx_test::temp_dir();
    ObjectPtr obj(pfx_test::make_tetrahedron());
    for (bool text : {true, false}) {
        const int runs = pfx_test::for_each_alloc_failure([&](long) {
            sink.clear();
            const std::wstring path = wide(dir + "m.stl");
            const int r = text ? STL_ASCII_Write(obj.get(), 0, path.c_str(), L"m", nullptr)
                               : STL_BINARY_Write(obj.get(), 0, path.c_str(), L"m", nullptr);
            if (r) return;
            const auto memory = sink.texts(MSG_MEMORY);
            ASSERT_EQ(memory.size(), 1u);
            EXPECT_NE(pfx_test::narrow(memory[0]).find("of stl_read \nmemory error in malloc (var=buffer, dim=4194304x1)"),
                      std::string::npos);
        });
        EXPECT_EQ(runs, 1);
    }
}

} // namespace
