#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {

// The shipped module, loaded as a host loads it.
class Module : public ::testing::Test {
protected:
    void SetUp() override
    {
        handle = dlopen(PFX_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle, nullptr) << dlerror();
    }
    void TearDown() override
    {
        if (handle) dlclose(handle);
    }
    void* handle = nullptr;
};

TEST_F(Module, EveryDeclaredFunctionIsFoundByItsPlainName)
{
    std::ifstream in(test_path("../include/polyfex.h"));
    std::stringstream ss;
    ss << in.rdbuf();
    std::string header = ss.str();
    std::regex decl(R"(^PFX_API [^;(]*?\b(\w+)\()");
    int count = 0;
    std::string line;
    std::istringstream lines(header);
    while (std::getline(lines, line)) {
        std::smatch m;
        if (!std::regex_search(line, m, decl)) continue;
        std::string name = m[1];
        EXPECT_NE(dlsym(handle, name.c_str()), nullptr) << name;
        ++count;
    }
    EXPECT_EQ(count, 40);
    // Internal helpers stay hidden.
    EXPECT_EQ(dlsym(handle, "_ZN3pfx13alloc_fail_atEl"), nullptr);
}

TEST_F(Module, VersionNamesTheModuleFile)
{
    using Fn = const char* (*)(const char*);
    auto version = reinterpret_cast<Fn>(dlsym(handle, "Get_Version_3D"));
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(nullptr), "Polyfex.dll 5.2 (rev-b)");
    EXPECT_STREQ(version("5.2"), "Polyfex.dll 5.2 (rev-b)");
    EXPECT_EQ(version("5.3"), nullptr);
    EXPECT_EQ(version("5.2b"), nullptr);
    EXPECT_EQ(version("5.21"), nullptr);
    EXPECT_EQ(version("5.1"), nullptr);
    EXPECT_EQ(version(""), nullptr);
}

TEST(Version, StaticBufferIsSharedAndNamesTheRunningFile)
{
    // Linked statically into this test, the module file is the test itself.
    const char* a = Get_Version_3D(nullptr);
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(std::regex_match(a, std::regex(R"(core_version_test\.dll 5\.2 \(rev-b\))"))) << a;
    EXPECT_EQ(Get_Version_3D("5.2"), a);
}

TEST(Lifecycle, PlotLibFreeReleasesAndNulls)
{
    char* block = static_cast<char*>(std::malloc(16));
    Plot_Lib_Free(&block);
    EXPECT_EQ(block, nullptr);
    Plot_Lib_Free(&block); // already null: nothing happens
    EXPECT_EQ(block, nullptr);
    Plot_Lib_Free(nullptr);
    Plot_Lib_Cleanup();
}

} // namespace
