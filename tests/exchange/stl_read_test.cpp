// STL_Read and STL_Read_Merge on the file corpus: whole transcripts and the
// objects they give, names, missing files, every memory error, and the
// writer goldens read back.
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "exchange/stl_files.h"

namespace {

using namespace pfx_test;
using namespace pfx_test::stl;

const std::wstring kDir = wide(test_path("data/stl/"));

class StlReadTest : public PfxTest {
protected:
    // The transcript of one read, then "-> " and the result: for the merge
    // the count and what became of the list, then the object's flags, path,
    // name and geometry, or "none".
    std::string read(bool merge, const std::wstring& dir, const std::wstring& file)
    {
        sink.clear();
        Movie_Objs** const untouched = reinterpret_cast<Movie_Objs**>(&sink);
        Movie_Objs** list = untouched;
        ObjectPtr obj(merge ? nullptr : STL_Read(dir.c_str(), file.c_str()));
        std::string result = "-> ";
        if (merge) {
            const int count = STL_Read_Merge(dir.c_str(), file.c_str(), &list);
            result += std::to_string(count) + (list == untouched ? " untouched " : list ? " list " : " null ");
            if (count == 1) obj.reset(list[0]);
            if (list != untouched) std::free(list);
        }
        return transcript(sink, dir) + result + (obj ? describe(obj.get(), dir) : "none") + "\n";
    }
};

TEST_F(StlReadTest, EveryCorpusFileGivesItsTranscriptAndObjectThroughBothEntryPoints)
{
    std::set<std::string> files = {"no_such_file"};
    for (const auto& entry : std::filesystem::directory_iterator(test_path("data/stl")))
        files.insert(entry.path().stem().string());
    std::string got;
    for (const std::string& file : files)
        for (bool merge : {false, true})
            got += "# " + file + (merge ? " STL_Read_Merge\n" : " STL_Read\n") + read(merge, kDir, wide(file));
    EXPECT_EQ(got, read_file(test_path("golden/stl/read_corpus.txt")));
    // A path beyond 770 characters is cut and does not open.
    EXPECT_TRUE(read(false, kDir, std::wstring(800, L'a')).ends_with("<<< out STL_Read(! f_in)\n-> none\n"));
}

TEST_F(StlReadTest, UnnamedTextSolidIsNamedAfterTheFileOnlyByStlRead)
{
    const std::string dir = temp_dir();
    write_file(dir + "anon.stl", "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
                                 "endloop\nendfacet\nendsolid\n");
    const std::string triangle = ": 0 0 0,1 0 0,0 1 0,|0 1 2 (0 0 1),\n";
    EXPECT_TRUE(read(true, wide(dir), L"anon").ends_with("-> 1 list 0x4041 <dir>/ (null)" + triangle));
    EXPECT_TRUE(read(false, wide(dir), L"anon").ends_with("-> 0x4041 <dir>/ anon" + triangle));
}

// Each distinct transcript of a read that met a memory error, in text order,
// is in the expected file; every other read succeeds.
TEST_F(StlReadTest, EveryMemoryErrorIsOneLineAndLeaksNothing)
{
    std::set<std::string> failures;
    int done = 0;
    for (const wchar_t* file : {L"good_text", L"good_binary"})
        for (bool merge : {false, true})
            for_each_alloc_failure([&](long) {
                const std::string got = read(merge, kDir, file);
                if (got.ends_with(merge ? "-> 0 null none\n" : "-> none\n")) failures.insert(got);
                else ++done;
            });
    EXPECT_EQ(done, 4); // the run without a failure in each sweep
    std::string got;
    for (const std::string& t : failures) got += t + "--\n";
    EXPECT_EQ(got, read_file(test_path("golden/stl/read_memory_errors.txt")));
}

TEST_F(StlReadTest, WriterGoldensReadBackAlikeFromTextAndBinary)
{
    const std::wstring dir = wide(test_path("golden/stl/"));
    for (const std::wstring file : {L"cube_quads", L"mixed", L"displaced", L"empty"}) {
        SCOPED_TRACE(narrow(file));
        const std::string text = read(false, dir, file), binary = read(false, dir, file + L"_bin");
        EXPECT_EQ(text.substr(text.rfind(": ")), binary.substr(binary.rfind(": ")));
    }
    const std::string cube = read(false, dir, L"cube_quads");
    EXPECT_TRUE(cube.ends_with(" cube_7: 0 0 0,0 1 0,1 1 0,1 0 0,0 0 1,1 0 1,1 1 1,0 1 1,"
                               "|0 1 2 (0 0 -1),2 3 0 (0 0 -1),4 5 6 (0 0 1),6 7 4 (0 0 1),"
                               "0 3 5 (0 -1 0),5 4 0 (0 -1 0),3 2 6 (1 0 0),6 5 3 (1 0 0),"
                               "2 1 7 (0 1 0),7 6 2 (0 1 0),1 0 4 (-1 0 0),4 7 1 (-1 0 0),\n"))
        << cube;
}

} // namespace
