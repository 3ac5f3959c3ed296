// The object lists behind the DXF and VRML golden files. The golden tool
// writes them, the golden tests compare against them and the real-reader
// tests feed the same files to outside readers, so all three build the
// lists here.
#pragma once

#include <string>
#include <vector>

#include "polyfex.h"
#include "support/objects.h"

namespace pfx_test {

struct WriterCase {
    std::string name; // file stem: <name>.dxf, <name>.wrl
    bool dxf = true;
    bool vrml = true;
    std::vector<ObjectPtr> objs;
    std::vector<short> material; // empty: no material array
    std::vector<int> color;      // empty: no colour array
    int vrml_skipped = 0;        // objects the VRML writer reports and skips

    // The null-ended list the writers take.
    std::vector<Movie_Objs*> list() const
    {
        std::vector<Movie_Objs*> l;
        for (const ObjectPtr& o : objs) l.push_back(o.get());
        l.push_back(nullptr);
        return l;
    }
    short* material_arg() { return material.empty() ? nullptr : material.data(); }
    int* color_arg() { return color.empty() ? nullptr : color.data(); }
    // Adds an object with its box stored, as a host has it after
    // Movie_Init_Dim.
    Movie_Objs* add(const std::vector<P3>& nodes, const std::vector<std::vector<int>>& polys, unsigned int flags)
    {
        objs.emplace_back(make_object(nodes, polys, flags));
        if (!nodes.empty()) Movie_Init_Dim(objs.back().get());
        return objs.back().get();
    }
};

inline std::vector<WriterCase> writer_cases()
{
    std::vector<WriterCase> all;
    auto add = [&](const char* name, bool dxf = true, bool vrml = true) -> WriterCase& {
        return all.emplace_back(name, dxf, vrml);
    };
    const std::vector<P3> tri = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const std::vector<P3> square = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    // Colours packed red in bits 0-7, green 8-15, blue 16-23; the top byte is
    // set on purpose, it is never read.
    const int brown = static_cast<int>(0xff336699u), teal = 0x00808000, white = 0x00ffffff;

    add("triangle").add({{0, 0, 0}, {1.5f, 0, 0}, {0, 2.25f, -0.5f}}, {{0, 1, 2}}, GEOM_POLY);
    add("quad").add(square, {{0, 1, 2, 3}}, GEOM_POLY);
    add("two_triangles").add(square, {{0, 1, 2}, {0, 2, 3}}, GEOM_POLY);
    add("closed_loop").add(square, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, GEOM_LINE);
    add("open_chain").add({{0, 0, 0}, {1, 0, 0}, {1, 1, 0.125f}}, {{0, 1}, {1, 2}}, GEOM_LINE);
    // Segment 0 starts at node 0, where no later segment ends: everything is
    // written as separate lines, the loop 2-3-4 after it included.
    add("unclosed_first")
        .add({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 1, 0}}, {{0, 1}, {2, 3}, {3, 4}, {4, 2}}, GEOM_LINE);
    add("loop_then_segment")
        .add({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 2, 2}, {3, 3, 3}}, {{0, 1}, {1, 2}, {2, 0}, {3, 4}}, GEOM_LINE);
    // Two closed runs; a run, then a segment that nothing closes.
    add("two_runs").add(square, {{0, 1}, {1, 0}, {2, 3}, {3, 2}}, GEOM_LINE);
    add("run_then_segment").add(square, {{0, 1}, {1, 0}, {2, 3}}, GEOM_LINE);
    add("points").add({{0.1f, 0.2f, 0.3f}, {-1, -2, -3}, {1e-7f, 12345.678f, 0}}, {{0}, {1}, {2}}, GEOM_POINT);
    {
        WriterCase& c = add("two_objects");
        c.add(tri, {{0, 1, 2}}, GEOM_POLY);
        // Displaced, with stale positions: written at Coord + Displ.
        Movie_Objs* q = c.add(square, {{0, 1, 2, 3}}, GEOM_POLY | DISPLACED);
        for (int i = 0; i < q->Node_Nb; ++i) q->Node_Pt[i].Displ = {1, 2, 3, 0};
        Movie_Init_Dim(q);
        q->Pos_Done = 0;
    }
    {
        // With Pos_Done set, Pos is written as it stands.
        Movie_Objs* o = add("positions_done").add({{1, 1, 1}, {2, 2, 2}}, {{0}, {1}}, GEOM_POINT | DISPLACED);
        o->Node_Pt[0].Pos = {7, 8, 9, 0};
        o->Pos_Done = 1;
    }
    {
        // Stored boxes are taken as they are, even when the nodes disagree.
        WriterCase& c = add("stored_boxes");
        const Vector_4 boxes[3][2] = {{{1, 2, 3, 0}, {4, 5, 6, 0}}, {{-1, 7, 2, 0}, {3, 8, 9, 0}},
                                      {{0.5f, 0.5f, -10, 0}, {10, 0.5f, 0.5f, 0}}};
        for (const auto& b : boxes) {
            Movie_Objs* o = c.add({{0, 0, 0}}, {{0}}, GEOM_POINT);
            o->Box_Min = b[0];
            o->Box_Max = b[1];
        }
    }
    {
        WriterCase& c = add("material", false, true);
        c.add(tri, {{0, 1, 2}}, GEOM_POLY);
        c.material = {7};
        c.color = {brown};
    }
    {
        // The middle object carries two kinds: the VRML writer skips it and
        // the third object still takes the third material entry.
        WriterCase& c = add("skipped_between");
        c.add(tri, {{0, 1, 2}}, GEOM_POLY);
        c.add({{5, 5, 5}, {6, 5, 5}, {5, 6, 5}}, {{0, 1}, {0, 1, 2}}, GEOM_LINE | GEOM_POLY);
        c.add({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}}, GEOM_POLY);
        c.material = {1, 2, 3};
        c.color = {brown, white, teal};
        c.vrml_skipped = 1;
    }
    // Only both arrays together give a material; single precision rounds
    // 255 * 0.8 to 0.800 and 1 / 255 * 0.2 to 0.001.
    add("material_without_color", false, true).material = {-12};
    add("color_without_material", false, true).color = {0x0001ff};
    add("material_rounding", false, true).color = {0x0001ff};
    all.back().material = {-12};
    for (size_t i = all.size() - 3; i < all.size(); ++i) all[i].add({{0, 0, 0}}, {{0}}, GEOM_POINT);
    add("no_polygons").add({{0, 0, 0}, {1, 2, 3}}, {}, GEOM_POLY);
    add("no_nodes").add({}, {}, GEOM_POLY);
    add("empty_list");
    // A point, a closing segment pair and a triangle in one object, as a
    // native file with mixed polygons gives: DXF writes each representation.
    add("mixed_kinds", true, false).add(tri, {{0, 1, 2}, {1, 0}, {2}}, GEOM_POINT | GEOM_LINE | GEOM_POLY);
    // GEOM_OTHER beside one kind: written as that kind; alone, or no kind at
    // all, nothing is written (VRML reports the object).
    add("geom_other").add(tri, {{0, 1, 2}}, GEOM_POLY | GEOM_OTHER);
    add("other_alone").add(tri, {{0, 1, 2}}, GEOM_OTHER);
    add("no_kind").add(tri, {{0, 1, 2}}, 0);
    all[all.size() - 2].vrml_skipped = all.back().vrml_skipped = 1;
    return all;
}

} // namespace pfx_test
