// OBJ_Read_Merge: the corpus under tests/data/obj read in one table, each
// file also with CRLF line ends and without its final line end; then list
// growth, open failures and memory errors.
#include <cerrno>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "exchange/obj_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

Line io(const std::wstring& text) { return {MSG_TRACE_IO, L"-> Polyfex:OBJ_Read_Merge() " + text}; }
Line user(const std::wstring& text) { return {MSG_USER, text}; }
Line unknown(int line, const std::wstring& text)
{
    return io(L"line:" + std::to_wstring(line) + L" Unrecognized keyword: " + text);
}
const Line kEof = io(L"\x02\xF1------ ------ End of file ------ ------");
Line counts(int v, int t, int n, int p)
{
    return io(L"read: " + std::to_wstring(v) + L" nodes, " + std::to_wstring(t) + L" textures, " +
              std::to_wstring(n) + L" normals, " + std::to_wstring(p) + L" polygons");
}
// The user block of a dropped face (warning) or a rejected file (error).
std::vector<Line> block(bool error, const std::wstring& file, int line)
{
    return {user(error ? L"\xF1\x04" L"ERROR:\x02 Bad reference in face!"
                       : L"\xF1\x05WARNING:\x02 To many nodes for polygon!"),
            user(L"\xF1\t File: \x01" + file), user(L"\xF1\t Line: \x01" + std::to_wstring(line))};
}
std::vector<Line> bad_ref(const wchar_t* file, int line) { return block(true, file, line); }
std::vector<Line> concat(std::vector<Line> a, const std::vector<Line>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct ReadCase {
    const char* file; // tests/data/obj/<file>.obj
    int result;
    std::vector<Line> before; // between the entry line and the end-of-file line
    int v, t, n, p;           // the counts line
    std::vector<Line> after;  // between the counts line and the exit line
    const wchar_t* exit;
    std::string objects; // dump() of the list
};

class ObjRead : public PfxTest {
protected:
    void SetUp() override { dir = temp_dir(); }
    void TearDown() override
    {
        free_object_list(objs, -1);
        PfxTest::TearDown();
    }
    int read(const std::string& in_dir, const std::string& name)
    {
        free_object_list(objs, -1);
        objs = nullptr;
        sink.clear();
        return OBJ_Read_Merge(wide(in_dir).c_str(), wide(name).c_str(), &objs);
    }
    Line in(const std::string& in_dir, const std::string& name) const
    {
        return {MSG_TRACE_IO, L">>> in  OBJ_Read_Merge(" + wide(in_dir) + L"," + wide(name) + L")"};
    }
    static Line out(const std::wstring& exit) { return {MSG_TRACE_IO, L"<<< out OBJ_Read_Merge(" + exit + L")"}; }
    std::string dir;
    Movie_Objs** objs = nullptr;
};

TEST_F(ObjRead, CorpusReadsToTheExpectedObjectsAndTranscripts)
{
    const std::vector<ReadCase> cases = {
        {"cube", 1, {}, 8, 0, 0, 6, {}, L"! group_nb",
         "cube@ v 0 0 0, 1 0 0, 1 1 0, 0 1 0, 0 0 1, 1 0 1, 1 1 1, "
         "0 1 1 f 0 3 2 1/-1 -1 -1 -1/-1 -1 -1 -1, 4 5 6 7/-1 -1 -1 -1/-1 -1 -1 -1, "
         "0 1 5 4/-1 -1 -1 -1/-1 -1 -1 -1, 1 2 6 5/-1 -1 -1 -1/-1 -1 -1 -1, "
         "2 3 7 6/-1 -1 -1 -1/-1 -1 -1 -1, 3 0 4 7/-1 -1 -1 -1/-1 -1 -1 -1\n"},
        {"groups", 2, {}, 8, 0, 0, 5, {}, L"done",
         "top v 0 0 1, 1 0 1, 1 1 1, 0 1 1 f 0 1 2 3/0 0 0 0/0 0 0 0\n"
         "sides v 0 0 0, 1 0 0, 1 1 0, 0 1 0, 0 0 1, 1 0 1, 1 1 1, "
         "0 1 1 f 0 1 5 4/0 0 0 0/0 0 0 0, 1 2 6 5/0 0 0 0/0 0 0 0, 2 3 7 6/0 0 0 0/0 0 0 0, "
         "3 0 4 7/0 0 0 0/0 0 0 0\n"},
        {"group_lists", 2, {}, 4, 3, 3, 2, {}, L"done",
         "a v 0 0 0, 1 0 0, 0 1 0 t 0.3 0.4, 0.5 0.6 n 0 1 0 f 0 1 2/1 0 1/0 0 0\n"
         "b v 1 0 0, 0 1 0, 5 5 5 t 0.1 0.2, 0.3 0.4 n 1 0 0, 0 0 1 f 2 0 1/0 1 0/1 0 1\n"},
        {"empty_group", 3, {}, 3, 0, 0, 2, {}, L"done",
         "(null) v f\n"
         "tri v 0 0 0, 1 0 0, 0 1 0 f 2 1 0/0 0 0/0 0 0\n"
         "last v f\n"},
        {"group_names", 3, {}, 0, 0, 0, 0, {}, L"done",
         "caf\xC3\xA9 au lait v f\n"
         "(null) v f\n"
         "oup v f\n"},
        {"last_entry", 1, {}, 6, 4, 6, 2, {}, L"! group_nb",
         "last_entry@ v 0 0 0, 1 0 0, 0 1 0, 1 1 0, 2 2 0, 3 3 0 t 0 0, 1 0, 0 1, 1 1 n 0 0 1, "
         "0 0 1, 0 0 1, 0 0 1, 0 0 1, 0 0 1 f 0 2 4/1 1 1/1 3 5, 0 1 2/0 3 1/5 5 0\n"},
        {"relative", 1, {}, 5, 0, 0, 3, {}, L"! group_nb",
         "relative@ v 0 0 0, 1 0 0, 0 1 0, 1 1 0, 9 9 9 f 3 2 1 0/-1 -1 -1 -1/-1 -1 -1 -1, "
         "3 3 3/-1 -1 -1/-1 -1 -1, 4 0 1/-1 -1 -1/-1 -1 -1\n"},
        {"five_corners", 1, block(false, L"five_corners", 9), 8, 0, 0, 2, {}, L"! group_nb",
         "five_corners@ v 0 0 0, 1 0 0, 1 1 0, 0 1 0, 0 0 1, 1 0 1, 1 1 1, "
         "0 1 1 f 0 1 2/-1 -1 -1/-1 -1 -1, 0 1 2 3/-1 -1 -1 -1/-1 -1 -1 -1\n"},
        {"unlisted", 1,
         {unknown(6, L"o name"), unknown(7, L"l 1 2"), unknown(8, L"v\t1 2 3"), unknown(9, L""), unknown(10, L""),
          unknown(12, L"f"), unknown(13, L"f\t1 2 3")},
         1, 1, 0, 0, {}, L"! group_nb", "unlisted@ v 1 2 3 t 0 0 f\n"},
        {"numbers", 1, {unknown(3, L"v\u00A01 2 3")}, 3, 1, 1, 0, {}, L"! group_nb",
         "numbers@ v 1 2 3, 1 0 0, -15 0.25 3 t 0.5 0 n 1 2 3 f\n"},
        // A 129-character comment: its last 10 characters arrive as a line of
        // their own, a vertex; a 119-character line fills one read and its
        // line end comes as an empty line.
        {"long_pieces", 1, {unknown(4, L""), unknown(6, L"bad")}, 2, 0, 0, 0, {}, L"! group_nb",
         "long_pieces@ v 7 8 9, 1 2 3 f\n"},
        {"long_at_end", 1, {unknown(3, L"")}, 1, 0, 0, 0, {}, L"! group_nb", "long_at_end@ v 1 2 3 f\n"},
        {"long_line", 1, {}, 1, 0, 0, 1, {}, L"! group_nb", "long_line@ v 1 2 3 f 0 0 0/-1 -1 -1/-1 -1 -1\n"},
        {"nul", 1, {unknown(5, L"v")}, 1, 0, 0, 2, {}, L"done", "a v 1 2 3 f 0 0/0 0/0 0, 0 0 0/0 0 0/0 0 0\n"},
        {"groups_crlf", 2, concat(block(false, L"groups_crlf", 16), {unknown(17, L"o x"), unknown(18, L"l 1 2")}),
         4, 2, 1, 2, {}, L"done",
         "first v 0 0 0, 1 0 0, 0 1 0 t 0 0, 1 0 n 0 0 1 f 0 1 2/0 1 0/0 0 0\n"
         "second v 1 0 0, 0 1 0, 1 1 0 t 0 0, 1 0 n 0 0 1 f 2 1 0 2/1 0 1 1/0 0 0 0\n"},
        {"forward", 1, {}, 3, 0, 0, 1, {}, L"! group_nb", "forward@ v 0 0 0, 1 0 0, 0 1 0 f 0 1 2/6 7 8/-1 -1 -1\n"},
        {"untextured_first", 1, {}, 3, 2, 1, 3, {}, L"done",
         "a v 0 0 0, 1 0 0, 0 1 0 t 0.5 0.5, 1 1 n 0 0 1 f 2 1 0/0 0 0/0 0 0, 0 1 2/1 1 1/0 0 0\n"},
        {"empty", 1, {}, 0, 0, 0, 0, {}, L"! group_nb", "empty@ v f\n"},
        {"bad_past_end", 0, {}, 2, 0, 0, 2, bad_ref(L"bad_past_end", 3), L"bad reference", ""},
        {"bad_before_start", 0, {}, 2, 0, 0, 2, bad_ref(L"bad_before_start", 3), L"bad reference", ""},
        {"bad_texture", 0, {}, 1, 1, 0, 1, bad_ref(L"bad_texture", 3), L"bad reference", ""},
        {"bad_relative_texture", 0, {}, 1, 1, 0, 1, bad_ref(L"bad_relative_texture", 3), L"bad reference", ""},
        {"bad_huge", 0, {}, 1, 0, 0, 1, bad_ref(L"bad_huge", 3), L"bad reference", ""},
        // A face before any vertex has nothing to refer to.
        {"bad_no_vertex_yet", 0, {}, 1, 0, 0, 1, bad_ref(L"bad_no_vertex_yet", 3), L"bad reference", ""},
    };
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string lf = read_file(test_path("data/obj/") + c.file + ".obj");
        std::string crlf;
        for (size_t i = 0; i < lf.size(); ++i)
            crlf += lf[i] == '\n' && (i == 0 || lf[i - 1] != '\r') ? "\r\n" : lf.substr(i, 1);
        if (crlf.size() >= 2 && crlf.compare(crlf.size() - 2, 2, "\r\n") == 0) crlf.resize(crlf.size() - 2);
        for (const std::string& bytes : {lf, crlf}) {
            write_file(dir + c.file + ".obj", bytes);
            EXPECT_EQ(read(dir, c.file), c.result);
            const std::vector<Line> tail = concat({kEof, counts(c.v, c.t, c.n, c.p)}, concat(c.after, {out(c.exit)}));
            EXPECT_EQ(sink.lines(), concat(concat({in(dir, c.file)}, c.before), tail));
            EXPECT_EQ(dump(objs, dir), c.objects);
            if (c.result == 0) {
                EXPECT_EQ(objs, nullptr);
            }
        }
    }
}

