#include "sample_files.h"

#include <cstdint>
#include <cstdio>
#include <cstdarg>
#include <cstring>

namespace make_samples {
namespace {

std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

std::string format(const char* fmt, ...)
{
    char buf[256];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, args);
    va_end(args);
    return buf;
}

struct Facet {
    Point normal, a, b, c;
};

std::vector<Facet> facets(const Shape& shape)
{
    std::vector<Facet> out;
    const auto& n = shape.nodes;
    for (const Group& g : shape.groups)
        for (const auto& p : g.polygons) {
            if (p.size() == 3 || p.size() == 4)
                out.push_back({triangle_normal(n[p[0]], n[p[1]], n[p[2]]), n[p[0]], n[p[1]], n[p[2]]});
            if (p.size() == 4)
                out.push_back({triangle_normal(n[p[2]], n[p[3]], n[p[0]]), n[p[2]], n[p[3]], n[p[0]]});
        }
    return out;
}

void put_float(std::string& out, double v)
{
    const float f = static_cast<float>(v);
    char bytes[4];
    std::memcpy(bytes, &f, 4); // the build machines are little-endian, as the file
    out.append(bytes, 4);
}

void put_point(std::string& out, const Point& p)
{
    put_float(out, p.x);
    put_float(out, p.y);
    put_float(out, p.z);
}

} // namespace

std::string mov_text(const Shape& shape)
{
    int polygons = 0, corners = 0;
    for (const Group& g : shape.groups)
        for (const auto& p : g.polygons) {
            ++polygons;
            corners += static_cast<int>(p.size());
        }
    std::string out = format("%6d %6d %6d %6d \n", static_cast<int>(shape.groups.size()),
                             static_cast<int>(shape.nodes.size()), polygons, corners);
    int start = 1;
    for (const Group& g : shape.groups) {
        const int count = static_cast<int>(g.polygons.size());
        out += format("%6d %6d \n", start, start + count - 1);
        start += count;
    }
    for (const Point& p : shape.nodes)
        out += format("%12.5f %12.5f %12.5f \n", p.x, p.y, p.z);
    for (const Group& g : shape.groups)
        for (const auto& p : g.polygons) {
            for (size_t k = 0; k < p.size(); ++k)
                out += format("%6d ", k + 1 == p.size() ? -(p[k] + 1) : p[k] + 1);
            out += "\n";
        }
    return out;
}

std::string obj_text(const Shape& shape)
{
    std::string out = "# " + shape.name + ": a polyfex sample made by tools/make_samples\n";
    for (const Point& p : shape.nodes)
        out += format("v %.5f %.5f %.5f\n", p.x, p.y, p.z);
    const bool groups = shape.groups.size() > 1;
    for (const Group& g : shape.groups) {
        if (groups)
            out += "g " + g.name + "\n";
        for (const auto& p : g.polygons) {
            out += "f";
            for (int k : p)
                out += format(" %d", k + 1);
            out += "\n";
        }
    }
    return out;
}

std::string stl_text(const Shape& shape)
{
    std::string out = "solid " + shape.name + "\n";
    for (const Facet& f : facets(shape)) {
        out += format("  facet normal %g %g %g\n    outer loop\n", f.normal.x, f.normal.y, f.normal.z);
        for (const Point* p : {&f.a, &f.b, &f.c})
            out += format("      vertex %.5f %.5f %.5f\n", p->x, p->y, p->z);
        out += "    endloop\n  endfacet\n";
    }
    return out + "endsolid " + shape.name + "\n";
}

std::string stl_binary(const Shape& shape)
{
    // A header that does not begin with "solid", so no reader takes it for text.
    std::string header = "binary STL: " + shape.name + ", a polyfex sample made by tools/make_samples";
    header.resize(80, ' ');
    std::string out = header;
    const std::vector<Facet> all = facets(shape);
    const uint32_t count = static_cast<uint32_t>(all.size());
    char bytes[4];
    std::memcpy(bytes, &count, 4);
    out.append(bytes, 4);
    for (const Facet& f : all) {
        put_point(out, f.normal);
        put_point(out, f.a);
        put_point(out, f.b);
        put_point(out, f.c);
        out.append(2, '\0'); // attribute byte count
    }
    return out;
}

} // namespace make_samples
