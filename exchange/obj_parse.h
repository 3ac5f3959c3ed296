// Wavefront OBJ text to plain lists: the middle layer of the OBJ reader.
//
// The parser walks a byte range line by line the way a 120-byte line buffer
// reads a text file: a line of more than 119 characters is examined piece by
// piece, each piece numbered as a line of its own. It fills file-wide lists
// (vertices, texture coordinates, normals, faces, groups); the builder in
// obj_carve.cpp turns them into objects. No file I/O happens here, so tests
// and fuzzers call it on any bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <wchar.h>

#include "polyfex.h"

namespace pfx {

// A face in the small form used while a file with groups is read: the
// object builder copies it into a polygon record anyway.
struct ObjFace {
    int32_t nb;
    int32_t v[4], t[4], n[4];
};

// File-wide scratch lists. Face references are 0-based into these lists;
// group k owns the faces group_start[k] .. group_stop[k] - 1.
//
// A file without groups is read straight into node and polygon records,
// which its single object takes over. A file with groups keeps only each
// vertex's Coord and the small face form (compact), since its objects get
// copies: that halves the memory a big file touches.
struct ObjLists {
    bool compact = false;
    Movie_Node* node_pt = nullptr; // Coord = x, y, z, 0; the rest zero
    Vector_4* coord_pt = nullptr;  // compact: the same Coord only
    int node_nb = 0;
    int node_cap = 0;
    float* text_pt = nullptr; // u, v per entry
    int text_nb = 0;
    int text_cap = 0;
    float* nrml_pt = nullptr; // x, y, z per entry
    int nrml_nb = 0;
    int nrml_cap = 0;
    Movie_Poly* poly_pt = nullptr;
    ObjFace* face_pt = nullptr; // compact
    int poly_nb = 0;
    int poly_cap = 0;
    int* group_start = nullptr;
    int* group_stop = nullptr;
    char** group_name = nullptr; // owned copies
    int group_nb = 0;
    int group_cap = 0;
    // What the reference check at the end needs to know, per kind.
    struct RefTrack {
        int max_ref = -1;     // largest index named by a number
        int max_line = 0;     // first line naming it
        int broken_line = 0;  // first line counting back past the start
        int dangling_line = 0; // first line asking for "the last entry" before any
    };
    RefTrack node_ref, text_ref, nrml_ref;
    // The line shown when the check fails.
    int bad_line = 0;
};

// One face of either form.
struct ObjFaceView {
    int nb;
    const int32_t* v;
    const int32_t* t;
    const int32_t* n;
};

inline ObjFaceView obj_face(const ObjLists& lists, int i)
{
    if (lists.compact) {
        const ObjFace& f = lists.face_pt[i];
        return {f.nb, f.v, f.t, f.n};
    }
    const Movie_Poly& p = lists.poly_pt[i];
    return {p.Node_Id_Nb, p.Node_Id, p.Text_Id, p.Normal_Id};
}

inline const Vector_4& obj_coord(const ObjLists& lists, int i)
{
    return lists.compact ? lists.coord_pt[i] : lists.node_pt[i].Coord;
}

// Huge pages for a big fresh block that is about to be written whole, and
// its pages made present in one call: on this kind of machine a page fault
// costs more than parsing the text that fills the page.
void obj_prepare_block(void* p, size_t bytes);

// Releases every list (the pointers that a builder took over must have been
// set to null first) and resets the counts.
void obj_free_lists(ObjLists& lists);

enum class ObjParse { Done, Memory };

// Reads [begin, end) into lists. name is the file name shown in the
// too-many-corners warning. On Memory the memory-error line has been sent
// and the lists hold what was read so far (release them with
// obj_free_lists).
ObjParse obj_parse(const char* begin, const char* end, const wchar_t* name, ObjLists& lists);

// Checks that every face reference lies inside its list once the whole file
// is known (a face may name a vertex that a later line defines). Returns
// false and sets lists.bad_line when one does not; see the notes in
// obj_parse.cpp for what counts as outside.
bool obj_check_references(ObjLists& lists);

} // namespace pfx
