// The ".mov" text as plain lists: the header's four counts, the part pairs,
// the node coordinates and the connectivity integers.
//
// Nothing here knows about object records, files or messages: each function
// takes a byte range, fills caller arrays and says where it stopped, so the
// readers, the tests and the fuzzer drive it alike. Numbers follow scanf's
// "%d" and "%f" rules exactly (core/text_scan.h), separated by any white
// space; a "\r" before "\n" is white space like any other.
#pragma once

#include <cstddef>

namespace pfx::mov {

// The header keeps only what a line read into an 80-character buffer holds.
constexpr std::size_t kHeaderChars = 79;

struct Header {
    int nb_obj = 0;
    int node_nb = 0;
    int poly_nb = 0;
    int connect_nb = 0;
    int scanned = 0; // how many of the four converted, in order
};

// Scans "%d %d %d %d" from the first line. The line ends after its "\n" or
// after kHeaderChars characters, whichever comes first; what is left of a
// longer line is read as body. Returns where the body begins.
const char* parse_header(const char* p, const char* end, Header& h);

// Scans n "%d" values into out. Returns the position after the last one, or
// null when the value at index *done does not scan (the buffer ended or the
// text is not a number).
const char* parse_ints(const char* p, const char* end, int* out, long long n, long long* done);

// Scans n "%d %d" pairs into first[i] and second[i]; *done counts whole pairs.
const char* parse_pairs(const char* p, const char* end, int* first, int* second, long long n,
                        long long* done);

// Scans n "%f %f %f" triples into xyz (3 n floats); *done counts whole
// triples.
const char* parse_points(const char* p, const char* end, float* xyz, long long n,
                         long long* done);

// Whether `numbers` more numbers can stand in `bytes` characters: each takes
// a digit and a separator, the last no separator. Guards every count before
// anything is allocated for it, so a header cannot ask for more memory than
// its file could fill.
inline bool numbers_fit(long long numbers, std::size_t bytes)
{
    return numbers >= 0 && (numbers == 0 || 2 * numbers - 1 <= static_cast<long long>(bytes));
}

// Each polygon of a written file takes at least its line end.
inline bool polygons_fit(long long polygons, std::size_t bytes)
{
    return polygons >= 0 && polygons <= static_cast<long long>(bytes) + 1;
}

} // namespace pfx::mov
