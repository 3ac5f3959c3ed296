// The parser and the connectivity split on byte ranges, without files.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "native_io/mov_parse.h"
#include "native_io/mov_split.h"

using namespace pfx::mov;

namespace {

Header header_of(const std::string& text, std::string* rest = nullptr)
{
    Header h;
    const char* body = parse_header(text.data(), text.data() + text.size(), h);
    if (rest) *rest = std::string(body, text.data() + text.size());
    return h;
}

TEST(MovParse, HeaderScansFourIntegersFromTheFirstLine)
{
    std::string rest;
    Header h = header_of("     2      7      2      7 \r\n     1      1 \n", &rest);
    EXPECT_EQ(h.scanned, 4);
    EXPECT_EQ(h.nb_obj, 2);
    EXPECT_EQ(h.node_nb, 7);
    EXPECT_EQ(h.connect_nb, 7);
    EXPECT_EQ(rest, "     1      1 \n");
}

TEST(MovParse, HeaderNeverReadsPastItsLine)
{
    // The fourth count on the next line is not part of the header.
    Header h = header_of("1 3 1\n3\n");
    EXPECT_EQ(h.scanned, 3);
    EXPECT_EQ(header_of("").scanned, 0);
    EXPECT_EQ(header_of("x 1 2 3\n").scanned, 0);
    EXPECT_EQ(header_of("1-2+3 4").scanned, 4);
}

TEST(MovParse, HeaderLineEndsAfter79Characters)
{
    std::string line = "1 2 3" + std::string(74, ' '); // 79 characters
    std::string rest;
    Header h = header_of(line + "4 5\n", &rest);
    EXPECT_EQ(h.scanned, 3);
    EXPECT_EQ(rest, "4 5\n");
    // A 78-character line with its line end fits whole.
    h = header_of(std::string("1 2 3 4") + std::string(71, ' ') + "\n5", &rest);
    EXPECT_EQ(h.scanned, 4);
    EXPECT_EQ(rest, "5");
}

TEST(MovParse, PointsFollowScanfFloatRules)
{
    const std::string text = " 1e-3\t-2\r\n+.5 0x1p-2 nan INF 7. -0";
    float xyz[9] = {};
    long long done = -1;
    const char* end = text.data() + text.size();
    const char* p = parse_points(text.data(), end, xyz, 2, &done);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(done, 2);
    EXPECT_EQ(xyz[0], 1e-3f);
    EXPECT_EQ(xyz[1], -2.0f);
    EXPECT_EQ(xyz[2], 0.5f);
    EXPECT_EQ(xyz[3], 0.25f);
    EXPECT_TRUE(xyz[4] != xyz[4]);
    EXPECT_TRUE(std::isinf(xyz[5]));
    // The third triple runs out after two values.
    EXPECT_EQ(parse_points(p, end, xyz + 6, 1, &done), nullptr);
    EXPECT_EQ(done, 0);
}

TEST(MovParse, IntsStopAtTheFirstNonInteger)
{
    const std::string text = "4 -5 +6 7.5 8";
    int v[5] = {};
    long long done = 0;
    EXPECT_EQ(parse_ints(text.data(), text.data() + text.size(), v, 5, &done), nullptr);
    EXPECT_EQ(done, 4); // "7" scans, ".5" does not
    EXPECT_EQ(v[3], 7);
    int a[2], b[2];
    const std::string pairs = "1 2\n3";
    EXPECT_EQ(parse_pairs(pairs.data(), pairs.data() + pairs.size(), a, b, 2, &done), nullptr);
    EXPECT_EQ(done, 1);
}

TEST(MovParse, NumbersMustFitTheBytesLeft)
{
    EXPECT_TRUE(numbers_fit(0, 0));
    EXPECT_TRUE(numbers_fit(3, 5));  // "1 2 3"
    EXPECT_FALSE(numbers_fit(3, 4));
    EXPECT_FALSE(numbers_fit(-1, 100));
    EXPECT_TRUE(polygons_fit(2, 1));
    EXPECT_FALSE(polygons_fit(3, 1));
}

std::vector<Movie_Poly> polys(size_t n)
{
    std::vector<Movie_Poly> v(n + 1);
    std::memset(v.data(), 0, sizeof(Movie_Poly) * v.size());
    v[n].Mark = 0xDEADBEEF; // a guard record after the list
    return v;
}

TEST(MovSplit, NegativeNumberEndsEachPolygon)
{
    const int connect[] = {1, 2, -3, 4, 5, 6, -7, -2};
    auto p = polys(3);
    SplitResult r = split_polygons(connect, 8, 7, p.data(), 3, true, 256);
    EXPECT_EQ(r.stop, SplitStop::None);
    EXPECT_EQ(r.completed, 3);
    EXPECT_EQ(p[0].Node_Id_Nb, 3);
    EXPECT_EQ(p[1].Node_Id_Nb, 4);
    EXPECT_EQ(p[1].Node_Id[3], 6);
    EXPECT_EQ(p[2].Node_Id_Nb, 1);
    EXPECT_EQ(p[2].Node_Id[0], 1);
    EXPECT_EQ(p[3].Mark, 0xDEADBEEFu);
}

TEST(MovSplit, StoresNoMoreThanFourNodesOrTheDeclaredPolygons)
{
    const int connect[] = {1, 2, 3, 4, 5, 6, -7, 1, -2, 3, -4};
    auto p = polys(2);
    // Not stopping: the big polygon keeps its full count, the third is not stored.
    SplitResult r = split_polygons(connect, 11, 7, p.data(), 2, false, 256);
    EXPECT_EQ(r.completed, 3);
    EXPECT_EQ(p[0].Node_Id_Nb, 7);
    EXPECT_EQ((std::vector<int>(p[0].Node_Id, p[0].Node_Id + 4)), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(p[0].Text_Id[0], 0); // nothing spilled into the next field
    EXPECT_EQ(p[1].Node_Id_Nb, 2);
    EXPECT_EQ(p[2].Mark, 0xDEADBEEFu);
    EXPECT_EQ(p[2].Node_Id_Nb, 0);
    // Stopping: the walk ends at the big polygon with its number and size.
    auto q = polys(2);
    r = split_polygons(connect, 11, 7, q.data(), 2, true, 256);
    EXPECT_EQ(r.stop, SplitStop::BigPolygon);
    EXPECT_EQ(r.polygon, 1);
    EXPECT_EQ(r.value, 7);
}

TEST(MovSplit, RejectsNodeNumbersOutsideTheList)
{
    auto p = polys(2);
    const int zero[] = {1, 0, -2};
    SplitResult r = split_polygons(zero, 3, 5, p.data(), 2, true, 256);
    EXPECT_EQ(r.stop, SplitStop::BadNode);
    EXPECT_EQ(r.polygon, 1);
    EXPECT_EQ(r.value, 0);
    const int high[] = {1, 2, -3, 4, -6};
    r = split_polygons(high, 5, 5, p.data(), 2, true, 256);
    EXPECT_EQ(r.stop, SplitStop::BadNode);
    EXPECT_EQ(r.polygon, 2);
    EXPECT_EQ(r.value, 6);
    const int lowest[] = {1, -2147483647 - 1};
    r = split_polygons(lowest, 2, 5, p.data(), 2, true, 256);
    EXPECT_EQ(r.stop, SplitStop::BadNode);
    EXPECT_EQ(r.value, 2147483648LL);
    // Numbers that are never stored are never used, so they are not checked.
    const int surplus[] = {1, 2, -3, 99, -98};
    r = split_polygons(surplus, 5, 5, p.data(), 1, true, 256);
    EXPECT_EQ(r.stop, SplitStop::None);
    EXPECT_EQ(r.completed, 2);
}

TEST(MovSplit, GeometryBitFollowsTheNodeCount)
{
    EXPECT_EQ(geometry_bit(0), 0u);
    EXPECT_EQ(geometry_bit(1), GEOM_POINT);
    EXPECT_EQ(geometry_bit(2), GEOM_LINE);
    EXPECT_EQ(geometry_bit(3), GEOM_POLY);
    EXPECT_EQ(geometry_bit(4), GEOM_POLY);
    EXPECT_EQ(geometry_bit(5), 0u);
}

} // namespace
