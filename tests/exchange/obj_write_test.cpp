// OBJ_Write: golden files, references, progress, failures and round trips.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "core/alloc.h"
#include "exchange/obj_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> out;
    size_t p = 0;
    while (p < text.size()) {
        size_t e = text.find('\n', p);
        if (e == std::string::npos) e = text.size();
        out.push_back(text.substr(p, e - p));
        p = e + 1;
    }
    return out;
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

// "# created: 17 Jun 2025 14:30"
bool is_date_line(const std::string& l)
{
    const std::string shape = "# created: 00 Aaa 0000 00:00";
    if (l.size() != shape.size()) return false;
    for (size_t i = 0; i < l.size(); ++i) {
        const char s = shape[i], c = l[i];
        if (s == '0' ? !(c >= '0' && c <= '9') : s == 'A' ? !(c >= 'A' && c <= 'Z')
                                     : s == 'a' ? !(c >= 'a' && c <= 'z') : c != s)
            return false;
    }
    return true;
}

// The date line is the only one that changes from run to run.
void expect_golden(const std::string& got, const std::string& golden_file)
{
    const std::string want = read_file(test_path("golden/obj/" + golden_file));
    ASSERT_FALSE(want.empty()) << golden_file;
    std::vector<std::string> g = lines_of(got), w = lines_of(want);
    ASSERT_EQ(g.size(), w.size()) << golden_file;
    ASSERT_GE(g.size(), 5u);
    EXPECT_TRUE(is_date_line(g[3])) << g[3];
    g[3] = w[3];
    for (size_t i = 0; i < g.size(); ++i) EXPECT_EQ(g[i], w[i]) << golden_file << " line " << i + 1;
    EXPECT_EQ(got.back(), '\n');
}

TEST_F(ObjWrite, GoldenFiles)
{
    for (ObjCase& c : obj_golden_cases()) {
        sink.clear();
        std::string got = write(c.objs.data(), c.file);
        EXPECT_EQ(result, static_cast<int>(c.objs.size()) - 1);
        EXPECT_EQ(sink.lines(), (std::vector<Line>{{MSG_ENTRY, L"in OBJ_Write()"}}));
        expect_golden(got, c.file);
        release_case(c);
    }
}

TEST_F(ObjWrite, PositionsAreComputedBeforeWriting)
{
    ObjCase c = worked_example();
    c.objs[0]->Flags |= DISPLACED;
    for (int i = 0; i < 3; ++i) c.objs[0]->Node_Pt[i].Displ = Vector_4{10, 20, 30, 0};
    ASSERT_EQ(c.objs[0]->Pos_Done, 0);
    std::vector<std::string> lines = lines_of(write(c.objs.data()));
    EXPECT_EQ(c.objs[0]->Pos_Done, 1);
    EXPECT_EQ(lines[9], "v     10.000000    20.000000    30.000000 ");
    EXPECT_EQ(lines[10], "v     11.000000    20.000000    30.000000 ");
    // With Pos_Done set, Pos is written as it stands.
    c.objs[0]->Node_Pt[0].Pos = Vector_4{-1, -2, -3, 0};
    lines = lines_of(write(c.objs.data()));
    EXPECT_EQ(lines[9], "v     -1.000000    -2.000000    -3.000000 ");
    release_case(c);
}

TEST_F(ObjWrite, ObjectReadFromAFileWithoutGroupsIsWrittenWithItsPositions)
{
    write_file(dir + "in.obj", "v 1 2 3\nv 4 5 6\nv 7 8 9\nf 1 2 3\n");
    Movie_Objs** in = nullptr;
    ASSERT_EQ(OBJ_Read_Merge(wide(dir).c_str(), L"in", &in), 1);
    ASSERT_EQ(in[0]->Pos_Done, 0);
    std::vector<std::string> lines = lines_of(write(in));
    EXPECT_EQ(result, 1);
    EXPECT_EQ(lines[6], "# =================== Data for group \"in\" ========");
    EXPECT_EQ(lines[9], "v      1.000000     2.000000     3.000000 ");
    EXPECT_EQ(lines[11], "v      7.000000     8.000000     9.000000 ");
    free_object_list(in, -1);
}

