#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class Bookkeeping : public PfxTest {};

int* links(std::initializer_list<int> ids)
{
    int* p = static_cast<int*>(std::malloc(sizeof(int) * ids.size()));
    int k = 0;
    for (int v : ids) p[k++] = v;
    return p;
}

TEST_F(Bookkeeping, ComputePosCopiesCoordAndAddsDisplacement)
{
    ObjectPtr obj(make_object({{1, 2, 3}, {4, 5, 6}}, {}));
    obj->Node_Pt[0].Coord.w = 7.0f;
    Movie_Compute_Pos(obj.get());
    EXPECT_EQ(obj->Pos_Done, 1);
    EXPECT_EQ(obj->Node_Pt[0].Pos.x, 1.0f);
    EXPECT_EQ(obj->Node_Pt[0].Pos.w, 7.0f);

    obj->Flags |= DISPLACED;
    for (int i = 0; i < 2; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 3, 0};
    Movie_Compute_Pos(obj.get());
    EXPECT_EQ(obj->Node_Pt[1].Pos.x, 5.0f);
    EXPECT_EQ(obj->Node_Pt[1].Pos.y, 7.0f);
    EXPECT_EQ(obj->Node_Pt[1].Pos.z, 9.0f);
    EXPECT_EQ(obj->Node_Pt[0].Pos.w, 7.0f);

    Movie_Compute_Pos(nullptr); // harmless
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(Bookkeeping, InitDimBuildsBoxFromDisplacedCoordAndKeepsASetMatrix)
{
    ObjectPtr one(make_object({{2, -3, 4}}, {}));
    std::memset(&one->Matrix, 0, sizeof one->Matrix);
    ASSERT_EQ(Movie_Init_Dim(one.get()), 1);
    EXPECT_EQ(one->Box_Min.x, 2.0f);
    EXPECT_EQ(one->Box_Max.y, -3.0f);
    EXPECT_EQ(one->Box_Max.z, 4.0f);
    EXPECT_EQ(one->Matrix[0][0], 1.0); // zero matrix became the identity
    EXPECT_EQ(one->Matrix[3][3], 1.0);
    EXPECT_EQ(one->Pos_Done, 1);

    ObjectPtr obj(make_object({{0, 0, 0}, {1, 5, -2}, {-1, 2, 3}}, {}));
    obj->Matrix[0][1] = 0.5; // not all zero: stays as it is
    obj->Matrix[0][0] = 0.0;
    obj->Flags |= DISPLACED;
    obj->Node_Pt[0].Coord.w = 9.0f;
    obj->Node_Pt[2].Displ = Vector_4{0, 0, 10, 1};
    ASSERT_EQ(Movie_Init_Dim(obj.get()), 1);
    EXPECT_EQ(obj->Matrix[0][0], 0.0);
    EXPECT_EQ(obj->Matrix[0][1], 0.5);
    EXPECT_EQ(obj->Box_Min.x, -1.0f);
    EXPECT_EQ(obj->Box_Min.z, -2.0f);
    EXPECT_EQ(obj->Box_Max.z, 13.0f);
    EXPECT_EQ(obj->Box_Max.y, 5.0f);
    EXPECT_EQ(obj->Box_Min.w, 9.0f); // w is the first node's
    EXPECT_EQ(obj->Box_Max.w, 9.0f);

    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Init_Dim(empty.get()), 0);
    EXPECT_EQ(Movie_Init_Dim(nullptr), 0);
}

TEST_F(Bookkeeping, MemoryCountsNominalRecordSizes)
{
    ObjectPtr obj(make_object(std::vector<P3>(10), {{0}, {1}, {2}, {3}}));
    EXPECT_EQ(Movie_Memory(obj.get()), 1728u);
    obj->Node_Pt[3].Poly_Id = links({0, 1, 2});
    obj->Node_Pt[3].Poly_Id_Nb = 3;
    EXPECT_EQ(Movie_Memory(obj.get()), 1728u + 24u);
    EXPECT_EQ(Movie_Memory(nullptr), 0u);
}

