// Outside readers accept a written 100,000-triangle mesh and count what we
// wrote.
#include <string>
#include <vector>

#include "exchange/real_readers.h"
#include "polyfex.h"
#include "support/capture.h"
#include "support/objects.h"

namespace {

constexpr int kColumns = 250, kRows = 200; // 250 x 200 cells, two triangles each

pfx_test::ObjectPtr grid_mesh()
{
    std::vector<pfx_test::P3> nodes;
    for (int r = 0; r <= kRows; ++r)
        for (int c = 0; c <= kColumns; ++c)
            nodes.push_back({c * 0.25f, r * 0.5f, 0.01f * static_cast<float>((r * 7 + c * 3) % 11)});
    std::vector<std::vector<int>> tris;
    for (int r = 0; r < kRows; ++r)
        for (int c = 0; c < kColumns; ++c) {
            const int a = r * (kColumns + 1) + c, b = a + 1, d = a + kColumns + 1, e = d + 1;
            tris.push_back({a, b, e});
            tris.push_back({a, e, d});
        }
    pfx_test::ObjectPtr o(pfx_test::make_object(nodes, tris));
    Movie_Init_Dim(o.get());
    return o;
}

class RealReadersLarge : public pfx_test::PfxTest {
protected:
    void SetUp() override
    {
        mesh_ = grid_mesh();
        ASSERT_EQ(mesh_->Poly_Nb, 100000);
        dir_ = pfx_test::temp_dir();
    }
    pfx_test::ObjectPtr mesh_;
    std::string dir_;
};

TEST_F(RealReadersLarge, EzdxfReadsTheMesh)
{
    const std::string missing = pfx_test::ezdxf_missing();
    if (!missing.empty()) GTEST_SKIP() << missing;
    std::vector<Movie_Objs*> list = {mesh_.get(), nullptr};
    const std::string path = dir_ + "mesh.dxf";
    ASSERT_EQ(DXF_Write(list.data(), pfx_test::wide(path).c_str(), L"", nullptr), 1);
    std::string expected = "audit 0 0\nentities LINE=0 POINT=0 POLYLINE=1\npolyface ";
    expected += std::to_string((kColumns + 1) * (kRows + 1));
    expected += " 100000\nend\n";
    ASSERT_EQ(pfx_test::dxf_expected_report(pfx_test::read_file(path)), expected);
    std::string raw;
    const std::vector<std::string> reports = pfx_test::ezdxf_reports({path}, &raw);
    ASSERT_EQ(reports.size(), 1u) << raw;
    EXPECT_EQ(reports[0], expected);
}

TEST_F(RealReadersLarge, Tovrmlx3dConvertsTheMesh)
{
    const std::string missing = pfx_test::tovrmlx3d_missing();
    if (!missing.empty()) GTEST_SKIP() << missing;
    std::vector<Movie_Objs*> list = {mesh_.get(), nullptr};
    const std::string path = dir_ + "mesh.wrl";
    ASSERT_EQ(VRLM_Write(list.data(), nullptr, nullptr, pfx_test::wide(path).c_str(), L"", nullptr), 1);
    // Three indices per triangle and a -1 between triangles.
    std::string expected = "IndexedFaceSet points=";
    expected += std::to_string((kColumns + 1) * (kRows + 1));
    expected += " indices=";
    expected += std::to_string(100000 * 4 - 1);
    expected += "\n";
    ASSERT_EQ(pfx_test::vrml_summary(pfx_test::read_file(path)), expected);
    const pfx_test::ToolRun run = pfx_test::run_tovrmlx3d(path, dir_ + "stderr.txt");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "") << "no error and no warning";
    EXPECT_EQ(pfx_test::vrml_summary(run.out), expected);
}

} // namespace
