#include <cerrno>
#include <string>
#include <unistd.h>
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

const char kHead[] = "#VRML V2.0 utf8\n\n";
const char kGroup[] = "Group {\n    children [\n\tShape {\n\t    appearance Appearance {\n";
const char kNoMaterial[] = "Group {\n    children [\n\tShape {\n\t    appearance Appearance {\n\t    }\n";
const char kFaceSet[] = "\t    geometry IndexedFaceSet {\n\t\tsolid TRUE\n\t\tcoordIndex [\t";
const char kLineSet[] = "\t    geometry IndexedLineSet {\n\t\tcoordIndex [\t";
const char kCoord[] = "\t\tcoord Coordinate {\n\t\t    point [\t";
const char kClose[] = "\t\t}\n\t    }\n\t}\n    ]\n}\n";

class VrmlWrite : public pfx_test::PfxTest {
protected:
    std::string write(std::vector<Movie_Objs*> list, short* material = nullptr, int* color = nullptr,
                      Pfx_Progress progress = nullptr)
    {
        if (list.empty() || list.back()) list.push_back(nullptr);
        path_ = pfx_test::temp_dir() + "out.wrl";
        EXPECT_EQ(VRLM_Write(list.data(), material, color, wide(path_).c_str(), L"ignored", progress), 1);
        return read_file(path_);
    }
    // The transcript of a write that skipped nothing.
    std::vector<Line> plain() const
    {
        return {{MSG_ENTRY, L"in VRLM_Write()"}, {MSG_NOTE, L"open file (" + wide(path_) + L")\n"}};
    }
    std::string path_;
};

// The file without its head and first group's opening lines.
std::string body(const std::string& file, size_t skip)
{
    return file.size() < skip ? "<short file>" : file.substr(skip);
}

TEST_F(VrmlWrite, TriangleWholeFile)
{
    ObjectPtr o(pfx_test::make_object({{0, 0, 0}, {1.5f, 0, 0}, {0, 2.25f, -0.5f}}, {{0, 1, 2}}));
    const std::string expected = std::string(kHead) + kNoMaterial + kFaceSet + "0, 1, 2 ]\n" + kCoord +
                                 "0.000 0.000 0.000,\n\t\t\t\t1.500 0.000 0.000,\n\t\t\t\t0.000 2.250 -0.500 ]\n" +
                                 kClose;
    EXPECT_EQ(write({o.get()}), expected);
    EXPECT_EQ(sink.lines(), plain());
}

TEST_F(VrmlWrite, FaceIndexLists)
{
    const std::vector<pfx_test::P3> sq = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    ObjectPtr two(pfx_test::make_object(sq, {{0, 1, 2}, {0, 2, 3}}));
    const size_t skip = sizeof kHead - 1 + sizeof kNoMaterial - 1 + sizeof kFaceSet - 1;
    std::string b = body(write({two.get()}), skip);
    EXPECT_EQ(b.substr(0, b.find(kCoord)), "0, 1, 2, -1,\n\t\t\t\t0, 2, 3 ]\n");
    ObjectPtr quad(pfx_test::make_object(sq, {{0, 1, 2, 3}}));
    b = body(write({quad.get()}), skip);
    EXPECT_EQ(b.substr(0, b.find(kCoord)), "0, 1, 2, 3 ]\n") << "a quad is one 4-index face";
}

