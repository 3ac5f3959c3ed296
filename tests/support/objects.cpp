#include "support/objects.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "support/capture.h"

namespace pfx_test {

Movie_Objs* make_object(const std::vector<P3>& nodes, const std::vector<std::vector<int>>& polys,
                        unsigned int flags)
{
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Flags = flags;
    obj->Matrix.init();
    obj->Node_Nb = static_cast<int>(nodes.size());
    if (!nodes.empty()) obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(nodes.size(), sizeof(Movie_Node)));
    for (size_t i = 0; i < nodes.size(); ++i) obj->Node_Pt[i].Coord = Vector_4{nodes[i].x, nodes[i].y, nodes[i].z, 0.0f};
    obj->Poly_Nb = static_cast<int>(polys.size());
    if (!polys.empty()) obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(polys.size(), sizeof(Movie_Poly)));
    for (size_t p = 0; p < polys.size(); ++p) {
        obj->Poly_Pt[p].Node_Id_Nb = static_cast<int>(polys[p].size());
        for (size_t j = 0; j < polys[p].size() && j < 4; ++j) obj->Poly_Pt[p].Node_Id[j] = polys[p][j];
    }
    return obj;
}

void free_object(Movie_Objs* obj)
{
    if (!obj) return;
    Movie_Free(obj);
    std::free(obj);
}

void free_object_list(Movie_Objs** list, int count)
{
    if (!list) return;
    if (count < 0)
        for (count = 0; list[count]; ++count) {
        }
    for (int i = 0; i < count; ++i) free_object(list[i]);
    std::free(list);
}

namespace {
const std::vector<P3> kCubeNodes = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                    {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
// Quads counter-clockwise seen from outside.
const std::vector<std::vector<int>> kCubeQuads = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                                                  {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
} // namespace

Movie_Objs* make_unit_cube_quads() { return make_object(kCubeNodes, kCubeQuads); }

Movie_Objs* make_unit_cube_triangles()
{
    std::vector<std::vector<int>> tris;
    for (const auto& q : kCubeQuads) {
        tris.push_back({q[0], q[1], q[2]});
        tris.push_back({q[0], q[2], q[3]});
    }
    return make_object(kCubeNodes, tris);
}

Movie_Objs* make_tetrahedron()
{
    return make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}});
}

std::string temp_dir()
{
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = info ? std::string(info->test_suite_name()) + "." + info->name() : "no_test";
    for (char& c : name)
        if (c == '/') c = '_';
    std::string root = std::string(PFX_BINARY_DIR) + "/test_tmp";
    mkdir(root.c_str(), 0755);
    std::string dir = root + "/" + name;
    std::string cmd = "rm -rf '" + dir + "'";
    if (std::system(cmd.c_str()) != 0) {
    }
    mkdir(dir.c_str(), 0755);
    return dir + "/";
}

std::wstring wide(const std::string& utf8)
{
    const wchar_t* w = Char_2_Wchar(utf8.c_str());
    return w ? std::wstring(w) : std::wstring();
}

std::string narrow(const std::wstring& text)
{
    const char* s = Wchar_2_Char(text.c_str());
    return s ? std::string(s) : std::string();
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void write_file(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

std::string test_path(const std::string& rel) { return std::string(PFX_SOURCE_DIR) + "/tests/" + rel; }

} // namespace pfx_test
