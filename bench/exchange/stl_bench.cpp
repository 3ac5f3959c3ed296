// STL reading (parse + weld) and writing, with assimp's STL import with
// vertex joining on the same files in the same run.
//
// Workloads, made here with the library's own writers:
//   uniform: a closed torus of 2,000,000 facets (binary and text);
//   plate:   a flat 1,000,000-facet plate (binary);
//   far:     a 999,698-facet torus plus one facet far away (binary).
// Run with --benchmark_repetitions=3 and compare medians.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "polyfex.h"

#ifdef PFX_HAVE_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#endif

namespace {

void release(Movie_Objs* obj)
{
    if (!obj) return;
    Movie_Free(obj);
    std::free(obj);
}

// A torus grid of u x v quads split into triangles, with facet normals.
// extra adds one small facet around (1e6, 1e6, 1e6).
Movie_Objs* torus(int u, int v, bool extra)
{
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Flags = GEOM_POLY;
    obj->Matrix.init();
    obj->Node_Nb = u * v + (extra ? 3 : 0);
    obj->Poly_Nb = 2 * u * v + (extra ? 1 : 0);
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(obj->Node_Nb, sizeof(Movie_Node)));
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(obj->Poly_Nb, sizeof(Movie_Poly)));
    const double R = 100.0, r = 30.0, pi = 3.14159265358979323846;
    for (int i = 0; i < u; ++i)
        for (int j = 0; j < v; ++j) {
            const double a = 2 * pi * i / u, b = 2 * pi * j / v;
            Vector_4 p{static_cast<float>((R + r * std::cos(b)) * std::cos(a)),
                       static_cast<float>((R + r * std::cos(b)) * std::sin(a)), static_cast<float>(r * std::sin(b)), 0};
            obj->Node_Pt[i * v + j].Coord = p;
            obj->Node_Pt[i * v + j].Pos = p;
        }
    int k = 0;
    for (int i = 0; i < u; ++i)
        for (int j = 0; j < v; ++j) {
            const int a = i * v + j, b = ((i + 1) % u) * v + j, c = ((i + 1) % u) * v + (j + 1) % v,
                      d = i * v + (j + 1) % v;
            const int tris[2][3] = {{a, b, c}, {a, c, d}};
            for (const auto& t : tris) {
                Movie_Poly& p = obj->Poly_Pt[k++];
                p.Node_Id_Nb = 3;
                for (int m = 0; m < 3; ++m) p.Node_Id[m] = t[m];
                p.Normal = Vector_4{0, 0, 1, 0};
            }
        }
    if (extra) {
        const int n = u * v;
        for (int m = 0; m < 3; ++m) {
            Vector_4 p{1e6f + (m == 1), 1e6f + (m == 2), 1e6f, 0};
            obj->Node_Pt[n + m].Coord = p;
            obj->Node_Pt[n + m].Pos = p;
        }
        Movie_Poly& p = obj->Poly_Pt[k];
        p.Node_Id_Nb = 3;
        p.Node_Id[0] = n;
        p.Node_Id[1] = n + 1;
        p.Node_Id[2] = n + 2;
    }
    obj->Pos_Done = 1;
    return obj;
}

// A flat plate of u x v quads split into triangles, z = 0.
Movie_Objs* plate(int u, int v)
{
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Flags = GEOM_POLY;
    obj->Matrix.init();
    obj->Node_Nb = (u + 1) * (v + 1);
    obj->Poly_Nb = 2 * u * v;
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(obj->Node_Nb, sizeof(Movie_Node)));
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(obj->Poly_Nb, sizeof(Movie_Poly)));
    for (int i = 0; i <= u; ++i)
        for (int j = 0; j <= v; ++j) {
            Vector_4 p{i * 0.5f, j * 0.5f, 0, 0};
            obj->Node_Pt[i * (v + 1) + j].Coord = p;
            obj->Node_Pt[i * (v + 1) + j].Pos = p;
        }
    int k = 0;
    for (int i = 0; i < u; ++i)
        for (int j = 0; j < v; ++j) {
            const int a = i * (v + 1) + j, b = a + v + 1, c = b + 1, d = a + 1;
            const int tris[2][3] = {{a, b, c}, {a, c, d}};
            for (const auto& t : tris) {
                Movie_Poly& p = obj->Poly_Pt[k++];
                p.Node_Id_Nb = 3;
                for (int m = 0; m < 3; ++m) p.Node_Id[m] = t[m];
                p.Normal = Vector_4{0, 0, 1, 0};
            }
        }
    obj->Pos_Done = 1;
    return obj;
}

