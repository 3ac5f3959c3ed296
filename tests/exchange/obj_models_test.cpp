// Every .obj file of Debian's assimp-testmodels package read by
// OBJ_Read_Merge without a crash, a leak or a sanitizer report, every
// reference inside its object's lists, and the counts of the reader's
// "read:" line checked against tinyobjloader wherever the two readers mean
// the same thing.
#include <algorithm>
#include <filesystem>
#include <sstream>
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
        for (int k = 0; k < n && objs[k]; ++k)
            for (const Movie_Poly* f = objs[k]->Poly_Pt; f < objs[k]->Poly_Pt + objs[k]->Poly_Nb; ++f)
                for (int j = 0; j < f->Node_Id_Nb; ++j) {
                    EXPECT_LT(unsigned(f->Node_Id[j]), unsigned(objs[k]->Node_Nb));
                    EXPECT_TRUE(!objs[k]->Text_Nb || unsigned(f->Text_Id[j]) < unsigned(objs[k]->Text_Nb));
                    EXPECT_TRUE(!objs[k]->Normal_Nb || unsigned(f->Normal_Id[j]) < unsigned(objs[k]->Normal_Nb));
                }
        EXPECT_EQ(objs[n], nullptr);
        free_object_list(objs, n);
#ifdef PFX_HAVE_TINYOBJ
        // Lines longer than one 119-character read are examined in pieces
        // here and whole by tinyobjloader; dropped faces warn.
        std::istringstream lines(read_file(path.string()));
        bool long_line = false;
        for (std::string l; std::getline(lines, l);) long_line |= l.size() - (!l.empty() && l.back() == '\r') >= 119;
        if (long_line || !sink.texts(MSG_USER).empty()) continue;
        tinyobj::attrib_t attrib;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string warn, err;
        if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, path.string().c_str(), dir.c_str(), false))
            continue;
        size_t faces = 0;
        for (const tinyobj::shape_t& s : shapes) faces += s.mesh.num_face_vertices.size();
        EXPECT_EQ(narrow(sink.lines()[sink.lines().size() - 2].text),
                  "-> Polyfex:OBJ_Read_Merge() read: " + std::to_string(attrib.vertices.size() / 3) + " nodes, " +
                      std::to_string(attrib.texcoords.size() / 2) + " textures, " +
                      std::to_string(attrib.normals.size() / 3) + " normals, " + std::to_string(faces) + " polygons");
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
