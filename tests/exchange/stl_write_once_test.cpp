// The writers' warning about polygons of fewer than three corners comes
// once per writer in the life of the process. This file holds the only
// test that meets such polygons, so it sees the switches as loaded.
#include <string>

#include "support/capture.h"
#include "support/objects.h"

namespace {

const std::wstring kWarning = L"\xF1\x05WARNING:\x02 STL format only support polygons";

int warnings(const pfx_test::CaptureSink& sink)
{
    int n = 0;
    for (const auto& t : sink.texts(MSG_USER)) n += t == kWarning;
    return n;
}

class StlWriteOnceTest : public pfx_test::PfxTest {};

TEST_F(StlWriteOnceTest, EachWriterWarnsOncePerProcess)
{
    pfx_test::ObjectPtr obj(
        pfx_test::make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1}, {0, 1, 2}, {2}, {0, 1}}));
    const std::string dir = pfx_test::temp_dir();
    const std::wstring text = pfx_test::wide(dir + "t.stl"), bin = pfx_test::wide(dir + "b.stl");

    ASSERT_EQ(STL_ASCII_Write(obj.get(), 0, text.c_str(), L"t", nullptr), 1);
    EXPECT_EQ(warnings(sink), 1);
    // The short polygons are skipped; the triangle is written.
    EXPECT_EQ(pfx_test::read_file(dir + "t.stl").find("facet normal"), pfx_test::read_file(dir + "t.stl").rfind("facet normal"));
    sink.clear();
    ASSERT_EQ(STL_ASCII_Write(obj.get(), 0, text.c_str(), L"t", nullptr), 1);
    EXPECT_EQ(warnings(sink), 0);

    sink.clear();
    ASSERT_EQ(STL_BINARY_Write(obj.get(), 0, bin.c_str(), L"b", nullptr), 1);
    EXPECT_EQ(warnings(sink), 1);
    EXPECT_EQ(pfx_test::read_file(dir + "b.stl").size(), 84u + 50u);
    sink.clear();
    ASSERT_EQ(STL_BINARY_Write(obj.get(), 0, bin.c_str(), L"b", nullptr), 1);
    EXPECT_EQ(warnings(sink), 0);
}

} // namespace
