// The version query and the two module-management calls.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/platform.h"
#include "polyfex.h"

namespace {
constexpr char kVersion[] = "5.2";
constexpr char kRevision[] = "b";
constexpr size_t kPathCap = 260;

char g_description[260];
} // namespace

extern "C" {

PFX_API const char* Get_Version_3D(const char* expected)
{
    // Four bytes, terminator included: only "5.2" itself passes.
    if (expected) {
        for (int i = 0; i < 4; ++i) {
            if (expected[i] != kVersion[i]) return nullptr;
            if (!expected[i]) break;
        }
    }
    char path[kPathCap + 1];
    if (!pfx::module_path(path, sizeof path)) path[0] = 0;
    char name[kPathCap + 1];
    Get_Generic_Name(path, nullptr, name, nullptr);
    // note: a long module name is cut so the description fits the buffer.
    // The fixed part ".dll 5.2 (rev-b)" takes 16 characters.
    const int room = static_cast<int>(sizeof g_description) - 17;
    std::snprintf(g_description, sizeof g_description, "%.*s.dll%s %s (rev-%s)", room, name, "", kVersion,
                  kRevision);
    return g_description;
}

PFX_API void Plot_Lib_Cleanup(void) {}

PFX_API void Plot_Lib_Free(char** block)
{
    if (block && *block) {
        std::free(*block);
        *block = nullptr;
    }
}

} // extern "C"
