// The STL parsers on byte ranges: the format test, the text grammar with its
// line pieces, and the binary layout with the byte-order recovery.
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "exchange/stl_parse.h"
#include "support/capture.h"
#include "exchange/stl_files.h"

namespace {

using pfx::StlFacets;
using pfx::StlParseResult;
using pfx::StlStatus;
using pfx_test::Line;
using namespace pfx_test::stl;

// The parsers run on an exact-size copy, so reading past the end trips the
// sanitizer.
struct Exact {
    explicit Exact(const std::string& s) : bytes(new char[s.size() ? s.size() : 1]), size(s.size())
    {
        std::memcpy(bytes.get(), s.data(), s.size());
    }
    std::unique_ptr<char[]> bytes;
    size_t size;
};

StlParseResult parse_text(const std::string& s, StlFacets& out)
{
    Exact e(s);
    return pfx::stl_parse_text(e.bytes.get(), e.size, L"part", out);
}

StlParseResult parse_binary(const std::string& s, StlFacets& out)
{
    Exact e(s);
    return pfx::stl_parse_binary(e.bytes.get(), e.size, L"part", out);
}

bool is_text(const std::string& s)
{
    Exact e(s);
    return pfx::stl_is_text(e.bytes.get(), e.size);
}

void expect_vec(const Vector_4& v, float x, float y, float z)
{
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
    EXPECT_EQ(v.w, 0.0f);
}

class StlParseTest : public pfx_test::PfxTest {};

// ---- format test ------------------------------------------------------------------------

TEST_F(StlParseTest, FormatTestFollowsTheThreeKeywordRules)
{
    EXPECT_TRUE(is_text("solid x\nfacet normal 0 0 1\n"));
    EXPECT_TRUE(is_text("endsolid\n"));
    EXPECT_TRUE(is_text("SOLID X\nFACET NORMAL 0 0 1\n"));
    EXPECT_TRUE(is_text("SOLID X\n  facet normal 0 0 1\n"));
    EXPECT_TRUE(is_text("anything\n  FACET NORMAL 0 0 1\n"));
    EXPECT_FALSE(is_text("Solid x\nfacet normal 0 0 1\n"));
    EXPECT_FALSE(is_text("SOLID x\nfacet Normal 0 0 1\n"));
    EXPECT_FALSE(is_text(""));
    EXPECT_FALSE(is_text(std::string("\0solid", 6)));
    // Line 1 holds at most 89 characters: a keyword after them is on "line 2".
    EXPECT_FALSE(is_text(std::string(89, 'a') + "solid\n"));
    EXPECT_TRUE(is_text(std::string(84, 'a') + "solid\n"));
    EXPECT_TRUE(is_text(std::string(89, 'a') + "NORMAL\n"));
    // A binary file whose header starts with the keyword passes for text.
    EXPECT_TRUE(is_text(binary_file("solid from a CAD tool", {tri(0, 0, 0)}, 1)));
    EXPECT_FALSE(is_text(binary_file("header", {tri(0, 0, 0)}, 1)));
    EXPECT_TRUE(sink.lines().empty());
}

// ---- text -------------------------------------------------------------------------------

TEST_F(StlParseTest, TextReadsFacetsNormalsAndTheLoweredName)
{
    StlFacets f;
    const auto r = parse_text(text_file("Part_A", {tri(0, 0, 0), tri(1, 2, 3)}), f);
    ASSERT_EQ(r.status, StlStatus::Done);
    ASSERT_EQ(f.nb_poly, 2);
    EXPECT_STREQ(f.obj_name, "part_a");
    expect_vec(f.poly[1].normal, 0, 0, 1);
    expect_vec(f.poly[1].corner[0], 1, 2, 3);
    expect_vec(f.poly[1].corner[1], 2, 2, 3);
    expect_vec(f.poly[1].corner[2], 1, 3, 3);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(StlParseTest, CrlfAndMissingFinalLineEndReadLikeLf)
{
    const std::string lf = text_file("crlf test  ", {tri(0, 0, 0), tri(5, 5, 5)});
    std::string crlf_text;
    for (char c : lf) crlf_text += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const std::string& crlf = crlf_text;
    const std::string cut = lf.substr(0, lf.size() - 1);
    for (const std::string* s : {&lf, &crlf, &cut}) {
        StlFacets f;
        ASSERT_EQ(parse_text(*s, f).status, StlStatus::Done);
        ASSERT_EQ(f.nb_poly, 2);
        EXPECT_STREQ(f.obj_name, "crlf test");
        expect_vec(f.poly[1].corner[2], 5, 6, 5);
    }
}

TEST_F(StlParseTest, NameTextFollowsTheKeywordAndOneSeparator)
{
    struct Case {
        const char* first;
        const char* name;
    } cases[] = {
        {"solid\n", ""},         {"solid", ""},           {"solid \n", ""},
        {"  solid  two\n", "two"}, {"solidworks part\n", "orks part"}, {"endsolid x\n", "x"},
        {"SOLID \xC3\x89T\xC3\x89\n", "\xC3\x89t\xC3\x89"},
    };
    for (const Case& c : cases) {
        StlFacets f;
        std::string first = c.first;
        if (first.back() != '\n') first += '\n';
        ASSERT_EQ(parse_text(first + "endsolid\n", f).status, StlStatus::Done) << c.first;
        EXPECT_STREQ(f.obj_name, c.name) << c.first;
        EXPECT_EQ(f.nb_poly, 0);
    }
}

TEST_F(StlParseTest, CapitalsAndCapitalExponentsRead)
{
    StlFacets f;
    const std::string s = "SOLID BIG\nFACET NORMAL 1.0E+00 0 -2.5E-01\nOUTER LOOP\nVERTEX 1E1 0 0\n"
                          "VERTEX 0 1 0\nVERTEX 0 0 1\nENDLOOP\nENDFACET\nENDSOLID BIG\n";
    ASSERT_EQ(parse_text(s, f).status, StlStatus::Done);
    ASSERT_EQ(f.nb_poly, 1);
    expect_vec(f.poly[0].normal, 1, 0, -0.25f);
    expect_vec(f.poly[0].corner[0], 10, 0, 0);
}

TEST_F(StlParseTest, NumbersThatDoNotConvertStayZero)
{
    StlFacets f;
    const std::string s = "solid\nfacet normal 1 x 3\nouter loop\nvertex a 2 3\nvertex 4 5\n"
                          "vertex 7 8 9 10\nendloop\nendfacet\nendsolid\n";
    ASSERT_EQ(parse_text(s, f).status, StlStatus::Done);
    expect_vec(f.poly[0].normal, 1, 0, 0);
    expect_vec(f.poly[0].corner[0], 0, 0, 0);
    expect_vec(f.poly[0].corner[1], 4, 5, 0);
    expect_vec(f.poly[0].corner[2], 7, 8, 9);
    // A zero byte ends the line as a string.
    StlFacets g;
    const std::string z = "solid\nfacet normal 1 2" + std::string(1, '\0') +
                          " 3\nouter loop\nvertex 1 1 1\nvertex 2 2 2\nvertex 3 3 3\nendloop\nendfacet\nendsolid\n";
    ASSERT_EQ(parse_text(z, g).status, StlStatus::Done);
    expect_vec(g.poly[0].normal, 1, 2, 0);
}

TEST_F(StlParseTest, KeywordsMatchAnywhereInTheLine)
{
    StlFacets f;
    const std::string s = "xsolidx\nmy facet normal 0 0 1 here\nouter loopy\nvertexvertex 1 2 3\n"
                          "avertex 1 2 3\nvertex 1 2 3\nendloop!\nendfacet?\nzzendsolidzz\n";
    ASSERT_EQ(parse_text(s, f).status, StlStatus::Done);
    ASSERT_EQ(f.nb_poly, 1);
    EXPECT_STREQ(f.obj_name, "");
    // "vertexvertex 1 2 3": the numbers follow the first "vertex".
    expect_vec(f.poly[0].corner[0], 0, 0, 0);
    expect_vec(f.poly[0].corner[1], 1, 2, 3);
}

TEST_F(StlParseTest, TwoBlanksInAKeywordAreASyntaxError)
{
    StlFacets f;
    const auto r = parse_text("solid\nfacet  normal 0 0 1\n", f);
    EXPECT_EQ(r.status, StlStatus::Refused);
    EXPECT_STREQ(r.reason, "! pt");
    EXPECT_EQ(sink.lines(), syntax_error_block(L"part", 2, L"facet normal"));
}

TEST_F(StlParseTest, EachMissingKeywordIsNamed)
{
    const std::string good = text_file("k", {tri(0, 0, 0)});
    struct Case {
        const char* from;
        const char* to;
        int line;
        const wchar_t* keyword;
    } cases[] = {
        {"solid k", "sold k", 1, L"solid"},      {"facet normal", "facet", 2, L"facet normal"},
        {"outer loop", "outerloop", 3, L"outer loop"}, {"vertex 1 0 0", "vertx 1 0 0", 5, L"vertex"},
        {"endloop", "end loop", 7, L"endloop"},  {"endfacet", "end facet", 8, L"endfacet"},
    };
    for (const Case& c : cases) {
        std::string s = good;
        s.replace(s.find(c.from), std::strlen(c.from), c.to);
        sink.clear();
        StlFacets f;
        const auto r = parse_text(s, f);
        EXPECT_EQ(r.status, StlStatus::Refused) << c.from;
        EXPECT_EQ(sink.lines(), syntax_error_block(L"part", c.line, c.keyword)) << c.from;
    }
}

TEST_F(StlParseTest, EndOfFileIsReportedWithTheLineThatFailed)
{
    StlFacets f;
    EXPECT_STREQ(parse_text("", f).reason, "! fgets");
    EXPECT_EQ(sink.lines(), end_of_file_block(L"part", 1));
    sink.clear();
    StlFacets g;
    std::string s = text_file("x", {tri(0, 0, 0), tri(1, 1, 1)});
    s.erase(s.find("endsolid"));
    const auto r = parse_text(s, g);
    EXPECT_EQ(r.status, StlStatus::Refused);
    EXPECT_EQ(sink.lines(), end_of_file_block(L"part", 16));
}

TEST_F(StlParseTest, TextCutAnywhereIsRefusedCleanly)
{
    const std::string s = text_file("cut", {tri(0, 0, 0), tri(1, 1, 1)});
    const size_t endsolid = s.find("endsolid");
    for (size_t n = 0; n < s.size(); ++n) {
        StlFacets f;
        const auto r = parse_text(s.substr(0, n), f);
        if (n > endsolid + 7)
            EXPECT_EQ(r.status, StlStatus::Done) << n;
        else
            EXPECT_EQ(r.status, StlStatus::Refused) << n;
    }
}

TEST_F(StlParseTest, LinesLongerThanTheBufferAreReadInPieces)
{
    // 118 characters and the line end make one line; 119 make two.
    const std::string pad118(118 - 18, ' ');
    const std::string ok = "solid\n" + std::string("facet normal 0 0 1") + pad118 + "\n";
    ASSERT_EQ(ok.size() - 6, 119u);
    const std::string rest = "outer loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid\n";
    StlFacets f;
    EXPECT_EQ(parse_text(ok + rest, f).status, StlStatus::Done);
    std::string crlf = ok;
    crlf.insert(crlf.size() - 1, "\r");
    StlFacets g;
    EXPECT_EQ(parse_text(crlf + rest, g).status, StlStatus::Done);

    const std::string two = "solid\n" + std::string("facet normal 0 0 1") + pad118 + " \n";
    StlFacets h;
    EXPECT_EQ(parse_text(two + rest, h).status, StlStatus::Refused);
    EXPECT_EQ(sink.lines(), syntax_error_block(L"part", 3, L"outer loop"));

    // A 300-character vertex line counts as three lines.
    sink.clear();
    std::string longv = text_file("l", {tri(0, 0, 0)});
    longv.replace(longv.find("vertex"), 6, std::string(300, ' ') + "vertex");
    StlFacets k;
    EXPECT_EQ(parse_text(longv, k).status, StlStatus::Refused);
    EXPECT_EQ(sink.lines(), syntax_error_block(L"part", 4, L"vertex"));
}

TEST_F(StlParseTest, ManyFacetsGrowTheListInBlocks)
{
    std::vector<Tri> tris;
    for (int i = 0; i < 2049; ++i) tris.push_back(tri(static_cast<float>(i), 0, 0));
    StlFacets f;
    ASSERT_EQ(parse_text(text_file("m", tris), f).status, StlStatus::Done);
    ASSERT_EQ(f.nb_poly, 2049);
    expect_vec(f.poly[2048].corner[1], 2049, 0, 0);
}

TEST_F(StlParseTest, TextMemoryErrorsAreReportedOnce)
{
    const std::string s = text_file("mem", {tri(0, 0, 0)});
    const int runs = pfx_test::for_each_alloc_failure([&](long) {
        sink.clear();
        StlFacets f;
        const auto r = parse_text(s, f);
        if (r.status == StlStatus::NoMemory) {
            ASSERT_EQ(sink.lines().size(), 1u);
            EXPECT_EQ(sink.lines()[0].flag, MSG_MEMORY);
        }
    });
    EXPECT_EQ(runs, 2); // the name text, the facet list
}

// ---- binary -----------------------------------------------------------------------------

TEST_F(StlParseTest, BinaryReadsFacetsAndShowsTheHeader)
{
    StlFacets f;
    const auto r = parse_binary(binary_file("hello", {tri(0, 0, 0), tri(7, 8, 9)}, 2), f);
    ASSERT_EQ(r.status, StlStatus::Done);
    ASSERT_EQ(f.nb_poly, 2);
    expect_vec(f.poly[1].normal, 0, 0, 1);
    expect_vec(f.poly[1].corner[0], 7, 8, 9);
    expect_vec(f.poly[1].corner[2], 7, 9, 9);
    EXPECT_EQ(f.poly[1].node[0], 0);
    EXPECT_EQ(sink.lines(), header_lines("hello", ""));
}

TEST_F(StlParseTest, BinaryTrailingBytesAndEmptyFiles)
{
    StlFacets f;
    EXPECT_EQ(parse_binary(binary_file("h", {tri(0, 0, 0)}, 1) + "trailing", f).status, StlStatus::Done);
    EXPECT_EQ(f.nb_poly, 1);
    StlFacets g;
    EXPECT_EQ(parse_binary(binary_file("h", {}, 0), g).status, StlStatus::Done);
    EXPECT_EQ(g.nb_poly, 0);
}

TEST_F(StlParseTest, SwappedCountIsRecovered)
{
    StlFacets f;
    std::string s = binary_file("h", {tri(1, 2, 3)}, 1, /*big_endian=*/true);
    const auto r = parse_binary(s, f);
    ASSERT_EQ(r.status, StlStatus::Done);
    ASSERT_EQ(f.nb_poly, 1);
    expect_vec(f.poly[0].corner[1], 2, 2, 3);
    std::vector<Line> want = header_lines("h", "");
    for (const Line& l : swap_lines(L"part", 0x01000000, 1)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(StlParseTest, CountBeyondTheFileInBothOrdersIsRefused)
{
    StlFacets f;
    std::string s = binary_file("h", {tri(0, 0, 0)}, 0);
    set_count_bytes(s, 0x10, 0x27, 0x00, 0x10);
    const auto r = parse_binary(s, f);
    EXPECT_EQ(r.status, StlStatus::Refused);
    EXPECT_STREQ(r.reason, "nb_poly > max_poly");
    std::vector<Line> want = header_lines("h", "");
    for (const Line& l : nope_lines(L"part", 0x10002710)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
}

TEST_F(StlParseTest, CountWithTheSignBitEndsInTheFacetListMemoryError)
{
    StlFacets f;
    std::string s = binary_file("h", {tri(0, 0, 0)}, 0);
    set_count_bytes(s, 0x00, 0x00, 0x00, 0x80);
    EXPECT_EQ(parse_binary(s, f).status, StlStatus::NoMemory);
    ASSERT_EQ(sink.lines().size(), 3u);
    EXPECT_EQ(sink.lines()[2].flag, MSG_MEMORY);
    EXPECT_TRUE(ends_with(sink.lines()[2].text,
                          L" of stl_read \nmemory error in calloc (var=poly, dim=-2147483648x76)"));
    // Swapped into a negative count: "solved", then the same memory error.
    sink.clear();
    StlFacets g;
    set_count_bytes(s, 0x80, 0x00, 0x00, 0x00);
    EXPECT_EQ(parse_binary(s, g).status, StlStatus::NoMemory);
    ASSERT_EQ(sink.lines().size(), 2u + 4u + 1u);
    EXPECT_EQ(sink.lines()[5].text, L"\xF1\t ...problem solved! (now \x01-2147483648\x02 polygons) ");
}

TEST_F(StlParseTest, ShortBinaryFilesAreRefusedWithTheBytesRead)
{
    StlFacets f;
    EXPECT_STREQ(parse_binary(std::string(50, 'x'), f).reason, "ret != num");
    EXPECT_EQ(sink.lines(), short_read_block(L"part", 50, 0));
    sink.clear();
    StlFacets g;
    EXPECT_STREQ(parse_binary(std::string(82, 'x'), g).reason, "ret != num");
    std::vector<Line> want = header_lines(std::string(40, 'x'), std::string(40, 'x'));
    for (const Line& l : short_read_block(L"part", 2, 0)) want.push_back(l);
    EXPECT_EQ(sink.lines(), want);
    sink.clear();
    StlFacets h;
    EXPECT_STREQ(parse_binary("", h).reason, "ret != num");
    EXPECT_EQ(sink.lines(), short_read_block(L"part", 0, 0));
}

TEST_F(StlParseTest, BinaryCutAnywhereIsRefusedCleanly)
{
    const std::string s = binary_file("cut", {tri(0, 0, 0), tri(1, 1, 1), tri(2, 2, 2)}, 3);
    for (size_t n = 0; n < s.size(); ++n) {
        StlFacets f;
        EXPECT_NE(parse_binary(s.substr(0, n), f).status, StlStatus::Done) << n;
    }
}

} // namespace
