/*
 * Polyfex: 3D surface meshes for host applications.
 *
 * One header, grouped by family. Every function has C linkage and is
 * exported by its plain name, so a host may link the library or dlopen it.
 *
 * Conventions that hold for every function below:
 * - Objects are plain records (Movie_Objs) that own their arrays. Memory
 *   comes from the C heap shared by host and library: release an object's
 *   arrays with Movie_Free, then the header with free().
 * - An object list is an array of Movie_Objs* ended by a null pointer.
 * - Status results are 1 for done and 0 for refused or failed; readers give
 *   null or 0 on failure; refused measures give 0.0.
 * - Everything the library has to say goes to Tarnwick's Error_Fct with one
 *   of the MSG_ flags below; nothing is written to stdout or stderr directly.
 * - Paths and names are wide strings (UTF-32 on Linux); files are opened by
 *   their UTF-8 encoding. Readers take a directory that ends with its
 *   separator and a name without extension; writers take the whole path.
 */
#ifndef POLYFEX_H
#define POLYFEX_H

#include <stdint.h>
#include <wchar.h>

#include "tarnwick.h"

#define PFX_API __attribute__((visibility("default")))

/* ---- Flags of Movie_Objs ------------------------------------------------ */
#define SURFACE      0x00000001u /* came from a file reader */
#define COLORED      0x00000002u /* draw with node and polygon colours */
#define DISPLACED    0x00000004u /* Pos = Coord + Displ */
#define FROM_MOV     0x00000020u
#define FROM_STL     0x00000040u
#define FROM_OBJ     0x00000100u
#define NO_VBO       0x00000400u /* buffer building failed: immediate mode */
#define GEOM_POINT   0x00001000u
#define GEOM_LINE    0x00002000u
#define GEOM_POLY    0x00004000u
#define GEOM_OTHER   0x00008000u
#define GEOM_MASK    0x0000f000u
#define NORMALS_DONE 0x00010000u /* set by the host: Movie_Init_Norm refuses */

/* ---- Message flags passed to Error_Fct ---------------------------------- */
#define MSG_TRACE    0x90000106u /* entry/exit trace lines of core operations */
#define MSG_TRACE_IO 0x90008000u /* traces and notes of the OBJ/STL readers */
#define MSG_ENTRY    0x80000005u /* entry line of the exchange writers */
#define MSG_NOTE     0x80000001u /* integrity findings and writer notes */
#define MSG_MEMORY   0x00000001u /* memory-error lines */
#define MSG_USER     0x00000002u /* user-facing error and warning blocks */
#define MSG_PROGRESS 0x00000004u /* progress notes of the readers */

/* ---- Records ------------------------------------------------------------- */

/* One vertex: 96 bytes as counted by Movie_Memory. */
typedef struct Movie_Node {
    uint32_t Mark;      /* reader scratch */
    Vector_4 Coord;     /* as read or set */
    Vector_4 Pos;       /* Coord (+ Displ when DISPLACED); valid while Pos_Done */
    Vector_4 Normal;    /* node normal (Movie_Init_Norm) */
    Vector_4 Displ;     /* displacement, filled by the host */
    uint32_t Color;     /* bytes r, g, b, a in memory order */
    int32_t Poly_Id_Nb; /* entries in Poly_Id */
    int32_t* Poly_Id;   /* polygons using this node, owned */
    int64_t New_Id;     /* reader scratch */
} Movie_Node;

/* One point, segment, triangle or quad: 120 bytes as counted. */
typedef struct Movie_Poly {
    uint32_t Mark;       /* scratch (cleanup's removal mark) */
    Vector_4 Normal;     /* unit normal of corners 0, 1, 2 */
    uint32_t Color;      /* 0 = none of its own */
    float Size;          /* largest squared corner distance measured */
    float Plane_D;       /* Normal . P0 + Plane_D = 0 */
    uint16_t Axis;       /* 0, 1, 2: axis of Normal's largest component */
    int32_t Node_Id_Nb;  /* corners, 1 to 4 */
    int32_t Node_Id[4];  /* 0-based node indices */
    int32_t Text_Id[4];  /* indices into Text_Pt */
    int32_t Normal_Id[4];/* indices into Normal_Pt */
} Movie_Poly;

/* The surface object header: 288 bytes as counted. A zero-filled header is a
   valid empty object apart from Matrix, which its creator initialises. */
