// STL_Read and STL_Read_Merge: files on disk, whole transcripts, the object
// they complete, the malformed-file corpus and every memory error.
#include <dirent.h>

#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "exchange/stl_files.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

using pfx_test::Line;
using pfx_test::ObjectPtr;
using namespace pfx_test::stl;

const std::string kCorpus = "data/stl/";

std::wstring corpus_dir() { return pfx_test::wide(pfx_test::test_path(kCorpus)); }

Line io(const std::wstring& text) { return {MSG_TRACE_IO, text}; }

std::vector<Line> weld_lines(int polygons, int nodes)
{
    return {io(L">>> in  STL_to_Movie()"),
            io(L"-> Polyfex:STL_to_Movie() read " + std::to_wstring(polygons) + L" polygon with " +
               std::to_wstring(nodes) + L" vertex\n"),
            io(L"<<< out STL_to_Movie(done)")};
}

class StlReadTest : public pfx_test::PfxTest {};

TEST_F(StlReadTest, TextFileGivesAWeldedNamedObject)
{
    const std::wstring dir = corpus_dir();
    ObjectPtr obj(STL_Read(dir.c_str(), L"good_text"));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(obj->Flags, 0x4041u);
    EXPECT_EQ(std::wstring(obj->Name), L"plate");
    EXPECT_EQ(std::wstring(obj->Path), dir);
    EXPECT_EQ(obj->Node_Nb, 4);
    EXPECT_EQ(obj->Poly_Nb, 2);
    EXPECT_EQ(obj->Pos_Done, 1);
    EXPECT_EQ(sink.lines(), join({{io(L">>> in  STL_Read(" + dir + L",good_text)"), io(L">>> in  STL_ASCII_Read(good_text)")},
                                  weld_lines(2, 4),
                                  {io(L"<<< out STL_ASCII_Read(done)"), io(L"<<< out STL_Read(done)")}}));
}

TEST_F(StlReadTest, BinaryFileIsAnnouncedAndNamedAfterTheFile)
{
    const std::wstring dir = corpus_dir();
    ObjectPtr obj(STL_Read(dir.c_str(), L"good_binary"));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(obj->Flags, 0x4041u);
    EXPECT_EQ(std::wstring(obj->Name), L"good_binary");
    EXPECT_EQ(obj->Node_Nb, 4);
    EXPECT_EQ(sink.lines(),
              join({{io(L">>> in  STL_Read(" + dir + L",good_binary)"), {MSG_PROGRESS, L"It is a binary STL file"},
                     io(L">>> in  STL_BINARY_Read(good_binary)")},
                    header_lines("binary plate", ""),
                    weld_lines(2, 4),
                    {io(L"<<< out STL_BINARY_Read(done)"), io(L"<<< out STL_Read(done)")}}));
}

TEST_F(StlReadTest, MergeReturnsOnePointerAndKeepsAMissingNameNull)
{
    const std::string dir = pfx_test::temp_dir();
    pfx_test::write_file(dir + "anon.stl", text_file("", {tri(0, 0, 0)}));
    const std::wstring wdir = pfx_test::wide(dir);
    Movie_Objs** list = nullptr;
    ASSERT_EQ(STL_Read_Merge(wdir.c_str(), L"anon", &list), 1);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list[0]->Name, nullptr);
    EXPECT_EQ(std::wstring(list[0]->Path), wdir);
    EXPECT_EQ(list[0]->Flags, 0x4041u);
    EXPECT_EQ(sink.lines().front(), io(L">>> in  STL_Read_Merge(" + wdir + L",anon)"));
    EXPECT_EQ(sink.lines().back(), io(L"<<< out STL_Read_Merge(done)"));
    pfx_test::free_object_list(list, 1);

    ObjectPtr obj(STL_Read(wdir.c_str(), L"anon"));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(std::wstring(obj->Name), L"anon");

    // The binary reader names the object after the file either way, and
    // only STL_Read announces the binary encoding.
    sink.clear();
    const std::wstring corpus = corpus_dir();
    ASSERT_EQ(STL_Read_Merge(corpus.c_str(), L"good_binary", &list), 1);
    EXPECT_EQ(std::wstring(list[0]->Name), L"good_binary");
    EXPECT_TRUE(sink.texts(MSG_PROGRESS).size() == 2u);
    pfx_test::free_object_list(list, 1);
}

TEST_F(StlReadTest, CrlfCapitalsAndMissingLineEndReadLikeThePlainFile)
{
    const std::wstring dir = corpus_dir();
    ObjectPtr plain(STL_Read(dir.c_str(), L"good_text"));
    ASSERT_NE(plain, nullptr);
    for (const wchar_t* name : {L"good_text_crlf", L"good_text_capitals", L"good_text_no_final_line_end",
                                L"good_binary", L"good_binary_swapped", L"good_binary_trailing_bytes"}) {
        ObjectPtr obj(STL_Read(dir.c_str(), name));
        ASSERT_NE(obj, nullptr) << pfx_test::narrow(name);
        ASSERT_EQ(obj->Node_Nb, plain->Node_Nb);
        ASSERT_EQ(obj->Poly_Nb, plain->Poly_Nb);
        for (int k = 0; k < obj->Node_Nb; ++k) {
            EXPECT_EQ(obj->Node_Pt[k].Coord.x, plain->Node_Pt[k].Coord.x);
            EXPECT_EQ(obj->Node_Pt[k].Coord.y, plain->Node_Pt[k].Coord.y);
        }
        if (std::wstring(name).find(L"text") != std::wstring::npos) {
            EXPECT_EQ(std::wstring(obj->Name), L"plate");
        }
    }
}

