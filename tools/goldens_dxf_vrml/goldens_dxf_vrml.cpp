// Writes the DXF and VRML golden files from the shared case lists. Run it
// only when the writers' output is meant to change, and review the diff.
#include <cstdio>
#include <string>

#include "exchange/dxf_vrml_cases.h"
#include "polyfex.h"
#include "support/objects.h"

int main(int argc, char** argv)
{
    const std::string root = argc > 1 ? argv[1] : PFX_GOLDEN_SOURCE_DIR;
    int failed = 0;
    for (pfx_test::WriterCase& c : pfx_test::writer_cases()) {
        std::vector<Movie_Objs*> list = c.list();
        if (c.dxf) {
            const std::string path = root + "/tests/golden/dxf/" + c.name + ".dxf";
            const int ok = DXF_Write(list.data(), pfx_test::wide(path).c_str(), L"", nullptr);
            std::printf("%s %s\n", ok ? "wrote" : "FAILED", path.c_str());
            failed += !ok;
        }
        if (c.vrml) {
            const std::string path = root + "/tests/golden/vrml/" + c.name + ".wrl";
            const int ok = VRLM_Write(list.data(), c.material_arg(), c.color_arg(),
                                      pfx_test::wide(path).c_str(), L"", nullptr);
            std::printf("%s %s\n", ok ? "wrote" : "FAILED", path.c_str());
            failed += !ok;
        }
    }
    return failed ? 1 : 0;
}
