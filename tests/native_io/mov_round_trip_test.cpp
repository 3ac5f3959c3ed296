// Write then read: both writers, both readers. Positions come back to the
// written precision and polygons exactly (quads as two triangles).
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "native_io/mov_cases.h"

using namespace mov_test;
using pfx_test::ObjectPtr;
using pfx_test::P3;
using pfx_test::wide;

namespace {

using Corners = std::vector<std::vector<int>>;

// What a reader gives for polygons: every quad (a, b, c, d) becomes (a, b, c)
// in place and (a, c, d) appended after the others.
Corners triangulated(const Corners& polys)
{
    Corners out = polys, tail;
    for (auto& p : out)
        if (p.size() == 4) {
            tail.push_back({p[0], p[2], p[3]});
            p.pop_back();
        }
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

Corners corners_of(const Movie_Objs& o)
{
    Corners out;
    for (int i = 0; i < o.Poly_Nb; ++i)
        out.emplace_back(o.Poly_Pt[i].Node_Id, o.Poly_Pt[i].Node_Id + o.Poly_Pt[i].Node_Id_Nb);
    return out;
}

Corners corners_of(const Movie_Objs& o, int offset)
{
    Corners out = corners_of(o);
    for (auto& p : out)
        for (int& v : p) v += offset;
    return out;
}

// A coordinate as "%12.5f" writes it and "%f" reads it back.
float written(float v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%12.5f", v);
    return std::strtof(buf, nullptr);
}

void expect_nodes(const Movie_Objs& got, const Movie_Objs& src, int first = 0)
{
    for (int i = 0; i < src.Node_Nb; ++i) {
        const Vector_4& p = src.Node_Pt[i].Pos;
        const Movie_Node& n = got.Node_Pt[first + i];
        ASSERT_EQ(n.Coord.x, written(p.x)) << i;
        ASSERT_EQ(n.Coord.y, written(p.y)) << i;
        ASSERT_EQ(n.Coord.z, written(p.z)) << i;
        ASSERT_EQ(n.Pos.z, n.Coord.z) << i;
    }
}

// A wavy grid of n x n nodes and 2 (n - 1)^2 triangles, with some quads.
Movie_Objs* make_grid(int n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
    std::vector<P3> nodes;
    for (int i = 0; i < n * n; ++i) nodes.push_back({d(rng), d(rng), d(rng) * 1e-3f});
    Corners polys;
    for (int y = 0; y + 1 < n; ++y)
        for (int x = 0; x + 1 < n; ++x) {
            int a = y * n + x, b = a + 1, c = a + n + 1, e = a + n;
            if ((x + y) % 7 == 0) {
                polys.push_back({a, b, c, e});
            } else {
                polys.push_back({a, b, c});
                polys.push_back({a, c, e});
            }
        }
    return pfx_test::make_object(nodes, polys);
}

class MovRoundTrip : public pfx_test::PfxTest {
protected:
    void SetUp() override { dir = pfx_test::temp_dir(); }
    void write(int (*writer)(Movie_Objs**, const wchar_t*, Pfx_Progress), std::vector<Movie_Objs*> list,
               const std::string& name = "part")
    {
        list.push_back(nullptr);
        ASSERT_EQ(writer(list.data(), wide(dir + name + ".mov").c_str(), nullptr), 1);
    }
    std::string dir;
};

TEST_F(MovRoundTrip, SeparateObjectsComeBackSeparate)
{
    ObjectPtr cube(pfx_test::make_unit_cube_quads()), tet(pfx_test::make_tetrahedron());
    ObjectPtr grid(make_grid(30, 7));
    const Corners want[3] = {triangulated(corners_of(*cube)), corners_of(*tet),
                             triangulated(corners_of(*grid))};
    write(Movie_Write, {cube.get(), tet.get(), grid.get()});
    Movie_Objs** list = nullptr;
    int n = Movie_Read_Merge(wide(dir).c_str(), L"part", &list);
    ASSERT_EQ(n, 3);
    Movie_Objs* src[3] = {cube.get(), tet.get(), grid.get()};
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(std::wstring(list[k]->Name), L"part." + std::to_wstring(k + 1));
        ASSERT_EQ(list[k]->Node_Nb, src[k]->Node_Nb);
        expect_nodes(*list[k], *src[k]);
        EXPECT_EQ(corners_of(*list[k]), want[k]) << k;
    }
    pfx_test::free_object_list(list, n);
    // The single-object reader refuses a file of three objects.
    EXPECT_EQ(Movie_Read(wide(dir).c_str(), L"part"), nullptr);
    EXPECT_EQ(sink.lines().back(), reader_exit(L"Movie_Read", L"nb_obj > 1"));
}

TEST_F(MovRoundTrip, MergedObjectsComeBackAsOneWithBothReaders)
{
    ObjectPtr cube(pfx_test::make_unit_cube_quads()), tet(pfx_test::make_tetrahedron());
    ObjectPtr grid(make_grid(25, 11));
    write(Movie_Write_Merge, {tet.get(), cube.get(), grid.get()});
    Corners all = corners_of(*tet, 0);
    for (auto& p : corners_of(*cube, tet->Node_Nb)) all.push_back(p);
    for (auto& p : corners_of(*grid, tet->Node_Nb + cube->Node_Nb)) all.push_back(p);
    const Corners want = triangulated(all);

    ObjectPtr one(Movie_Read(wide(dir).c_str(), L"part"));
    ASSERT_TRUE(one);
    ASSERT_EQ(one->Node_Nb, tet->Node_Nb + cube->Node_Nb + grid->Node_Nb);
    expect_nodes(*one, *tet);
    expect_nodes(*one, *cube, tet->Node_Nb);
    expect_nodes(*one, *grid, tet->Node_Nb + cube->Node_Nb);
    EXPECT_EQ(corners_of(*one), want);

    Movie_Objs** list = nullptr;
    ASSERT_EQ(Movie_Read_Merge(wide(dir).c_str(), L"part", &list), 1);
    EXPECT_EQ(std::wstring(list[0]->Name), L"part");
    EXPECT_EQ(list[0]->Node_Nb, one->Node_Nb);
    EXPECT_EQ(corners_of(*list[0]), want);
    expect_nodes(*list[0], *grid, tet->Node_Nb + cube->Node_Nb);
    pfx_test::free_object_list(list, 1);
}

TEST_F(MovRoundTrip, PositionsKeepFiveDecimals)
{
    ObjectPtr obj(pfx_test::make_object({{0.123456f, -2.5e-6f, 1234.567891f}, {0, 0, 0}}, {{0, 1}},
                                        GEOM_LINE));
    write(Movie_Write_Merge, {obj.get()});
    ObjectPtr back(Movie_Read(wide(dir).c_str(), L"part"));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->Node_Pt[0].Coord.x, 0.12346f);
    EXPECT_EQ(back->Node_Pt[0].Coord.y, -0.0f);
    EXPECT_EQ(back->Node_Pt[0].Coord.z, 1234.56787f);
    EXPECT_EQ(back->Flags, GEOM_LINE | 0x21u);
}