typedef struct Movie_Objs {
    uint32_t Flags;
    int32_t Pos_Done;
    wchar_t* Name;         /* owned, may be null */
    wchar_t* Path;         /* owned, may be null */
    int32_t Node_Nb;
    Movie_Node* Node_Pt;   /* owned */
    int32_t Poly_Nb;
    Movie_Poly* Poly_Pt;   /* owned */
    int32_t Text_Nb;
    float* Text_Pt;        /* Text_Nb pairs (u, v), owned */
    int32_t Normal_Nb;
    float* Normal_Pt;      /* Normal_Nb triples, owned */
    Vector_4 Box_Min;
    Vector_4 Box_Max;
    Matrix_4x4 Matrix;
    uint16_t VBO_Reset;    /* 1 positions, 2 normals, 4 colours */
    int32_t VBO_Nb;
    uint32_t VBO_Vertex;
    uint32_t VBO_Normal_Flat;
    uint32_t VBO_Normal_Smooth;
    uint32_t VBO_Color_Flat;
    uint32_t VBO_Color_Smooth;
} Movie_Objs;

/* A writer's progress callback: called with the amount of work just begun. */
typedef void (*Pfx_Progress)(int);

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Bookkeeping ---------------------------------------------------------- */

/* Releases Name, Path, Poly_Pt, every node's Poly_Id, Node_Pt, Text_Pt and
   Normal_Pt (each when set) and nulls them; counts and the header stay.
   Returns 1, or 0 for a null object. Calling it twice is harmless. */
PFX_API int Movie_Free(Movie_Objs* obj);
/* Pos = Coord (+ Displ when DISPLACED) for every node; sets Pos_Done. */
PFX_API void Movie_Compute_Pos(Movie_Objs* obj);
/* Bounding box from Coord (+ Displ); a zero Matrix becomes the identity.
   Returns 1, or 0 for a null object or one without nodes. */
PFX_API int Movie_Init_Dim(Movie_Objs* obj);
/* (Node_Nb + 3) * 96 + 8 * links + 120 * Poly_Nb, in unsigned 32-bit
   arithmetic; 0 for a null object. */
PFX_API unsigned int Movie_Memory(Movie_Objs* obj);
/* Appends b's nodes and polygons to a and empties b's arrays (b's header
   stays for the caller to free). Returns the surviving object (b when a is
   null or empty, a when b is), or null when memory runs out. */
PFX_API Movie_Objs* Movie_Merge(Movie_Objs* a, Movie_Objs* b);

/* ---- Version and lifecycle ------------------------------------------------ */

/* "<module base name>.dll 5.2 (rev-b)" in a static buffer; null when
   expected is non-null and is not exactly "5.2". */
PFX_API const char* Get_Version_3D(const char* expected);
/* Does nothing: the library holds no state. */
PFX_API void Plot_Lib_Cleanup(void);
/* free(*block) and *block = null, when *block is set. */
PFX_API void Plot_Lib_Free(char** block);

/* ---- Connectivity, normals, orientation --------------------------------- */

/* Rebuilds links and computes polygon and node normals (GEOM_POLY objects
   without NORMALS_DONE). 1 done, 0 refused or out of memory. */
PFX_API int Movie_Init_Norm(Movie_Objs* obj);
/* Reverses the corner order of every triangle and quad. 1 done, 0 refused. */
PFX_API int Movie_Normal_Flip(Movie_Objs* obj);
/* Node i's Normal = mean of its linked polygons' normals (not normalised).
   i must be in range; nothing is checked. */
PFX_API void Movie_Normal_Node(Movie_Objs* obj, int i);
/* Recomputes polygon i's Normal, Size, Plane_D and Axis from the current Pos
   of its first three corners. i must be in range; nothing is checked. */
PFX_API void Movie_Normal_Poly(Movie_Objs* obj, int i);

/* ---- Cleanup and triangulation ------------------------------------------- */

/* Removes face/back-face triangle pairs and self-matching degenerate
   triangles (needs current links). 1 done, 0 refused or out of memory. */
PFX_API int Movie_Cleanup_Poly(Movie_Objs* obj);
/* Removes nodes that no polygon uses and renumbers the corners.
   1 done, 0 refused or out of memory. */
PFX_API int Movie_Cleanup_Node(Movie_Objs* obj);
/* Splits every quad (a,b,c,d) into (a,b,c) in place and (a,c,d) appended.
   Returns the number of quads split (0 when refused or none). */
PFX_API int Movie_Triangle(Movie_Objs* obj);

/* ---- Integrity tests and dump (the object must be valid) ----------------- */

PFX_API int Movie_Test_Edges(Movie_Objs* obj);
PFX_API int Movie_Test_Links(Movie_Objs* obj);
PFX_API int Movie_Test_Nodes(Movie_Objs* obj);
PFX_API int Movie_Test_Polygons(Movie_Objs* obj);
/* Dumps nodes, polygons and links, each line with the given flag word. */
PFX_API void Movie_Stool(Movie_Objs* obj, int flag);

