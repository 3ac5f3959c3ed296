// OBJ_Write: golden files (also when no buffer can be had), positions,
// printf digits, progress, the open-failure block and round trips.
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "exchange/obj_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

// The fourth line, "# created: 17 Jun 2025 14:30", is the only one that
// changes from run to run: its shape is checked, then it is blanked out.
std::string without_date(const std::string& file)
{
    size_t at = 0;
    for (int i = 0; i < 3 && at != std::string::npos; ++i) at = file.find('\n', at + 1);
    const std::string shape = "# created: 00 Aaa 0000 00:00\n";
    if (at == std::string::npos || file.size() < at + 1 + shape.size()) return "<no date line>";
    for (size_t i = 0; i < shape.size(); ++i) {
        const char s = shape[i], c = file[at + 1 + i];
        if (s == '0' ? !std::isdigit(c) : s == 'A' ? !std::isupper(c) : s == 'a' ? !std::islower(c) : c != s)
            return "<bad date line>";
    }
    return file.substr(0, at + 1) + file.substr(at + 1 + shape.size());
}

class ObjWrite : public PfxTest {
protected:
    void SetUp() override { dir = temp_dir(); }
    // Writes list to dir + file and returns the bytes.
    std::string write(Movie_Objs** list, const std::string& file = "out.obj", Pfx_Progress progress = nullptr)
    {
        result = OBJ_Write(list, wide(dir + file).c_str(), L"ignored", progress);
        return read_file(dir + file);
    }
    std::string dir;
    int result = -1;
};

// Whichever allocation fails, the buffer only shrinks: same bytes, no
// message. Positions are computed first.
TEST_F(ObjWrite, GoldenFilesAlsoWithoutTheLargeBuffer)
{
    for (ObjCase& c : obj_golden_cases()) {
        SCOPED_TRACE(c.file);
        const std::string want = without_date(read_file(test_path("golden/obj/") + c.file));
        for_each_alloc_failure([&](long) {
            sink.clear();
            EXPECT_EQ(without_date(write(c.objs.data())), want);
            EXPECT_EQ(result, static_cast<int>(c.objs.size()) - 1);
            EXPECT_EQ(sink.lines(), (std::vector<Line>{{MSG_ENTRY, L"in OBJ_Write()"}}));
        });
        for (Movie_Objs* o : c.objs) EXPECT_TRUE(!o || o->Pos_Done);
        release_case(c);
    }
    // A null array is taken as an empty one.
    EXPECT_EQ(without_date(write(nullptr)), without_date(read_file(test_path("golden/obj/empty_list.obj"))));
}

TEST_F(ObjWrite, NumbersHaveThePrintfDigits)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float values[] = {0.0f, -0.0f, 1e-7f, -1e-7f, 0.0078125f, -0.0234375f, 0.1f, 1.0f / 3,
                            123456.789f, -98765.4321f, 1e10f, 9.2e12f, 1.5e13f, 3.4e38f, -3.4e38f, 1e-45f,
                            0.5e-6f, 1.5e-6f, 2.5e-6f, 999999.9999f, inf, -inf, std::nanf("")};
    std::vector<P3> nodes;
    std::string want;
    for (float v : values) {
        nodes.push_back({v, -v, v * 0.5f});
        char line[256];
        std::snprintf(line, sizeof line, "v  %12.6f %12.6f %12.6f \n", v, -v, v * 0.5f);
        want += line;
    }
    ObjectPtr o(make_object(nodes, {}));
    Movie_Objs* list[2] = {o.get(), nullptr};
    EXPECT_NE(write(list).find("# --- vertex list ---\n" + want), std::string::npos);
}

TEST_F(ObjWrite, ProgressEvery1024Polygons)
{
    ObjectPtr o(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, std::vector<std::vector<int>>(3000, {0, 1, 2})));
    Movie_Objs* list[2] = {o.get(), nullptr};
    static std::vector<int> calls;
    write(list, "p.obj", [](int n) { calls.push_back(n); });
    EXPECT_EQ(calls, (std::vector<int>{1024, 1024, 1024}));
}

