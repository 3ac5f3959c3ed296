// STL_Read and STL_Read_Merge on the file corpus: whole transcripts and the
// objects they give, names, missing files and every memory error.
#include <dirent.h>

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "exchange/stl_files.h"

namespace {

using namespace pfx_test;
using namespace pfx_test::stl;

const std::wstring kDir = wide(test_path("data/stl/"));
const std::string kPlate = "0 0 0,1 0 0,0 1 0,1 1 0,|0 1 2 (0 0 1),1 3 2 (0 0 1),";

std::vector<Line> io(std::initializer_list<std::wstring> texts)
{
    std::vector<Line> lines;
    for (const std::wstring& t : texts) lines.push_back({MSG_TRACE_IO, t});
    return lines;
}

std::vector<Line> weld(int polygons, int nodes)
{
    return io({L">>> in  STL_to_Movie()",
               L"-> Polyfex:STL_to_Movie() read " + std::to_wstring(polygons) + L" polygon with " +
                   std::to_wstring(nodes) + L" vertex\n",
               L"<<< out STL_to_Movie(done)"});
}

// The header lines of a corpus file, each ending at a zero byte.
std::vector<Line> header_of(const char* file)
{
    const std::string b = read_file(test_path("data/stl/") + file + ".stl");
    return header(b.substr(0, 40).c_str(), b.substr(40, 40).c_str());
}
const std::vector<Line> kSignBit = {{MSG_MEMORY, L"stl_read \nmemory error in calloc (var=poly, dim=-2147483648x76)"}};

// The transcript without the source line numbers of memory lines.
std::vector<Line> lines_of(const CaptureSink& sink)
{
    std::vector<Line> lines = sink.lines();
    for (Line& l : lines)
        if (l.flag == MSG_MEMORY) l.text = l.text.substr(l.text.find(L" of ") + 4);
    return lines;
}

class StlReadTest : public PfxTest {};

TEST_F(StlReadTest, EveryCorpusFileGivesItsTranscriptAndObjectThroughBothEntryPoints)
{
    const std::vector<Line> plate = header_of("good_binary");
    const struct {
        std::string file;
        bool binary; // as the format test finds it
        std::vector<Line> body;
        const char* parser_exit; // null after a memory error
        std::string geometry;    // empty when refused
    } cases[] = {
        {"good_text", false, weld(2, 4), "done", kPlate},
        {"good_text_crlf", false, weld(2, 4), "done", kPlate},
        {"good_text_capitals", false, weld(2, 4), "done", kPlate},
        {"good_text_no_final_line_end", false, weld(2, 4), "done", kPlate},
        {"good_binary", true, plate + weld(2, 4), "done", kPlate},
        {"good_binary_swapped", true, plate + too_many(L"good_binary_swapped", 0x02000000, solved(2)) + weld(2, 4),
         "done", kPlate},
        {"good_binary_trailing_bytes", true, plate + weld(2, 4), "done", kPlate},
        {"good_binary_empty", true, plate + weld(0, 0), "done", "|"},
        {"bad_empty", true, short_read(L"bad_empty", 0), "ret != num", ""},
        {"bad_binary_short_header", true, short_read(L"bad_binary_short_header", 50), "ret != num", ""},
        {"bad_binary_short_count", true,
         header_of("bad_binary_short_count") + short_read(L"bad_binary_short_count", 2), "ret != num", ""},
        {"bad_binary_truncated", true, plate + too_many(L"bad_binary_truncated", 5, kNope), "nb_poly > max_poly", ""},
        {"bad_binary_count_beyond_both_orders", true,
         plate + too_many(L"bad_binary_count_beyond_both_orders", 0x10002710, kNope), "nb_poly > max_poly", ""},
        {"bad_binary_count_beyond_big_endian", true,
         plate + too_many(L"bad_binary_count_beyond_big_endian", 0x20000010, kNope), "nb_poly > max_poly", ""},
        // A count with the sign bit passes the size test and fails the allocation.
        {"bad_binary_count_sign_bit", true, plate + kSignBit, nullptr, ""},
        {"bad_binary_count_sign_bit_swapped", true,
         plate + too_many(L"bad_binary_count_sign_bit_swapped", 128, solved(-2147483648LL)) + kSignBit, nullptr, ""},
        {"bad_binary_solid_header", false, syntax_error(L"bad_binary_solid_header", 2, L"facet normal"), "! pt", ""},
        {"bad_text_no_endsolid", false, end_of_file(L"bad_text_no_endsolid", 16), "! fgets", ""},
        {"bad_text_cut_in_facet", false, syntax_error(L"bad_text_cut_in_facet", 7, L"endloop"), "! pt", ""},
        {"bad_text_cut_in_number", false, end_of_file(L"bad_text_cut_in_number", 6), "! fgets", ""},
        {"bad_text_two_blanks", false, syntax_error(L"bad_text_two_blanks", 2, L"facet normal"), "! pt", ""},
        {"bad_text_long_line", false, syntax_error(L"bad_text_long_line", 3, L"outer loop"), "! pt", ""},
        {"bad_text_missing_vertex", false, syntax_error(L"bad_text_missing_vertex", 6, L"vertex"), "! pt", ""},
        {"bad_text_first_line", true,
         header_of("bad_text_first_line") + too_many(L"bad_text_first_line", 540024881, kNope), "nb_poly > max_poly",
         ""}};
    std::set<std::string> on_disk, listed;
    DIR* d = opendir(test_path("data/stl").c_str());
    ASSERT_NE(d, nullptr);
    while (dirent* e = readdir(d))
        if (std::string n = e->d_name; n.ends_with(".stl")) on_disk.insert(n.substr(0, n.size() - 4));
    closedir(d);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        listed.insert(c.file);
        const std::wstring name = wide(c.file), parser = c.binary ? L"STL_BINARY_Read" : L"STL_ASCII_Read";
        for (const std::wstring entry : {L"STL_Read", L"STL_Read_Merge"}) {
            sink.clear();
            Movie_Objs** list = nullptr;
            ObjectPtr obj(entry == L"STL_Read" ? STL_Read(kDir.c_str(), name.c_str()) : nullptr);
            if (entry != L"STL_Read" && STL_Read_Merge(kDir.c_str(), name.c_str(), &list) == 1) obj.reset(list[0]);
            std::free(list);
            std::vector<Line> want = io({L">>> in  " + entry + L"(" + kDir + L"," + name + L")"});
            if (c.binary && entry == L"STL_Read") want.push_back({MSG_PROGRESS, L"It is a binary STL file"});
            want = want + io({L">>> in  " + parser + L"(" + name + L")"}) + c.body;
            if (c.parser_exit) want = want + io({L"<<< out " + parser + L"(" + wide(c.parser_exit) + L")"});
            const wchar_t* exit = !c.geometry.empty() ? L"done" : entry == L"STL_Read" ? L"! obj" : L"! (*obj)[0]";
            EXPECT_EQ(lines_of(sink), want + io({L"<<< out " + entry + L"(" + exit + L")"}));
            ASSERT_EQ(obj == nullptr, c.geometry.empty());
            if (!obj) continue;
            EXPECT_EQ(describe(obj.get()), c.geometry);
            EXPECT_EQ(obj->Flags, 0x4041u);
            EXPECT_EQ(std::wstring(obj->Path), kDir);
            EXPECT_EQ(std::wstring(obj->Name), c.binary ? name : L"plate");
        }
    }
    EXPECT_EQ(on_disk, listed);
}

