// The ".mov" writers: golden bytes, every number against printf, progress and
// the open-failure block; then both writers read back by both readers.
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "native_io/mov_cases.h"
#include "support/capture.h"

using pfx_test::Line;
using pfx_test::ObjectPtr;
using pfx_test::P3;
using pfx_test::read_file;
using pfx_test::wide;

namespace {

using Writer = int (*)(Movie_Objs**, const wchar_t*, Pfx_Progress);
using Corners = std::vector<std::vector<int>>;

Line trace(const std::wstring& in_out, const std::wstring& op, const std::wstring& text)
{
    return {MSG_TRACE, in_out + L" Polyfex: " + op + L"(" + text + L")"};
}

class MovieWrite : public pfx_test::PfxTest {
protected:
    // Writes the list to dir/name.mov and returns the file's bytes.
    std::string write(Writer writer, std::vector<Movie_Objs*> list, Pfx_Progress progress = nullptr)
    {
        list.push_back(nullptr);
        EXPECT_EQ(writer(list.data(), (wide(dir) + name + L".mov").c_str(), progress), 1);
        return read_file(dir + pfx_test::narrow(name) + ".mov");
    }
    std::string dir = pfx_test::temp_dir();
    std::wstring name = L"out";
};

// The file as one printf call per number writes it, from each object's Pos.
std::string printf_reference(const std::vector<Movie_Objs*>& list, bool merge)
{
    char buf[64];
    std::string out;
    auto put = [&](const char* format, auto... v) {
        std::snprintf(buf, sizeof buf, format, v...);
        out += buf;
    };
    int nodes = 0, polys = 0, connect = 0, start = 1, offset = 0;
    for (Movie_Objs* o : list) {
        nodes += o->Node_Nb;
        polys += o->Poly_Nb;
        for (int i = 0; i < o->Poly_Nb; ++i) connect += o->Poly_Pt[i].Node_Id_Nb;
    }
    put("%6d %6d %6d %6d \n", merge ? 1 : static_cast<int>(list.size()), nodes, polys, connect);
    if (merge) put("%6d %6d \n", 1, polys);
    for (Movie_Objs* o : merge ? std::vector<Movie_Objs*>{} : list) {
        put("%6d %6d \n", start, start + o->Poly_Nb - 1);
        start += o->Poly_Nb;
    }
    for (Movie_Objs* o : list)
        for (int i = 0; i < o->Node_Nb; ++i) {
            const Vector_4& p = o->Node_Pt[i].Pos;
            put("%12.5f %12.5f %12.5f \n", p.x, p.y, p.z);
        }
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

// Values of many magnitudes, halfway cases and signed zeros, every node in
// a triangle or the quad.
Movie_Objs* make_random()
{
    std::mt19937 rng(1234);
    std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::vector<P3> nodes = {{0.000005f, -0.000005f, 0.125f}, {-0.0f, 2.5e-6f, 1e10f}};
    auto v = [&] { return mantissa(rng) * std::pow(10.0f, static_cast<float>(exponent(rng))); };
    Corners polys = {{3000, 3001, 0, 1}};
    for (int i = 0; i < 3000; ++i) nodes.push_back({v(), v(), v()});
    for (int i = 0; i < 3000; i += 3) polys.push_back({i, i + 1, i + 2});
    return pfx_test::make_object(nodes, polys);
}

TEST_F(MovieWrite, GoldensAndEveryDigitAgreeWithPrintfAlsoFromTheFallbackBuffer)
{
    ObjectPtr tri(mov_test::make_example_triangle()), square(mov_test::make_example_square());
    ObjectPtr mixed(mov_test::make_mixed_object());
    ObjectPtr empty(pfx_test::make_object({{-1.5f, 2.25f, 1e6f}}, {}, 0));
    ObjectPtr random(make_random());
    const struct {
        bool merge;
        std::vector<Movie_Objs*> list;
        std::string golden;
    } rows[] = {
        {false, {tri.get(), square.get()}, "example.mov"},   {true, {tri.get(), square.get()}, "example_merged.mov"},
        {false, {mixed.get(), empty.get(), tri.get()}, "mixed.mov"},
        {true, {mixed.get(), empty.get(), tri.get()}, "mixed_merged.mov"},
        {false, {random.get()}, ""}, {false, {}, ""}, {true, {}, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.golden);
        // The output buffer is the one allocation; in the first run a small
        // one replaces it and must write the same bytes.
        const int runs = pfx_test::for_each_alloc_failure([&](long) {
            sink.clear();
            const std::string text = write(row.merge ? Movie_Write_Merge : Movie_Write, row.list);
            EXPECT_TRUE(row.golden.empty() || text == read_file(pfx_test::test_path("golden/mov/" + row.golden)));
            EXPECT_EQ(text, printf_reference(row.list, row.merge));
            const std::wstring op = row.merge ? L"Movie_Write_Merge" : L"Movie_Write";
            EXPECT_EQ(sink.lines(), (std::vector<Line>{trace(L">>> in ", op, wide(dir) + L"out.mov"),
                                                       trace(L"<<< out", op, L"done")}));
        });
        EXPECT_EQ(runs, 1);
    }
    // Positions once computed are written as they are.
    mixed->Node_Pt[3].Pos.x = 9.0f;
    EXPECT_NE(write(Movie_Write, {mixed.get()}).find("\n     9.00000 "), std::string::npos);
}

TEST_F(MovieWrite, ReportsProgressEvery1024Polygons)
{
    static std::vector<int> calls;
    std::vector<P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    ObjectPtr big(pfx_test::make_object(nodes, Corners(2500, std::vector<int>{0, 1, 2})));
    ObjectPtr none(pfx_test::make_object(nodes, {}));
    Pfx_Progress progress = [](int amount) { calls.push_back(amount); };
    write(Movie_Write, {big.get(), none.get()}, progress);
    EXPECT_EQ(calls, (std::vector<int>{1024, 1024, 1024}));
    calls.clear();
    write(Movie_Write_Merge, {none.get(), big.get(), big.get()}, progress);
    EXPECT_EQ(calls, std::vector<int>(6, 1024));
}

TEST_F(MovieWrite, RefusesAMissingListAndPrintsAnUnwritablePathOnOneOrTwoLines)
{
    const std::wstring why = Error_Perror(ENOENT);
    auto block = [&](const std::wstring& op, const std::wstring& path, std::vector<std::wstring> user) {
        user.insert(user.begin(), {L"", L"------------- WARNING --------------", L"Unable to write the file"});
        user.insert(user.end(), {why, L"------------------------------------"});
        std::vector<Line> lines = {trace(L">>> in ", op, path)};
        for (const std::wstring& u : user) lines.push_back({MSG_USER, u});
        lines.push_back(trace(L"<<< out", op, L"! _wfopen"));
        return lines;
    };
    std::vector<Movie_Objs*> list = {nullptr};
    // Directory and name: 17 + 13 = 30 characters fit one line, 31 do not.
    const std::wstring p30 = L"/no_such_dir_mov/abcdefghijklm.mov", p31 = L"/no_such_dir_mov/abcdefghijklmn.mov";
    EXPECT_EQ(Movie_Write(list.data(), p30.c_str(), nullptr), 0);
    EXPECT_EQ(sink.lines(), block(L"Movie_Write", p30, {p30}));
    EXPECT_EQ(std::wstring(Kren_Err_Str), why);
    sink.clear();
    EXPECT_EQ(Movie_Write_Merge(list.data(), p31.c_str(), nullptr), 0);
    EXPECT_EQ(sink.lines(), block(L"Movie_Write_Merge", p31, {L"/no_such_dir_mov/", L"abcdefghijklmn.mov"}));
    sink.clear();
    const std::wstring path = wide(dir + "none.mov");
    EXPECT_EQ(Movie_Write(nullptr, path.c_str(), nullptr), 0);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{trace(L">>> in ", L"Movie_Write", path),
                                               trace(L"<<< out", L"Movie_Write", L"! objs")}));
    EXPECT_EQ(read_file(dir + "none.mov"), "");
}

