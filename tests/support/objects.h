// Objects built in memory as a host builds them: calloc'ed header and arrays,
// released with Movie_Free and free().
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "polyfex.h"

namespace pfx_test {

struct P3 {
    float x, y, z;
};

// nodes: Coord (w = 0); polys: corner lists of 1 to 4 node indices. Pos is
// not computed (Pos_Done 0), Matrix is the identity, no links.
Movie_Objs* make_object(const std::vector<P3>& nodes, const std::vector<std::vector<int>>& polys,
                        unsigned int flags = GEOM_POLY);

// Movie_Free then free(); null is fine.
void free_object(Movie_Objs* obj);

struct ObjectDeleter {
    void operator()(Movie_Objs* obj) const { free_object(obj); }
};
using ObjectPtr = std::unique_ptr<Movie_Objs, ObjectDeleter>;

// Releases count objects of list and the list itself (count < 0: up to the
// null entry).
void free_object_list(Movie_Objs** list, int count);

// Shapes used across tests.
Movie_Objs* make_unit_cube_triangles(); // 8 nodes, 12 outward triangles
Movie_Objs* make_unit_cube_quads();     // 8 nodes, 6 outward quads
Movie_Objs* make_tetrahedron();         // 4 nodes, 4 outward triangles

// A fresh empty directory under the build tree for this test, ending with '/'.
std::string temp_dir();
std::wstring wide(const std::string& utf8);
std::string narrow(const std::wstring& text);
// Reads a whole file (binary); empty when it does not exist.
std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& bytes);
// PFX_SOURCE_DIR + "/tests/" + rel.
std::string test_path(const std::string& rel);

} // namespace pfx_test
