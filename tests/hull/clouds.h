// Random point clouds for the hull tests and benchmark, the same on every
// platform (own uniform and normal transforms over mt19937_64).
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace pfx_test {

enum class Shape { Cube, Sphere, Gaussian, Planes, Grid };

inline const char* shape_name(Shape s)
{
    switch (s) {
    case Shape::Cube: return "cube";
    case Shape::Sphere: return "sphere";
    case Shape::Gaussian: return "gaussian";
    case Shape::Planes: return "planes";
    case Shape::Grid: return "grid";
    }
    return "?";
}

class CloudRandom {
public:
    explicit CloudRandom(uint64_t seed) : rng_(seed) {}
    // Uniform in [0, 1).
    double uniform() { return static_cast<double>(rng_() >> 11) * 0x1.0p-53; }
    double symmetric() { return 2 * uniform() - 1; }
    double normal()
    {
        if (has_spare_) {
            has_spare_ = false;
            return spare_;
        }
        double u = 1 - uniform(), v = uniform();
        double r = std::sqrt(-2 * std::log(u));
        spare_ = r * std::sin(2 * M_PI * v);
        has_spare_ = true;
        return r * std::cos(2 * M_PI * v);
    }
    uint64_t bits() { return rng_(); }

private:
    std::mt19937_64 rng_;
    double spare_ = 0;
    bool has_spare_ = false;
};

// n points, packed x, y, z, in double. Planes: each point on one of three
// axis-aligned planes through the box, so many points share a plane exactly.
// Grid: integer lattice points of a box (n rounded to the lattice), many of
// them exactly coplanar on its faces.
inline std::vector<double> make_cloud(Shape shape, size_t n, uint64_t seed)
{
    CloudRandom r(seed);
    std::vector<double> p;
    p.reserve(3 * n);
    if (shape == Shape::Grid) {
        int side = 2;
        while (size_t(side + 1) * (side + 1) * (side + 1) <= n) ++side;
        std::vector<double> lattice;
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j)
                for (int k = 0; k < side; ++k) lattice.insert(lattice.end(), {double(i), double(j), double(k)});
        // Shuffled, so the lattice order does not steer the build.
        size_t m = lattice.size() / 3;
        for (size_t i = m - 1; i > 0; --i) {
            size_t j = r.bits() % (i + 1);
            for (int c = 0; c < 3; ++c) std::swap(lattice[3 * i + c], lattice[3 * j + c]);
        }
        return lattice;
    }
    for (size_t i = 0; i < n; ++i) {
        switch (shape) {
        case Shape::Cube: p.insert(p.end(), {r.symmetric(), r.symmetric(), r.symmetric()}); break;
        case Shape::Sphere: {
            double x, y, z, l;
            do {
                x = r.normal();
                y = r.normal();
                z = r.normal();
                l = std::sqrt(x * x + y * y + z * z);
            } while (l < 1e-9);
            p.insert(p.end(), {x / l, y / l, z / l});
            break;
        }
        case Shape::Gaussian: p.insert(p.end(), {r.normal(), r.normal(), r.normal()}); break;
        case Shape::Planes: {
            double c[3] = {r.symmetric(), r.symmetric(), r.symmetric()};
            const double level[3] = {0.75, -0.5, 0.25};
            int axis = static_cast<int>(r.bits() % 3);
            c[axis] = level[axis];
            p.insert(p.end(), c, c + 3);
            break;
        }
        case Shape::Grid: break;
        }
    }
    return p;
}

template <class T>
std::vector<T> converted(const std::vector<double>& p)
{
    return std::vector<T>(p.begin(), p.end());
}

} // namespace pfx_test
