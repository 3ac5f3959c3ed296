// OBJ_Write: golden files (also when no buffer can be had), positions,
// printf digits, progress, the open-failure block and round trips.
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "exchange/obj_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

// The fourth line, "# created: 17 Jun 2025 14:30", changes from run to run:
// its digits and letters are masked, so that only its shape is compared.
std::string without_date(std::string file)
{
    size_t at = 0;
    for (int i = 0; i < 3 && at != std::string::npos; ++i) at = file.find('\n', at + 1);
    for (size_t i = at + 1; at != std::string::npos && i < file.size() && file[i] != '\n'; ++i) {
        const unsigned char c = file[i];
        file[i] = std::isdigit(c) ? '0' : std::isupper(c) ? 'A' : std::islower(c) ? 'a' : file[i];
    }
    return file;
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
    EXPECT_EQ(sink.lines(), (Lines{{MSG_ENTRY, L"in OBJ_Write()"}} +
                             lines_with_flag(MSG_USER, {L"", L"------------- WARNING --------------",
                                                        L"Unable to write the file", wide(dir + "missing/"),
                                                        L"out.obj", Error_Perror(ENOENT),
                                                        L"------------------------------------"})));
}

// The golden files read back: names, positions, corners and texture and
// normal references survive; node normals come back as a list referenced by
// node index, faces without texture numbers take the file's last texture
// coordinate, and references past the lists are refused.
TEST_F(ObjWrite, GoldenFilesReadBackToTheirObjects)
{
    const std::string golden = test_path("golden/obj/");
    std::string got;
    for (ObjCase& c : obj_golden_cases()) {
        const std::string name = std::string(c.file).substr(0, std::strlen(c.file) - 4);
        Movie_Objs** back = nullptr;
        const int n = OBJ_Read_Merge(wide(golden).c_str(), wide(name).c_str(), &back);
        got += "== " + name + " " + std::to_string(n) + "\n" + dump(back, golden);
        free_object_list(back, -1);
        release_case(c);
    }
    EXPECT_EQ(got, read_file(golden + "read_back.txt"));
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
