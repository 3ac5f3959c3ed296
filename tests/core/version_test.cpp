#include <dlfcn.h>

#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

TEST(Module, ExportsEveryDeclaredFunctionByItsPlainNameAndNothingInternal)
{
    void* handle = dlopen(PFX_MODULE_FILE, RTLD_NOW | RTLD_LOCAL); // as a host loads it
    ASSERT_NE(handle, nullptr) << dlerror();
    const std::string header = read_file(test_path("../include/polyfex.h"));
    int count = 0;
    for (size_t at = header.find("\nPFX_API "); at != std::string::npos; at = header.find("\nPFX_API ", at + 1), ++count) {
        const size_t paren = header.find('(', at);
        const size_t start = header.find_last_of(" *", paren) + 1;
        const std::string name = header.substr(start, paren - start);
        EXPECT_NE(dlsym(handle, name.c_str()), nullptr) << name;
    }
    EXPECT_EQ(count, 40);
    EXPECT_EQ(dlsym(handle, "_ZN3pfx13alloc_fail_atEl"), nullptr);
    auto version = reinterpret_cast<const char* (*)(const char*)>(dlsym(handle, "Get_Version_3D"));
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(nullptr), "Polyfex.dll 5.2 (rev-b)");
    EXPECT_STREQ(version("5.2"), "Polyfex.dll 5.2 (rev-b)");
    for (const char* other : {"5.3", "5.2b", "5.21", "5.1", ""}) EXPECT_EQ(version(other), nullptr) << other;
    dlclose(handle);
}

TEST(Version, StaticBufferIsSharedAndNamesTheRunningFile)
{
    // Linked statically into this test, the module file is the test itself.
    const char* a = Get_Version_3D(nullptr);
    ASSERT_NE(a, nullptr);
    EXPECT_STREQ(a, "core_version_test.dll 5.2 (rev-b)");
    EXPECT_EQ(Get_Version_3D("5.2"), a);
}

TEST(Lifecycle, PlotLibFreeReleasesAndNulls)
{
    char* block = static_cast<char*>(std::malloc(16));
    Plot_Lib_Free(&block);
    EXPECT_EQ(block, nullptr);
    Plot_Lib_Free(&block); // already null: nothing happens
    Plot_Lib_Free(nullptr);
    EXPECT_EQ(block, nullptr);
    Plot_Lib_Cleanup();
}

