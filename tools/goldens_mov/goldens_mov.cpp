// Writes the ".mov" golden files: the two-object example (a triangle and a
// unit square above it) through both writers, and a mixed list with points,
// segments, a displaced object and an object without polygons.
#include <cstdio>
#include <string>
#include <vector>

#include "native_io/mov_cases.h"
#include "polyfex.h"
#include "support/objects.h"

namespace {

using pfx_test::wide;

bool write(int (*writer)(Movie_Objs**, const wchar_t*, Pfx_Progress), std::vector<Movie_Objs*> list,
           const std::string& file)
{
    list.push_back(nullptr);
    std::string path = std::string(PFX_GOLDEN_SOURCE_DIR) + "/tests/golden/mov/" + file;
    int ok = writer(list.data(), wide(path).c_str(), nullptr);
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", path.c_str());
    return ok == 1;
}

} // namespace

int main()
{
    pfx_test::ObjectPtr tri(mov_test::make_example_triangle());
    pfx_test::ObjectPtr square(mov_test::make_example_square());
    pfx_test::ObjectPtr mixed(mov_test::make_mixed_object());
    pfx_test::ObjectPtr empty(pfx_test::make_object({{-1.5f, 2.25f, 1e6f}}, {}, 0));
    bool ok = write(Movie_Write, {tri.get(), square.get()}, "example.mov");
    ok &= write(Movie_Write_Merge, {tri.get(), square.get()}, "example_merged.mov");
    ok &= write(Movie_Write, {mixed.get(), empty.get(), tri.get()}, "mixed.mov");
    ok &= write(Movie_Write_Merge, {mixed.get(), empty.get(), tri.get()}, "mixed_merged.mov");
    return ok ? 0 : 1;
}
