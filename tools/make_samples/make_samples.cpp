// make_samples DIR: writes the bundled sample meshes into DIR (samples/).
//
//   cube.mov  cube.obj  cube.stl (text)       the unit cube of 6 quads
//   sphere.mov  sphere.obj  sphere.stl (binary) a unit sphere of 168 triangles,
//                                             groups "north" and "south"
//   loop.mov                                  a hexagon of 6 line segments
//   points.mov                                a cloud of 64 points
//
// Lines and points exist only as .mov: OBJ faces are read as polygons and STL
// holds triangles only.
#include <cstdio>
#include <string>

#include "sample_files.h"
#include "sample_shapes.h"

namespace {

bool write(const std::string& path, const std::string& bytes)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) {
        std::perror(path.c_str());
        if (f)
            std::fclose(f);
        return false;
    }
    if (std::fclose(f) != 0) {
        std::perror(path.c_str());
        return false;
    }
    std::printf("%s (%zu bytes)\n", path.c_str(), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace make_samples;
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_samples DIR\n");
        return 2;
    }
    const std::string dir = std::string(argv[1]) + "/";
    const Shape cube = make_cube(), sphere = make_sphere(), loop = make_loop(), points = make_points();
    bool ok = write(dir + "cube.mov", mov_text(cube)) && write(dir + "cube.obj", obj_text(cube)) &&
              write(dir + "cube.stl", stl_text(cube)) && write(dir + "sphere.mov", mov_text(sphere)) &&
              write(dir + "sphere.obj", obj_text(sphere)) &&
              write(dir + "sphere.stl", stl_binary(sphere)) && write(dir + "loop.mov", mov_text(loop)) &&
              write(dir + "points.mov", mov_text(points));
    return ok ? 0 : 1;
}