TEST_F(VrmlWrite, LineIndexLists)
{
    const std::vector<pfx_test::P3> nodes = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 2, 2}};
    const size_t skip = sizeof kHead - 1 + sizeof kNoMaterial - 1 + sizeof kLineSet - 1;
    struct {
        std::vector<std::vector<int>> segs;
        const char* list;
    } cases[] = {
        {{{0, 1}, {1, 2}, {2, 3}, {3, 0}}, "0, 1, 2, 3 ]\n"},               // closed loop
        {{{0, 1}, {1, 2}, {2, 0}, {3, 4}}, "0, 1, 2, -1,\n\t\t\t\t3, 4 ]\n"}, // loop, then a segment
        {{{0, 1}, {1, 2}}, "0, 1, -1,\n\t\t\t\t1, 2 ]\n"},                  // open chain
        {{{0, 1}, {1, 2}, {2, 3}, {3, 1}}, "0, 1, -1,\n\t\t\t\t1, 2, -1,\n\t\t\t\t2, 3, -1,\n\t\t\t\t3, 1 ]\n"},
        {{{0, 1}, {1, 0}, {2, 3}, {3, 2}}, "0, 1, -1,\n\t\t\t\t2, 3 ]\n"}, // two runs
    };
    for (const auto& c : cases) {
        ObjectPtr o(pfx_test::make_object(nodes, c.segs, GEOM_LINE));
        const std::string b = body(write({o.get()}), skip);
        EXPECT_EQ(b.substr(0, b.find(kCoord)), c.list);
    }
}

TEST_F(VrmlWrite, PointSetHasNoIndexList)
{
    ObjectPtr o(pfx_test::make_object({{1, 2, 3}, {4, 5, 6}}, {{0}, {1}}, GEOM_POINT));
    EXPECT_EQ(write({o.get()}), std::string(kHead) + kNoMaterial + "\t    geometry PointSet {\n" + kCoord +
                                    "1.000 2.000 3.000,\n\t\t\t\t4.000 5.000 6.000 ]\n" + kClose);
}

TEST_F(VrmlWrite, EmptyObjectsCloseTheirListsAtOnce)
{
    ObjectPtr no_polys(pfx_test::make_object({{1, 2, 3}}, {}));
    EXPECT_EQ(write({no_polys.get()}),
              std::string(kHead) + kNoMaterial + kFaceSet + " ]\n" + kCoord + "1.000 2.000 3.000 ]\n" + kClose);
    ObjectPtr no_nodes(pfx_test::make_object({}, {}, GEOM_LINE));
    EXPECT_EQ(write({no_nodes.get()}), std::string(kHead) + kNoMaterial + kLineSet + " ]\n" + kCoord + " ]\n" + kClose);
    EXPECT_EQ(write({nullptr}), kHead) << "an empty list writes the head alone";
    EXPECT_EQ(sink.lines().back(), plain().back());
}

TEST_F(VrmlWrite, MaterialColoursInSinglePrecision)
{
    ObjectPtr o(pfx_test::make_object({{0, 0, 0}}, {{0}}, GEOM_POINT));
    short material[] = {-12};
    int color[] = {static_cast<int>(0xff336699u)}; // red 153, green 102, blue 51; top byte unread
    const std::string file = write({o.get()}, material, color);
    const std::string expected = std::string(kHead) + kGroup + "\t\tmaterial DEF Material_-12 Material {\n" +
                                 "\t\t    diffuseColor 0.480 0.320 0.160\n" +
                                 "\t\t    emissiveColor 0.120 0.080 0.040\n" + "\t\t}\n" + "\t    }\n";
    EXPECT_EQ(file.substr(0, expected.size()), expected);
    // Only both arrays together give a material.
    EXPECT_EQ(write({o.get()}, material, nullptr).find("material"), std::string::npos);
    EXPECT_EQ(write({o.get()}, nullptr, color).find("material"), std::string::npos);
    // 255 * 0.8 in single precision rounds to 0.800; 1 / 255 * 0.2 to 0.001.
    int white_ish[] = {0x0001ff};
    EXPECT_NE(write({o.get()}, material, white_ish).find("diffuseColor 0.800 0.003 0.000\n\t\t    emissiveColor 0.200 0.001 0.000\n"),
              std::string::npos);
}

