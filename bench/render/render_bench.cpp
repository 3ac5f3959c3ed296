// The buffer builders and Movie_To_Array on a 2,000,000-triangle object,
// beside a plain memcpy of the same number of bytes in the same run.
//
// The object is a 1001 x 1001 grid of nodes cut into 2 x 1000 x 1000
// triangles, with node colours and normals and polygon normals. Every
// builder writes into an array allocated once outside the timed loop, as
// memcpy does; "Fresh" adds the scratch allocation the drawing code makes
// for each buffer (malloc with the huge-page hint, first touch of the pages,
// free).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

#include "core/alloc.h"
#include "polyfex.h"
#include "render/vbo_build.h"

namespace {

using namespace pfx::render;

constexpr int kSide = 1001; // nodes per grid row

struct Free {
    void operator()(Movie_Objs* o) const
    {
        Movie_Free(o);
        std::free(o);
    }
};
using Obj = std::unique_ptr<Movie_Objs, Free>;

Movie_Objs& grid()
{
    static Obj obj = [] {
        Obj o(static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs))));
        o->Flags = GEOM_POLY | COLORED;
        o->Node_Nb = kSide * kSide;
        o->Node_Pt = static_cast<Movie_Node*>(std::calloc(o->Node_Nb, sizeof(Movie_Node)));
        for (int y = 0; y < kSide; ++y)
            for (int x = 0; x < kSide; ++x) {
                Movie_Node& n = o->Node_Pt[y * kSide + x];
                n.Coord = Vector_4{float(x), float(y), float((x * y) % 7), 0};
                n.Normal = Vector_4{0, 0, 1, 1};
                n.Color = uint32_t(x * 2654435761u + y);
            }
        const int cells = kSide - 1;
        o->Poly_Nb = 2 * cells * cells;
        o->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(o->Poly_Nb, sizeof(Movie_Poly)));
        int p = 0;
        for (int y = 0; y < cells; ++y)
            for (int x = 0; x < cells; ++x) {
                const int a = y * kSide + x, b = a + 1, c = a + kSide + 1, d = a + kSide;
                const int tris[2][3] = {{a, b, c}, {c, d, a}};
                for (const auto& t : tris) {
                    Movie_Poly& poly = o->Poly_Pt[p++];
                    poly.Node_Id_Nb = 3;
                    std::memcpy(poly.Node_Id, t, sizeof t);
                    poly.Normal = Vector_4{0, 0, 1, 1};
                }
            }
        Movie_Compute_Pos(o.get());
        return o;
    }();
    return *obj;
}

// Output bytes of one position or normal buffer: 3 floats per corner.
long long float_buffer_bytes() { return 3LL * grid().Poly_Nb * 3 * 4; }

template <class T, long long (*Fill)(const Movie_Objs&, T*)>
void BM_Fill(benchmark::State& state)
{
    Movie_Objs& o = grid();
    const long long per_poly = std::is_same_v<T, float> ? kFloatsPerPoly : kColorsPerPoly;
    std::vector<T> out(size_t(o.Poly_Nb) * per_poly);
    long long n = 0;
    for (auto _ : state) {
        n = Fill(o, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * n * 4);
    state.counters["triangles"] = o.Poly_Nb;
}

// The same with the drawing code's scratch allocation for each buffer.
template <class T, long long (*Fill)(const Movie_Objs&, T*)>
void BM_FillFresh(benchmark::State& state)
{
    Movie_Objs& o = grid();
    const long long per_poly = std::is_same_v<T, float> ? kFloatsPerPoly : kColorsPerPoly;
    long long n = 0;
    for (auto _ : state) {
        const size_t bytes = size_t(o.Poly_Nb) * per_poly * 4;
        T* out = static_cast<T*>(std::malloc(bytes));
        pfx::advise_huge(out, bytes);
        n = Fill(o, out);
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
        std::free(out);
    }
    state.SetBytesProcessed(state.iterations() * n * 4);
}

void BM_MovieToArray(benchmark::State& state)
{
    Movie_Objs& o = grid();
    std::vector<float> pos(size_t(o.Poly_Nb) * 9), normals(size_t(o.Poly_Nb) * 9);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Movie_To_Array(&o, pos.data(), nullptr, normals.data()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 2 * float_buffer_bytes());
}

// The peer: one plain copy of as many bytes as a builder writes.
void BM_Memcpy(benchmark::State& state)
{
    const size_t bytes = size_t(state.range(0));
    std::vector<char> src(bytes, 1), dst(bytes, 0);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), bytes);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(bytes));
}

// 2,000,000 triangles: 72,000,000 bytes per position or normal buffer,
// 24,000,000 per colour buffer, 144,000,000 for Movie_To_Array's two arrays.
constexpr int64_t kFloatBytes = 2000000LL * 3 * 3 * 4;
constexpr int64_t kColorBytes = 2000000LL * 3 * 4;

BENCHMARK(BM_Fill<float, fill_vertex>)->Name("Build/vertex")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Fill<float, fill_normal_flat>)->Name("Build/normal_flat")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Fill<float, fill_normal_smooth>)->Name("Build/normal_smooth")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Fill<uint32_t, fill_color_flat>)->Name("Build/color_flat")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Fill<uint32_t, fill_color_smooth>)->Name("Build/color_smooth")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FillFresh<float, fill_vertex>)->Name("BuildFresh/vertex")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FillFresh<uint32_t, fill_color_smooth>)->Name("BuildFresh/color_smooth")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MovieToArray)->Name("Movie_To_Array")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy)->Name("memcpy")->Arg(kColorBytes)->Arg(kFloatBytes)->Arg(2 * kFloatBytes)
    ->Unit(benchmark::kMillisecond);
// What every builder has to read at least: the whole polygon array.
BENCHMARK(BM_Memcpy)->Name("memcpy_polygon_array")->Arg(2000000LL * int64_t(sizeof(Movie_Poly)))
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
