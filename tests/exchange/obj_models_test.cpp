// Every .obj file of Debian's assimp-testmodels package read by
// OBJ_Read_Merge without a crash, a leak or a sanitizer report, every
// reference inside its object's lists, and the counts of the reader's
// "read:" line checked against tinyobjloader wherever the two readers mean
// the same thing.
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

#ifdef PFX_HAVE_TINYOBJ
#include <tiny_obj_loader.h>
#endif

namespace pfx_test {
namespace {

TEST(ObjModels, EveryModelReadsCleanlyAndAgreesWithTinyObjLoader)
{
    std::vector<std::filesystem::path> files;
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator("/usr/share/assimp/models", ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        if (it->is_regular_file() && it->path().extension() == ".obj") files.push_back(it->path());
    if (files.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    std::sort(files.begin(), files.end());
    int read = 0, compared = 0;
    for (const std::filesystem::path& path : files) {
        SCOPED_TRACE(path.string());
        CaptureSink sink;
        const std::string dir = path.parent_path().string() + "/", stem = path.stem().string();
        Movie_Objs** objs = nullptr;
        const int n = OBJ_Read_Merge(wide(dir).c_str(), wide(stem).c_str(), &objs);
        ASSERT_GE(sink.lines().size(), 2u);
        EXPECT_EQ(sink.lines().front().text, L">>> in  OBJ_Read_Merge(" + wide(dir) + L"," + wide(stem) + L")");
        EXPECT_TRUE(sink.texts(MSG_MEMORY).empty());
        if (n == 0) {
            EXPECT_EQ(objs, nullptr);
            EXPECT_EQ(sink.lines().back().text, L"<<< out OBJ_Read_Merge(bad reference)");
            continue;
        }
        ++read;
        for (int k = 0; k < n; ++k) {
            const Movie_Objs* o = objs[k];
            ASSERT_NE(o, nullptr);
            for (int p = 0; p < o->Poly_Nb; ++p)
                for (int j = 0; j < o->Poly_Pt[p].Node_Id_Nb; ++j) {
                    EXPECT_LT(unsigned(o->Poly_Pt[p].Node_Id[j]), unsigned(o->Node_Nb));
                    EXPECT_TRUE(!o->Text_Nb || unsigned(o->Poly_Pt[p].Text_Id[j]) < unsigned(o->Text_Nb));
                    EXPECT_TRUE(!o->Normal_Nb || unsigned(o->Poly_Pt[p].Normal_Id[j]) < unsigned(o->Normal_Nb));
                }
        }
        EXPECT_EQ(objs[n], nullptr);
        free_object_list(objs, n);
#ifdef PFX_HAVE_TINYOBJ
        // Lines longer than one 119-character read are examined in pieces
        // here and whole by tinyobjloader; dropped faces warn.
        const std::string bytes = read_file(path.string());
        size_t longest = 0;
        for (size_t at = 0, e; at < bytes.size(); at = e + 1) {
            e = std::min(bytes.find('\n', at), bytes.size());
            longest = std::max(longest, e - at - (e > at && bytes[e - 1] == '\r'));
        }
        if (longest >= 119 || sink.texts(MSG_USER).size() > 0) continue;
        tinyobj::attrib_t attrib;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string warn, err;
        if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, path.string().c_str(), dir.c_str(), false))
            continue;
        size_t faces = 0;
        for (const tinyobj::shape_t& s : shapes) faces += s.mesh.num_face_vertices.size();
        EXPECT_EQ(sink.lines()[sink.lines().size() - 2].text,
                  L"-> Polyfex:OBJ_Read_Merge() read: " + std::to_wstring(attrib.vertices.size() / 3) + L" nodes, " +
                      std::to_wstring(attrib.texcoords.size() / 2) + L" textures, " +
                      std::to_wstring(attrib.normals.size() / 3) + L" normals, " + std::to_wstring(faces) +
                      L" polygons");
        ++compared;
#endif
    }
    EXPECT_GE(read, 15);
#ifdef PFX_HAVE_TINYOBJ
    EXPECT_GE(compared, 10);
#endif
}

} // namespace
} // namespace pfx_test
