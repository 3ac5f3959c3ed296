// Objects the STL writer tests compare with golden files; the golden tool
// writes the goldens from the same objects.
#pragma once

#include <cwchar>
#include <vector>

#include "support/objects.h"

namespace pfx_test::stl {

struct WriteCase {
    const char* file; // golden base name
    const wchar_t* name;
    short num;
    Movie_Objs* (*make)();
};

inline const std::vector<WriteCase>& write_cases()
{
    static const std::vector<WriteCase> cases = {
        // The unit cube as six quads with their outward normals, positions current.
        {"cube_quads", L"cube", 7,
         [] {
             Movie_Objs* obj = make_unit_cube_quads();
             const Vector_4 normals[6] = {{0, 0, -1, 0}, {0, 0, 1, 0}, {0, -1, 0, 0},
                                          {1, 0, 0, 0},  {0, 1, 0, 0}, {-1, 0, 0, 0}};
             for (int i = 0; i < 6; ++i) obj->Poly_Pt[i].Normal = normals[i];
             obj->Name = wcsdup(L"Cube");
             Movie_Compute_Pos(obj);
             return obj;
         }},
        // Signed zeros, a number that needs seven digits, a large and a tiny value, a
        // stored position unlike its node, and a five-corner record that writes nothing.
        {"mixed", L"mixed part", -3,
         [] {
             Movie_Objs* obj = make_object({{-0.0f, 1.0f, -0.0f}, {1234567.8f, -2.5e-7f, 3.0f}, {0.1f, 1e20f, -1.0f},
                                            {4.0f, 5.0f, 6.0f}},
                                           {{0, 1, 2}, {0, 1, 2, 3}, {0, 1, 2, 3}});
             obj->Poly_Pt[0].Normal = Vector_4{-0.0f, 0.0f, -1.0f, 0.0f};
             obj->Poly_Pt[1].Normal = Vector_4{0.57735027f, 0.57735027f, 0.57735027f, 0.0f};
             obj->Poly_Pt[2].Node_Id_Nb = 5;
             Movie_Compute_Pos(obj);
             obj->Node_Pt[3].Pos = Vector_4{-5, -6, -7, 0};
             return obj;
         }},
        {"empty", L"nothing", 0,
         [] {
             Movie_Objs* obj = make_object({{1, 2, 3}}, {});
             obj->Pos_Done = 1;
             return obj;
         }},
        // Positions out of date: the writers compute them, displacement included.
        {"displaced", L"moved", 0,
         [] {
             Movie_Objs* obj = make_object({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, GEOM_POLY | DISPLACED);
             for (int k = 0; k < 3; ++k) obj->Node_Pt[k].Displ = Vector_4{10, 20, 30, 0};
             return obj;
         }},
    };
    return cases;
}

} // namespace pfx_test::stl