// Nodes and polygons of objs as a reader gives them back in one object:
// positions to the written "%12.5f", every quad (a, b, c, d) as (a, b, c) in
// place and (a, c, d) after all the others.
void expect_read_back(const Movie_Objs* got, const std::vector<Movie_Objs*>& objs)
{
    ASSERT_NE(got, nullptr);
    std::vector<float> want, have;
    Corners want_polys, tail, have_polys;
    char buf[64];
    int offset = 0;
    for (Movie_Objs* o : objs) {
        for (const Movie_Node& n : std::vector<Movie_Node>(o->Node_Pt, o->Node_Pt + o->Node_Nb))
            for (float v : {n.Pos.x, n.Pos.y, n.Pos.z}) {
                std::snprintf(buf, sizeof buf, "%12.5f", v);
                want.push_back(std::strtof(buf, nullptr));
            }
        for (const Movie_Poly& p : std::vector<Movie_Poly>(o->Poly_Pt, o->Poly_Pt + o->Poly_Nb)) {
            std::vector<int> c(p.Node_Id, p.Node_Id + p.Node_Id_Nb);
            for (int& id : c) id += offset;
            if (c.size() == 4) tail.push_back({c[0], c[2], c[3]}), c.pop_back();
            want_polys.push_back(c);
        }
        offset += o->Node_Nb;
    }
    want_polys.insert(want_polys.end(), tail.begin(), tail.end());
    for (const Movie_Node& n : std::vector<Movie_Node>(got->Node_Pt, got->Node_Pt + got->Node_Nb))
        have.insert(have.end(), {n.Coord.x, n.Coord.y, n.Coord.z});
    for (const Movie_Poly& p : std::vector<Movie_Poly>(got->Poly_Pt, got->Poly_Pt + got->Poly_Nb))
        have_polys.emplace_back(p.Node_Id, p.Node_Id + p.Node_Id_Nb);
    EXPECT_EQ(have, want);
    EXPECT_EQ(have_polys, want_polys);
}