// Statements hidden in the second piece of long lines are not in the quick
// line count that sizes the lists, so the lists grow while reading; plain
// lists grow past their first block of 1024 too.
TEST_F(ObjRead, ListsGrowPastTheLineCountAndTheirFirstBlock)
{
    const std::string pad = "#" + std::string(118, '-');
    std::string big;
    for (int i = 0; i < 3000; ++i) big += "v " + std::to_string(i) + " 0 0\nvt 0 0\nvn 0 0 1\n";
    big += "g big\n";
    for (int i = 1; i + 2 <= 3000; ++i)
        big += "f " + std::to_string(i) + " " + std::to_string(i + 1) + " " + std::to_string(i + 2) + "\n";
    for (const std::string head : {"", "g all\n", "lists"}) {
        const bool lists = head == "lists";
        std::string text = lists ? big : head;
        for (int i = 0; !lists && i < 2500; ++i) text += pad + "v " + std::to_string(i) + " 0 0\n";
        for (int i = 1; !lists && i <= 2500; ++i) text += pad + "f " + std::to_string(i) + " 1 2\n";
        write_file(dir + "grow.obj", text);
        ASSERT_EQ(read(dir, "grow"), 1);
        const int n = lists ? 3000 : 2500, p = lists ? 2998 : 2500;
        EXPECT_EQ(sink.lines()[2], counts(n, lists ? n : 0, lists ? n : 0, p));
        ASSERT_TRUE(objs[0]->Node_Nb == n && objs[0]->Poly_Nb == p);
        EXPECT_EQ(objs[0]->Node_Pt[n - 1].Coord.x, n - 1.0f);
        EXPECT_EQ(objs[0]->Poly_Pt[p - 1].Node_Id[0], p - 1);
        // Every corner names the last texture coordinate and normal read.
        EXPECT_EQ(objs[0]->Text_Nb + objs[0]->Normal_Nb, lists ? 2 : 0);
    }
}

