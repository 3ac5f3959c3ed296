// DXF_Write and VRLM_Write: golden files with their transcripts (also when
// no buffer can be had), progress and the open-failure block.
#include <cerrno>
#include <string>
#include <tuple>
#include <vector>

#include "exchange/dxf_vrml_cases.h"
#include "polyfex.h"
#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

class DxfVrmlWrite : public PfxTest {
protected:
    void SetUp() override { dir = temp_dir(); }
    int write(bool dxf, Movie_Objs** list, short* material = nullptr, int* color = nullptr,
              Pfx_Progress progress = nullptr)
    {
        sink.clear();
        const std::wstring path = wide(dir + (dxf ? "out.dxf" : "out.wrl"));
        return dxf ? DXF_Write(list, path.c_str(), L"ignored", progress)
                   : VRLM_Write(list, material, color, path.c_str(), L"ignored", progress);
    }
    std::string dir;
};

// Whichever allocation fails, the buffer only shrinks: same bytes, same
// messages. Positions are computed first, skipped objects included.
TEST_F(DxfVrmlWrite, GoldenFilesAndTranscriptsAlsoWithoutTheLargeBuffer)
{
    int compared = 0;
    for (WriterCase& c : writer_cases()) {
        for (bool dxf : {true, false}) {
            if (!(dxf ? c.dxf : c.vrml)) continue;
            const std::string file = c.name + (dxf ? ".dxf" : ".wrl");
            SCOPED_TRACE(file);
            const std::string golden = read_file(test_path((dxf ? "golden/dxf/" : "golden/vrml/") + file));
            std::vector<Line> transcript = {{MSG_ENTRY, dxf ? L"in DXF_Write()" : L"in VRLM_Write()"}};
            if (!dxf) transcript.push_back({MSG_NOTE, L"open file (" + wide(dir) + L"out.wrl)\n"});
            for (int i = 0; !dxf && i < c.vrml_skipped; ++i)
                transcript.insert(transcript.end(), {{MSG_USER, L"Unsuported object type in file:"},
                                                     {MSG_USER, wide(dir)}, {MSG_USER, L"out.wrl"}});
            std::vector<Movie_Objs*> list = c.list();
            for_each_alloc_failure([&](long) {
                EXPECT_EQ(write(dxf, list.data(), c.material_arg(), c.color_arg()), 1);
                EXPECT_EQ(read_file(dir + (dxf ? "out.dxf" : "out.wrl")), golden);
                EXPECT_EQ(sink.lines(), transcript);
            });
            for (const ObjectPtr& o : c.objs) EXPECT_EQ(o->Pos_Done, 1);
            ++compared;
        }
    }
    EXPECT_EQ(compared, 45);
}

std::vector<int> g_progress;

TEST_F(DxfVrmlWrite, ProgressOfFacesAndRunsButNotOfPoints)
{
    const std::vector<P3> nodes = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    using Polys = std::vector<std::vector<int>>;
    Polys runs; // 300 closed two-segment runs, starting at 0, 2, 4, ...
    for (int i = 0; i < 300; ++i) runs.insert(runs.end(), {{0, 1}, {1, 0}});
    using Case = std::tuple<bool, Polys, unsigned int, std::vector<int>>;
    const Case cases[] = {
        {true, Polys(600, {0, 1, 2, 3}), GEOM_POLY, {256, 256, 256}}, // a quad is two faces
        {true, Polys(600, {0, 1}), GEOM_LINE | GEOM_POINT, {}},
        {false, Polys(2049, {0, 1, 2}), GEOM_POLY, {1024, 1024, 1024}},
        {false, runs, GEOM_LINE, {256, 256, 256}},
        // Segments that nothing closes are written in one go after one report.
        {false, Polys(600, {0, 1}), GEOM_LINE, {256}},
        {false, Polys(600, {0}), GEOM_POINT, {}},
    };
    for (const auto& [dxf, polys, flags, calls] : cases) {
        ObjectPtr o(make_object(nodes, polys, flags));
        Movie_Objs* list[2] = {o.get(), nullptr};
        g_progress.clear();
        EXPECT_EQ(write(dxf, list, nullptr, nullptr, [](int n) { g_progress.push_back(n); }), 1);
        EXPECT_EQ(g_progress, calls) << dxf << " " << polys.size();
    }
}

// Nothing is computed when the file does not open.
TEST_F(DxfVrmlWrite, OpenFailureGivesTheWriteWarningBlock)
{
    ObjectPtr o(make_object({{0, 0, 0}}, {{0}}, GEOM_POINT));
    Movie_Objs* list[2] = {o.get(), nullptr};
    for (bool dxf : {true, false}) {
        dir = temp_dir() + "missing/";
        EXPECT_EQ(write(dxf, list), 0);
        EXPECT_EQ(sink.lines(), (Lines{{MSG_ENTRY, dxf ? L"in DXF_Write()" : L"in VRLM_Write()"}} +
                                 lines_with_flag(MSG_USER, {L"", L"------------- WARNING --------------",
                                                            L"Unable to write the file", wide(dir),
                                                            dxf ? L"out.dxf" : L"out.wrl", Error_Perror(ENOENT),
                                                            L"------------------------------------"})));
        EXPECT_EQ(o->Pos_Done, 0);
    }
}

} // namespace
} // namespace pfx_test
