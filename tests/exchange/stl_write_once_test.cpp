// The writers' warning about polygons of fewer than three corners comes
// once per writer in the life of the process. This file holds the only
// test that meets such polygons, so it sees the switches as loaded.
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

namespace {

using namespace pfx_test;

class StlWriteOnceTest : public PfxTest {};

TEST_F(StlWriteOnceTest, EachWriterWarnsOncePerProcessAndSkipsTheShortPolygons)
{
    ObjectPtr obj(make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1}, {0, 1, 2}, {2}, {0, 1}}));
    const std::string path = temp_dir() + "once.stl";
    const std::wstring warning = L"\xF1\x05WARNING:\x02 STL format only support polygons";
    for (bool text : {true, false})
        for (int round = 0; round < 2; ++round) {
            sink.clear();
            ASSERT_EQ((text ? STL_ASCII_Write : STL_BINARY_Write)(obj.get(), 0, wide(path).c_str(), L"t", nullptr), 1);
            EXPECT_EQ(sink.texts(MSG_USER), round ? std::vector<std::wstring>{} : std::vector<std::wstring>{warning});
            // The triangle alone is written.
            const std::string file = read_file(path);
            const size_t facet = file.find("facet normal");
            EXPECT_TRUE(text ? facet != file.npos && facet == file.rfind("facet normal") : file.size() == 84u + 50u);
        }
}

} // namespace
