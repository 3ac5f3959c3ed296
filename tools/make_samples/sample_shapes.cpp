#include "sample_shapes.h"

#include <cmath>

namespace make_samples {
namespace {

constexpr double kPi = 3.14159265358979323846;

Point sub(const Point& a, const Point& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

Point cross(const Point& a, const Point& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double dot(const Point& a, const Point& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// Orders a triangle of a shape centred on the origin so that it faces outwards.
std::vector<int> outward(const std::vector<Point>& nodes, int a, int b, int c)
{
    const Point n = cross(sub(nodes[b], nodes[a]), sub(nodes[c], nodes[a]));
    const Point mid = {(nodes[a].x + nodes[b].x + nodes[c].x) / 3,
                       (nodes[a].y + nodes[b].y + nodes[c].y) / 3,
                       (nodes[a].z + nodes[b].z + nodes[c].z) / 3};
    if (dot(n, mid) < 0)
        return {a, c, b};
    return {a, b, c};
}

// Rounds to the 5 decimals of the native file so that every format holds the
// same positions.
double r5(double v)
{
    double r = std::round(v * 100000.0) / 100000.0;
    return r == 0 ? 0.0 : r; // no "-0.00000"
}

} // namespace

Point triangle_normal(const Point& a, const Point& b, const Point& c)
{
    Point n = cross(sub(b, a), sub(c, a));
    const double len = std::sqrt(dot(n, n));
    if (len > 0)
        n = {n.x / len, n.y / len, n.z / len};
    return n;
}

Shape make_cube()
{
    Shape s;
    s.name = "cube";
    s.nodes = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
               {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    s.groups = {{"cube",
                 {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}}}};
    return s;
}

Shape make_sphere()
{
    constexpr int kBands = 8, kSlices = 12;
    Shape s;
    s.name = "sphere";
    s.nodes.push_back({0, 0, 1});
    for (int i = 1; i < kBands; ++i) {
        const double theta = kPi * i / kBands;
        for (int j = 0; j < kSlices; ++j) {
            const double phi = 2 * kPi * j / kSlices;
            s.nodes.push_back({r5(std::sin(theta) * std::cos(phi)), r5(std::sin(theta) * std::sin(phi)),
                               r5(std::cos(theta))});
        }
    }
    s.nodes.push_back({0, 0, -1});
    const int south_pole = static_cast<int>(s.nodes.size()) - 1;
    auto ring = [&](int i, int j) { return 1 + (i - 1) * kSlices + (j % kSlices); };

    Group north{"north", {}}, south{"south", {}};
    for (int j = 0; j < kSlices; ++j) {
        north.polygons.push_back(outward(s.nodes, 0, ring(1, j), ring(1, j + 1)));
        south.polygons.push_back(outward(s.nodes, south_pole, ring(kBands - 1, j), ring(kBands - 1, j + 1)));
    }
    for (int i = 1; i < kBands - 1; ++i) {
        Group& g = i < kBands / 2 ? north : south;
        for (int j = 0; j < kSlices; ++j) {
            const int a = ring(i, j), b = ring(i, j + 1), c = ring(i + 1, j + 1), d = ring(i + 1, j);
            g.polygons.push_back(outward(s.nodes, a, b, c));
            g.polygons.push_back(outward(s.nodes, a, c, d));
        }
    }
    s.groups = {north, south};
    return s;
}

Shape make_loop()
{
    Shape s;
    s.name = "loop";
    Group g{"loop", {}};
    for (int k = 0; k < 6; ++k) {
        const double a = 2 * kPi * k / 6;
        s.nodes.push_back({r5(std::cos(a)), r5(std::sin(a)), 0});
        g.polygons.push_back({k, (k + 1) % 6});
    }
    s.groups = {g};
    return s;
}

Shape make_points()
{
    constexpr int kCount = 64;
    Shape s;
    s.name = "points";
    Group g{"points", {}};
    // A Fibonacci spiral: even cover without randomness, so the file never changes.
    const double golden = kPi * (3 - std::sqrt(5.0));
    for (int k = 0; k < kCount; ++k) {
        const double z = 1 - 2 * (k + 0.5) / kCount;
        const double r = std::sqrt(1 - z * z);
        const double a = golden * k;
        s.nodes.push_back({r5(1.5 * r * std::cos(a)), r5(r * std::sin(a)), r5(0.75 * z)});
        g.polygons.push_back({k});
    }
    s.groups = {g};
    return s;
}

} // namespace make_samples
