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
};

namespace cases_detail {

// An object with its box stored, as a host has it after Movie_Init_Dim.
inline ObjectPtr boxed(const std::vector<P3>& nodes, const std::vector<std::vector<int>>& polys,
                       unsigned int flags)
{
    ObjectPtr o(make_object(nodes, polys, flags));
    if (o->Node_Nb > 0) Movie_Init_Dim(o.get());
    return o;
}

inline WriterCase one(const char* name, ObjectPtr o, bool dxf = true, bool vrml = true)
{
    WriterCase c;
    c.name = name;
    c.dxf = dxf;
    c.vrml = vrml;
    if (o) c.objs.push_back(std::move(o));
    return c;
}

inline const std::vector<P3>& square()
{
    static const std::vector<P3> s = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    return s;
}

// Colours packed red in bits 0-7, green 8-15, blue 16-23; the top byte is
// set on purpose, it is never read.
constexpr int kBrown = static_cast<int>(0xff336699u); // 153, 102, 51
constexpr int kTeal = 0x00808000;                     // 0, 128, 128
constexpr int kWhite = 0x00ffffff;

} // namespace cases_detail

inline std::vector<WriterCase> writer_cases()
{
    using namespace cases_detail;
    std::vector<WriterCase> all;

    all.push_back(one("triangle", boxed({{0, 0, 0}, {1.5f, 0, 0}, {0, 2.25f, -0.5f}}, {{0, 1, 2}}, GEOM_POLY)));
    all.push_back(one("quad", boxed(square(), {{0, 1, 2, 3}}, GEOM_POLY)));
    all.push_back(one("two_triangles", boxed(square(), {{0, 1, 2}, {0, 2, 3}}, GEOM_POLY)));
    all.push_back(one("closed_loop", boxed(square(), {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, GEOM_LINE)));
    all.push_back(one("open_chain", boxed({{0, 0, 0}, {1, 0, 0}, {1, 1, 0.125f}}, {{0, 1}, {1, 2}}, GEOM_LINE)));
    // Segment 0 starts at node 0, where no later segment ends: everything is
    // written as separate lines, the loop 2-3-4 after it included.
    all.push_back(one("unclosed_first",
                      boxed({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 1, 0}},
                            {{0, 1}, {2, 3}, {3, 4}, {4, 2}}, GEOM_LINE)));
    all.push_back(one("loop_then_segment",
                      boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 2, 2}, {3, 3, 3}},
                            {{0, 1}, {1, 2}, {2, 0}, {3, 4}}, GEOM_LINE)));
    all.push_back(one("points", boxed({{0.1f, 0.2f, 0.3f}, {-1, -2, -3}, {1e-7f, 12345.678f, 0}},
                                      {{0}, {1}, {2}}, GEOM_POINT)));
    {
        WriterCase c;
        c.name = "two_objects";
        c.objs.push_back(boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY));
        // Displaced, with stale positions: written at Coord + Displ.
        ObjectPtr q = boxed(square(), {{0, 1, 2, 3}}, GEOM_POLY | DISPLACED);
        for (int i = 0; i < q->Node_Nb; ++i) q->Node_Pt[i].Displ = {1, 2, 3, 0};
        Movie_Init_Dim(q.get());
        q->Pos_Done = 0;
        c.objs.push_back(std::move(q));
        all.push_back(std::move(c));
    }
    {
        WriterCase c = one("material", boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY),
                           false, true);
        c.material = {7};
        c.color = {kBrown};
        all.push_back(std::move(c));
    }
    {
        // The middle object carries two kinds: the VRML writer skips it and
        // the third object still takes the third material entry.
        WriterCase c;
        c.name = "skipped_between";
        c.objs.push_back(boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY));
        c.objs.push_back(boxed({{5, 5, 5}, {6, 5, 5}, {5, 6, 5}}, {{0, 1}, {0, 1, 2}}, GEOM_LINE | GEOM_POLY));
        c.objs.push_back(boxed({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}}, GEOM_POLY));
        c.material = {1, 2, 3};
        c.color = {kBrown, kWhite, kTeal};
        c.vrml_skipped = 1;
        all.push_back(std::move(c));
    }
    all.push_back(one("no_polygons", boxed({{0, 0, 0}, {1, 2, 3}}, {}, GEOM_POLY)));
    all.push_back(one("no_nodes", boxed({}, {}, GEOM_POLY)));
    all.push_back(one("empty_list", nullptr));
    // A point, a closing segment pair and a triangle in one object, as a
    // native file with mixed polygons gives: DXF writes each representation.
    all.push_back(one("mixed_kinds",
                      boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {1, 0}, {2}},
                            GEOM_POINT | GEOM_LINE | GEOM_POLY),
                      true, false));
    // GEOM_OTHER beside one kind: written as that kind; alone, or no kind at
    // all, nothing is written (VRML reports the object).
    all.push_back(one("geom_other", boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY | GEOM_OTHER)));
    all.push_back(one("other_alone", boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_OTHER)));
    all.back().vrml_skipped = 1;
    all.push_back(one("no_kind", boxed({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, 0)));
    all.back().vrml_skipped = 1;
    // Two closed runs; a run, then a segment that nothing closes.
    all.push_back(one("two_runs", boxed(square(), {{0, 1}, {1, 0}, {2, 3}, {3, 2}}, GEOM_LINE)));
    all.push_back(one("run_then_segment", boxed(square(), {{0, 1}, {1, 0}, {2, 3}}, GEOM_LINE)));
    {
        // Stored boxes are taken as they are, even when the nodes disagree.
        WriterCase c;
        c.name = "stored_boxes";
        const Vector_4 boxes[3][2] = {{{1, 2, 3, 0}, {4, 5, 6, 0}}, {{-1, 7, 2, 0}, {3, 8, 9, 0}},
                                      {{0.5f, 0.5f, -10, 0}, {10, 0.5f, 0.5f, 0}}};
        for (const auto& b : boxes) {
            c.objs.push_back(boxed({{0, 0, 0}}, {{0}}, GEOM_POINT));
            c.objs.back()->Box_Min = b[0];
            c.objs.back()->Box_Max = b[1];
        }
        all.push_back(std::move(c));
    }
    {
        // With Pos_Done set, Pos is written as it stands.
        WriterCase c = one("positions_done", boxed({{1, 1, 1}, {2, 2, 2}}, {{0}, {1}}, GEOM_POINT | DISPLACED));
        Movie_Objs* o = c.objs[0].get();
        o->Node_Pt[0].Pos = {7, 8, 9, 0};
        o->Pos_Done = 1;
        all.push_back(std::move(c));
    }
    // Only both arrays together give a material; single precision rounds
    // 255 * 0.8 to 0.800 and 1 / 255 * 0.2 to 0.001.
    const struct {
        const char* name;
        bool material, color;
    } arrays[] = {{"material_without_color", true, false}, {"color_without_material", false, true},
                  {"material_rounding", true, true}};
    for (const auto& a : arrays) {
        WriterCase c = one(a.name, boxed({{0, 0, 0}}, {{0}}, GEOM_POINT), false, true);
        if (a.material) c.material = {-12};
        if (a.color) c.color = {0x0001ff};
        all.push_back(std::move(c));
    }
    return all;
}

} // namespace pfx_test
