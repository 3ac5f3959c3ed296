// Both STL parsers and the welding on arbitrary bytes.
#include <cstddef>
#include <cstdint>

#include "core/object_guard.h"
#include "exchange/stl_parse.h"
#include "exchange/stl_weld.h"

namespace {
void drop(unsigned int, const wchar_t*, void*) {}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool quiet = (Tarnwick_Set_Handler(drop, nullptr), true);
    (void)quiet;
    const char* bytes = reinterpret_cast<const char*>(data);
    pfx::StlFacets facets;
    const pfx::StlParseResult r = pfx::stl_is_text(bytes, size)
                                      ? pfx::stl_parse_text(bytes, size, L"fuzz", facets)
                                      : pfx::stl_parse_binary(bytes, size, L"fuzz", facets);
    if (r.status == pfx::StlStatus::Done) pfx::release_object(pfx::STL_to_Movie(facets.nb_poly, facets.poly));
    return 0;
}