TEST_F(Bookkeeping, MergeAppendsNodesAndPolygonsAndMovesLinks)
{
    Movie_Objs* a = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    Movie_Objs* b = make_object({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}, {3, 2}});
    b->Poly_Pt[0].Text_Id[0] = 5;
    b->Node_Pt[2].Poly_Id = links({0});
    b->Node_Pt[2].Poly_Id_Nb = 1;
    a->Name = wcsdup(L"a");
    Movie_Objs* m = Movie_Merge(a, b);
    ASSERT_EQ(m, a);
    EXPECT_EQ(a->Node_Nb, 7);
    EXPECT_EQ(a->Poly_Nb, 3);
    EXPECT_EQ(a->Poly_Pt[1].Node_Id[0], 3);
    EXPECT_EQ(a->Poly_Pt[1].Node_Id[3], 6);
    EXPECT_EQ(a->Poly_Pt[2].Node_Id_Nb, 2);
    EXPECT_EQ(a->Poly_Pt[2].Node_Id[0], 6);
    EXPECT_EQ(a->Poly_Pt[2].Node_Id[1], 5);
    EXPECT_EQ(a->Poly_Pt[2].Node_Id[2], 0); // slots past the corners are untouched
    EXPECT_EQ(a->Poly_Pt[1].Text_Id[0], 5);
    EXPECT_EQ(a->Node_Pt[4].Coord.x, 1.0f);
    // The moved list names the polygon's new index.
    ASSERT_EQ(a->Node_Pt[5].Poly_Id_Nb, 1);
    EXPECT_EQ(a->Node_Pt[5].Poly_Id[0], 1);
    EXPECT_STREQ(a->Name, L"a");
    // B keeps its header, empty of arrays.
    EXPECT_EQ(b->Node_Pt, nullptr);
    EXPECT_EQ(b->Poly_Pt, nullptr);
    EXPECT_TRUE(sink.lines().empty());
    free_object(a);
    std::free(b);
}

TEST_F(Bookkeeping, MergeWithEmptyOrNullSideReturnsTheOther)
{
    ObjectPtr a(make_object({{0, 0, 0}}, {{0}}));
    ObjectPtr empty(make_object({}, {}));
    EXPECT_EQ(Movie_Merge(a.get(), nullptr), a.get());
    EXPECT_EQ(Movie_Merge(a.get(), empty.get()), a.get());
    EXPECT_EQ(Movie_Merge(empty.get(), a.get()), a.get());
    EXPECT_EQ(Movie_Merge(nullptr, a.get()), a.get());
    EXPECT_EQ(Movie_Merge(nullptr, nullptr), nullptr);
    EXPECT_EQ(a->Node_Nb, 1);
    EXPECT_EQ(a->Poly_Nb, 1);

    // Both without polygons: the merged object has no polygon array.
    Movie_Objs* c = make_object({{0, 0, 0}}, {});
    Movie_Objs* d = make_object({{1, 0, 0}}, {});
    ASSERT_EQ(Movie_Merge(c, d), c);
    EXPECT_EQ(c->Node_Nb, 2);
    EXPECT_EQ(c->Poly_Pt, nullptr);
    free_object(c);
    std::free(d);
}