TEST_F(VrmlWrite, SkippedObjectKeepsMaterialPositions)
{
    ObjectPtr a(pfx_test::make_object({{0, 0, 0}}, {{0}}, GEOM_POINT));
    ObjectPtr both(pfx_test::make_object({{0, 0, 0}, {1, 1, 1}}, {{0, 1}}, GEOM_LINE | GEOM_POLY));
    ObjectPtr none(pfx_test::make_object({{0, 0, 0}}, {{0}}, 0));
    ObjectPtr c(pfx_test::make_object({{0, 0, 0}}, {{0}}, GEOM_POINT));
    short material[] = {10, 20, 30, 40};
    int color[] = {0, 0, 0, 0};
    // A short relative path, so the path takes one line in the message.
    const std::string dir = pfx_test::temp_dir();
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(dir.c_str()), 0);
    std::vector<Movie_Objs*> list = {a.get(), both.get(), none.get(), c.get(), nullptr};
    const int result = VRLM_Write(list.data(), material, color, L"skip.wrl", L"", nullptr);
    ASSERT_EQ(chdir(cwd), 0);
    EXPECT_EQ(result, 1);
    const std::string file = read_file(dir + "skip.wrl");
    EXPECT_NE(file.find("Material_10 "), std::string::npos);
    EXPECT_EQ(file.find("Material_20 "), std::string::npos);
    EXPECT_EQ(file.find("Material_30 "), std::string::npos);
    EXPECT_NE(file.find("Material_40 "), std::string::npos);
    EXPECT_EQ(both->Pos_Done, 1) << "positions are computed before the kind test";
    const std::vector<Line> expected = {
        {MSG_ENTRY, L"in VRLM_Write()"},
        {MSG_NOTE, L"open file (skip.wrl)\n"},
        {MSG_USER, L"Unsuported object type in file:"},
        {MSG_USER, L"skip.wrl"},
        {MSG_USER, L"Unsuported object type in file:"},
        {MSG_USER, L"skip.wrl"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

TEST_F(VrmlWrite, UnsupportedMessageSplitsALongPath)
{
    ObjectPtr other(pfx_test::make_object({{0, 0, 0}}, {{0}}, GEOM_OTHER));
    const std::string dir = pfx_test::temp_dir();
    write({other.get()});
    EXPECT_EQ(read_file(path_), kHead);
    const std::vector<Line> expected = {
        {MSG_ENTRY, L"in VRLM_Write()"},
        {MSG_NOTE, L"open file (" + wide(path_) + L")\n"},
        {MSG_USER, L"Unsuported object type in file:"},
        {MSG_USER, wide(dir)},
        {MSG_USER, L"out.wrl"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

// note: GEOM_OTHER beside exactly one kind is written as that kind, so the
// coordinate block stays inside its geometry node.
TEST_F(VrmlWrite, OtherBitBesideOneKindWritesThatKind)
{
    const std::vector<pfx_test::P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    ObjectPtr plain_obj(pfx_test::make_object(nodes, {{0, 1, 2}}, GEOM_POLY));
    ObjectPtr other(pfx_test::make_object(nodes, {{0, 1, 2}}, GEOM_POLY | GEOM_OTHER));
    const std::string expected = write({plain_obj.get()});
    EXPECT_EQ(write({other.get()}), expected);
    EXPECT_EQ(sink.lines().size(), 4u) << "nothing skipped";
    ObjectPtr line(pfx_test::make_object(nodes, {{0, 1}}, GEOM_LINE | GEOM_OTHER));
    EXPECT_NE(write({line.get()}).find(kLineSet), std::string::npos);
}

std::vector<int> g_progress;
void record_progress(int n) { g_progress.push_back(n); }

TEST_F(VrmlWrite, ProgressOfTheIndexLists)
{
    const std::vector<pfx_test::P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    ObjectPtr faces(pfx_test::make_object(nodes, std::vector<std::vector<int>>(2049, {0, 1, 2})));
    g_progress.clear();
    write({faces.get()}, nullptr, nullptr, record_progress);
    EXPECT_EQ(g_progress, (std::vector<int>{1024, 1024, 1024}));

    // 300 two-segment runs start at 0, 2, 4, ...: 0, 256 and 512 report.
    std::vector<std::vector<int>> runs;
    for (int i = 0; i < 300; ++i) {
        runs.push_back({0, 1});
        runs.push_back({1, 0});
    }
    ObjectPtr loops(pfx_test::make_object(nodes, runs, GEOM_LINE));
    g_progress.clear();
    write({loops.get()}, nullptr, nullptr, record_progress);
    EXPECT_EQ(g_progress, (std::vector<int>{256, 256, 256}));

    // Segments that nothing closes are written in one go after one report.
    ObjectPtr open(pfx_test::make_object(nodes, std::vector<std::vector<int>>(600, {0, 1}), GEOM_LINE));
    g_progress.clear();
    write({open.get()}, nullptr, nullptr, record_progress);
    EXPECT_EQ(g_progress, (std::vector<int>{256}));

    ObjectPtr points(pfx_test::make_object(nodes, std::vector<std::vector<int>>(600, {0}), GEOM_POINT));
    g_progress.clear();
    write({points.get()}, nullptr, nullptr, record_progress);
    EXPECT_TRUE(g_progress.empty());
}

TEST_F(VrmlWrite, OpenFailureBlock)
{
    ObjectPtr o(pfx_test::make_object({{0, 0, 0}}, {{0}}, GEOM_POINT));
    std::vector<Movie_Objs*> list = {o.get(), nullptr};
    const std::string dir = pfx_test::temp_dir();
    const std::wstring path = wide(dir + "missing/out.wrl");
    EXPECT_EQ(VRLM_Write(list.data(), nullptr, nullptr, path.c_str(), L"", nullptr), 0);
    const std::vector<Line> expected = {
        {MSG_ENTRY, L"in VRLM_Write()"},
        {MSG_USER, L""},
        {MSG_USER, L"------------- WARNING --------------"},
        {MSG_USER, L"Unable to write the file"},
        {MSG_USER, wide(dir + "missing/")},
        {MSG_USER, L"out.wrl"},
        {MSG_USER, Error_Perror(ENOENT)},
        {MSG_USER, L"------------------------------------"},
    };
    EXPECT_EQ(sink.lines(), expected);
    EXPECT_EQ(o->Pos_Done, 0) << "nothing is computed when the file does not open";
}

TEST_F(VrmlWrite, SameBytesWhenTheBufferCannotBeHad)
{
    ObjectPtr o(pfx_test::make_unit_cube_quads());
    const std::string expected = write({o.get()});
    const std::vector<Line> transcript = plain();
    std::vector<Movie_Objs*> list = {o.get(), nullptr};
    const int runs = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        EXPECT_EQ(VRLM_Write(list.data(), nullptr, nullptr, wide(path_).c_str(), L"", nullptr), 1);
        EXPECT_EQ(read_file(path_), expected);
        EXPECT_EQ(sink.lines(), transcript);
    });
    EXPECT_GE(runs, 1);
}

TEST_F(VrmlWrite, GoldenFiles)
{
    int compared = 0;
    for (pfx_test::WriterCase& c : pfx_test::writer_cases()) {
        if (!c.vrml) continue;
        sink.clear();
        const std::string golden = read_file(pfx_test::test_path("golden/vrml/" + c.name + ".wrl"));
        ASSERT_FALSE(golden.empty()) << "missing golden " << c.name;
        EXPECT_EQ(write(c.list(), c.material_arg(), c.color_arg()), golden) << c.name;
        std::vector<Line> expected = plain();
        if (c.name == "skipped_between") {
            expected.push_back({MSG_USER, L"Unsuported object type in file:"});
            const std::wstring dir = wide(path_.substr(0, path_.rfind('/') + 1));
            expected.push_back({MSG_USER, dir});
            expected.push_back({MSG_USER, L"out.wrl"});
        }
        EXPECT_EQ(sink.lines(), expected) << c.name;
        ++compared;
    }
    EXPECT_EQ(compared, 15);
}

} // namespace
