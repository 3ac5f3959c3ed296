#include <cstring>

#include "core/core_lines.h"

using namespace pfx_test;

using Bookkeeping = PfxTest;

TEST_F(Bookkeeping, PositionsAndBoxFollowDisplacedCoordinates)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 5, -2}, {-1, 2, 3}}, {}, GEOM_POLY | DISPLACED));
    obj->Node_Pt[0].Coord.w = 9.0f;
    obj->Node_Pt[2].Displ = Vector_4{1, 2, 10, 1};
    Movie_Compute_Pos(obj.get());
    EXPECT_EQ(obj->Pos_Done, 1);
    EXPECT_EQ(v4(obj->Node_Pt[2].Pos), (V4{0, 4, 13, 1}));
    EXPECT_EQ(v4(obj->Node_Pt[0].Pos), (V4{0, 0, 0, 9}));
    obj->Matrix[0][1] = 0.5; // not all zero: stays as it is
    obj->Matrix[0][0] = 0.0;
    ASSERT_EQ(Movie_Init_Dim(obj.get()), 1);
    EXPECT_EQ(obj->Matrix[0][0], 0.0);
    EXPECT_EQ(v4(obj->Box_Min), (V4{0, 0, -2, 9})); // w is the first node's
    EXPECT_EQ(v4(obj->Box_Max), (V4{1, 5, 13, 9}));

    std::memset(&obj->Matrix, 0, sizeof obj->Matrix);
    ASSERT_EQ(Movie_Init_Dim(obj.get()), 1);
    EXPECT_EQ(obj->Matrix[0][0] + obj->Matrix[1][1] + obj->Matrix[2][2] + obj->Matrix[3][3], 4.0); // a zero one becomes the identity

    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Init_Dim(empty.get()) + Movie_Init_Dim(nullptr), 0);
    Movie_Compute_Pos(nullptr);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(Bookkeeping, MergeAppendsNodesAndPolygonsAndMovesLinks)
{
    Movie_Objs* a = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    Movie_Objs* b = make_object({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}, {3, 2}});
    b->Poly_Pt[0].Text_Id[0] = 5;
    set_links(b->Node_Pt[2], {0});
    ASSERT_EQ(Movie_Merge(a, b), a);
    EXPECT_EQ(a->Node_Nb, 7);
    EXPECT_EQ(v4(a->Node_Pt[4].Coord), (V4{1, 0, 1, 0}));
    EXPECT_EQ(polys_of(*a), (Polys{{0, 1, 2}, {3, 4, 5, 6}, {6, 5}}));
    EXPECT_EQ(a->Poly_Pt[2].Node_Id[2], 0); // slots past the corners are untouched
    EXPECT_EQ(a->Poly_Pt[1].Text_Id[0], 5);
    EXPECT_EQ(links_of(a->Node_Pt[5]), Ids{1}); // the polygon's new index
    EXPECT_TRUE(b->Node_Pt == nullptr && b->Poly_Pt == nullptr); // B keeps its header only
    free_object(a);
    std::free(b);

    // Both without polygons: still no polygon array.
    ObjectPtr c(make_object({{0, 0, 0}}, {}));
    Movie_Objs* d = make_object({{1, 0, 0}}, {});
    ASSERT_EQ(Movie_Merge(c.get(), d), c.get());
    EXPECT_TRUE(c->Node_Nb == 2 && c->Poly_Pt == nullptr);
    std::free(d);

    // An empty or null side gives back the other, untouched.
    ObjectPtr e(make_object({{0, 0, 0}}, {{0}})), empty(make_object({}, {}));
    for (auto [x, y] : {std::pair{e.get(), (Movie_Objs*)nullptr}, {e.get(), empty.get()}, {empty.get(), e.get()},
                        {nullptr, e.get()}})
        EXPECT_EQ(Movie_Merge(x, y), e.get());
    EXPECT_EQ(Movie_Merge(nullptr, nullptr), nullptr);
    EXPECT_EQ(e->Node_Nb + e->Poly_Nb, 2);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(Bookkeeping, MergeReportsEachMemoryFailureAndLeavesNothingOwnedTwice)
{
    int runs = for_each_alloc_failure([&](long n) {
        sink.clear();
        Movie_Objs* a = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
        Movie_Objs* b = make_object({{0, 0, 1}, {1, 0, 1}, {0, 1, 1}}, {{0, 1, 2}});
        set_links(b->Node_Pt[1], {0});
        Movie_Objs* m = Movie_Merge(a, b);
        if (n <= 2) {
            EXPECT_EQ(m, nullptr);
            EXPECT_EQ(mask_line_numbers(sink.lines()), Lines{n == 1 ? memory_error(L"movie_func", L"malloc (var=new_node, dim=6x96)")
                                                         : memory_error(L"movie_func", L"realloc (var=a->Poly_Pt, dim=2x120)")});
            // The second failure leaves A with the combined nodes, its own
            // polygons, and B's polygons already shifted.
            EXPECT_TRUE(a->Node_Nb == 3 && a->Poly_Nb == 1);
            EXPECT_EQ(polys_of(*b), (n == 1 ? Polys{{0, 1, 2}} : Polys{{3, 4, 5}}));
            EXPECT_EQ(links_of(b->Node_Pt[1]), Ids{0}); // B still owns its links
        }
        free_object(a); // whatever happened, the host frees both
        free_object(b);
    });
    EXPECT_EQ(runs, 2);
}

TEST_F(Bookkeeping, MemoryCountsNominalSizesAndFreeReleasesEveryArray)
{
    Movie_Objs* obj = make_object({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, {{0, 1}});
    obj->Name = wcsdup(L"n");
    obj->Path = wcsdup(L"/p/");
    obj->Text_Pt = static_cast<float*>(std::calloc(4, sizeof(float)));
    obj->Normal_Pt = static_cast<float*>(std::calloc(3, sizeof(float)));
    set_links(obj->Node_Pt[0], {0, 0});
    EXPECT_EQ(Movie_Memory(obj) + Movie_Memory(nullptr), 288u + 3 * 96 + 1 * 120 + 2 * 8);
    EXPECT_EQ(Movie_Free(obj), 1);
    const std::vector<const void*> arrays = {obj->Name, obj->Path, obj->Node_Pt, obj->Poly_Pt, obj->Text_Pt, obj->Normal_Pt};
    EXPECT_EQ(arrays, std::vector<const void*>(6, nullptr));
    EXPECT_EQ(obj->Node_Nb, 3); // counts stay
    EXPECT_EQ(Movie_Free(obj) + Movie_Free(nullptr), 1);
    std::free(obj);
}