TEST_F(Bookkeeping, MergeReportsEachMemoryFailureAndLeavesNothingOwnedTwice)
{
    int runs = for_each_alloc_failure([&](long n) {
        sink.clear();
        Movie_Objs* a = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
        Movie_Objs* b = make_object({{0, 0, 1}, {1, 0, 1}, {0, 1, 1}}, {{0, 1, 2}});
        b->Node_Pt[1].Poly_Id = links({0});
        b->Node_Pt[1].Poly_Id_Nb = 1;
        Movie_Objs* m = Movie_Merge(a, b);
        if (n == 1) {
            EXPECT_EQ(m, nullptr);
            ASSERT_EQ(sink.lines().size(), 1u);
            EXPECT_EQ(sink.lines()[0].flag, MSG_MEMORY);
            EXPECT_NE(sink.lines()[0].text.find(L" of movie_func \nmemory error in malloc (var=new_node, dim=6x96)"),
                      std::wstring::npos)
                << printable(sink.lines()[0].text);
            EXPECT_EQ(a->Node_Nb, 3); // untouched
            EXPECT_EQ(b->Node_Pt[1].Poly_Id_Nb, 1);
        } else if (n == 2) {
            EXPECT_EQ(m, nullptr);
            ASSERT_EQ(sink.lines().size(), 1u);
            EXPECT_NE(sink.lines()[0].text.find(L"memory error in realloc (var=a->Poly_Pt, dim=2x120)"),
                      std::wstring::npos)
                << printable(sink.lines()[0].text);
            // A has the combined nodes but its old polygons; B's shifted.
            EXPECT_EQ(a->Poly_Nb, 1);
            EXPECT_EQ(a->Node_Nb, 3);
            EXPECT_EQ(b->Poly_Pt[0].Node_Id[0], 3);
            EXPECT_EQ(b->Node_Pt[1].Poly_Id_Nb, 1); // B still owns its links
            EXPECT_EQ(a->Node_Pt[4].Poly_Id, nullptr);
        }
        // Whatever happened, the host frees both: nothing twice, nothing lost.
        free_object(a);
        free_object(b);
    });
    EXPECT_EQ(runs, 2);
}

TEST_F(Bookkeeping, FreeReleasesEveryArrayAndIsHarmlessTwice)
{
    Movie_Objs* obj = make_object({{0, 0, 0}, {1, 1, 1}}, {{0, 1}});
    obj->Name = wcsdup(L"n");
    obj->Path = wcsdup(L"/p/");
    obj->Text_Pt = static_cast<float*>(std::calloc(4, sizeof(float)));
    obj->Text_Nb = 2;
    obj->Normal_Pt = static_cast<float*>(std::calloc(3, sizeof(float)));
    obj->Normal_Nb = 1;
    obj->Node_Pt[0].Poly_Id = links({0});
    obj->Node_Pt[0].Poly_Id_Nb = 1;
    EXPECT_EQ(Movie_Free(obj), 1);
    EXPECT_EQ(obj->Name, nullptr);
    EXPECT_EQ(obj->Path, nullptr);
    EXPECT_EQ(obj->Node_Pt, nullptr);
    EXPECT_EQ(obj->Poly_Pt, nullptr);
    EXPECT_EQ(obj->Text_Pt, nullptr);
    EXPECT_EQ(obj->Normal_Pt, nullptr);
    EXPECT_EQ(obj->Node_Nb, 2); // counts stay
    EXPECT_EQ(Movie_Free(obj), 1);
    EXPECT_EQ(Movie_Free(nullptr), 0);
    std::free(obj);
}

TEST(RecordLayout, FieldOrderAndWidths)
{
    static_assert(sizeof(Movie_Node) == 96, "a node record is 96 bytes");
    static_assert(offsetof(Movie_Objs, Flags) == 0);
    static_assert(offsetof(Movie_Poly, Node_Id) + 16 == offsetof(Movie_Poly, Text_Id));
    static_assert(offsetof(Movie_Poly, Text_Id) + 16 == offsetof(Movie_Poly, Normal_Id));
    static_assert(sizeof(Matrix_4x4) == 128);
    static_assert(sizeof(Vector_4) == 16);
    static_assert(sizeof(((Movie_Objs*)nullptr)->VBO_Reset) == 2);
    static_assert(sizeof(((Movie_Poly*)nullptr)->Axis) == 2);
    SUCCEED();
}

} // namespace