TEST_F(StlReadTest, EmptyFilesGiveEmptyObjects)
{
    const std::string dir = pfx_test::temp_dir();
    pfx_test::write_file(dir + "empty_text.stl", "solid\nendsolid\n");
    const std::wstring wdir = pfx_test::wide(dir);
    for (const wchar_t* name : {L"empty_text"}) {
        ObjectPtr obj(STL_Read(wdir.c_str(), name));
        ASSERT_NE(obj, nullptr);
        EXPECT_EQ(obj->Node_Nb, 0);
        EXPECT_EQ(obj->Poly_Nb, 0);
        EXPECT_EQ(obj->Flags, 0x4041u);
    }
    const std::wstring corpus = corpus_dir();
    ObjectPtr bin(STL_Read(corpus.c_str(), L"good_binary_empty"));
    ASSERT_NE(bin, nullptr);
    EXPECT_EQ(bin->Node_Nb, 0);
    EXPECT_EQ(bin->Node_Pt, nullptr);
}

TEST_F(StlReadTest, MissingFileSendsTheOpenBlockAndLeavesTheResultAlone)
{
    const std::wstring dir = corpus_dir();
    EXPECT_EQ(STL_Read(dir.c_str(), L"no_such_file"), nullptr);
    const std::vector<Line> block = {{MSG_USER, L"\xF1\x04" L"ERROR:\x02\t Unable to open file!"},
                                     {MSG_USER, L"\xF1\t dir:\x01" + dir},
                                     {MSG_USER, L"\xF1\t file\x01no_such_file"},
                                     {MSG_USER, L"\xF1\t No such file or directory"}};
    EXPECT_EQ(sink.lines(), join({{io(L">>> in  STL_Read(" + dir + L",no_such_file)")}, block,
                                  {io(L"<<< out STL_Read(! f_in)")}}));
    EXPECT_EQ(std::wstring(Kren_Err_Str), L"No such file or directory");

    sink.clear();
    Movie_Objs** untouched = reinterpret_cast<Movie_Objs**>(&sink);
    Movie_Objs** list = untouched;
    EXPECT_EQ(STL_Read_Merge(dir.c_str(), L"no_such_file", &list), 0);
    EXPECT_EQ(list, untouched);
    EXPECT_EQ(sink.lines(), join({{io(L">>> in  STL_Read_Merge(" + dir + L",no_such_file)")}, block,
                                  {io(L"<<< out STL_Read_Merge(! f_in)")}}));

    // A path beyond 770 characters is cut and does not open.
    sink.clear();
    const std::wstring long_name(800, L'a');
    EXPECT_EQ(STL_Read(dir.c_str(), long_name.c_str()), nullptr);
    EXPECT_EQ(sink.lines().back(), io(L"<<< out STL_Read(! f_in)"));
}

