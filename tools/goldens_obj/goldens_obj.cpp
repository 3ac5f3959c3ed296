// Writes the OBJ golden files: goldens_obj [source dir].
#include <cstdio>
#include <string>

#include "exchange/obj_cases.h"

int main(int argc, char** argv)
{
    const std::string root = argc > 1 ? argv[1] : PFX_GOLDEN_SOURCE_DIR;
    int failed = 0;
    for (pfx_test::ObjCase& c : pfx_test::obj_golden_cases()) {
        const std::string path = root + "/tests/golden/obj/" + c.file;
        const int n = OBJ_Write(c.objs.data(), pfx_test::wide(path).c_str(), L"golden", nullptr);
        std::printf("%s: %d objects\n", path.c_str(), n);
        failed += n != static_cast<int>(c.objs.size()) - 1;
        pfx_test::release_case(c);
    }
    return failed ? 1 : 0;
}
