#include "core/core_lines.h"

using namespace pfx_test;

using StoolTest = PfxTest;

const std::wstring kRule = L"------------------------------------";

Lines with_flag(unsigned flag, std::initializer_list<std::wstring> texts)
{
    Lines r;
    for (const std::wstring& t : texts) r.push_back({flag, t});
    return r;
}

TEST_F(StoolTest, DumpsNodesPolygonsAndLinksWithTheGivenFlagWord)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1.5f, -2.25f, 3.125f}, {0, 1, 0}}, {{0, 1, 2}, {2, 1}}));
    obj->Node_Pt[1].Normal = {0, 0.5f, -1, 0};
    obj->Node_Pt[1].Pos = {7, 7, 7, 7}; // Coord is shown, not Pos; 3.125 rounds to even
    obj->Poly_Pt[0].Normal = {0, 0, 1, 1};
    set_links(obj->Node_Pt[0], {4, 7});
    set_links(obj->Node_Pt[2], {0});
    for (unsigned f : {0x90000106u, 0u}) { // a negative int passes its bits; 0 stays 0
        sink.clear();
        Movie_Stool(obj.get(), static_cast<int>(f));
        EXPECT_EQ(sink.lines(), with_flag(f, {L"----- Movie_Stool: nodes:3 polys:2",
                                              L"node[0] 0.00 0.00 0.00 (dir:0.00 0.00 0.00)",
                                              L"node[1] 1.50 -2.25 3.12 (dir:0.00 0.50 -1.00)",
                                              L"node[2] 0.00 1.00 0.00 (dir:0.00 0.00 0.00)",
                                              L"poly[0] 0 1 2 (dir:0.00 0.00 1.00)", L"poly[1] 2 1 0 (dir:0.00 0.00 0.00)",
                                              L"node[0] 2 connect ( 4 7)", L"node[1] 0 connect ()",
                                              L"node[2] 1 connect ( 0)", kRule}));
    }
}

TEST_F(StoolTest, WithoutNodesStopsAfterThePolygonsAndLongLinkListsAreCut)
{
    ObjectPtr none(make_object({}, {{0, 1, 2}}));
    Movie_Stool(none.get(), 2);
    EXPECT_EQ(sink.lines(), with_flag(2, {L"----- Movie_Stool: nodes:0 polys:1", L"poly[0] 0 1 2 (dir:0.00 0.00 0.00)", kRule}));

    ObjectPtr obj(make_object({{0, 0, 0}}, {}));
    Ids ids;
    for (int k = 0; k < 40; ++k) ids.push_back(10000 + k);
    set_links(obj->Node_Pt[0], ids);
    sink.clear();
    Movie_Stool(obj.get(), 1);
    // " 100xx" is 6 characters: 19 entries (114) fit below 120, the 20th not.
    std::wstring text = L"node[0] 40 connect (";
    for (int k = 0; k < 19; ++k) text += L" " + std::to_wstring(10000 + k);
    EXPECT_EQ(sink.lines(), with_flag(1, {L"----- Movie_Stool: nodes:1 polys:0",
                                          L"node[0] 0.00 0.00 0.00 (dir:0.00 0.00 0.00)", text + L")", kRule}));
}