TEST_F(ObjWrite, EmptyArrayWritesTheHeaderOnly)
{
    Movie_Objs* none[1] = {nullptr};
    std::vector<std::string> lines = lines_of(write(none));
    EXPECT_EQ(result, 0);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "#");
    EXPECT_EQ(lines[2], "# Created by Krendalith libraries");
    EXPECT_EQ(lines[4], " ");
    // A null array is taken as an empty one.
    EXPECT_EQ(lines_of(write(nullptr)).size(), 5u);
    EXPECT_EQ(result, 0);
}

TEST_F(ObjWrite, MissingNameIsWrittenAsNull)
{
    ObjCase c = worked_example();
    free(c.objs[0]->Name);
    c.objs[0]->Name = nullptr;
    std::vector<std::string> lines = lines_of(write(c.objs.data()));
    EXPECT_EQ(lines[6], "# =================== Data for group \"(null)\" ========");
    EXPECT_EQ(lines[17], "# =================== Connectivity for group \"(null)\" ========");
    EXPECT_EQ(lines[19], "g (null) ");
    release_case(c);
}

TEST_F(ObjWrite, LongReferencesAreWrittenWhole)
{
    ObjCase c = worked_example();
    set_texts(c.objs[0], {0, 0});
    Movie_Poly& p = c.objs[0]->Poly_Pt[0];
    const int ids[3] = {2000000000, 0, 123456789};
    for (int i = 0; i < 3; ++i) {
        p.Node_Id[i] = ids[i];
        p.Text_Id[i] = ids[i];
    }
    std::vector<std::string> lines = lines_of(write(c.objs.data()));
    EXPECT_EQ(lines.back(), "f  2000000001/2000000001/2000000001"
                            "1/1/1                 123456790/123456790/123456790");
    release_case(c);
}

TEST_F(ObjWrite, CornerCountsOutsideOneToFourWriteOnlyTheSlotsThatExist)
{
    Movie_Objs* o = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2, 3}, {0, 1, 2}});
    o->Poly_Pt[0].Node_Id_Nb = 7;
    o->Poly_Pt[1].Node_Id_Nb = -2;
    Movie_Objs* list[2] = {o, nullptr};
    std::vector<std::string> lines = lines_of(write(list));
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "f  1//1                  2//2                  3//3                  4//4");
    EXPECT_EQ(lines.back(), "f  ");
    free_object(o);
}

TEST_F(ObjWrite, NumbersHaveThePrintfDigits)
{
    const float values[] = {0.0f, -0.0f, 1e-7f, -1e-7f, 0.0078125f, -0.0234375f, 0.1f, 1.0f / 3, 123456.789f,
                            -98765.4321f, 1e10f, 9.2e12f, 1.5e13f, 3.4e38f, -3.4e38f, 1e-45f, 0.5e-6f,
                            1.5e-6f, 2.5e-6f, 999999.9999f, std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(), std::nanf("")};
    std::vector<P3> nodes;
    for (float v : values) nodes.push_back({v, -v, v * 0.5f});
    Movie_Objs* o = make_object(nodes, {});
    Movie_Objs* list[2] = {o, nullptr};
    std::vector<std::string> lines = lines_of(write(list));
    for (size_t i = 0; i < nodes.size(); ++i) {
        char want[256];
        std::snprintf(want, sizeof want, "v  %12.6f %12.6f %12.6f ", nodes[i].x, nodes[i].y, nodes[i].z);
        EXPECT_EQ(lines[9 + i], want) << i;
    }
    free_object(o);
}

