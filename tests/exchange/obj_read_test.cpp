// OBJ_Read_Merge: the corpus under tests/data/obj against one expected text,
// then list growth, open failures and memory errors.
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "exchange/obj_cases.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

class ObjRead : public PfxTest {
protected:
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
    std::string dir = temp_dir();
    Movie_Objs** objs = nullptr;
};

// Each corpus file is read as it stands and with CRLF line ends and no final
// line end; both give the whole expected text: the result, the transcript
// (the directory shown as $DIR/) and dump() of the list. Of note:
// long_pieces has a 129-character comment whose last 10 characters arrive as
// a line of their own, a vertex, and a 119-character line that fills one
// read, so that its line end comes as an empty line.
TEST_F(ObjRead, CorpusReadsToTheExpectedTranscriptsAndObjects)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(test_path("data/obj")))
        names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    for (bool crlf : {false, true}) {
        SCOPED_TRACE(crlf ? "CRLF" : "LF");
        std::string got;
        for (const std::string& name : names) {
            std::string bytes = read_file(test_path("data/obj/") + name + ".obj");
            for (size_t at = 0; crlf && (at = bytes.find('\n', at)) != std::string::npos; ++at)
                if (at == 0 || bytes[at - 1] != '\r') bytes.insert(at++, 1, '\r');
            if (crlf && bytes.size() >= 2 && bytes.compare(bytes.size() - 2, 2, "\r\n") == 0)
                bytes.resize(bytes.size() - 2);
            write_file(dir + name + ".obj", bytes);
            const int n = read(dir, name);
            got += "== " + name + " " + std::to_string(n) + "\n";
            for (const Line& line : sink.lines()) {
                std::string text = ::testing::PrintToString(line);
                if (size_t at = text.find(dir); at != std::string::npos) text.replace(at, dir.size(), "$DIR/");
                got += text + "\n";
            }
            got += dump(objs, dir);
            EXPECT_TRUE(n != 0 || objs == nullptr) << name;
        }
        EXPECT_EQ(got, read_file(test_path("golden/obj/read_corpus.txt")));
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
        EXPECT_EQ(sink.lines()[2].text, std::wstring(L"-> Polyfex:OBJ_Read_Merge() read: ") +
                                            (lists ? L"3000 nodes, 3000 textures, 3000 normals, 2998 polygons"
                                                   : L"2500 nodes, 0 textures, 0 normals, 2500 polygons"));
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
        EXPECT_EQ(sink.lines(), Lines{in(in_dir, file)} +
                                    lines_with_flag(MSG_USER, {L"\xF1\x04" L"ERROR:\x02 Unable to open file!",
                                                               L"\xF1\t dir: \x01" + wide(in_dir),
                                                               L"\xF1\t file \x01" + wide(file), L"\xF1\t\x02" + err}) +
                                    Lines{out(L"! f_in")});
        EXPECT_EQ(std::wstring(Kren_Err_Str), err);
        EXPECT_EQ(objs, nullptr);
    }
    sink.clear();
    EXPECT_EQ(OBJ_Read_Merge(L"/", L"x", nullptr), 0);
    EXPECT_EQ(sink.lines(), (Lines{in("/", "x"), out(L"! out")}));
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
    std::string all;
    for (const std::string& s : seen) all += s + "\n";
    EXPECT_EQ(all, read_file(test_path("golden/obj/read_memory_errors.txt")));
}

} // namespace
} // namespace pfx_test
