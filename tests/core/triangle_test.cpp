#include "core/core_lines.h"

using namespace pfx_test;

using TriangleTest = PfxTest;

const std::vector<P3> kSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 2, 0}, {3, 3, 1}};

TEST_F(TriangleTest, SplitsQuadsAndAppendsSecondHalvesInQuadOrder)
{
    const struct {
        Polys in;
        int split;
        Polys out;
    } rows[] = {
        {{{0, 1, 2, 3}}, 1, {{0, 1, 2}, {0, 2, 3}}},
        {{{0, 1, 2}, {0, 2, 3}}, 0, {{0, 1, 2}, {0, 2, 3}}},
        {{{0, 1, 2, 3}, {1, 2, 4}, {2, 3, 4, 5}, {0, 1}}, 2, {{0, 1, 2}, {1, 2, 4}, {2, 3, 4}, {0, 1}, {0, 2, 3}, {2, 4, 5}}},
    };
    for (const auto& row : rows) {
        ObjectPtr obj(make_object(kSquare, row.in, GEOM_POLY | GEOM_LINE));
        EXPECT_EQ(Movie_Triangle(obj.get()), row.split);
        EXPECT_EQ(polys_of(*obj), row.out);
    }
    // Not a surface, or nothing in it: refused without a word.
    ObjectPtr lines(make_object(kSquare, {{0, 1, 2, 3}}, GEOM_LINE)), empty(make_object({}, {}));
    EXPECT_EQ(Movie_Triangle(nullptr) + Movie_Triangle(lines.get()) + Movie_Triangle(empty.get()), 0);
    EXPECT_EQ(polys_of(*lines), (Polys{{0, 1, 2, 3}}));
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(TriangleTest, SecondHalfInheritsTheQuadsAttributes)
{
    ObjectPtr obj(make_object(kSquare, {{0, 1, 2, 3}}));
    Movie_Poly& q = obj->Poly_Pt[0];
    q.Normal = {0, 0, 1, 1};
    q.Color = 0x11223344u;
    q.Size = 2.0f;
    q.Plane_D = -0.5f;
    q.Axis = 2;
    q.Mark = 7;
    for (int k = 0; k < 4; ++k) q.Text_Id[k] = 10 + k, q.Normal_Id[k] = 20 + k;
    ASSERT_EQ(Movie_Triangle(obj.get()), 1);
    const Movie_Poly& f = obj->Poly_Pt[0];
    const Movie_Poly& t = obj->Poly_Pt[1];
    EXPECT_EQ(v4(t.Normal), (V4{0, 0, 1, 1}));
    EXPECT_TRUE(t.Color == 0x11223344u && t.Size == 2.0f && t.Plane_D == -0.5f && t.Axis == 2 && t.Mark == 0u);
    EXPECT_EQ(Ids(t.Text_Id, t.Text_Id + 4), (Ids{10, 12, 13, 0}));
    EXPECT_EQ(Ids(t.Normal_Id, t.Normal_Id + 4), (Ids{20, 22, 23, 0}));
    EXPECT_EQ(Ids(f.Text_Id, f.Text_Id + 4), (Ids{10, 11, 12, 13})); // the first half keeps its fourth slots
    EXPECT_EQ(f.Node_Id[3], 3);
}

TEST_F(TriangleTest, ReportsAFailedGrowAndKeepsEarlierSplits)
{
    const int failing = for_each_alloc_failure([&](long n) {
        ObjectPtr o(make_object(kSquare, {{0, 1, 2, 3}, {2, 3, 4, 5}}));
        sink.clear();
        EXPECT_EQ(Movie_Triangle(o.get()), n <= 2 ? 0 : 2);
        if (n > 2) return;
        EXPECT_EQ(polys_of(*o), (n == 1 ? Polys{{0, 1, 2}, {2, 3, 4, 5}} : Polys{{0, 1, 2}, {2, 3, 4}, {0, 2, 3}}));
        const std::wstring dim = n == 1 ? L"3x120)" : L"4x120)";
        EXPECT_EQ(mask_line_numbers(sink.lines()), Lines{memory_error(L"movie_func", L"realloc (var=mov->Poly_Pt, dim=" + dim)});
    });
    EXPECT_EQ(failing, 2);
}

