// Object lists written by the OBJ golden tests and by the tool that
// regenerates their golden files (tools/goldens_obj), and the one-line-per-
// object dump the reader and round-trip tests compare.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/objects.h"

namespace pfx_test {

inline void set_name(Movie_Objs* o, const wchar_t* name) { o->Name = name ? wcsdup(name) : nullptr; }

inline void set_node_normals(Movie_Objs* o, float x, float y, float z)
{
    for (int i = 0; i < o->Node_Nb; ++i) o->Node_Pt[i].Normal = Vector_4{x, y, z, 0};
}

// Fills a texture (per = 2) or normal (per = 3) list.
inline void set_list(float*& pt, int& nb, const std::vector<float>& values, int per)
{
    nb = static_cast<int>(values.size()) / per;
    pt = static_cast<float*>(std::calloc(values.size(), sizeof(float)));
    for (size_t i = 0; i < values.size(); ++i) pt[i] = values[i];
}
inline void set_texts(Movie_Objs* o, const std::vector<float>& uv) { set_list(o->Text_Pt, o->Text_Nb, uv, 2); }
inline void set_normals(Movie_Objs* o, const std::vector<float>& xyz) { set_list(o->Normal_Pt, o->Normal_Nb, xyz, 3); }

// One named case: a null-ended list the caller releases.
struct ObjCase {
    const char* file;
    std::vector<Movie_Objs*> objs; // ends with a null entry
};

// The triangle "tri" with node normals (0, 0, 1) and no lists.
inline Movie_Objs* tri()
{
    Movie_Objs* t = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    set_name(t, L"tri");
    set_node_normals(t, 0, 0, 1);
    return t;
}

inline std::vector<ObjCase> obj_golden_cases()
{
    // Two objects of 3 and 4 nodes without normal lists: the second object's
    // references start at vertex 4 and normal 4.
    Movie_Objs* a = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    set_name(a, L"first");
    set_node_normals(a, 0, 0, 1);
    Movie_Objs* b = make_object({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}, {3, 2, 1}});
    set_name(b, L"second");
    set_node_normals(b, 0, 0, -1);
    // An object with a one-entry normal list, then one with texture
    // coordinates but no normal list: its references are n+1+V / t+1+T /
    // n+1+N with V = 3, T = 0 and N = 1.
    Movie_Objs* flat = make_object({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {{0, 1, 2}});
    set_name(flat, L"flat");
    set_normals(flat, {0, 0, 1});
    Movie_Objs* tex = make_object({{-1.5f, 0.25f, 3}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0.125f}}, {{0, 1, 2, 3}, {0, 2, 3}});
    set_name(tex, L"textured");
    set_node_normals(tex, 0.6f, 0, 0.8f);
    set_texts(tex, {0, 0, 1, 0, 1, 1, 0, 1});
    for (int i = 0; i < 4; ++i) tex->Poly_Pt[0].Text_Id[i] = i, tex->Poly_Pt[1].Text_Id[i] = 3 - i;
    // No name is written as "(null)".
    Movie_Objs* unnamed = tri();
    std::free(unnamed->Name);
    unnamed->Name = nullptr;
    // References past the lists are written whole, as they stand.
    Movie_Objs* big = tri();
    set_texts(big, {0, 0});
    const int ids[3] = {2000000000, 0, 123456789};
    for (int i = 0; i < 3; ++i) big->Poly_Pt[0].Node_Id[i] = big->Poly_Pt[0].Text_Id[i] = ids[i];
    // Corner counts outside 1 to 4 write only the slots that exist.
    Movie_Objs* odd = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2, 3}, {0, 1, 2}});
    odd->Poly_Pt[0].Node_Id_Nb = 7;
    odd->Poly_Pt[1].Node_Id_Nb = -2;
    // Positions are computed before writing (Coord + Displ), unless done:
    // then Pos is written as it stands.
    Movie_Objs* moved = tri();
    moved->Flags |= DISPLACED;
    for (int i = 0; i < 3; ++i) moved->Node_Pt[i].Displ = Vector_4{10, 20, 30, 0};
    Movie_Objs* done = tri();
    done->Node_Pt[0].Pos = Vector_4{-1, -2, -3, 0};
    done->Pos_Done = 1;
    return {{"worked_example.obj", {tri(), nullptr}}, {"two_objects.obj", {a, b, nullptr}},
            {"displaced.obj", {moved, nullptr}}, {"positions_done.obj", {done, nullptr}},
            {"textures_without_normals.obj", {flat, tex, nullptr}}, {"empty_list.obj", {nullptr}},
            {"unnamed.obj", {unnamed, nullptr}}, {"long_references.obj", {big, nullptr}},
            {"odd_corner_counts.obj", {odd, nullptr}}};
}

inline void release_case(ObjCase& c)
{
    for (Movie_Objs* o : c.objs) free_object(o);
    c.objs.clear();
}

// A list the OBJ reader built, one line per object: its name ("@" when its
// Path is dir), "v" node coordinates, "t" and "n" lists when present, then
// "f" faces as corners/texture numbers/normal numbers. What every object
// shares (flags, no positions, a zero matrix, no links, unused corners 0) is
// checked on the way.
inline std::string dump(Movie_Objs* const* list, const std::string& dir)
{
    std::string s;
    // Each number follows a space and, when it starts a group, tag.
    auto num = [&](const char* tag, float v) {
        char b[48];
        std::snprintf(b, sizeof b, "%s %g", tag, v);
        s += b;
    };
    for (; list && *list; ++list) {
        const Movie_Objs* o = *list;
        EXPECT_TRUE(o->Flags == 0x4101u && o->Pos_Done == 0) << o->Flags;
        for (int r = 0; r < 16; ++r) EXPECT_EQ(o->Matrix.m[r / 4][r % 4], 0.0);
        EXPECT_TRUE(!o->Node_Nb == !o->Node_Pt && !o->Poly_Nb == !o->Poly_Pt && !o->Text_Nb == !o->Text_Pt &&
                    !o->Normal_Nb == !o->Normal_Pt);
        s += o->Name ? narrow(o->Name) : "(null)";
        if (o->Path) s += '@';
        if (o->Path && narrow(o->Path) != dir) s += narrow(o->Path);
        s += " v";
        for (int i = 0; i < o->Node_Nb; ++i) {
            const Movie_Node& n = o->Node_Pt[i];
            EXPECT_TRUE(n.Coord.w == 0 && n.Pos.x == 0 && n.Poly_Id == nullptr) << i;
            num(i ? "," : "", n.Coord.x);
            num("", n.Coord.y);
            num("", n.Coord.z);
        }
        for (int i = 0; i < 2 * o->Text_Nb; ++i) num(i ? (i % 2 ? "" : ",") : " t", o->Text_Pt[i]);
        for (int i = 0; i < 3 * o->Normal_Nb; ++i) num(i ? (i % 3 ? "" : ",") : " n", o->Normal_Pt[i]);
        s += " f";
        for (int p = 0; p < o->Poly_Nb; ++p) {
            const Movie_Poly& f = o->Poly_Pt[p];
            s += p ? "," : "";
            for (const int* ids : {f.Node_Id, f.Text_Id, f.Normal_Id}) {
                s += ids == f.Node_Id ? ' ' : '/';
                for (int i = 0; i < f.Node_Id_Nb; ++i) s.append(i ? " " : "").append(std::to_string(ids[i]));
            }
            for (int i = f.Node_Id_Nb; i < 4; ++i) EXPECT_EQ(f.Node_Id[i], 0) << p;
        }
        s += '\n';
    }
    return s;
}

} // namespace pfx_test