struct Workloads {
    std::string dir;
    Workloads()
    {
        const char* tmp = std::getenv("TMPDIR");
        dir = std::string(tmp ? tmp : "/tmp") + "/pfx_stl_bench_" + std::to_string(getpid()) + "/";
        mkdir(dir.c_str(), 0755);
        Movie_Objs* uniform = torus(1000, 1000, false);
        write(uniform, "uniform_bin", false);
        write(uniform, "uniform_txt", true);
        release(uniform);
        Movie_Objs* flat = plate(500, 1000);
        write(flat, "plate_bin", false);
        release(flat);
        Movie_Objs* far = torus(707, 707, true);
        write(far, "far_bin", false);
        release(far);
        // The files just written go to disk now, not during the first timings.
        sync();
    }
    ~Workloads()
    {
        for (const char* n : {"uniform_bin", "uniform_txt", "plate_bin", "far_bin"}) std::remove(path(n).c_str());
        rmdir(dir.c_str());
    }
    std::string path(const char* name) const { return dir + name + ".stl"; }
    std::wstring wpath(const char* name) const { return wide(path(name)); }
    static std::wstring wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }
    void write(Movie_Objs* obj, const char* name, bool text)
    {
        const std::wstring p = wpath(name);
        if (text)
            STL_ASCII_Write(obj, 0, p.c_str(), L"bench", nullptr);
        else
            STL_BINARY_Write(obj, 0, p.c_str(), L"bench", nullptr);
    }
};

const Workloads& workloads()
{
    static Workloads w;
    return w;
}

long long file_size(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : 0;
}

void read_polyfex(benchmark::State& state, const char* name, long long facets)
{
    const Workloads& w = workloads();
    const std::wstring dir = Workloads::wide(w.dir);
    const std::wstring file = Workloads::wide(name);
    for (auto _ : state) {
        Movie_Objs* obj = STL_Read(dir.c_str(), file.c_str());
        if (!obj || obj->Poly_Nb != facets) state.SkipWithError("read failed");
        benchmark::DoNotOptimize(obj);
        state.PauseTiming();
        release(obj);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * facets);
    state.counters["ns_per_facet"] =
        benchmark::Counter(static_cast<double>(facets) * 1e-9, benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
}

#ifdef PFX_HAVE_ASSIMP
void read_assimp(benchmark::State& state, const char* name, long long facets)
{
    const std::string path = workloads().path(name);
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(path, aiProcess_JoinIdenticalVertices);
        if (!scene || scene->mNumMeshes == 0 || scene->mMeshes[0]->mNumFaces != facets)
            state.SkipWithError("assimp read failed");
        benchmark::DoNotOptimize(scene);
        state.PauseTiming();
        importer.FreeScene();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * facets);
    state.counters["ns_per_facet"] =
        benchmark::Counter(static_cast<double>(facets) * 1e-9, benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
}
#endif

constexpr long long kUniform = 2000000, kPlate = 1000000, kFar = 2LL * 707 * 707 + 1;

void BM_Polyfex_Read_UniformBinary(benchmark::State& s) { read_polyfex(s, "uniform_bin", kUniform); }
void BM_Polyfex_Read_UniformText(benchmark::State& s) { read_polyfex(s, "uniform_txt", kUniform); }
void BM_Polyfex_Read_FlatPlate(benchmark::State& s) { read_polyfex(s, "plate_bin", kPlate); }
void BM_Polyfex_Read_FarFacet(benchmark::State& s) { read_polyfex(s, "far_bin", kFar); }
BENCHMARK(BM_Polyfex_Read_UniformBinary)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Polyfex_Read_UniformText)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Polyfex_Read_FlatPlate)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Polyfex_Read_FarFacet)->Unit(benchmark::kMillisecond)->Iterations(3);

#ifdef PFX_HAVE_ASSIMP
void BM_Assimp_Read_UniformBinary(benchmark::State& s) { read_assimp(s, "uniform_bin", kUniform); }
void BM_Assimp_Read_UniformText(benchmark::State& s) { read_assimp(s, "uniform_txt", kUniform); }
void BM_Assimp_Read_FlatPlate(benchmark::State& s) { read_assimp(s, "plate_bin", kPlate); }
void BM_Assimp_Read_FarFacet(benchmark::State& s) { read_assimp(s, "far_bin", kFar); }
BENCHMARK(BM_Assimp_Read_UniformBinary)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Assimp_Read_UniformText)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Assimp_Read_FlatPlate)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Assimp_Read_FarFacet)->Unit(benchmark::kMillisecond)->Iterations(2);
#endif

// Writers: the 2,000,000-facet torus; bytes_per_second is the file size.
void write_polyfex(benchmark::State& state, bool text)
{
    static Movie_Objs* obj = torus(1000, 1000, false);
    const std::string path = workloads().dir + (text ? "w_txt.stl" : "w_bin.stl");
    const std::wstring wpath = Workloads::wide(path);
    for (auto _ : state) {
        const int ok = text ? STL_ASCII_Write(obj, 0, wpath.c_str(), L"bench", nullptr)
                            : STL_BINARY_Write(obj, 0, wpath.c_str(), L"bench", nullptr);
        if (!ok) state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(state.iterations() * file_size(path));
    std::remove(path.c_str());
}
void BM_Polyfex_Write_Binary(benchmark::State& s) { write_polyfex(s, false); }
void BM_Polyfex_Write_Text(benchmark::State& s) { write_polyfex(s, true); }
BENCHMARK(BM_Polyfex_Write_Binary)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Polyfex_Write_Text)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace

BENCHMARK_MAIN();