TEST_F(MovRoundTrip, DisplacementIsWrittenIntoThePositions)
{
    ObjectPtr obj(make_mixed_object());
    write(Movie_Write, {obj.get()});
    Movie_Objs** list = nullptr;
    ASSERT_EQ(Movie_Read_Merge(wide(dir).c_str(), L"part", &list), 1);
    EXPECT_EQ(list[0]->Node_Pt[3].Coord.x, 101.0f);
    EXPECT_EQ(list[0]->Node_Pt[3].Coord.y, 198.0f);
    EXPECT_EQ(list[0]->Flags, GEOM_POINT | GEOM_LINE | GEOM_POLY | 0x21u);
    EXPECT_EQ(corners_of(*list[0]), triangulated(corners_of(*obj)));
    pfx_test::free_object_list(list, 1);
}

TEST_F(MovRoundTrip, NonAsciiDirectoryAndName)
{
    const std::string sub = dir + "Gr\xC3\xBC\xC3\x9F" "e/";
    ASSERT_EQ(mkdir(sub.c_str(), 0755), 0);
    ObjectPtr tet(pfx_test::make_tetrahedron());
    std::vector<Movie_Objs*> list = {tet.get(), tet.get(), nullptr};
    const std::wstring wdir = wide(sub);
    const std::wstring name = L"Gr\u00FC\u00DFe";
    ASSERT_EQ(Movie_Write(list.data(), (wdir + name + L".mov").c_str(), nullptr), 1);
    EXPECT_EQ(sink.lines().front(), writer_entry(L"Movie_Write", wdir + name + L".mov"));
    Movie_Objs** back = nullptr;
    ASSERT_EQ(Movie_Read_Merge(wdir.c_str(), name.c_str(), &back), 2);
    EXPECT_EQ(std::wstring(back[1]->Name), name + L".2");
    EXPECT_EQ(std::wstring(back[1]->Path), wdir);
    EXPECT_EQ(corners_of(*back[1]), corners_of(*tet));
    pfx_test::free_object_list(back, 2);
}

} // namespace
