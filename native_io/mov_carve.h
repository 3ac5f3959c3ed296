// Carving the objects of a multi-object ".mov" file out of the file-wide
// scratch lists: each object takes its polygon range, exactly the nodes those
// polygons use (renumbered from 0) and the node-to-polygon links.
#pragma once

#include "polyfex.h"

namespace pfx::mov {

// Where the polygons of one object come from.
struct PartRange {
    int start; // 1-based first polygon of the file
    int stop;  // 1-based last polygon; start - 1 for an object without any
};

// Copies the range's polygons (Node_Id_Nb and file-wide Node_Id) into a new
// Poly_Pt of obj and ORs in their geometry bits. Returns 1, 0 after a
// memory-error line, or -1 when a polygon has more than 4 nodes; *bad_polygon
// and *bad_sides then name it (1-based in the file) and its node count.
int assign_polygons(Movie_Objs* obj, const Movie_Poly* poly, PartRange range, int* bad_polygon,
                    int* bad_sides);

// Gives obj the scratch nodes its polygons use, in file order, renumbers its
// polygons into them and builds every node's Poly_Id list. The scratch
// nodes' Mark and New_Id serve as the map. false after a memory-error line.
bool carve_nodes(Movie_Objs* obj, Movie_Node* node, int node_nb);

} // namespace pfx::mov