TEST_F(StlReadTest, ParserFailureEndsBothEntryPointsWithTheirReason)
{
    const std::wstring dir = corpus_dir();
    EXPECT_EQ(STL_Read(dir.c_str(), L"bad_text_two_blanks"), nullptr);
    EXPECT_EQ(sink.lines(), join({{io(L">>> in  STL_Read(" + dir + L",bad_text_two_blanks)"),
                                   io(L">>> in  STL_ASCII_Read(bad_text_two_blanks)")},
                                  syntax_error_block(L"bad_text_two_blanks", 2, L"facet normal"),
                                  {io(L"<<< out STL_ASCII_Read(! pt)"), io(L"<<< out STL_Read(! obj)")}}));
    sink.clear();
    Movie_Objs** list = reinterpret_cast<Movie_Objs**>(&sink);
    EXPECT_EQ(STL_Read_Merge(dir.c_str(), L"bad_binary_truncated", &list), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(sink.lines(), join({{io(L">>> in  STL_Read_Merge(" + dir + L",bad_binary_truncated)"),
                                   io(L">>> in  STL_BINARY_Read(bad_binary_truncated)")},
                                  header_lines("binary plate", ""), nope_lines(L"bad_binary_truncated", 5),
                                  {io(L"<<< out STL_BINARY_Read(nb_poly > max_poly)"),
                                   io(L"<<< out STL_Read_Merge(! (*obj)[0])")}}));
}

// The parser's exit reason in a transcript, "memory" for a memory error.
std::string parser_exit(const std::vector<Line>& lines)
{
    for (const Line& l : lines) {
        if (l.flag == MSG_MEMORY) return "memory";
        for (const wchar_t* head : {L"<<< out STL_ASCII_Read(", L"<<< out STL_BINARY_Read("}) {
            const std::wstring h = head;
            if (l.text.compare(0, h.size(), h) == 0)
                return pfx_test::narrow(l.text.substr(h.size(), l.text.size() - h.size() - 1));
        }
    }
    return "none";
}

TEST_F(StlReadTest, EveryCorpusFileReadsAsExpected)
{
    const std::map<std::string, std::string> expected = {
        {"good_text", "done"},
        {"good_text_crlf", "done"},
        {"good_text_capitals", "done"},
        {"good_text_no_final_line_end", "done"},
        {"good_binary", "done"},
        {"good_binary_swapped", "done"},
        {"good_binary_trailing_bytes", "done"},
        {"good_binary_empty", "done"},
        {"bad_empty", "ret != num"},
        {"bad_binary_short_header", "ret != num"},
        {"bad_binary_short_count", "ret != num"},
        {"bad_binary_truncated", "nb_poly > max_poly"},
        {"bad_binary_count_beyond_both_orders", "nb_poly > max_poly"},
        {"bad_binary_count_beyond_big_endian", "nb_poly > max_poly"},
        {"bad_binary_count_sign_bit", "memory"},
        {"bad_binary_count_sign_bit_swapped", "memory"},
        {"bad_binary_solid_header", "! pt"},
        {"bad_text_no_endsolid", "! fgets"},
        {"bad_text_cut_in_facet", "! pt"},
        {"bad_text_cut_in_number", "! fgets"},
        {"bad_text_two_blanks", "! pt"},
        {"bad_text_long_line", "! pt"},
        {"bad_text_missing_vertex", "! pt"},
        {"bad_text_first_line", "nb_poly > max_poly"},
    };
    std::set<std::string> on_disk;
    DIR* d = opendir(pfx_test::test_path(kCorpus).c_str());
    ASSERT_NE(d, nullptr);
    while (dirent* e = readdir(d)) {
        std::string n = e->d_name;
        if (n.size() > 4 && n.compare(n.size() - 4, 4, ".stl") == 0) on_disk.insert(n.substr(0, n.size() - 4));
    }
    closedir(d);
    EXPECT_EQ(on_disk.size(), expected.size());
    const std::wstring dir = corpus_dir();
    for (const std::string& name : on_disk) {
        auto it = expected.find(name);
        ASSERT_NE(it, expected.end()) << name << " has no expectation";
        sink.clear();
        const std::wstring wname = pfx_test::wide(name);
        ObjectPtr obj(STL_Read(dir.c_str(), wname.c_str()));
        EXPECT_EQ(parser_exit(sink.lines()), it->second) << name;
        EXPECT_EQ(obj != nullptr, it->second == "done") << name;
        EXPECT_EQ(sink.lines().back(), io(obj ? L"<<< out STL_Read(done)" : L"<<< out STL_Read(! obj)")) << name;
        // Refused files say why in a user block (memory errors in their line).
        if (!obj && it->second != "memory") {
            EXPECT_FALSE(sink.texts(MSG_USER).empty()) << name;
        }
    }
}

TEST_F(StlReadTest, EveryMemoryErrorIsReportedOnceAndLeaksNothing)
{
    const std::wstring dir = corpus_dir();
    std::set<std::string> vars;
    auto var_of = [](const std::wstring& text) {
        const std::string t = pfx_test::narrow(text);
        const size_t v = t.find("(var=") + 5;
        const size_t dim = t.find(", dim=", v);
        return t.substr(v, (dim != std::string::npos ? dim : t.rfind(')')) - v);
    };
    for (const wchar_t* name : {L"good_text", L"good_binary"}) {
        pfx_test::for_each_alloc_failure([&](long) {
            sink.clear();
            ObjectPtr obj(STL_Read(dir.c_str(), name));
            const auto memory = sink.texts(MSG_MEMORY);
            if (obj) {
                EXPECT_TRUE(memory.empty());
                return;
            }
            ASSERT_EQ(memory.size(), 1u);
            vars.insert(var_of(memory[0]));
        });
        pfx_test::for_each_alloc_failure([&](long) {
            sink.clear();
            Movie_Objs** list = nullptr;
            const int n = STL_Read_Merge(dir.c_str(), name, &list);
            const auto memory = sink.texts(MSG_MEMORY);
            if (n == 1) {
                pfx_test::free_object_list(list, 1);
                return;
            }
            EXPECT_EQ(list, nullptr);
            ASSERT_EQ(memory.size(), 1u);
            vars.insert(var_of(memory[0]));
        });
    }
    for (const char* v : {"obj->Name", "obj->Path", "(*obj)", "(*obj)[0]->Path", "obj_name", "poly", "bytes",
                          "corner", "box_nb", "box_id", "box_id[box]", "obj", "obj->Node_Pt", "obj->Poly_Pt",
                          "node->Poly_Id"})
        EXPECT_EQ(vars.count(v), 1u) << v;
}

} // namespace
