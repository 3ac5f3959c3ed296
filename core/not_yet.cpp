// Placeholders for exported functions whose implementation has not landed
// yet: weak definitions, so the module links and every real definition
// replaces its placeholder. Delete an entry when its function lands.
#include "polyfex.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {

__attribute__((weak)) PFX_API int Movie_Init_Norm(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Normal_Flip(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API void Movie_Normal_Node(Movie_Objs* obj, int i) {}
__attribute__((weak)) PFX_API void Movie_Normal_Poly(Movie_Objs* obj, int i) {}
__attribute__((weak)) PFX_API int Movie_Cleanup_Poly(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Cleanup_Node(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Triangle(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Test_Edges(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Test_Links(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Test_Nodes(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API int Movie_Test_Polygons(Movie_Objs* obj) { return 0; }
__attribute__((weak)) PFX_API void Movie_Stool(Movie_Objs* obj, int flag) {}
__attribute__((weak)) PFX_API float Movie_Obj_Center(Movie_Objs** objs, Vector_4* center, Vector_4* size) { return 0.0f; }
__attribute__((weak)) PFX_API float Movie_Perimeter(Movie_Objs* obj) { return 0.0f; }
__attribute__((weak)) PFX_API float Movie_Surface(Movie_Objs* obj) { return 0.0f; }
__attribute__((weak)) PFX_API float Movie_Volume(Movie_Objs* obj) { return 0.0f; }
__attribute__((weak)) PFX_API Movie_Objs* Movie_Read(const wchar_t* dir, const wchar_t* name) { return nullptr; }
__attribute__((weak)) PFX_API int Movie_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out) { return 0; }
__attribute__((weak)) PFX_API int Movie_Write(Movie_Objs** objs, const wchar_t* path, Pfx_Progress progress) { return 0; }
__attribute__((weak)) PFX_API int Movie_Write_Merge(Movie_Objs** objs, const wchar_t* path, Pfx_Progress progress) { return 0; }
__attribute__((weak)) PFX_API int OBJ_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out) { return 0; }
__attribute__((weak)) PFX_API int OBJ_Write(Movie_Objs** objs, const wchar_t* path, const wchar_t* name, Pfx_Progress progress) { return 0; }
__attribute__((weak)) PFX_API Movie_Objs* STL_Read(const wchar_t* dir, const wchar_t* name) { return nullptr; }
__attribute__((weak)) PFX_API int STL_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out) { return 0; }
__attribute__((weak)) PFX_API int STL_ASCII_Write(Movie_Objs* obj, short num, const wchar_t* path, const wchar_t* name, Pfx_Progress progress) { return 0; }
__attribute__((weak)) PFX_API int STL_BINARY_Write(Movie_Objs* obj, short num, const wchar_t* path, const wchar_t* name, Pfx_Progress progress) { return 0; }

} // extern "C"
