// Welding of STL facet corners into shared nodes.
#pragma once

#include "exchange/stl_parse.h"
#include "polyfex.h"

namespace pfx {

// Turns nb_poly facets into a new object: corners within 1e-5 of a node's
// first corner (per axis, searched in the corner's own box of a uniform grid
// over the bounds) become that node; nodes are numbered by first appearance;
// one triangle per facet with the facet normal as read; each node lists the
// polygons that use it. Writes every corner's node into the facet records.
// Returns the object (Flags, Name and Path left zero for the caller), or null
// after a memory-error line. The facets stay the caller's.
Movie_Objs* STL_to_Movie(int nb_poly, STL_Facet* facets);

// Boxes per axis for nb_poly facets: about one box per 50 corners.
int stl_grid_size(int nb_poly);

} // namespace pfx