TEST_F(MovieWrite, RoundTripsThroughANonAsciiPathWithBothReaders)
{
    dir += "Gr\xC3\xBC\xC3\x9F" "e/";
    name = L"Gr\u00FC\u00DFe";
    ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
    ObjectPtr cube(pfx_test::make_unit_cube_quads()), tet(pfx_test::make_tetrahedron());
    ObjectPtr mixed(mov_test::make_mixed_object()), random(make_random());
    const std::vector<Movie_Objs*> src = {cube.get(), tet.get(), mixed.get(), random.get()};
    write(Movie_Write, src);
    Movie_Objs** list = nullptr;
    ASSERT_EQ(Movie_Read_Merge(wide(dir).c_str(), name.c_str(), &list), 4);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(std::wstring(list[k]->Name), name + L"." + std::to_wstring(k + 1));
        EXPECT_EQ(std::wstring(list[k]->Path), wide(dir));
        expect_read_back(list[k], {src[k]});
    }
    pfx_test::free_object_list(list, 4);
    write(Movie_Write_Merge, src);
    ObjectPtr one(Movie_Read(wide(dir).c_str(), name.c_str()));
    ASSERT_TRUE(one);
    EXPECT_EQ(std::wstring(one->Name) + L" " + one->Path, name + L" " + wide(dir));
    expect_read_back(one.get(), src);
    ASSERT_EQ(Movie_Read_Merge(wide(dir).c_str(), name.c_str(), &list), 1);
    EXPECT_EQ(std::wstring(list[0]->Name), name);
    expect_read_back(list[0], src);
    pfx_test::free_object_list(list, 1);
}

} // namespace
