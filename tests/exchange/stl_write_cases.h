// Objects the STL writer tests compare with golden files; the golden tool
// writes the goldens from the same objects.
#pragma once

#include <cmath>
#include <cwchar>
#include <string>
#include <vector>

#include "support/objects.h"

namespace pfx_test::stl {

struct WriteCase {
    const char* file; // golden base name
    const wchar_t* name;
    short num;
    Movie_Objs* (*make)();
};

// The unit cube as six quads with their outward normals, positions current.
inline Movie_Objs* cube_quads()
{
    Movie_Objs* obj = make_unit_cube_quads();
    const Vector_4 normals[6] = {{0, 0, -1, 0}, {0, 0, 1, 0}, {0, -1, 0, 0}, {1, 0, 0, 0}, {0, 1, 0, 0}, {-1, 0, 0, 0}};
    for (int i = 0; i < 6; ++i) obj->Poly_Pt[i].Normal = normals[i];
    obj->Name = wcsdup(L"Cube");
    Movie_Compute_Pos(obj);
    return obj;
}

// Signed zeros, a number that needs seven digits, a large and a tiny value,
// and a five-corner record that writes nothing.
inline Movie_Objs* mixed()
{
    Movie_Objs* obj = make_object({{-0.0f, 1.0f, -0.0f}, {1234567.8f, -2.5e-7f, 3.0f}, {0.1f, 1e20f, -1.0f},
                                   {4.0f, 5.0f, 6.0f}},
                                  {{0, 1, 2}, {0, 1, 2, 3}, {0, 1, 2, 3}});
    obj->Poly_Pt[0].Normal = Vector_4{-0.0f, 0.0f, -1.0f, 0.0f};
    obj->Poly_Pt[1].Normal = Vector_4{0.57735027f, 0.57735027f, 0.57735027f, 0.0f};
    obj->Poly_Pt[2].Node_Id_Nb = 5;
    Movie_Compute_Pos(obj);
    return obj;
}

inline Movie_Objs* empty()
{
    Movie_Objs* obj = make_object({{1, 2, 3}}, {});
    obj->Pos_Done = 1;
    return obj;
}

inline const std::vector<WriteCase>& write_cases()
{
    static const std::vector<WriteCase> cases = {
        {"cube_quads", L"cube", 7, cube_quads},
        {"mixed", L"mixed part", -3, mixed},
        {"empty", L"nothing", 0, empty},
    };
    return cases;
}

} // namespace pfx_test::stl
