// Every .obj file of Debian's assimp-testmodels package read by
// OBJ_Read_Merge without a crash, a leak or a sanitizer report, with vertex,
// texture, normal and face counts checked against tinyobjloader wherever the
// two readers mean the same thing.
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "exchange/obj_parse.h"
#include "support/capture.h"
#include "support/objects.h"

#ifdef PFX_HAVE_TINYOBJ
#include <tiny_obj_loader.h>
#endif

namespace pfx_test {
namespace {

constexpr char kModels[] = "/usr/share/assimp/models";

std::vector<std::filesystem::path> model_files()
{
    std::vector<std::filesystem::path> files;
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(kModels, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        if (it->is_regular_file() && it->path().extension() == ".obj") files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

// What our parser found, for the comparison.
struct Counts {
    int v = 0, vt = 0, vn = 0, f = 0;
    bool corners_3_or_4 = true;
};

Counts parse_counts(const std::string& bytes)
{
    pfx::ObjLists lists;
    Counts c;
    if (pfx::obj_parse(bytes.data(), bytes.data() + bytes.size(), L"model", lists) == pfx::ObjParse::Done) {
        c = {lists.node_nb, lists.text_nb, lists.nrml_nb, lists.poly_nb, true};
        for (int i = 0; i < lists.poly_nb; ++i) {
            int nb = pfx::obj_face(lists, i).nb;
            if (nb < 3 || nb > 4) c.corners_3_or_4 = false;
        }
    }
    pfx::obj_free_lists(lists);
    return c;
}

// Lines longer than one 119-character read are examined in pieces here and
// whole by tinyobjloader.
bool has_long_line(const std::string& bytes)
{
    size_t start = 0;
    while (start < bytes.size()) {
        size_t e = bytes.find('\n', start);
        if (e == std::string::npos) e = bytes.size();
        size_t n = e - start;
        if (n > 0 && bytes[e - 1] == '\r') --n;
        if (n >= 119) return true;
        start = e + 1;
    }
    return false;
}

class ObjModels : public PfxTest {};

TEST_F(ObjModels, EveryModelReadsCleanlyAndAgreesWithTinyObjLoader)
{
    const std::vector<std::filesystem::path> files = model_files();
    if (files.empty()) GTEST_SKIP() << "assimp-testmodels is not installed (no .obj under " << kModels << ")";
    int read = 0, compared = 0;
    for (const std::filesystem::path& path : files) {
        SCOPED_TRACE(path.string());
        sink.clear();
        const std::string dir = path.parent_path().string() + "/";
        const std::string stem = path.stem().string();
        Movie_Objs** objs = nullptr;
        const int n = OBJ_Read_Merge(wide(dir).c_str(), wide(stem).c_str(), &objs);
        ASSERT_FALSE(sink.lines().empty());
        EXPECT_EQ(sink.lines().front().text, L">>> in  OBJ_Read_Merge(" + wide(dir) + L"," + wide(stem) + L")");
        EXPECT_TRUE(sink.texts(MSG_MEMORY).empty());
        bool warned = false;
        for (const Line& l : sink.lines())
            if (l.text.find(L"To many nodes") != std::wstring::npos) warned = true;
        if (n == 0) {
            EXPECT_EQ(objs, nullptr);
            EXPECT_EQ(sink.lines().back().text, L"<<< out OBJ_Read_Merge(bad reference)");
            continue;
        }
        ++read;
        ASSERT_NE(objs, nullptr);
        for (int k = 0; k < n; ++k) {
            ASSERT_NE(objs[k], nullptr);
            const Movie_Objs* o = objs[k];
            EXPECT_EQ(o->Flags, 0x4101u);
            // Every reference lies inside the object's own lists.
            for (int p = 0; p < o->Poly_Nb; ++p)
                for (int j = 0; j < o->Poly_Pt[p].Node_Id_Nb; ++j) {
                    EXPECT_GE(o->Poly_Pt[p].Node_Id[j], 0);
                    EXPECT_LT(o->Poly_Pt[p].Node_Id[j], o->Node_Nb);
                    if (o->Text_Nb) {
                        EXPECT_LT(unsigned(o->Poly_Pt[p].Text_Id[j]), unsigned(o->Text_Nb));
                    }
                    if (o->Normal_Nb) {
                        EXPECT_LT(unsigned(o->Poly_Pt[p].Normal_Id[j]), unsigned(o->Normal_Nb));
                    }
                }
        }
        EXPECT_EQ(objs[n], nullptr);
        free_object_list(objs, n);

#ifdef PFX_HAVE_TINYOBJ
        const std::string bytes = read_file(path.string());
        const Counts ours = parse_counts(bytes);
        if (warned || !ours.corners_3_or_4 || has_long_line(bytes)) continue;
        tinyobj::attrib_t attrib;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string warn, err;
        if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, path.string().c_str(),
                              dir.c_str(), false))
            continue;
        int faces = 0;
        for (const tinyobj::shape_t& s : shapes) faces += static_cast<int>(s.mesh.num_face_vertices.size());
        EXPECT_EQ(ours.v, static_cast<int>(attrib.vertices.size() / 3));
        EXPECT_EQ(ours.vt, static_cast<int>(attrib.texcoords.size() / 2));
        EXPECT_EQ(ours.vn, static_cast<int>(attrib.normals.size() / 3));
        EXPECT_EQ(ours.f, faces);
        ++compared;
#endif
    }
    EXPECT_GE(read, 15);
#ifdef PFX_HAVE_TINYOBJ
    EXPECT_GE(compared, 10);
#endif
    RecordProperty("read", read);
    RecordProperty("compared", compared);
}

} // namespace
} // namespace pfx_test
