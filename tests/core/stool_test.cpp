#include <cstdlib>
#include <string>

#include "core/core_lines.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

class StoolTest : public PfxTest {};

const std::wstring kRule = L"------------------------------------";

void give_links(Movie_Node& n, std::initializer_list<int> ids)
{
    std::free(n.Poly_Id);
    n.Poly_Id = static_cast<int32_t*>(std::malloc(ids.size() * sizeof(int32_t)));
    int k = 0;
    for (int id : ids) n.Poly_Id[k++] = id;
    n.Poly_Id_Nb = k;
}

TEST_F(StoolTest, DumpsNodesPolygonsAndLinks)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1.5f, -2.25f, 3.125f}, {0, 1, 0}}, {{0, 1, 2}, {2, 1}}));
    obj->Node_Pt[1].Normal = {0, 0.5f, -1, 0};
    obj->Node_Pt[1].Pos = {7, 7, 7, 7}; // Coord is shown, not Pos; 3.125 rounds to even
    obj->Poly_Pt[0].Normal = {0, 0, 1, 1};
    give_links(obj->Node_Pt[0], {4, 7});
    give_links(obj->Node_Pt[2], {0});
    const int flag = 0x90000106;
    Movie_Stool(obj.get(), flag);
    const unsigned f = 0x90000106u;
    const std::vector<Line> want = {
        {f, L"----- Movie_Stool: nodes:3 polys:2"},
        {f, L"node[0] 0.00 0.00 0.00 (dir:0.00 0.00 0.00)"},
        {f, L"node[1] 1.50 -2.25 3.12 (dir:0.00 0.50 -1.00)"},
        {f, L"node[2] 0.00 1.00 0.00 (dir:0.00 0.00 0.00)"},
        {f, L"poly[0] 0 1 2 (dir:0.00 0.00 1.00)"},
        {f, L"poly[1] 2 1 0 (dir:0.00 0.00 0.00)"},
        {f, L"node[0] 2 connect ( 4 7)"},
        {f, L"node[1] 0 connect ()"},
        {f, L"node[2] 1 connect ( 0)"},
        {f, kRule},
    };
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(StoolTest, FlagZeroGoesWithEveryLine)
{
    ObjectPtr obj(make_tetrahedron());
    ASSERT_EQ(Movie_Init_Norm(obj.get()), 1);
    sink.clear();
    Movie_Stool(obj.get(), 0);
    ASSERT_EQ(sink.lines().size(), 1u + 4 + 4 + 4 + 1);
    for (const Line& l : sink.lines()) EXPECT_EQ(l.flag, 0u);
    EXPECT_EQ(sink.lines()[9].text, L"node[0] 3 connect ( 0 1 3)");
}

TEST_F(StoolTest, WithoutNodesStopsAfterThePolygons)
{
    ObjectPtr obj(make_object({}, {{0, 1, 2}}));
    Movie_Stool(obj.get(), 2);
    const std::vector<Line> want = {{2u, L"----- Movie_Stool: nodes:0 polys:1"},
                                    {2u, L"poly[0] 0 1 2 (dir:0.00 0.00 0.00)"},
                                    {2u, kRule}};
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(StoolTest, LongLinkTextIsCutAtWholeEntries)
{
    ObjectPtr obj(make_object({{0, 0, 0}}, {}));
    Movie_Node& n = obj->Node_Pt[0];
    n.Poly_Id_Nb = 40;
    n.Poly_Id = static_cast<int32_t*>(std::malloc(40 * sizeof(int32_t)));
    for (int k = 0; k < 40; ++k) n.Poly_Id[k] = 10000 + k;
    Movie_Stool(obj.get(), 1);
    // " 100xx" is 6 characters: 19 entries (114) fit below 120, the 20th not.
    std::wstring text;
    for (int k = 0; k < 19; ++k) text += L" " + std::to_wstring(10000 + k);
    ASSERT_EQ(sink.lines().size(), 4u);
    EXPECT_EQ(sink.lines()[2].text, L"node[0] 40 connect (" + text + L")");
}

TEST_F(StoolTest, NegativeFlagPassesItsBits)
{
    ObjectPtr obj(make_object({}, {}));
    Movie_Stool(obj.get(), static_cast<int>(0x80000001u));
    ASSERT_EQ(sink.lines().size(), 2u);
    EXPECT_EQ(sink.lines()[0].flag, 0x80000001u);
    EXPECT_EQ(sink.lines()[1], (Line{0x80000001u, kRule}));
}

} // namespace