TEST_F(StlReadTest, UnnamedTextSolidIsNamedAfterTheFileOnlyByStlRead)
{
    const std::string dir = temp_dir();
    write_file(dir + "anon.stl", "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
                                 "endloop\nendfacet\nendsolid\n");
    Movie_Objs** list = nullptr;
    ASSERT_EQ(STL_Read_Merge(wide(dir).c_str(), L"anon", &list), 1);
    EXPECT_EQ(list[0]->Name, nullptr);
    free_object_list(list, 1);
    ObjectPtr obj(STL_Read(wide(dir).c_str(), L"anon"));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(std::wstring(obj->Name), L"anon");
}

TEST_F(StlReadTest, MissingFileSendsTheOpenBlockAndLeavesTheResultAlone)
{
    const std::vector<Line> block = user({L"\x04" L"ERROR:\x02\t Unable to open file!", L"\t dir:\x01" + kDir,
                                          L"\t file\x01no_such_file", L"\t No such file or directory"});
    EXPECT_EQ(STL_Read(kDir.c_str(), L"no_such_file"), nullptr);
    EXPECT_EQ(sink.lines(),
              io({L">>> in  STL_Read(" + kDir + L",no_such_file)"}) + block + io({L"<<< out STL_Read(! f_in)"}));
    EXPECT_EQ(std::wstring(Kren_Err_Str), L"No such file or directory");
    sink.clear();
    Movie_Objs** untouched = reinterpret_cast<Movie_Objs**>(&sink);
    Movie_Objs** list = untouched;
    EXPECT_EQ(STL_Read_Merge(kDir.c_str(), L"no_such_file", &list), 0);
    EXPECT_EQ(list, untouched);
    EXPECT_EQ(sink.lines(), io({L">>> in  STL_Read_Merge(" + kDir + L",no_such_file)"}) + block +
                                io({L"<<< out STL_Read_Merge(! f_in)"}));
    // A path beyond 770 characters is cut and does not open.
    sink.clear();
    EXPECT_EQ(STL_Read(kDir.c_str(), std::wstring(800, L'a').c_str()), nullptr);
    EXPECT_EQ(sink.lines().back(), io({L"<<< out STL_Read(! f_in)"})[0]);
}

TEST_F(StlReadTest, EveryMemoryErrorIsOneLineAndLeaksNothing)
{
    std::set<std::string> vars;
    for (const wchar_t* name : {L"good_text", L"good_binary"})
        for (bool merge : {false, true})
            for_each_alloc_failure([&](long) {
                sink.clear();
                Movie_Objs** list = reinterpret_cast<Movie_Objs**>(&sink);
                ObjectPtr obj(merge ? nullptr : STL_Read(kDir.c_str(), name));
                if (merge && STL_Read_Merge(kDir.c_str(), name, &list) == 1) obj.reset(list[0]);
                if (merge) std::free(obj ? list : nullptr);
                EXPECT_TRUE(obj || !merge || list == nullptr);
                const auto memory = sink.texts(MSG_MEMORY);
                ASSERT_EQ(memory.size(), obj ? 0u : 1u);
                if (obj) return;
                const std::string t = narrow(memory[0]);
                const size_t v = t.find("(var=") + 5, dim = t.find(", dim=", v);
                vars.insert(t.substr(v, (dim != std::string::npos ? dim : t.rfind(')')) - v));
            });
    EXPECT_EQ(vars, (std::set<std::string>{"obj->Name", "obj->Path", "(*obj)", "(*obj)[0]->Path", "obj_name", "poly",
                                           "bytes", "corner", "box_nb", "box_id", "box_id[box]", "obj", "obj->Node_Pt",
                                           "obj->Poly_Pt", "node->Poly_Id"}));
}

} // namespace
