// The ".mov" parser and connectivity split on arbitrary bytes, then both
// readers on the same bytes as a file.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "native_io/mov_parse.h"
#include "native_io/mov_split.h"
#include "polyfex.h"

namespace {

void drop(unsigned int, const wchar_t*, void*) {}

// Lists no larger than the input could fill, as the readers bound them.
constexpr long long kMaxItems = 1 << 16;

void parse_only(const char* p, const char* end)
{
    pfx::mov::Header h;
    p = pfx::mov::parse_header(p, end, h);
    if (h.scanned < 4 || h.nb_obj < 1 || h.node_nb < 0 || h.poly_nb < 0 || h.connect_nb < 0) return;
    const std::size_t rest = static_cast<std::size_t>(end - p);
    if (!pfx::mov::numbers_fit(2LL * h.nb_obj + 3LL * h.node_nb + h.connect_nb, rest) ||
        !pfx::mov::polygons_fit(h.poly_nb, rest) || h.nb_obj > kMaxItems || h.node_nb > kMaxItems ||
        h.connect_nb > kMaxItems || h.poly_nb > kMaxItems)
        return;
    std::string store(static_cast<std::size_t>(h.nb_obj) * 8 + h.node_nb * 12 + h.connect_nb * 4 +
                          h.poly_nb * sizeof(Movie_Poly) + 16,
                      '\0');
    int* starts = reinterpret_cast<int*>(store.data());
    int* stops = starts + h.nb_obj;
    float* xyz = reinterpret_cast<float*>(stops + h.nb_obj);
    int* connect = reinterpret_cast<int*>(xyz + 3LL * h.node_nb);
    auto* polys = reinterpret_cast<Movie_Poly*>(
        (reinterpret_cast<std::uintptr_t>(connect + h.connect_nb) + 15) & ~std::uintptr_t(15));
    long long done = 0;
    p = pfx::mov::parse_pairs(p, end, starts, stops, h.nb_obj, &done);
    if (p) p = pfx::mov::parse_points(p, end, xyz, h.node_nb, &done);
    if (p) p = pfx::mov::parse_ints(p, end, connect, h.connect_nb, &done);
    if (p) pfx::mov::split_polygons(connect, h.connect_nb, h.node_nb, polys, h.poly_nb, false, 512);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool quiet = (Tarnwick_Set_Handler(drop, nullptr), true);
    (void)quiet;
    const char* bytes = reinterpret_cast<const char*>(data);
    parse_only(bytes, bytes + size);

    static const std::string dir = "/tmp/mov_fuzz_" + std::to_string(getpid()) + "/";
    static const bool made = (std::system(("mkdir -p " + dir).c_str()), true);
    (void)made;
    if (FILE* f = std::fopen((dir + "in.mov").c_str(), "wb")) {
        std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    const std::wstring wdir(dir.begin(), dir.end());
    if (Movie_Objs* obj = Movie_Read(wdir.c_str(), L"in")) {
        Movie_Free(obj);
        std::free(obj);
    }
    Movie_Objs** list = nullptr;
    int n = Movie_Read_Merge(wdir.c_str(), L"in", &list);
    for (int k = 0; k < n; ++k) {
        Movie_Free(list[k]);
        std::free(list[k]);
    }
    std::free(list);
    return 0;
}
