// Random point clouds for the hull tests and benchmark, the same on every
// platform (own uniform and normal transforms over mt19937_64), and the
// checks every hull built from points must pass.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace pfx_test {

enum class Shape { Cube, Sphere, Gaussian, Planes, Grid };

inline const char* shape_name(Shape s)
{
    static const char* const names[] = {"cube", "sphere", "gaussian", "planes", "grid"};
    return names[static_cast<int>(s)];
}

// n points, packed x, y, z. Planes: each point on one of three axis-aligned
// planes, so many share a plane exactly. Grid: the integer lattice of a box
// (n rounded down to it), shuffled so that its order does not steer the build.
inline std::vector<double> make_cloud(Shape shape, size_t n, uint64_t seed)
{
    std::mt19937_64 rng(seed);
    auto uniform = [&] { return static_cast<double>(rng() >> 11) * 0x1.0p-53; }; // [0, 1)
    auto symmetric = [&] { return 2 * uniform() - 1; };
    double spare = 0;
    bool has_spare = false;
    auto normal = [&] { // Box-Muller, both values of a pair used
        if ((has_spare = !has_spare) == false) return spare;
        double u = 1 - uniform(), v = uniform(), r = std::sqrt(-2 * std::log(u));
        spare = r * std::sin(2 * M_PI * v);
        return r * std::cos(2 * M_PI * v);
    };
    std::vector<double> p;
    if (shape == Shape::Grid) {
        int side = 2;
        while (size_t(side + 1) * (side + 1) * (side + 1) <= n) ++side;
        for (int i = 0; i < side * side * side; ++i) p.insert(p.end(), {double(i / side / side), double(i / side % side), double(i % side)});
        for (size_t i = p.size() / 3 - 1; i > 0; --i) std::swap_ranges(&p[3 * i], &p[3 * i + 3], &p[3 * (rng() % (i + 1))]);
        return p;
    }
    for (size_t i = 0; i < n; ++i) {
        if (shape == Shape::Cube) p.insert(p.end(), {symmetric(), symmetric(), symmetric()});
        if (shape == Shape::Gaussian) p.insert(p.end(), {normal(), normal(), normal()});
        if (shape == Shape::Sphere) {
            double x, y, z, l;
            do x = normal(), y = normal(), z = normal(), l = std::sqrt(x * x + y * y + z * z);
            while (l < 1e-9);
            p.insert(p.end(), {x / l, y / l, z / l});
        }
        if (shape == Shape::Planes) {
            double c[3] = {symmetric(), symmetric(), symmetric()};
            const double level[3] = {0.75, -0.5, 0.25};
            const size_t axis = rng() % 3;
            c[axis] = level[axis];
            p.insert(p.end(), c, c + 3);
        }
    }
    return p;
}

template <class T>
std::vector<T> converted(const std::vector<double>& p)
{
    return std::vector<T>(p.begin(), p.end());
}

// Three indices below vertex_count per triangle, each directed edge once and
// its twin once: the triangles close.
inline bool closed(const std::vector<size_t>& idx, size_t vertex_count)
{
    std::map<std::pair<size_t, size_t>, int> edges;
    for (size_t i = 0; i < idx.size(); ++i) {
        if (idx[i] >= vertex_count) return false;
        ++edges[{idx[i], idx[i - i % 3 + (i + 1) % 3]}];
    }
    for (const auto& [e, count] : edges)
        if (count != 1 || edges.count({e.second, e.first}) == 0) return false;
    return idx.size() % 3 == 0;
}

// The largest distance by which one of the n packed points lies on the outer
// side (right-hand normal) of a triangle's plane; infinite when a triangle
// has no area.
template <class V, class P>
double outside_by(const V* verts, const std::vector<size_t>& idx, const P* pts, size_t n)
{
    double worst = -INFINITY;
    for (size_t t = 0; t < idx.size(); t += 3) {
        double a[3], u[3], w[3];
        for (int c = 0; c < 3; ++c) {
            a[c] = verts[3 * idx[t] + c];
            u[c] = verts[3 * idx[t + 1] + c] - a[c];
            w[c] = verts[3 * idx[t + 2] + c] - a[c];
        }
        const double nn[3] = {u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]};
        const double len = std::sqrt(nn[0] * nn[0] + nn[1] * nn[1] + nn[2] * nn[2]);
        if (!(len > 0)) return INFINITY;
        for (const P* q = pts; q < pts + 3 * n; q += 3)
            worst = std::max(worst, (nn[0] * (q[0] - a[0]) + nn[1] * (q[1] - a[1]) + nn[2] * (q[2] - a[2])) / len);
    }
    return worst;
}

} // namespace pfx_test
