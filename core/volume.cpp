// Movie_Volume's arithmetic: a sum of signed prisms under every triangle.
#include "core/volume.h"

#include <cmath>
#include <utility>

#include "core/index_check.h"

namespace {
[[maybe_unused]] constexpr char kModule[] = "movie_func";

constexpr double kFlat = 1e-6;

// The line s = a*t + b through corners i and j, in coordinates local to the
// leftmost corner (t = x - x1, s = y - y1), which keeps the cubic terms small.
struct Line {
    double a, b;
};

// An edge of x extent at most 1e-6 is the line 0 (its slab is skipped).
Line edge_line(double xi, double yi, double xj, double yj)
{
    const double dx = xj - xi;
    if (std::fabs(dx) <= kFlat) return {0.0, 0.0};
    const double a = (yj - yi) / dx;
    return {a, yi - a * xi};
}

// Integral over t in [t0, t1] of the height z1 + B*t + C*s for s between the
// lines lo and hi: a cubic in t, evaluated at both ends.
double slab(double t0, double t1, Line lo, Line hi, double z1, double B, double C)
{
    const double al = hi.a - lo.a, be = hi.b - lo.b; // width  al*t + be
    const double ga = hi.a + lo.a, de = hi.b + lo.b; // lo+hi  ga*t + de
    const double c0 = z1 * be + 0.5 * C * be * de;
    const double c1 = z1 * al + B * be + 0.5 * C * (al * de + be * ga);
    const double c2 = B * al + 0.5 * C * al * ga;
    auto F = [&](double t) { return t * (c0 + t * (c1 / 2 + t * (c2 / 3))); };
    return F(t1) - F(t0);
}

} // namespace

namespace pfx {

double prism_volume(const double xs[3], const double ys[3], const double zs[3])
{
    const double ux = xs[1] - xs[0], uy = ys[1] - ys[0], uz = zs[1] - zs[0];
    const double vx = xs[2] - xs[0], vy = ys[2] - ys[0], vz = zs[2] - zs[0];
    const double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    if (std::fabs(nz) < kFlat) return 0.0;

    int o[3] = {0, 1, 2};
    if (xs[o[1]] < xs[o[0]]) std::swap(o[0], o[1]);
    if (xs[o[2]] < xs[o[1]]) std::swap(o[1], o[2]);
    if (xs[o[1]] < xs[o[0]]) std::swap(o[0], o[1]);
    const double x1 = xs[o[0]], y1 = ys[o[0]], z1 = zs[o[0]];
    const double t2 = xs[o[1]] - x1, s2 = ys[o[1]] - y1;
    const double t3 = xs[o[2]] - x1, s3 = ys[o[2]] - y1;

    // The plane through the corners: z = z1 + B*t + C*s.
    const double B = -nx / nz, C = -ny / nz;
    const Line e13 = edge_line(0.0, 0.0, t3, s3);
    const Line e12 = edge_line(0.0, 0.0, t2, s2);
    const Line e23 = edge_line(t2, s2, t3, s3);

    double sum = 0.0;
    if (t3 > kFlat) {
        if (t2 > kFlat) sum += slab(0.0, t2, e12, e13, z1, B, C);
        if (t3 - t2 > kFlat) sum += slab(t2, t3, e23, e13, z1, B, C);
    }
    const double v = std::fabs(sum);
    return nz > 0 ? v : -v;
}

double volume_sum(const Movie_Objs& obj)
{
    const Movie_Node* nodes = obj.Node_Pt;
    float zmin = nodes[0].Pos.z;
    for (int i = 1; i < obj.Node_Nb; ++i)
        if (nodes[i].Pos.z < zmin) zmin = nodes[i].Pos.z;

    double sum = 0.0;
    for (int p = 0; p < obj.Poly_Nb; ++p) {
        const Movie_Poly& poly = obj.Poly_Pt[p];
        const int count = poly.Node_Id_Nb;
        if (count != 3 && count != 4) continue;
        // note: a face naming a node outside the array adds nothing.
        if (!pfx::corners_in_range(poly, count, obj.Node_Nb)) continue;
        double x[4], y[4], z[4];
        for (int j = 0; j < count; ++j) {
            const Vector_4& pos = nodes[poly.Node_Id[j]].Pos;
            x[j] = pos.x;
            y[j] = pos.y;
            // Heights above the base plane, in single precision: all >= 1.
            z[j] = static_cast<float>(pos.z - zmin + 1.0f);
        }
        sum += prism_volume(x, y, z);
        if (count == 4) {
            const double qx[3] = {x[2], x[3], x[0]}, qy[3] = {y[2], y[3], y[0]}, qz[3] = {z[2], z[3], z[0]};
            sum += prism_volume(qx, qy, qz);
        }
    }
    return sum;
}

} // namespace pfx
