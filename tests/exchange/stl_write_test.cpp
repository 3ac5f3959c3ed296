// STL_ASCII_Write and STL_BINARY_Write: golden files, message transcripts,
// progress, the way back through the reader and the output buffer's memory error.
#include <string>
#include <vector>

#include "core/platform.h"
#include "exchange/stl_files.h"
#include "exchange/stl_write_cases.h"

namespace {

using namespace pfx_test;

int write(bool text, Movie_Objs* obj, short num, const std::string& path, const wchar_t* name,
          Pfx_Progress progress = nullptr)
{
    return (text ? STL_ASCII_Write : STL_BINARY_Write)(obj, num, wide(path).c_str(), name, progress);
}

Movie_Objs* cube() { return stl::write_cases()[0].make(); }

class StlWriteTest : public PfxTest {};

TEST_F(StlWriteTest, BothWritersMatchTheGoldenFiles)
{
    const std::string dir = temp_dir();
    for (const auto& c : stl::write_cases())
        for (bool text : {true, false}) {
            SCOPED_TRACE(std::string(c.file) + (text ? "" : "_bin"));
            ObjectPtr obj(c.make());
            char before[64], after[64];
            pfx::local_time_text(before, sizeof before, "%d %b %Y %H:%M");
            ASSERT_EQ(write(text, obj.get(), c.num, dir + "out.stl", c.name), 1);
            pfx::local_time_text(after, sizeof after, "%d %b %Y %H:%M");
            EXPECT_EQ(obj->Pos_Done, 1);
            std::string got = read_file(dir + "out.stl");
            const std::string want = read_file(test_path("golden/stl/") + c.file + (text ? ".stl" : "_bin.stl"));
            ASSERT_FALSE(want.empty());
            if (!text) {
                // The binary header: the date, the object's own name (not the name argument), blanks.
                const std::string name = obj->Name ? narrow(obj->Name) : "", head = got.substr(0, 80);
                auto header = [&](const char* date) { return (date + name).append(80, ' ').substr(0, 80); };
                EXPECT_TRUE(head == header(before) || head == header(after)) << head;
                got.replace(0, 80, want.substr(0, 80));
            }
            EXPECT_EQ(got, want);
        }
}

TEST_F(StlWriteTest, TranscriptsOfWritesAndRefusals)
{
    const std::string dir = temp_dir();
    const std::wstring kRefused = L"\xF1\x05WARNING:\x02 STL format only support polygons";
    std::vector<ObjectPtr> objs;
    objs.emplace_back(cube());
    const std::vector<std::wstring> unwritable = {L"",
                                                  L"------------- WARNING --------------",
                                                  L"Unable to write the file",
                                                  L"/no_such_dir/t.stl",
                                                  L"No such file or directory",
                                                  L"------------------------------------"};
    struct Case {
        Movie_Objs* obj;
        std::string path;
        std::vector<std::wstring> user; // the notes when written
    };
    std::vector<Case> cases = {
        {objs[0].get(), dir + "cube.stl", {L"open file (" + wide(dir) + L"cube.stl)\n", L"write obj cube (6 poly)\n"}},
        {objs[0].get(), "/no_such_dir/t.stl", unwritable},
        {nullptr, dir + "null.stl", {}}};
    for (unsigned int flag : {GEOM_POINT, GEOM_LINE, GEOM_OTHER, GEOM_POLY | GEOM_LINE}) {
        objs.emplace_back(make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, flag));
        cases.push_back({objs.back().get(), dir + "refused.stl", {kRefused}});
    }
    for (const Case& c : cases)
        for (bool text : {true, false}) {
            SCOPED_TRACE(c.path);
            sink.clear();
            EXPECT_EQ(write(text, c.obj, 1, c.path, L"cube"), &c == &cases[0]);
            std::vector<Line> want = {{MSG_ENTRY, text ? L"in STL_ASCII_Write()" : L"in STL_BINARY_Write()"}};
            for (const std::wstring& t : c.user) want.push_back({&c == &cases[0] ? MSG_NOTE : MSG_USER, t});
            EXPECT_EQ(sink.lines(), want);
        }
    EXPECT_EQ(read_file(dir + "refused.stl") + read_file(dir + "null.stl"), "");
}

std::vector<int> g_progress;

TEST_F(StlWriteTest, ProgressIsCalledEvery1024Polygons)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, std::vector<std::vector<int>>(2049, {0, 1, 2})));
    const std::string path = temp_dir() + "p.stl";
    for (bool text : {true, false}) {
        g_progress.clear();
        EXPECT_EQ(write(text, obj.get(), 0, path, L"p", [](int amount) { g_progress.push_back(amount); }), 1);
        EXPECT_EQ(g_progress, (std::vector<int>{1024, 1024, 1024}));
    }
}

TEST_F(StlWriteTest, WrittenFilesReadBack)
{
    const std::string dir = temp_dir();
    ObjectPtr obj(cube());
    ASSERT_EQ(write(true, obj.get(), 2, dir + "t.stl", L"Box") + write(false, obj.get(), 2, dir + "b.stl", L"Box"), 2);
    ObjectPtr t(STL_Read(wide(dir).c_str(), L"t")), b(STL_Read(wide(dir).c_str(), L"b"));
    ASSERT_TRUE(t && b);
    EXPECT_EQ(std::wstring(t->Name), L"box_2");
    EXPECT_EQ(std::wstring(b->Name), L"b");
    EXPECT_EQ(t->Node_Nb, 8);
    EXPECT_EQ(t->Poly_Nb, 12);
    EXPECT_EQ(t->Poly_Pt[11].Normal.x, -1.0f);
    EXPECT_EQ(stl::describe(t.get()), stl::describe(b.get()));
}

TEST_F(StlWriteTest, MissingOutputBufferIsOneMemoryLine)
{
    ObjectPtr obj(make_tetrahedron());
    const std::string path = temp_dir() + "m.stl";
    for (bool text : {true, false}) {
        const int runs = for_each_alloc_failure([&](long) {
            sink.clear();
            if (write(text, obj.get(), 0, path, L"m")) return;
            ASSERT_EQ(sink.texts(MSG_MEMORY).size(), 1u);
            EXPECT_TRUE(narrow(sink.texts(MSG_MEMORY)[0])
                            .ends_with(" of stl_read \nmemory error in malloc (var=buffer, dim=4194304x1)"));
        });
        EXPECT_EQ(runs, 1);
    }
}

} // namespace
