// Outside readers accept every DXF and VRML golden file and a written
// 100,000-triangle mesh, and find in each what we wrote.
//
// ezdxf (Debian's python3-ezdxf, through tests/tools/dxf_check.py) prints its
// audit and the entities it found; tovrmlx3d (Debian's view3dscene) converts
// each VRML file to classic VRML. Their whole output is compared with the
// expected texts ezdxf_report.txt and tovrmlx3d_classic.txt beside the
// goldens, which were checked against our own files when written: after the
// goldens change on purpose, run the same commands by hand and review the diff.
#include <cstdlib>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

class RealReaders : public PfxTest {
protected:
    // A 250 x 200-cell grid of 100,000 triangles on 50,451 nodes written as
    // dir/mesh.dxf or dir/mesh.wrl.
    void write_mesh(bool dxf)
    {
        std::vector<P3> nodes;
        std::vector<std::vector<int>> tris;
        for (int r = 0; r <= 200; ++r)
            for (int c = 0; c <= 250; ++c) {
                nodes.push_back({c * 0.25f, r * 0.5f, 0.01f * static_cast<float>((r * 7 + c * 3) % 11)});
                const int a = r * 251 + c;
                if (r < 200 && c < 250) tris.insert(tris.end(), {{a, a + 1, a + 252}, {a, a + 252, a + 251}});
            }
        ObjectPtr mesh(make_object(nodes, tris));
        Movie_Init_Dim(mesh.get());
        Movie_Objs* list[2] = {mesh.get(), nullptr};
        const std::wstring path = wide(dir + (dxf ? "mesh.dxf" : "mesh.wrl"));
        ASSERT_EQ(dxf ? DXF_Write(list, path.c_str(), L"", nullptr)
                      : VRLM_Write(list, nullptr, nullptr, path.c_str(), L"", nullptr),
                  1);
    }
    // Runs each in the golden directory of format, then mesh in dir, and
    // returns what they print.
    std::string run(const std::string& format, const std::string& each, const std::string& mesh)
    {
        const std::string out = dir + "out.txt";
        const std::string command = "(export LC_ALL=C && cd '" + test_path("golden/" + format) + "' && " + each +
                                    "; cd '" + dir + "' && " + mesh + ") > '" + out + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return read_file(out);
    }
    std::string dir = temp_dir();
};

// The mesh reads as one polyface mesh of 50451 vertices and 100000 faces.
TEST_F(RealReaders, EzdxfReadsEveryDxfFileAsWritten)
{
    if (std::system("/usr/bin/python3 -c 'import ezdxf' > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "python3-ezdxf is not usable with /usr/bin/python3";
    write_mesh(true);
    const std::string check = "/usr/bin/python3 '" + test_path("tools/dxf_check.py") + "' ";
    EXPECT_EQ(run("dxf", check + "*.dxf 2>&1", check + "mesh.dxf 2>&1"),
              read_file(test_path("golden/dxf/ezdxf_report.txt")));
}

// Warnings and failures land in the text. Of the mesh's conversion only the
// lines not ending in a comma are kept, then the number of those that do:
// one per point and one per triangle.
TEST_F(RealReaders, Tovrmlx3dConvertsEveryVrmlFileWithoutAWarning)
{
    if (std::system("tovrmlx3d --version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "tovrmlx3d (view3dscene) is not installed";
    write_mesh(false);
    EXPECT_EQ(run("vrml", "for f in *.wrl; do tovrmlx3d $f --encoding classic 2>&1 || echo \"status $?\"; done",
                  "tovrmlx3d mesh.wrl --encoding classic 2>&1 | awk '/,$/ {n++; next} {print} END {print n}'"),
              read_file(test_path("golden/vrml/tovrmlx3d_classic.txt")));
}

} // namespace
} // namespace pfx_test
