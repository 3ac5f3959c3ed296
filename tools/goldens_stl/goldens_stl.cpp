// Writes the STL writer goldens (see CMakeLists.txt). The binary files carry
// the date of their making in the header; tests compare from byte 80 on.
#include <cstdio>
#include <string>

#include "exchange/stl_write_cases.h"

int main(int argc, char** argv)
{
    const std::string root = argc > 1 ? argv[1] : PFX_GOLDEN_SOURCE_DIR;
    int failed = 0;
    for (const auto& c : pfx_test::stl::write_cases()) {
        const std::string base = root + "/tests/golden/stl/" + c.file;
        Movie_Objs* obj = c.make();
        const std::wstring text = pfx_test::wide(base + ".stl");
        const std::wstring bin = pfx_test::wide(base + "_bin.stl");
        if (!STL_ASCII_Write(obj, c.num, text.c_str(), c.name, nullptr)) ++failed;
        if (!STL_BINARY_Write(obj, c.num, bin.c_str(), c.name, nullptr)) ++failed;
        pfx_test::free_object(obj);
        std::printf("%s\n", base.c_str());
    }
    return failed;
}
