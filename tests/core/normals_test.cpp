#include "core/core_lines.h"

using namespace pfx_test;

using InitNormTest = PfxTest;

const float kH = 1 / std::sqrt(2.0f), kT = 1 / std::sqrt(3.0f);

TEST_F(InitNormTest, FaceDirectionPlaneAxisAndSize)
{
    const struct {
        std::vector<P3> nodes;
        Ids poly;
        float w0, dz; // Coord.w of node 0; displacement of every node along z
        V4 normal;
        float d;
        int axis;
        float size;      // the larger of |P0 - P1|^2, |P2 - P1|^2 and a quad's diagonals, w counted
        float face_size; // Movie_Normal_Poly leaves the diagonals out
    } rows[] = {
        {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}, 0, 0, {0, 0, 1, 1}, 0, 2, 2, 2},
        {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 2, 1}, 0, 0, {0, 0, -1, 1}, 0, 2, 2, 2},
        {{{0, 0, 3}, {1, 0, 3}, {0, 1, 3}}, {0, 1, 2}, 3, 0, {0, 0, 1, 1}, -3, 2, 10, 10},
        {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}, 0, 2, {0, 0, 1, 1}, -2, 2, 2, 2},
        // axis ties go to the later axis
        {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 1, 2}, 0, 0, {kT, kT, kT, 1}, -kT, 2, 2, 2},
        {{{1, 0, 0}, {0, 1, 0}, {1, 0, 1}}, {0, 1, 2}, 0, 0, {kH, kH, 0, 1}, -kH, 1, 3, 3},
        {{{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 1, 2}, 0, 0, {1, 0, 0, 1}, 0, 0, 2, 2},
        {{{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {-3, 2, 0}}, {0, 1, 2, 3}, 0, 0, {0, 0, 1, 1}, 0, 2, 20, 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        ObjectPtr obj(make_object(row.nodes, {row.poly}, GEOM_POLY | (row.dz ? DISPLACED : 0)));
        obj->Node_Pt[0].Coord.w = row.w0;
        for (int i = 0; i < obj->Node_Nb; ++i) obj->Node_Pt[i].Displ = {0, 0, row.dz, 0};
        sink.clear();
        EXPECT_EQ(Movie_Init_Norm(obj.get()), 1);
        EXPECT_EQ(obj->Pos_Done, 1);
        Movie_Poly& p = obj->Poly_Pt[0];
        for (float size : {row.size, row.face_size}) {
            EXPECT_TRUE(near4(p.Normal, row.normal)) << ::testing::PrintToString(v4(p.Normal));
            EXPECT_FLOAT_EQ(p.Plane_D, row.d);
            EXPECT_EQ(p.Axis, row.axis);
            EXPECT_EQ(p.Size, size);
            p.Normal = {9, 9, 9, 9}, p.Plane_D = 9, p.Axis = 9; // the face alone, recomputed from Pos
            Movie_Normal_Poly(obj.get(), 0);
        }
        EXPECT_EQ(sink.lines(), traced(L"Movie_Init_Norm", {L"done"}));
    }
}

TEST_F(InitNormTest, NodesTakeTheMeanDirectionOfTheirFaces)
{
    // 0: z = 0 (+z), 1: x = 0 (+x), 2: repeats node 0 (no direction), 3: names
    // a missing node (skipped), 4: a segment (no links), 5: collinear corners.
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {5, 5, 5}, {2, 0, 0}, {3, 0, 0}},
                              {{0, 1, 2}, {0, 2, 3}, {0, 0, 1}, {0, 1, 7}, {1, 2}, {1, 5, 6}}, GEOM_POLY | GEOM_LINE));
    obj->Node_Pt[4].Normal = {0, 3, 4, 7};     // an unused node's direction is only normalised
    obj->Node_Pt[5].Normal = {NAN, NAN, NAN, NAN}; // stale values are overwritten
    obj->Poly_Pt[3].Size = 5.0f;
    obj->Poly_Pt[4].Normal = {9, 9, 9, 9};
    const unsigned flags = obj->Flags;
    for (int run = 0; run < 2; ++run) { // a second run does not double the links
        ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
        std::vector<Ids> links;
        for (int i = 0; i < obj->Node_Nb; ++i) links.push_back(links_of(obj->Node_Pt[i]));
        EXPECT_EQ(links, (std::vector<Ids>{{0, 1, 2, 2}, {0, 2, 5}, {0, 1}, {1}, {}, {5}, {5}}));
        const V4 want[] = {{kH, 0, kH, 1}, {0, 0, 1, 1}, {kH, 0, kH, 1}, {1, 0, 0, 1},
                           {0, 0.6f, 0.8f, 7}, {0, 0, 0, 1}, {0, 0, 0, 1}};
        for (int i = 0; i < 7; ++i) EXPECT_TRUE(near4(obj->Node_Pt[i].Normal, want[i])) << i;
    }
    EXPECT_TRUE(near4(obj->Poly_Pt[2].Normal, {0, 0, 0, 1}));
    EXPECT_EQ(obj->Poly_Pt[2].Axis, 2);
    EXPECT_EQ(obj->Poly_Pt[3].Size, 5.0f);
    EXPECT_EQ(obj->Poly_Pt[4].Normal.x, 9.0f);
    EXPECT_EQ(obj->Flags, flags); // NORMALS_DONE is the caller's to set
}

TEST_F(InitNormTest, ReportsEachFailedLinkAndLeavesThatNodeAsItWas)
{
    const int failing = for_each_alloc_failure([&](long n) {
        ObjectPtr o(make_tetrahedron());
        sink.clear();
        const int r = Movie_Init_Norm(o.get());
        EXPECT_EQ(r, n > 12 ? 1 : 0);
        if (n > 12) return;
        // Links are made in polygon order, three per triangle: the failing
        // one is the node's first, second or third.
        const int node = o->Poly_Pt[(n - 1) / 3].Node_Id[(n - 1) % 3];
        const int before = std::array{0, 0, 0, 1, 1, 0, 2, 1, 1, 2, 2, 2}[n - 1];
        EXPECT_EQ(o->Node_Pt[node].Poly_Id_Nb, before);
        const std::wstring dim = L"realloc (var=n->Poly_Id, dim=" + std::to_wstring(before + 1) + L"x4)";
        EXPECT_EQ(mask_line_numbers(sink.lines()), (Lines{trace_in(L"Movie_Init_Norm"), memory_error(L"movie_func", dim)}));
    });
    EXPECT_EQ(failing, 12);
}

