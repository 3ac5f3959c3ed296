#include <cerrno>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "native_io/mov_cases.h"

using namespace mov_test;
using pfx_test::ObjectPtr;
using pfx_test::read_file;
using pfx_test::P3;
using pfx_test::wide;

namespace {

using Writer = int (*)(Movie_Objs**, const wchar_t*, Pfx_Progress);

class MovieWrite : public pfx_test::PfxTest {
protected:
    // Writes the list with writer and returns the file's bytes.
    std::string write(Writer writer, std::vector<Movie_Objs*> list, Pfx_Progress progress = nullptr)
    {
        list.push_back(nullptr);
        path = pfx_test::temp_dir() + "out.mov";
        EXPECT_EQ(writer(list.data(), wide(path).c_str(), progress), 1);
        return read_file(path);
    }
    std::string path;
};

std::string golden(const std::string& file)
{
    return read_file(pfx_test::test_path("golden/mov/" + file));
}

// The file as one printf call per number would write it, from each object's
// current Pos.
std::string printf_reference(const std::vector<Movie_Objs*>& list, bool merge)
{
    char buf[64];
    std::string out;
    auto put = [&](const char* format, auto... v) {
        std::snprintf(buf, sizeof buf, format, v...);
        out += buf;
    };
    int nodes = 0, polys = 0, connect = 0;
    for (Movie_Objs* o : list) {
        nodes += o->Node_Nb;
        polys += o->Poly_Nb;
        for (int i = 0; i < o->Poly_Nb; ++i) connect += o->Poly_Pt[i].Node_Id_Nb;
    }
    put("%6d %6d %6d %6d \n", merge ? 1 : static_cast<int>(list.size()), nodes, polys, connect);
    if (merge) {
        put("%6d %6d \n", 1, polys);
    } else {
        int start = 1;
        for (Movie_Objs* o : list) {
            put("%6d %6d \n", start, start + o->Poly_Nb - 1);
            start += o->Poly_Nb;
        }
    }
    for (Movie_Objs* o : list)
        for (int i = 0; i < o->Node_Nb; ++i) {
            const Vector_4& p = o->Node_Pt[i].Pos;
            put("%12.5f %12.5f %12.5f \n", p.x, p.y, p.z);
        }
    int offset = 0;
    for (Movie_Objs* o : list) {
        for (int i = 0; i < o->Poly_Nb; ++i) {
            const Movie_Poly& p = o->Poly_Pt[i];
            for (int j = 0; j < p.Node_Id_Nb; ++j) {
                int v = p.Node_Id[j] + offset + 1;
                put("%6d ", j == p.Node_Id_Nb - 1 ? -v : v);
            }
            out += "\n";
        }
        offset += o->Node_Nb;
    }
    return out;
}

TEST_F(MovieWrite, GoldenWorkedExample)
{
    ObjectPtr tri(make_example_triangle()), square(make_example_square());
    EXPECT_EQ(write(Movie_Write, {tri.get(), square.get()}), example_multi());
    EXPECT_EQ(sink.lines(), (std::vector<Line>{writer_entry(L"Movie_Write", wide(path)),
                                               writer_exit(L"Movie_Write", L"done")}));
    EXPECT_EQ(read_file(path), golden("example.mov"));
}

TEST_F(MovieWrite, GoldenWorkedExampleMerged)
{
    ObjectPtr tri(make_example_triangle()), square(make_example_square());
    EXPECT_EQ(write(Movie_Write_Merge, {tri.get(), square.get()}), example_merged());
    EXPECT_EQ(sink.lines(), (std::vector<Line>{writer_entry(L"Movie_Write_Merge", wide(path)),
                                               writer_exit(L"Movie_Write_Merge", L"done")}));
    EXPECT_EQ(read_file(path), golden("example_merged.mov"));
}

TEST_F(MovieWrite, GoldenMixedListAgreesWithPrintf)
{
    ObjectPtr mixed(make_mixed_object()), tri(make_example_triangle());
    ObjectPtr empty(pfx_test::make_object({{-1.5f, 2.25f, 1e6f}}, {}, 0));
    std::vector<Movie_Objs*> list = {mixed.get(), empty.get(), tri.get()};
    std::string multi = write(Movie_Write, list);
    EXPECT_EQ(multi, golden("mixed.mov"));
    EXPECT_EQ(multi, printf_reference(list, false));
    std::string merged = write(Movie_Write_Merge, list);
    EXPECT_EQ(merged, golden("mixed_merged.mov"));
    EXPECT_EQ(merged, printf_reference(list, true));
    // The object without polygons gets a range that stops one below its start.
    EXPECT_NE(multi.find("     6      5 \n"), std::string::npos);
}

TEST_F(MovieWrite, DigitsMatchPrintfOverManyMagnitudes)
{
    std::mt19937 rng(1234);
    std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::vector<P3> nodes;
    for (int i = 0; i < 3000; ++i) {
        auto v = [&] { return mantissa(rng) * std::pow(10.0f, static_cast<float>(exponent(rng))); };
        nodes.push_back({v(), v(), v()});
    }
    // Halfway cases and signed zeros.
    nodes.push_back({0.000005f, -0.000005f, 0.125f});
    nodes.push_back({-0.0f, 2.5e-6f, 1e10f});
    ObjectPtr obj(pfx_test::make_object(nodes, {{0, 1, 2}, {3000, 3001}}));
    std::string text = write(Movie_Write, {obj.get()});
    EXPECT_EQ(text, printf_reference({obj.get()}, false));
}

TEST_F(MovieWrite, EmptyListsWriteValidHeaders)
{
    EXPECT_EQ(write(Movie_Write, {}), "     0      0      0      0 \n");
    EXPECT_EQ(write(Movie_Write_Merge, {}), "     1      0      0      0 \n     1      0 \n");
}

TEST_F(MovieWrite, ComputesStalePositionsWithTheDisplacement)
{
    ObjectPtr obj(pfx_test::make_object({{1, 1, 1}, {2, 2, 2}}, {{0, 1}}, GEOM_LINE | DISPLACED));
    obj->Node_Pt[1].Displ = {0.5f, -1.0f, 3.0f, 0.0f};
    ASSERT_EQ(obj->Pos_Done, 0);
    std::string text = write(Movie_Write, {obj.get()});
    EXPECT_EQ(obj->Pos_Done, 1);
    EXPECT_NE(text.find("     2.50000      1.00000      5.00000 \n"), std::string::npos);
    // Positions already computed are written as they are.
    obj->Node_Pt[1].Pos.x = 9.0f;
    EXPECT_NE(write(Movie_Write, {obj.get()}).find("     9.00000 "), std::string::npos);
}

TEST_F(MovieWrite, SecondObjectsNodesFollowTheFirstObjects)
{
    ObjectPtr a(make_example_triangle()), b(make_example_square()), c(make_example_triangle());
    std::string text = write(Movie_Write, {a.get(), b.get(), c.get()});
    EXPECT_NE(text.find("     8      9    -10 \n"), std::string::npos);
}

TEST_F(MovieWrite, ReportsProgressEvery1024Polygons)
{
    static std::vector<int> calls;
    calls.clear();
    std::vector<P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    std::vector<std::vector<int>> polys(2500, std::vector<int>{0, 1, 2});
    ObjectPtr big(pfx_test::make_object(nodes, polys));
    ObjectPtr none(pfx_test::make_object(nodes, {}));
    Pfx_Progress progress = [](int amount) { calls.push_back(amount); };
    write(Movie_Write, {big.get(), none.get()}, progress);
    EXPECT_EQ(calls, (std::vector<int>{1024, 1024, 1024}));
    calls.clear();
    write(Movie_Write_Merge, {none.get(), big.get(), big.get()}, progress);
    EXPECT_EQ(calls.size(), 6u);
}

TEST_F(MovieWrite, OpenFailurePrintsThePathOnOneOrTwoLines)
{
    const std::wstring why = Error_Perror(ENOENT);
    auto block = [&](const std::wstring& op, const std::wstring& path,
                     const std::vector<std::wstring>& path_lines) {
        std::vector<Line> lines = {writer_entry(op, path), user(L""), user(L"------------- WARNING --------------"),
                                   user(L"Unable to write the file")};
        for (const std::wstring& l : path_lines) lines.push_back(user(l));
        lines.push_back(user(why));
        lines.push_back(user(L"------------------------------------"));
        lines.push_back(writer_exit(op, L"! _wfopen"));
        return lines;
    };
    std::vector<Movie_Objs*> list = {nullptr};
    // Directory and name: 17 + 13 = 30 characters.
    const std::wstring p30 = L"/no_such_dir_mov/abcdefghijklm.mov";
    EXPECT_EQ(Movie_Write(list.data(), p30.c_str(), nullptr), 0);
    EXPECT_EQ(sink.lines(), block(L"Movie_Write", p30, {p30}));
    EXPECT_EQ(std::wstring(Kren_Err_Str), why);
    sink.clear();
    const std::wstring p31 = L"/no_such_dir_mov/abcdefghijklmn.mov";
    EXPECT_EQ(Movie_Write_Merge(list.data(), p31.c_str(), nullptr), 0);
    EXPECT_EQ(sink.lines(),
              block(L"Movie_Write_Merge", p31, {L"/no_such_dir_mov/", L"abcdefghijklmn.mov"}));
}

TEST_F(MovieWrite, RefusesAMissingList)
{
    const std::wstring path = wide(pfx_test::temp_dir() + "none.mov");
    EXPECT_EQ(Movie_Write(nullptr, path.c_str(), nullptr), 0);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{writer_entry(L"Movie_Write", path),
                                               writer_exit(L"Movie_Write", L"! objs")}));
    EXPECT_EQ(read_file(pfx_test::narrow(path)), "");
}

} // namespace