/* ---- Measures -------------------------------------------------------------- */

/* Common centre and extent of an object list from the stored boxes placed by
   each Matrix; returns the largest extent, 0.0 (outputs untouched) when the
   list or its first entry is null. */
PFX_API float Movie_Obj_Center(Movie_Objs** objs, Vector_4* center, Vector_4* size);
PFX_API float Movie_Perimeter(Movie_Objs* obj); /* GEOM_LINE, xy-plane lengths */
PFX_API float Movie_Surface(Movie_Objs* obj);   /* GEOM_POLY */
PFX_API float Movie_Volume(Movie_Objs* obj);    /* GEOM_POLY, signed */

/* ---- Native ".mov" files ------------------------------------------------- */

/* Reads dir + name + ".mov" holding one object. Null on any failure. */
PFX_API Movie_Objs* Movie_Read(const wchar_t* dir, const wchar_t* name);
/* Reads every object of dir + name + ".mov" into *out (exactly as many
   pointers as objects, no null entry). Returns the count, 0 on failure. */
PFX_API int Movie_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out);
/* Writes the list as a multi-object file. 1 written, 0 when it can't open. */
PFX_API int Movie_Write(Movie_Objs** objs, const wchar_t* path, Pfx_Progress progress);
/* Writes the list as one merged object. 1 written, 0 when it can't open. */
PFX_API int Movie_Write_Merge(Movie_Objs** objs, const wchar_t* path, Pfx_Progress progress);

/* ---- Exchange formats ---------------------------------------------------- */

/* Reads dir + name + ".obj" into one object per group (a null-ended list in
   *out). Returns the object count, 0 on failure. */
PFX_API int OBJ_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out);
/* Writes the list as one OBJ file, one group per object. Returns the number
   of objects written, 0 when the file can't open or the list is empty. */
PFX_API int OBJ_Write(Movie_Objs** objs, const wchar_t* path, const wchar_t* name,
                      Pfx_Progress progress);
/* Reads dir + name + ".stl" (text or binary) into one welded object. */
PFX_API Movie_Objs* STL_Read(const wchar_t* dir, const wchar_t* name);
/* The same into *out (one pointer, no null entry). Returns 1, 0 on failure. */
PFX_API int STL_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out);
/* Writes one triangle object as text / binary STL. 1 written, 0 refused. */
PFX_API int STL_ASCII_Write(Movie_Objs* obj, short num, const wchar_t* path,
                            const wchar_t* name, Pfx_Progress progress);
PFX_API int STL_BINARY_Write(Movie_Objs* obj, short num, const wchar_t* path,
                             const wchar_t* name, Pfx_Progress progress);
/* Writes the list as an AC1008 DXF drawing. 1 written, 0 when it can't open. */
PFX_API int DXF_Write(Movie_Objs** objs, const wchar_t* path, const wchar_t* name,
                      Pfx_Progress progress);
/* Writes the list as a VRML 2.0 scene; material and color are optional
   parallel arrays. 1 written, 0 when it can't open. */
PFX_API int VRLM_Write(Movie_Objs** objs, short* material, int* color, const wchar_t* path,
                       const wchar_t* name, Pfx_Progress progress);

/* ---- Convex hull ------------------------------------------------------------ */

/* The outward-wound triangle hull of obj's nodes as a new object (Flags
   0x4000), or null when obj is null or memory runs out. The second argument
   is ignored. */
PFX_API Movie_Objs* Movie_Convex_Hull(Movie_Objs* obj, void* unused);

/* ---- OpenGL drawing (host's context current on this thread) -------------- */

/* Draws the object: mode 0 nothing, 2 flat, other smooth; part 0 may use
   buffer objects, part > 0 draws polygons from part * part_size in
   immediate mode. 0 for a null object or one without nodes, else 1. */
PFX_API int Movie_OpenGL_Draw(Movie_Objs* obj, short mode, int part, int part_size);
/* ORs mask into VBO_Reset (1 positions, 2 normals, 4 colours); returns 1. */
PFX_API int Movie_OpenGL_Reset(Movie_Objs* obj, short mask);
/* Copies a triangle object into per-corner arrays (9 floats per polygon for
   positions and normals, 6 for texture coordinates when Text_Nb is set).
   Returns the corners written, 0 when a polygon is not a triangle. */
PFX_API int Movie_To_Array(Movie_Objs* obj, float* pos, float* tex, float* normals);

#ifdef __cplusplus
} /* extern "C" */

/* C++ callers may pass the two output vectors by reference. */
inline float Movie_Obj_Center(Movie_Objs** objs, Vector_4& center, Vector_4& size)
{
    return Movie_Obj_Center(objs, &center, &size);
}
#endif

#endif /* POLYFEX_H */