// A directory opens but cannot be read; paths up to 770 characters are
// read, longer ones refused (short components, so that the system itself
// takes the long path).
TEST_F(ObjRead, FilesThatDoNotOpenGiveTheOpenFailureBlock)
{
    std::string deep = dir;
    while (deep.size() < 640) deep += std::string(100, 'd') + "/";
    ASSERT_EQ(system(("mkdir -p '" + deep + "' '" + dir + "d.obj'").c_str()), 0);
    const std::string name(770 - 4 - deep.size(), 'n');
    write_file(deep + name + ".obj", "v 0 0 0\n");
    EXPECT_EQ(read(deep, name), 1);
    using Case = std::tuple<std::string, std::string, int>;
    for (auto [in_dir, file, code] :
         {Case{dir, "absent", ENOENT}, Case{dir, "d", EIO}, Case{deep, name + "n", ENAMETOOLONG}}) {
        EXPECT_EQ(read(in_dir, file), 0);
        const std::wstring err = Error_Perror(code);
        EXPECT_EQ(sink.lines(),
                  (std::vector<Line>{in(in_dir, file), user(L"\xF1\x04" L"ERROR:\x02 Unable to open file!"),
                                     user(L"\xF1\t dir: \x01" + wide(in_dir)), user(L"\xF1\t file \x01" + wide(file)),
                                     user(L"\xF1\t\x02" + err), out(L"! f_in")}));
        EXPECT_EQ(std::wstring(Kren_Err_Str), err);
        EXPECT_EQ(objs, nullptr);
    }
    sink.clear();
    EXPECT_EQ(OBJ_Read_Merge(L"/", L"x", nullptr), 0);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("/", "x"), out(L"! out")}));
}

