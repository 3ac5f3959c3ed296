// STL_ASCII_Write and STL_BINARY_Write: golden files, message transcripts,
// progress and the output buffer's memory error (the reader test reads the goldens back).
#include <cstdio>
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

// The cube, no object, and objects of other kinds, through both writers to a
// writable and an unwritable path: the transcripts and the bytes written.
TEST_F(StlWriteTest, TranscriptsOfWritesAndRefusals)
{
    const std::string dir = temp_dir();
    std::vector<ObjectPtr> objs;
    objs.emplace_back(stl::write_cases()[0].make()); // the cube
    objs.emplace_back(nullptr);
    for (unsigned int flag : {GEOM_POINT, GEOM_LINE, GEOM_OTHER, GEOM_POLY | GEOM_LINE})
        objs.emplace_back(make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, flag));
    std::string got;
    for (const ObjectPtr& obj : objs)
        for (const std::string& path : {dir + "out.stl", std::string("/no_such_dir/t.stl")})
            for (bool text : {true, false}) {
                std::remove(path.c_str());
                sink.clear();
                const int written = write(text, obj.get(), 1, path, L"cube");
                char head[160];
                std::snprintf(head, sizeof head, "# %#x %s %s -> %d, %zu bytes\n", obj ? obj->Flags : 0u,
                              text ? "text" : "binary", path.starts_with(dir) ? "<dir>/out.stl" : path.c_str(), written,
                              read_file(path).size());
                got += head + stl::transcript(sink, wide(dir));
            }
    EXPECT_EQ(got, read_file(test_path("golden/stl/write_transcripts.txt")));
}

std::vector<int> g_progress;

// 2049 triangles: progress after each 1024; the output buffer is the one allocation that can fail.
TEST_F(StlWriteTest, ProgressEvery1024PolygonsAndTheBufferMemoryError)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, std::vector<std::vector<int>>(2049, {0, 1, 2})));
    const std::string dir = temp_dir(), path = dir + "p.stl";
    for (bool text : {true, false}) {
        const int runs = for_each_alloc_failure([&](long) {
            sink.clear();
            g_progress.clear();
            const int written = write(text, obj.get(), 0, path, L"p", [](int amount) { g_progress.push_back(amount); });
            EXPECT_EQ(g_progress, written ? std::vector<int>({1024, 1024, 1024}) : std::vector<int>());
            std::string want = text ? "80000005 in STL_ASCII_Write()\n" : "80000005 in STL_BINARY_Write()\n";
            want += "80000001 open file (<dir>/p.stl)\\x0A\n80000001 write obj p (2049 poly)\\x0A\n";
            if (!written) want += "00000001 stl_read \\x0Amemory error in malloc (var=buffer, dim=4194304x1)\n";
            EXPECT_EQ(stl::transcript(sink, wide(dir)), want);
        });
        EXPECT_EQ(runs, 1);
    }
}

} // namespace
