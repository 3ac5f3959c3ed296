// The sample meshes, built in code: plain lists, independent of the library.
#pragma once

#include <string>
#include <vector>

namespace make_samples {

struct Point {
    double x, y, z;
};

// A named run of polygons: one object of a multi-object file, one group of
// an OBJ file.
struct Group {
    std::string name;
    std::vector<std::vector<int>> polygons; // 0-based node indices, 1 to 4 each
};

struct Shape {
    std::string name;
    std::vector<Point> nodes;
    std::vector<Group> groups;
};

// The unit cube [0,1]^3: 8 nodes, 6 quads wound counter-clockwise seen from outside.
Shape make_cube();
// A unit sphere of triangles (8 bands of 12), in two groups: "north" and "south".
Shape make_sphere();
// A regular hexagon of radius 1 in the plane z = 0 as 6 line segments.
Shape make_loop();
// 64 points spread over an ellipsoid of radii 1.5, 1 and 0.75, each a 1-corner polygon.
Shape make_points();

// The outward unit normal of a triangle (corners counter-clockwise seen from outside).
Point triangle_normal(const Point& a, const Point& b, const Point& c);

} // namespace make_samples
