// The ".mov" header scan and connectivity split on byte ranges, without
// files. The number forms are read through the readers' stored corpus.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "native_io/mov_parse.h"
#include "native_io/mov_split.h"

using namespace pfx::mov;

namespace {

TEST(MovParse, HeaderScansFourIntegersFromAtMost79CharactersOfTheFirstLine)
{
    const std::string pad79 = "1 2 3" + std::string(74, ' ');
    const struct {
        std::string text, want;
    } rows[] = {
        {"     2      7      2      7 \r\n     1      1 \n", "4: 2 7 2 7 |      1      1 \n"},
        {"1 3 1\n3\n", "3: 1 3 1 0 | 3\n"}, // the fourth count on the next line is not read
        {"", "0: 0 0 0 0 | "},
        {"x 1 2 3\n", "0: 0 0 0 0 | "},
        {"1-2+3 4", "4: 1 -2 3 4 | "},
        {pad79 + "4 5\n", "3: 1 2 3 0 | 4 5\n"},                          // what is left is body
        {"1 2 3 4" + std::string(71, ' ') + "\n5", "4: 1 2 3 4 | 5"}, // 78 characters and "\n" fit
    };
    for (const auto& row : rows) {
        Header h;
        const char* end = row.text.data() + row.text.size();
        const char* body = parse_header(row.text.data(), end, h);
        EXPECT_EQ(std::to_string(h.scanned) + ": " + std::to_string(h.nb_obj) + " " + std::to_string(h.node_nb) +
                      " " + std::to_string(h.poly_nb) + " " + std::to_string(h.connect_nb) + " | " +
                      std::string(body, end),
                  row.want)
            << row.text;
    }
}

// The records split_polygons fills, as "count:ids" each, whether the guard
// record after them was left alone, and how the walk ended.
std::string split(const std::vector<int>& connect, int node_nb, long long cap, bool stop)
{
    std::vector<Movie_Poly> p(cap + 1);
    std::memset(p.data(), 0, sizeof(Movie_Poly) * p.size());
    p[cap].Mark = 0xDEADBEEF;
    Movie_Poly guard;
    std::memcpy(&guard, &p[cap], sizeof guard);
    SplitResult r = split_polygons(connect.data(), static_cast<long long>(connect.size()), node_nb, p.data(), cap, stop, 256);
    std::string out;
    for (long long i = 0; i < cap; ++i) {
        out += std::to_string(p[i].Node_Id_Nb) + ":";
        for (int j = 0; j < 4 && j < p[i].Node_Id_Nb; ++j) out += std::to_string(p[i].Node_Id[j]) + ",";
        out += p[i].Text_Id[0] != 0 ? "SPILLED " : " "; // nothing goes past the four stored nodes
    }
    out += std::memcmp(&p[cap], &guard, sizeof guard) == 0 ? "| " : "GUARD WRITTEN | ";
    const char* how[] = {"None", "BigPolygon", "BadNode"};
    return out + how[static_cast<int>(r.stop)] + " " + std::to_string(r.completed) + " " + std::to_string(r.polygon) +
           " " + std::to_string(r.value);
}

TEST(MovSplit, NegativeNumbersEndPolygonsAndOnlyStoredNumbersAreChecked)
{
    const std::vector<int> big = {1, 2, 3, 4, 5, 6, -7, 1, -2, 3, -4};
    EXPECT_EQ(split({1, 2, -3, 4, 5, 6, -7, -2}, 7, 3, true), "3:0,1,2, 4:3,4,5,6, 1:1, | None 3 0 0");
    // Not stopping, the big polygon keeps its count and the third is counted
    // but not stored.
    EXPECT_EQ(split(big, 7, 2, false), "7:0,1,2,3, 2:0,1, | None 3 0 0");
    EXPECT_EQ(split(big, 7, 2, true), "7:0,1,2,3, 0: | BigPolygon 1 1 7");
    EXPECT_EQ(split({1, 0, -2}, 5, 2, true), "0: 0: | BadNode 0 1 0");
    EXPECT_EQ(split({1, 2, -3, 4, -6}, 5, 2, true), "3:0,1,2, 0: | BadNode 1 2 6");
    EXPECT_EQ(split({1, -2147483647 - 1}, 5, 2, true), "0: 0: | BadNode 0 1 2147483648");
    // Numbers that are never stored are never used, so they are not checked.
    EXPECT_EQ(split({1, 2, -3, 99, -98}, 5, 1, true), "3:0,1,2, | None 2 0 0");
}

} // namespace
