// What `info` reports about one object, gathered once for text and JSON.
#pragma once

#include <string>
#include <vector>

#include "polyfex.h"

namespace polyfex_cli {

struct ObjectFacts {
    std::string name;
    unsigned int flags = 0;
    long long nodes = 0, polygons = 0, texture_coords = 0, normals = 0;
    long long points = 0, segments = 0, triangles = 0, quads = 0;
    bool has_bounds = false;
    Vector_4 box_min{}, box_max{}, centre{}, size{};
    bool has_surface = false; // triangles or quads
    double surface = 0;
    bool closed = false;        // every edge shared by exactly two faces
    long long open_edges = 0;   // edges used by one face only
    long long other_edges = 0;  // edges used by three faces or more
    double volume = 0;          // valid when closed
    bool has_perimeter = false; // line segments
    double perimeter = 0;
    unsigned long long memory = 0;
};

// Measures the object: its bounds and placement (Movie_Init_Dim), centre and
// size, surface, volume of a closed surface, perimeter of lines, memory.
ObjectFacts gather_facts(Movie_Objs* obj);

// The names of the bits of a flag word, unknown bits as hexadecimal.
std::vector<std::string> flag_words(unsigned int flags);

// A measure as text: up to 6 significant digits, no exponent below 1e6.
std::string number_text(double value);
// "(x, y, z)".
std::string point_text(const Vector_4& v);
// Thousands grouped by commas.
std::string count_text(long long value);

} // namespace polyfex_cli
