// Copying triangle objects into flat per-corner arrays.
#include <cstdlib>
#include <cwchar>

#include "gl_host.h"

namespace {

using namespace pfx_render_test;
using pfx_test::Line;
using pfx_test::ObjectPtr;

constexpr float kUntouched = -99.0f;

// Room for two triangles and one more corner, so a write past the reported
// count shows.
struct Arrays {
    Floats pos = Floats(21, kUntouched), tex = Floats(14, kUntouched), normals = pos;
    int copy(Movie_Objs* obj) { return Movie_To_Array(obj, pos.data(), tex.data(), normals.data()); }
};
// The first n values as written, the rest untouched.
Floats written(std::initializer_list<float> values, size_t size)
{
    Floats out(values);
    out.resize(size, kUntouched);
    return out;
}

using MovieToArray = pfx_test::PfxTest;

TEST_F(MovieToArray, TriangleCornersGoOutReversedAndTheCountIsThreePerPolygon)
{
    ObjectPtr obj = numbered(10, {});
    Arrays a;
    EXPECT_EQ(a.copy(nullptr), 0);
    EXPECT_EQ(a.copy(obj.get()), 0);
    obj->Poly_Nb = -2; // a broken count passes straight through, three times over
    EXPECT_EQ(a.copy(obj.get()), -6);
    EXPECT_EQ(a.pos, written({}, 21));
    EXPECT_EQ(a.normals, written({}, 21));

    // Displacements, Pos and the Pos_Done mark are neither used nor computed.
    obj = numbered(10, {{4, 7, 9}, {0, 1, 2}});
    obj->Flags |= DISPLACED;
    for (int i = 0; i < 10; ++i) obj->Node_Pt[i].Displ = Vector_4{1, 2, 3, 0};
    EXPECT_EQ(a.copy(obj.get()), 6);
    EXPECT_EQ(a.pos, written({9, 90, 900, 7, 70, 700, 4, 40, 400, 2, 20, 200, 1, 10, 100, 0, 0, 0}, 21));
    EXPECT_EQ(a.normals, written({9, 0, 1, 7, 0, 1, 4, 0, 1, 2, 0, 1, 1, 0, 1, 0, 0, 1}, 21));
    EXPECT_EQ(a.tex, written({}, 14)) << "no texture coordinates, no writes";
    EXPECT_EQ(obj->Pos_Done, 0);
    EXPECT_EQ(obj->Node_Pt[2].Pos.x, 0.0f);

    // Texture pairs and a normal list through each corner's index.
    set_list(*obj, false, {0, 0.5f, 1, 1.5f, 2, 2.5f}, {{2, 0, 1}, {1, 1, 2}});
    set_list(*obj, true, {0, 0, 1, 1, 0, 0}, {{0, 1, 1}, {1, 0, 0}});
    EXPECT_EQ(a.copy(obj.get()), 6);
    EXPECT_EQ(a.tex, written({1, 1.5f, 0, 0.5f, 2, 2.5f, 2, 2.5f, 1, 1.5f, 1, 1.5f}, 14));
    EXPECT_EQ(a.normals, written({1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 1, 1, 0, 0}, 21));
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(MovieToArray, AnyOtherPolygonStopsWithAWarningAfterTheEarlierCorners)
{
    for (int corners : {4, 1, 2, 0, 5}) {
        SCOPED_TRACE(corners);
        sink.clear();
        ObjectPtr obj = numbered(5, {{0, 1, 2}, {1, 2, 3, 4}, {2, 3, 4}});
        obj->Poly_Pt[1].Node_Id_Nb = corners;
        obj->Name = wcsdup(L"panel");
        obj->Text_Nb = 1;
        obj->Text_Pt = static_cast<float*>(std::calloc(2, sizeof(float)));
        Arrays a;
        EXPECT_EQ(a.copy(obj.get()), 0);
        EXPECT_EQ(sink.lines(),
                  (std::vector<Line>{{MSG_USER, L"\xF1\x05WARNING:\x02 Polygon is not a triangle!"},
                                     {MSG_USER, L"\xF1\x02       Obj: panel"}}));
        EXPECT_EQ(a.pos, written({2, 20, 200, 1, 10, 100, 0, 0, 0}, 21));
        EXPECT_EQ(a.normals, written({2, 0, 1, 1, 0, 1, 0, 0, 1}, 21));
        EXPECT_EQ(a.tex, written({0, 0, 0, 0, 0, 0}, 14));
    }
}

} // namespace
