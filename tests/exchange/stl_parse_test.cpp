// The STL parsers on exact-size byte ranges, so that reading past the end
// trips the sanitizer: the format test, the text grammar, malformed text,
// files cut anywhere and the memory errors of a long facet list. The reader
// test walks the file corpus, binary files included.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "exchange/stl_parse.h"
#include "exchange/stl_files.h"

namespace {

using namespace pfx_test;
using pfx::STL_Facet;
using pfx::StlFacets;
using pfx::StlStatus;

// A copy of exactly s.size() bytes: a read past the end trips the sanitizer.
std::unique_ptr<char[]> exact(const std::string& s)
{
    std::unique_ptr<char[]> bytes(new char[s.size()]);
    std::memcpy(bytes.get(), s.data(), s.size());
    return bytes;
}

StlStatus parse(const std::string& s, StlFacets& out, bool text = true)
{
    return (text ? pfx::stl_parse_text : pfx::stl_parse_binary)(exact(s).get(), s.size(), L"part", out).status;
}

// The block of a refused text: at the line, the keyword not found, or none when the file ended.
std::vector<Line> refusal(int line, const std::wstring& keyword = L"")
{
    const std::wstring at = L"\xF1\t file:\x01part\x02 line:\x01" + std::to_wstring(line);
    if (keyword.empty())
        return {{MSG_USER, L"\xF1\x04" L"ERROR:\x02\t Error in STL file!"}, {MSG_USER, at},
                {MSG_USER, L"\xF1\t End Of File while reading"}};
    return {{MSG_USER, L"\xF1\x04" L"ERROR:\x02\t Syntax error in STL file!"}, {MSG_USER, at},
            {MSG_USER, L"\xF1\t didn't find key-word \x01\"" + keyword + L"\""}};
}

// "name|normal:corner:corner:corner:|..."
std::string describe(const StlFacets& f)
{
    std::string s = f.obj_name;
    char b[64];
    for (const STL_Facet& x : std::vector<STL_Facet>(f.poly, f.poly + f.nb_poly)) {
        s += "|";
        for (const Vector_4& v : {x.normal, x.corner[0], x.corner[1], x.corner[2]}) {
            std::snprintf(b, sizeof b, "%g %g %g:", v.x, v.y, v.z);
            s += b;
        }
    }
    return s;
}

std::string facet(const std::string& n, const std::string& a, const std::string& b, const std::string& c)
{
    return "facet normal " + n + "\nouter loop\nvertex " + a + "\nvertex " + b + "\nvertex " + c +
           "\nendloop\nendfacet\n";
}
const std::string kFacet = facet("0 0 1", "0 0 0", "1 0 0", "0 1 0");

std::string with(std::string s, const std::string& from, const std::string& to)
{
    return s.replace(s.find(from), from.size(), to);
}

class StlParseTest : public PfxTest {};

TEST_F(StlParseTest, FormatTestLooksForTheKeywordsInTheFirstTwoLines)
{
    const std::pair<std::string, bool> cases[] = {
        {"solid x\nfacet normal 0 0 1\n", true}, {"endsolid\n", true}, {"SOLID X\nFACET NORMAL 0 0 1\n", true},
        {"SOLID X\n  facet normal 0 0 1\n", true}, {"anything\n  FACET NORMAL 0 0 1\n", true},
        {"Solid x\nfacet normal 0 0 1\n", false}, {"SOLID x\nfacet Normal 0 0 1\n", false}, {"", false},
        {std::string("\0solid", 6), false}, {read_file(test_path("data/stl/good_binary.stl")), false},
        // The first line holds 89 characters: a keyword after them is on the second.
        {std::string(89, 'a') + "solid\n", false}, {std::string(84, 'a') + "solid\n", true},
        {std::string(89, 'a') + "NORMAL\n", true}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(pfx::stl_is_text(exact(bytes).get(), bytes.size()), text) << bytes.substr(0, 95);
    }
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(StlParseTest, TextGivesTheLoweredNameAndTheNumbersOrNamesTheFailingLine)
{
    const std::string good = "solid k\n" + kFacet + "endsolid k\n", pad(100, ' ');
    const struct {
        std::string text;
        std::string facets;      // when read
        std::vector<Line> lines = {}; // when refused
    } cases[] = {
        // The name follows the keyword and one separator, without surrounding blanks.
        {"solid\nendsolid", ""}, {"solid \nendsolid", ""}, {"  solid  two\nendsolid", "two"},
        {"solidworks part\nendsolid", "orks part"}, {"endsolid x\nendsolid", "x"},
        {"SOLID \xC3\x89T\xC3\x89\nendsolid", "\xC3\x89t\xC3\x89"},
        {"SOLID BIG\nFACET NORMAL 1.0E+00 0 -2.5E-01\nOUTER LOOP\nVERTEX 1E1 0 0\nVERTEX 0 1 0\nVERTEX 0 0 1\n"
         "ENDLOOP\nENDFACET\nENDSOLID",
         "big|1 0 -0.25:10 0 0:0 1 0:0 0 1:"},
        // A number that does not convert stops the line's numbers; a zero byte ends the line.
        {"solid\n" + facet("1 x 3", "a 2 3", "4 5", "7 8 9 10") + "endsolid", "|1 0 0:0 0 0:4 5 0:7 8 9:"},
        {"solid\n" + facet(std::string("1 2\0 3", 6), "1 1 1", "2 2 2", "3 3 3") + "endsolid",
         "|1 2 0:1 1 1:2 2 2:3 3 3:"},
        // Keywords match anywhere in the line; the numbers follow the first one.
        {"xsolidx\nmy facet normal 0 0 1 here\nouter loopy\nvertexvertex 1 2 3\navertex 1 2 3\nvertex 1 2 3\n"
         "endloop!\nendfacet?\nzzendsolidzz",
         "|0 0 1:0 0 0:1 2 3:1 2 3:"},
        // 118 characters and the line end (a CRLF too) make one line; 119 make two.
        {with(good, "0 0 1\n", "0 0 1" + pad + "\n"), "k|0 0 1:0 0 0:1 0 0:0 1 0:"},
        {with(good, "0 0 1\n", "0 0 1" + pad + "\r\n"), "k|0 0 1:0 0 0:1 0 0:0 1 0:"},
        {with(good, "0 0 1\n", "0 0 1" + pad + " \n"), "", refusal(3, L"outer loop")},
        {"", "", refusal(1)},
        {with(good, "solid k", "sold k"), "", refusal(1, L"solid")},
        {with(good, "facet normal", "facet"), "", refusal(2, L"facet normal")},
        {with(good, "outer loop", "outerloop"), "", refusal(3, L"outer loop")},
        {with(good, "vertex 1 0 0", "vertx 1 0 0"), "", refusal(5, L"vertex")},
        {with(good, "endloop", "end loop"), "", refusal(7, L"endloop")},
        {with(good, "endfacet", "end facet"), "", refusal(8, L"endfacet")},
        {good.substr(0, good.find("endsolid")), "", refusal(9)}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        sink.clear();
        StlFacets f;
        const StlStatus status = parse(c.text, f);
        EXPECT_EQ(status, c.lines.empty() ? StlStatus::Done : StlStatus::Refused);
        EXPECT_EQ(sink.lines(), c.lines);
        EXPECT_EQ(status == StlStatus::Done ? describe(f) : "", c.facets);
    }
}

TEST_F(StlParseTest, FilesCutAnywhereAreRefusedCleanly)
{
    const std::string text = "solid cut\n" + kFacet + kFacet + "endsolid\n";
    const std::string binary = read_file(test_path("data/stl/good_binary.stl"));
    for (size_t n = 0; n <= text.size(); ++n) {
        StlFacets f;
        EXPECT_EQ(parse(text.substr(0, n), f) == StlStatus::Done, n >= text.find("endsolid") + 8) << n;
    }
    for (size_t n = 0; n <= binary.size(); ++n) {
        StlFacets f;
        EXPECT_EQ(parse(binary.substr(0, n), f, false) == StlStatus::Done, n == binary.size()) << n;
    }
}

TEST_F(StlParseTest, LongFacetListGrowsAndEachMemoryErrorIsOneLine)
{
    std::string text = "solid mem\n";
    for (int i = 0; i < 2049; ++i) text += facet("0 0 1", std::to_string(i) + " 0 0", "1 0 0", "0 1 0");
    text += "endsolid\n";
    std::string got;
    for_each_alloc_failure([&](long) {
        sink.clear();
        StlFacets f;
        const StlStatus status = parse(text, f);
        got += stl::transcript(sink);
        EXPECT_EQ(status, sink.lines().empty() ? StlStatus::Done : StlStatus::NoMemory);
        if (status == StlStatus::Done) {
            ASSERT_EQ(f.nb_poly, 2049);
            EXPECT_EQ(f.poly[2048].corner[0].x, 2048.0f);
        }
    });
    // The name, then the list at 0, 1024 and 2048 facets.
    EXPECT_EQ(got, "00000001 stl_read \\x0Amemory error in _strdup (var=obj_name)\n"
                   "00000001 stl_read \\x0Amemory error in realloc (var=poly, dim=1024x76)\n"
                   "00000001 stl_read \\x0Amemory error in realloc (var=poly, dim=2048x76)\n"
                   "00000001 stl_read \\x0Amemory error in realloc (var=poly, dim=3072x76)\n");
}

} // namespace
