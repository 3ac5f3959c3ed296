// OBJ lists to objects: the last layer of the OBJ reader.
#pragma once

#include <wchar.h>

#include "exchange/obj_parse.h"
#include "polyfex.h"

namespace pfx {

// One object per group (faces ahead of the first group line belong to none),
// each with only the vertices, texture coordinates and normals its faces
// use, renumbered from 0 in file order. *out gets group_nb + 1 pointers, the
// last null. Returns false after a memory-error line, with nothing built
// left behind (the lists stay for the caller to release).
bool obj_carve_groups(const ObjLists& lists, Movie_Objs*** out);

// The single object of a file without group lines: the lists themselves are
// handed over (and nulled in lists), Path and Name copied from dir and name
// when set. *out gets 2 pointers, the last null. Returns false after a
// memory-error line; the lists then still own their arrays.
bool obj_single_object(ObjLists& lists, const wchar_t* dir, const wchar_t* name, Movie_Objs*** out);

} // namespace pfx
