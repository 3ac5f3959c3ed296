#include "core/core_lines.h"

using namespace pfx_test;

using StoolTest = PfxTest;

TEST_F(StoolTest, DumpsNodesPolygonsAndLinksWithTheGivenFlagWord)
{
    ObjectPtr three(make_object({{0, 0, 0}, {1.5f, -2.25f, 3.125f}, {0, 1, 0}}, {{0, 1, 2}, {2, 1}}));
    three->Node_Pt[1].Normal = {0, 0.5f, -1, 0};
    three->Node_Pt[1].Pos = {7, 7, 7, 7}; // Coord is shown, not Pos; 3.125 rounds to even
    three->Poly_Pt[0].Normal = {0, 0, 1, 1};
    set_links(three->Node_Pt[0], {4, 7});
    set_links(three->Node_Pt[2], {0});
    ObjectPtr without_nodes(make_object({}, {{0, 1, 2}})); // stops after the polygons
    ObjectPtr long_list(make_object({{0, 0, 0}}, {}));
    Ids ids;
    for (int k = 0; k < 40; ++k) ids.push_back(10000 + k);
    set_links(long_list->Node_Pt[0], ids); // " 100xx" is 6 characters: 19 fit below 120, the 20th not
    const struct {
        Movie_Objs* obj;
        unsigned flag; // a negative int passes its bits; 0 stays 0
        const char* golden;
    } rows[] = {{three.get(), 0x90000106u, "core/stool_three_nodes.txt"},
                {three.get(), 0u, "core/stool_three_nodes.txt"},
                {without_nodes.get(), 2u, "core/stool_without_nodes.txt"},
                {long_list.get(), 1u, "core/stool_long_link_list.txt"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.golden);
        sink.clear();
        Movie_Stool(row.obj, static_cast<int>(row.flag));
        EXPECT_EQ(sink.lines(), golden_lines(row.golden, row.flag));
    }
}
