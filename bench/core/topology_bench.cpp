// Links and normals, cleanup and measures on a closed sphere of about one and
// two million triangles built in memory.
//
// Movie_Init_Norm is run two ways: "fresh" (no link arrays yet, as after a
// reader) and "rerun" (the arrays of the previous run are reused). The
// reference "csr_links" builds the same links in two passes into one block,
// the layout a library without per-node arrays would use: it shows what the
// one-reallocation-per-link record layout costs.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "core/sphere_mesh.h"
#include "polyfex.h"

namespace {

struct Free {
    void operator()(Movie_Objs* o) const
    {
        Movie_Free(o);
        std::free(o);
    }
};
using Obj = std::unique_ptr<Movie_Objs, Free>;

// 2 * 1000 * (rings - 1) triangles.
Obj sphere(int million)
{
    return Obj(pfx_test::make_uv_sphere(1000, million == 2 ? 1001 : 501));
}

void drop_links(Movie_Objs& o)
{
    for (int i = 0; i < o.Node_Nb; ++i) {
        std::free(o.Node_Pt[i].Poly_Id);
        o.Node_Pt[i].Poly_Id = nullptr;
        o.Node_Pt[i].Poly_Id_Nb = 0;
    }
}

void BM_InitNorm_Fresh(benchmark::State& state)
{
    Obj o = sphere(int(state.range(0)));
    Movie_Compute_Pos(o.get());
    for (auto _ : state) {
        state.PauseTiming();
        drop_links(*o);
        state.ResumeTiming();
        benchmark::DoNotOptimize(Movie_Init_Norm(o.get()));
    }
    state.counters["triangles"] = o->Poly_Nb;
    state.SetItemsProcessed(state.iterations() * o->Poly_Nb);
}

void BM_InitNorm_Rerun(benchmark::State& state)
{
    Obj o = sphere(int(state.range(0)));
    Movie_Init_Norm(o.get());
    for (auto _ : state) benchmark::DoNotOptimize(Movie_Init_Norm(o.get()));
    state.counters["triangles"] = o->Poly_Nb;
    state.SetItemsProcessed(state.iterations() * o->Poly_Nb);
}

// Reference: the same node-to-polygon links as one offsets + entries block.
void BM_CsrLinks_Reference(benchmark::State& state)
{
    Obj o = sphere(int(state.range(0)));
    std::vector<int> start(o->Node_Nb + 1), entries(3 * size_t(o->Poly_Nb));
    for (auto _ : state) {
        std::fill(start.begin(), start.end(), 0);
        for (int p = 0; p < o->Poly_Nb; ++p)
            for (int j = 0; j < o->Poly_Pt[p].Node_Id_Nb; ++j) ++start[o->Poly_Pt[p].Node_Id[j] + 1];
        for (int i = 0; i < o->Node_Nb; ++i) start[i + 1] += start[i];
        std::vector<int> fill(start.begin(), start.end() - 1);
        for (int p = 0; p < o->Poly_Nb; ++p)
            for (int j = 0; j < o->Poly_Pt[p].Node_Id_Nb; ++j) entries[fill[o->Poly_Pt[p].Node_Id[j]]++] = p;
        benchmark::DoNotOptimize(entries.data());
    }
    state.counters["triangles"] = o->Poly_Nb;
    state.SetItemsProcessed(state.iterations() * o->Poly_Nb);
}

void BM_Surface(benchmark::State& state)
{
    Obj o = sphere(int(state.range(0)));
    Movie_Compute_Pos(o.get());
    for (auto _ : state) benchmark::DoNotOptimize(Movie_Surface(o.get()));
    state.counters["triangles"] = o->Poly_Nb;
    state.SetItemsProcessed(state.iterations() * o->Poly_Nb);
}

void BM_Volume(benchmark::State& state)
{
    Obj o = sphere(int(state.range(0)));
    Movie_Compute_Pos(o.get());
    for (auto _ : state) benchmark::DoNotOptimize(Movie_Volume(o.get()));
    state.counters["triangles"] = o->Poly_Nb;
    state.SetItemsProcessed(state.iterations() * o->Poly_Nb);
}

// The closed sphere plus the back face of every 100th triangle: each
// iteration restores the polygon array (links stay valid for it) and removes
// the 1 % pairs (2 % of the polygons) again.
void BM_CleanupPoly(benchmark::State& state)
{
    Obj o = sphere(int(state.range(0)));
    const int base = o->Poly_Nb;
    const int extra = base / 100;
    o->Poly_Pt = static_cast<Movie_Poly*>(std::realloc(o->Poly_Pt, size_t(base + extra) * sizeof(Movie_Poly)));
    for (int k = 0; k < extra; ++k) {
        Movie_Poly back = o->Poly_Pt[k * 100];
        std::swap(back.Node_Id[0], back.Node_Id[2]);
        o->Poly_Pt[base + k] = back;
    }
    o->Poly_Nb = base + extra;
    Movie_Init_Norm(o.get());
    const int full = o->Poly_Nb;
    std::vector<Movie_Poly> saved(o->Poly_Pt, o->Poly_Pt + full);
    for (auto _ : state) {
        state.PauseTiming();
        o->Poly_Pt = static_cast<Movie_Poly*>(std::realloc(o->Poly_Pt, size_t(full) * sizeof(Movie_Poly)));
        std::memcpy(o->Poly_Pt, saved.data(), size_t(full) * sizeof(Movie_Poly));
        o->Poly_Nb = full;
        state.ResumeTiming();
        benchmark::DoNotOptimize(Movie_Cleanup_Poly(o.get()));
    }
    if (o->Poly_Nb != base - extra) state.SkipWithError("unexpected removal count");
    state.counters["triangles"] = full;
    state.SetItemsProcessed(state.iterations() * full);
}

} // namespace

BENCHMARK(BM_InitNorm_Fresh)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InitNorm_Rerun)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CsrLinks_Reference)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Surface)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Volume)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CleanupPoly)->Arg(2)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