TEST_F(ObjWrite, OpenFailureGivesTheWriteWarningBlock)
{
    ObjectPtr o(tri());
    Movie_Objs* list[2] = {o.get(), nullptr};
    EXPECT_EQ(OBJ_Write(list, wide(dir + "missing/out.obj").c_str(), nullptr, nullptr), 0);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{{MSG_ENTRY, L"in OBJ_Write()"},
                                               {MSG_USER, L""},
                                               {MSG_USER, L"------------- WARNING --------------"},
                                               {MSG_USER, L"Unable to write the file"},
                                               {MSG_USER, wide(dir + "missing/")},
                                               {MSG_USER, L"out.obj"},
                                               {MSG_USER, Error_Perror(ENOENT)},
                                               {MSG_USER, L"------------------------------------"}}));
}

// The golden files read back: names, positions, corners and texture and
// normal references survive; node normals come back as a list referenced by
// node index, and faces without texture numbers take the file's last
// texture coordinate.
TEST_F(ObjWrite, GoldenFilesReadBackToTheirObjects)
{
    const std::string golden = test_path("golden/obj/");
    const std::pair<const char*, const char*> cases[] = {
        {"two_objects", "first v 0 0 0, 1 0 0, 0 1 0 n 0 0 1, 0 0 1, 0 0 1 f 0 1 2/0 0 0/0 1 2\n"
                        "second v 0 0 1, 1 0 1, 1 1 1, 0 1 1 n 0 0 -1, 0 0 -1, 0 0 -1, 0 0 -1 "
                        "f 0 1 2 3/0 0 0 0/0 1 2 3, 3 2 1/0 0 0/3 2 1\n"},
        {"textures_without_normals", "flat v 0 0 0, 2 0 0, 0 2 0 t 0 1 n 0 0 1 f 0 1 2/0 0 0/0 0 0\n"
                                     "textured v -1.5 0.25 3, 2 0 0, 2 2 0, 0 2 0.125 t 0 0, 1 0, 1 1, 0 1 "
                                     "n 0.6 0 0.8, 0.6 0 0.8, 0.6 0 0.8, 0.6 0 0.8 "
                                     "f 0 1 2 3/0 1 2 3/0 1 2 3, 0 2 3/3 2 1/0 2 3\n"}};
    for (const auto& [name, objects] : cases) {
        Movie_Objs** back = nullptr;
        ASSERT_EQ(OBJ_Read_Merge(wide(golden).c_str(), wide(name).c_str(), &back), 2);
        EXPECT_EQ(dump(back, golden), objects);
        free_object_list(back, -1);
    }
}

// note: more than 1024 objects are written like any other list; the bases
// are summed as the faces are written, so there is no table to outgrow.
TEST_F(ObjWrite, MoreThan1024ObjectsAreAllWrittenAndReadBack)
{
    std::vector<Movie_Objs*> list;
    for (int k = 0; k < 1500; ++k) {
        list.push_back(make_object({{float(k), 0, 0}, {float(k), 1, 0}, {float(k), 0, 1}}, {{0, 1, 2}}));
        set_name(list.back(), std::to_wstring(k).c_str());
    }
    list.push_back(nullptr);
    EXPECT_NE(write(list.data()).find("\nf  4498//4498            4499//4499            4500//4500\n"),
              std::string::npos);
    EXPECT_EQ(result, 1500);
    Movie_Objs** back = nullptr;
    ASSERT_EQ(OBJ_Read_Merge(wide(dir).c_str(), L"out", &back), 1500);
    EXPECT_EQ(dump(back + 1499, dir),
              "1499 v 1499 0 0, 1499 1 0, 1499 0 1 n 0 0 0, 0 0 0, 0 0 0 f 0 1 2/0 0 0/0 1 2\n");
    free_object_list(back, -1);
    for (Movie_Objs* o : list) free_object(o);
}

} // namespace
} // namespace pfx_test
