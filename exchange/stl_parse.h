// STL parsing from memory: bytes in, a plain list of facets out.
//
// The parsers know nothing of surface objects and open no files; they send
// their user messages (error blocks, the binary header lines) to the sink and
// leave the welding of corners into nodes to stl_weld. Tests and fuzzers call
// them on any byte range.
#pragma once

#include <cstddef>
#include <cstdint>
#include <wchar.h>

#include "polyfex.h"

namespace pfx {

// One facet as read: the normal and three corners (w = 0), and the node of
// each corner, filled by the welding step.
struct STL_Facet {
    Vector_4 normal;
    Vector_4 corner[3];
    int32_t node[3];
};
static_assert(sizeof(STL_Facet) == 76, "facet records are counted as 76 bytes");

// The facet list a parser owns: released with the list, whatever happened.
struct StlFacets {
    STL_Facet* poly = nullptr;
    int nb_poly = 0;
    char* obj_name = nullptr; // text files: the name on the solid line
    StlFacets() = default;
    ~StlFacets();
    StlFacets(const StlFacets&) = delete;
    StlFacets& operator=(const StlFacets&) = delete;
};

enum class StlStatus {
    Done,       // facets read
    Refused,    // the file is malformed; its error block was sent
    NoMemory,   // a memory-error line was sent
};

struct StlParseResult {
    StlStatus status;
    const char* reason; // the parser's exit trace reason when Refused
};

// The format test on the first two lines: true for text STL.
bool stl_is_text(const char* data, size_t size);

// Text STL: line-based grammar, lines of at most 119 characters (longer ones
// are read as several), keywords matched anywhere in the lowered line.
// name serves for messages only.
StlParseResult stl_parse_text(const char* data, size_t size, const wchar_t* name, StlFacets& out);

// Binary STL: 80-byte header, facet count, 50-byte facets, with the
// byte-order recovery when the count exceeds what the file can hold.
StlParseResult stl_parse_binary(const char* data, size_t size, const wchar_t* name,
                                StlFacets& out);

} // namespace pfx