TEST_F(ObjWrite, ProgressEvery1024Polygons)
{
    std::vector<std::vector<int>> polys(3000, std::vector<int>{0, 1, 2});
    Movie_Objs* o = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, polys);
    Movie_Objs* list[2] = {o, nullptr};
    static std::vector<int> calls;
    calls.clear();
    write(list, "p.obj", [](int n) { calls.push_back(n); });
    EXPECT_EQ(calls, (std::vector<int>{1024, 1024, 1024}));
    free_object(o);
}

TEST_F(ObjWrite, OpenFailureGivesTheWriteWarningBlock)
{
    ObjCase c = worked_example();
    const std::string path = dir + "missing/out.obj";
    EXPECT_EQ(OBJ_Write(c.objs.data(), wide(path).c_str(), nullptr, nullptr), 0);
    const std::wstring err = Error_Perror(ENOENT);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{{MSG_ENTRY, L"in OBJ_Write()"},
                                               {MSG_USER, L""},
                                               {MSG_USER, L"------------- WARNING --------------"},
                                               {MSG_USER, L"Unable to write the file"},
                                               {MSG_USER, wide(dir + "missing/")},
                                               {MSG_USER, L"out.obj"},
                                               {MSG_USER, err},
                                               {MSG_USER, L"------------------------------------"}}));
    release_case(c);
}

TEST_F(ObjWrite, SmallBufferWritesTheSameBytes)
{
    ObjCase c = two_objects();
    const std::string want = write(c.objs.data(), "a.obj");
    int runs = for_each_alloc_failure([&](long) {
        std::string got = write(c.objs.data(), "b.obj");
        EXPECT_EQ(result, 2);
        std::vector<std::string> g = lines_of(got), w = lines_of(want);
        ASSERT_EQ(g.size(), w.size());
        g[3] = w[3];
        EXPECT_EQ(g, w);
    });
    EXPECT_GE(runs, 1);
    release_case(c);
}

