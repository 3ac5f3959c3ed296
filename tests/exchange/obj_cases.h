// Object lists written by the OBJ golden tests and by the tool that
// regenerates their golden files (tools/goldens_obj).
#pragma once

#include <cstdlib>
#include <cwchar>
#include <string>
#include <vector>

#include "support/objects.h"

namespace pfx_test {

inline void set_name(Movie_Objs* o, const wchar_t* name) { o->Name = name ? wcsdup(name) : nullptr; }

inline void set_node_normals(Movie_Objs* o, float x, float y, float z)
{
    for (int i = 0; i < o->Node_Nb; ++i) o->Node_Pt[i].Normal = Vector_4{x, y, z, 0};
}

inline void set_texts(Movie_Objs* o, const std::vector<float>& uv)
{
    o->Text_Nb = static_cast<int>(uv.size() / 2);
    o->Text_Pt = static_cast<float*>(std::calloc(uv.size(), sizeof(float)));
    for (size_t i = 0; i < uv.size(); ++i) o->Text_Pt[i] = uv[i];
}

inline void set_normals(Movie_Objs* o, const std::vector<float>& xyz)
{
    o->Normal_Nb = static_cast<int>(xyz.size() / 3);
    o->Normal_Pt = static_cast<float*>(std::calloc(xyz.size(), sizeof(float)));
    for (size_t i = 0; i < xyz.size(); ++i) o->Normal_Pt[i] = xyz[i];
}

// One named case: a null-ended list the caller releases.
struct ObjCase {
    const char* file;
    std::vector<Movie_Objs*> objs; // ends with a null entry
};

// The triangle "tri" with node normals (0, 0, 1), no texture coordinates and
// no normal list; positions not yet computed.
inline ObjCase worked_example()
{
    Movie_Objs* tri = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    set_name(tri, L"tri");
    set_node_normals(tri, 0, 0, 1);
    return {"worked_example.obj", {tri, nullptr}};
}

// Two objects of 3 and 4 nodes without normal lists: the second object's
// references start at vertex 4 and normal 4.
inline ObjCase two_objects()
{
    Movie_Objs* a = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    set_name(a, L"first");
    set_node_normals(a, 0, 0, 1);
    Movie_Objs* b = make_object({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {{0, 1, 2, 3}, {3, 2, 1}});
    set_name(b, L"second");
    set_node_normals(b, 0, 0, -1);
    return {"two_objects.obj", {a, b, nullptr}};
}

// An object with a one-entry normal list, then one with texture coordinates
// but no normal list: its references are n+1+V / t+1+T / n+1+N with V = 3,
// T = 0 and N = 1.
inline ObjCase textures_without_normals()
{
    Movie_Objs* a = make_object({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {{0, 1, 2}});
    set_name(a, L"flat");
    set_normals(a, {0, 0, 1});
    Movie_Objs* b = make_object({{-1.5f, 0.25f, 3}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0.125f}}, {{0, 1, 2, 3}, {0, 2, 3}});
    set_name(b, L"textured");
    set_node_normals(b, 0.6f, 0, 0.8f);
    set_texts(b, {0, 0, 1, 0, 1, 1, 0, 1});
    const int text_ids[2][4] = {{0, 1, 2, 3}, {3, 2, 1, 0}};
    for (int p = 0; p < 2; ++p)
        for (int i = 0; i < 4; ++i) b->Poly_Pt[p].Text_Id[i] = text_ids[p][i];
    return {"textures_without_normals.obj", {a, b, nullptr}};
}

inline std::vector<ObjCase> obj_golden_cases() { return {worked_example(), two_objects(), textures_without_normals()}; }

inline void release_case(ObjCase& c)
{
    for (Movie_Objs* o : c.objs) free_object(o);
    c.objs.clear();
}

} // namespace pfx_test