// Every allocation that fails sends one memory-error line, which ends the
// transcript, and leaves no result and no leak; together the runs give
// every variable of the reader with the size asked for.
TEST_F(ObjRead, EveryAllocationFailureIsReportedAndReleased)
{
    std::set<std::string> seen;
    for (const char* text : {"v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\ng a\nf 1/1/1 2/1/1 3/1/1\ng b\nf 3 2 1\n",
                             "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n"}) {
        write_file(dir + "m.obj", text);
        int runs = for_each_alloc_failure([&](long) {
            const int n = read(dir, "m");
            std::vector<std::wstring> mem = sink.texts(MSG_MEMORY);
            if (n != 0) {
                EXPECT_TRUE(mem.empty());
                return;
            }
            EXPECT_EQ(objs, nullptr);
            ASSERT_EQ(mem.size(), 1u);
            EXPECT_EQ(sink.lines().back().flag, MSG_MEMORY);
            const std::string line = narrow(mem[0]);
            const size_t at = line.find(" of obj_read \nmemory error in ");
            ASSERT_TRUE(line.compare(0, 5, "line ") == 0 && at != std::string::npos) << line;
            seen.insert(line.substr(at + 30));
        });
        EXPECT_GT(runs, 10);
    }
    const std::set<std::string> want = {
        "_strdup (var=group_name[group_nb])", "_wcsdup (var=(*obj)[0]->Name)", "_wcsdup (var=(*obj)[0]->Path)",
        "_wcsdup (var=(*obj)[k]->Name)", "calloc (var=(*obj)[k], dim=1x288)",
        "calloc (var=(*obj)[k]->Node_Pt, dim=3x96)",
        "calloc (var=(*obj)[k]->Normal_Pt, dim=1x12)", "calloc (var=(*obj)[k]->Poly_Pt, dim=1x120)",
        "calloc (var=(*obj)[k]->Text_Pt, dim=1x8)", "calloc (var=*obj, dim=2x8)", "calloc (var=*obj, dim=3x8)",
        "calloc (var=l_flag, dim=1x1)", "calloc (var=n_flag, dim=3x1)", "calloc (var=t_flag, dim=1x1)",
        "malloc (var=buffer, dim=61x1)", "malloc (var=buffer, dim=77x1)", "malloc (var=l_map, dim=1x4)",
        "malloc (var=n_map, dim=3x4)", "malloc (var=t_map, dim=1x4)", "realloc (var=group_name, dim=1024x8)",
        "realloc (var=group_start, dim=1024x4)", "realloc (var=group_stop, dim=1024x4)",
        "realloc (var=node_pt, dim=1024x96)", "realloc (var=nrml_pt, dim=1024x12)",
        "realloc (var=poly_pt, dim=1024x120)",
        "realloc (var=text_pt, dim=1024x8)"};
    EXPECT_EQ(seen, want);
}

} // namespace
} // namespace pfx_test