// Objects written and read back: names, counts, positions to the written
// precision, corners and texture and normal references survive.
TEST_F(ObjWrite, RoundTripKeepsObjects)
{
    Movie_Objs* a = make_object({{0.125f, -2.5f, 3}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5f, 0.5f, 1}},
                                {{0, 1, 2, 3}, {0, 1, 4}, {1, 2, 4}});
    set_name(a, L"quads and triangles");
    set_node_normals(a, 0, 0, 1);
    Movie_Objs* b = make_object({{10, 10, 10}, {11, 10, 10}, {10, 11, 10}}, {{0, 1, 2}, {2, 1, 0}});
    set_name(b, L"with lists");
    set_texts(b, {0.25f, 0.75f, 1, 0});
    set_normals(b, {0, 1, 0, 1, 0, 0});
    const int t[2][3] = {{1, 0, 1}, {0, 0, 1}};
    const int n[2][3] = {{1, 1, 0}, {0, 1, 0}};
    for (int p = 0; p < 2; ++p)
        for (int i = 0; i < 3; ++i) {
            b->Poly_Pt[p].Text_Id[i] = t[p][i];
            b->Poly_Pt[p].Normal_Id[i] = n[p][i];
        }
    Movie_Objs* c = make_object({{-1, -1, -1}, {-2, -2, -2}, {-3, -3, -3.0000004f}}, {{2, 1, 0}});
    set_name(c, L"c");
    set_node_normals(c, 1, 0, 0);
    set_texts(c, {0.5f, 0.5f, 0.1f, 0.2f, 0.3f, 0.4f});
    for (int i = 0; i < 3; ++i) c->Poly_Pt[0].Text_Id[i] = 2 - i;
    Movie_Objs* list[4] = {a, b, c, nullptr};
    write(list, "round.obj");
    ASSERT_EQ(result, 3);

    Movie_Objs** back = nullptr;
    ASSERT_EQ(OBJ_Read_Merge(wide(dir).c_str(), L"round", &back), 3);
    for (int k = 0; k < 3; ++k) {
        const Movie_Objs* w = list[k];
        const Movie_Objs* r = back[k];
        EXPECT_STREQ(r->Name, w->Name);
        ASSERT_EQ(r->Node_Nb, w->Node_Nb);
        ASSERT_EQ(r->Poly_Nb, w->Poly_Nb);
        // Faces written without texture numbers read back with the last
        // texture coordinate of the file, as every such field does.
        EXPECT_EQ(r->Text_Nb, w->Text_Nb ? w->Text_Nb : 1);
        for (int i = 0; i < w->Node_Nb; ++i) {
            EXPECT_NEAR(r->Node_Pt[i].Coord.x, w->Node_Pt[i].Pos.x, 5e-7);
            EXPECT_NEAR(r->Node_Pt[i].Coord.y, w->Node_Pt[i].Pos.y, 5e-7);
            EXPECT_NEAR(r->Node_Pt[i].Coord.z, w->Node_Pt[i].Pos.z, 5e-7);
        }
        for (int p = 0; p < w->Poly_Nb; ++p) {
            ASSERT_EQ(r->Poly_Pt[p].Node_Id_Nb, w->Poly_Pt[p].Node_Id_Nb);
            for (int i = 0; i < w->Poly_Pt[p].Node_Id_Nb; ++i) {
                EXPECT_EQ(r->Poly_Pt[p].Node_Id[i], w->Poly_Pt[p].Node_Id[i]);
                if (w->Text_Nb) {
                    EXPECT_EQ(r->Poly_Pt[p].Text_Id[i], w->Poly_Pt[p].Text_Id[i]);
                }
            }
        }
        for (int i = 0; i < 2 * w->Text_Nb; ++i) EXPECT_NEAR(r->Text_Pt[i], w->Text_Pt[i], 5e-7);
    }
    // A normal list comes back as it was; node normals come back as a list,
    // one per node, referenced by node index.
    ASSERT_EQ(back[1]->Normal_Nb, 2);
    for (int p = 0; p < 2; ++p)
        for (int i = 0; i < 3; ++i) EXPECT_EQ(back[1]->Poly_Pt[p].Normal_Id[i], n[p][i]);
    EXPECT_EQ(std::vector<float>(back[1]->Normal_Pt, back[1]->Normal_Pt + 6), (std::vector<float>{0, 1, 0, 1, 0, 0}));
    ASSERT_EQ(back[0]->Normal_Nb, 5);
    EXPECT_EQ(back[0]->Normal_Pt[2], 1.0f);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(back[0]->Poly_Pt[0].Normal_Id[i], back[0]->Poly_Pt[0].Node_Id[i]);
    EXPECT_EQ(back[2]->Normal_Nb, 3);
    free_object_list(back, -1);
    for (Movie_Objs* o : {a, b, c}) free_object(o);
}

// note: more than 1024 objects are written like any other list; the bases
// are summed as the faces are written, so there is no table to outgrow.
TEST_F(ObjWrite, MoreThan1024ObjectsAreAllWritten)
{
    std::vector<Movie_Objs*> list;
    for (int k = 0; k < 1500; ++k) {
        Movie_Objs* o = make_object({{float(k), 0, 0}, {float(k), 1, 0}, {float(k), 0, 1}}, {{0, 1, 2}});
        set_name(o, std::to_wstring(k).c_str());
        list.push_back(o);
    }
    list.push_back(nullptr);
    std::vector<std::string> lines = lines_of(write(list.data()));
    EXPECT_EQ(result, 1500);
    EXPECT_EQ(lines.back(), "f  4498//4498            4499//4499            4500//4500");
    Movie_Objs** back = nullptr;
    ASSERT_EQ(OBJ_Read_Merge(wide(dir).c_str(), L"out", &back), 1500);
    EXPECT_STREQ(back[1499]->Name, L"1499");
    EXPECT_EQ(back[1499]->Node_Pt[2].Coord.x, 1499.0f);
    EXPECT_EQ(back[1499]->Poly_Pt[0].Node_Id[2], 2);
    free_object_list(back, -1);
    for (Movie_Objs* o : list) free_object(o);
}

} // namespace
} // namespace pfx_test
