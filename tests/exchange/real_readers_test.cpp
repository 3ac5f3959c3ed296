// Outside readers accept every golden file and find in it what we wrote.
#include <string>
#include <vector>

#include "exchange/dxf_vrml_cases.h"
#include "exchange/real_readers.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

TEST(RealReaders, EzdxfReadsEveryDxfGolden)
{
    const std::string missing = pfx_test::ezdxf_missing();
    if (!missing.empty()) GTEST_SKIP() << missing;
    std::vector<std::string> paths, expected;
    for (const pfx_test::WriterCase& c : pfx_test::writer_cases()) {
        if (!c.dxf) continue;
        paths.push_back(pfx_test::test_path("golden/dxf/" + c.name + ".dxf"));
        const std::string file = pfx_test::read_file(paths.back());
        ASSERT_FALSE(file.empty()) << paths.back();
        expected.push_back(pfx_test::dxf_expected_report(file));
    }
    std::string raw;
    const std::vector<std::string> reports = pfx_test::ezdxf_reports(paths, &raw);
    ASSERT_EQ(reports.size(), paths.size()) << raw;
    for (size_t i = 0; i < paths.size(); ++i) EXPECT_EQ(reports[i], expected[i]) << paths[i];
}

TEST(RealReaders, Tovrmlx3dConvertsEveryVrmlGolden)
{
    const std::string missing = pfx_test::tovrmlx3d_missing();
    if (!missing.empty()) GTEST_SKIP() << missing;
    const std::string err = pfx_test::temp_dir() + "stderr.txt";
    int checked = 0;
    for (const pfx_test::WriterCase& c : pfx_test::writer_cases()) {
        if (!c.vrml) continue;
        const std::string path = pfx_test::test_path("golden/vrml/" + c.name + ".wrl");
        const std::string ours = pfx_test::read_file(path);
        ASSERT_FALSE(ours.empty()) << path;
        const pfx_test::ToolRun run = pfx_test::run_tovrmlx3d(path, err);
        EXPECT_EQ(run.status, 0) << c.name;
        EXPECT_EQ(run.err, "") << c.name << ": no error and no warning";
        EXPECT_EQ(pfx_test::vrml_summary(run.out), pfx_test::vrml_summary(ours)) << c.name;
        ++checked;
    }
    EXPECT_EQ(checked, 15);
}

// The scanners themselves see what the writers put in a small file.
TEST(RealReaders, OwnCountsOfAKnownFile)
{
    pfx_test::ObjectPtr quad(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}}));
    pfx_test::ObjectPtr loop(pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, {{0, 1}, {1, 2}, {2, 0}, {0, 2}},
                                                   GEOM_LINE | GEOM_POINT));
    std::vector<Movie_Objs*> list = {quad.get(), loop.get(), nullptr};
    const std::string dir = pfx_test::temp_dir();
    pfx_test::CaptureSink sink;
    ASSERT_EQ(DXF_Write(list.data(), pfx_test::wide(dir + "k.dxf").c_str(), L"", nullptr), 1);
    ASSERT_EQ(VRLM_Write(list.data(), nullptr, nullptr, pfx_test::wide(dir + "k.wrl").c_str(), L"", nullptr), 1);
    EXPECT_EQ(pfx_test::dxf_expected_report(pfx_test::read_file(dir + "k.dxf")),
              "audit 0 0\nentities LINE=1 POINT=4 POLYLINE=2\npolyface 4 2\npolyline3d 3 closed\nend\n");
    EXPECT_EQ(pfx_test::vrml_summary(pfx_test::read_file(dir + "k.wrl")),
              "IndexedFaceSet points=4 indices=4\n");
}

} // namespace
