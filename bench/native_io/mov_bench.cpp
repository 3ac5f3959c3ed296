// ".mov" reading and writing on a 1,000,000-node, 2,000,000-triangle torus,
// against reference readers and writers that call fscanf / fprintf once per
// number and build the same object. All work on the same file, in one run.
//   mov_bench --benchmark_repetitions=3
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>

#include <benchmark/benchmark.h>

#include "polyfex.h"

namespace {

constexpr int kRing = 1000; // nodes around each of the two circles

const std::string& bench_dir()
{
    static const std::string dir = [] {
        std::string d = "/tmp/pfx_mov_bench/";
        mkdir(d.c_str(), 0755);
        return d;
    }();
    return dir;
}

std::wstring wide(const std::string& s)
{
    return std::wstring(s.begin(), s.end());
}

long long file_size(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : 0;
}

// A torus of kRing x kRing nodes and two triangles per cell: exactly
// 1,000,000 nodes and 2,000,000 triangles, no node unused.
Movie_Objs* make_torus()
{
    const int n = kRing * kRing;
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Node_Nb = n;
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(n, sizeof(Movie_Node)));
    obj->Poly_Nb = 2 * n;
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(2 * n, sizeof(Movie_Poly)));
    obj->Flags = GEOM_POLY;
    obj->Matrix.init();
    for (int i = 0; i < kRing; ++i)
        for (int j = 0; j < kRing; ++j) {
            double u = 2 * M_PI * i / kRing, v = 2 * M_PI * j / kRing;
            Vector_4& c = obj->Node_Pt[i * kRing + j].Coord;
            c.x = static_cast<float>((125.0 + 40.0 * std::cos(v)) * std::cos(u));
            c.y = static_cast<float>((125.0 + 40.0 * std::cos(v)) * std::sin(u));
            c.z = static_cast<float>(40.0 * std::sin(v));
            int a = i * kRing + j, b = i * kRing + (j + 1) % kRing;
            int d = ((i + 1) % kRing) * kRing + j, e = ((i + 1) % kRing) * kRing + (j + 1) % kRing;
            Movie_Poly* p = obj->Poly_Pt + 2 * a;
            p[0].Node_Id_Nb = 3;
            p[0].Node_Id[0] = a, p[0].Node_Id[1] = b, p[0].Node_Id[2] = e;
            p[1].Node_Id_Nb = 3;
            p[1].Node_Id[0] = a, p[1].Node_Id[1] = e, p[1].Node_Id[2] = d;
        }
    return obj;
}

Movie_Objs* torus()
{
    static Movie_Objs* obj = make_torus();
    return obj;
}

// The file every reader reads, written once by the library.
const std::string& torus_file()
{
    static const std::string path = [] {
        std::string p = bench_dir() + "torus.mov";
        Movie_Objs* list[2] = {torus(), nullptr};
        Movie_Write(list, wide(p).c_str(), nullptr);
        return p;
    }();
    return path;
}

// ---- the library ------------------------------------------------------------

void BM_MovieWrite(benchmark::State& state)
{
    Movie_Objs* list[2] = {torus(), nullptr};
    const std::string path = bench_dir() + "written.mov";
    for (auto _ : state) benchmark::DoNotOptimize(Movie_Write(list, wide(path).c_str(), nullptr));
    state.SetBytesProcessed(state.iterations() * file_size(path));
}

void BM_MovieRead(benchmark::State& state)
{
    const std::string& path = torus_file();
    for (auto _ : state) {
        Movie_Objs* obj = Movie_Read(wide(bench_dir()).c_str(), L"torus");
        if (!obj || obj->Poly_Nb != 2 * kRing * kRing) state.SkipWithError("read failed");
        Movie_Free(obj);
        std::free(obj);
    }
    state.SetBytesProcessed(state.iterations() * file_size(path));
}

void BM_MovieReadMerge(benchmark::State& state)
{
    const std::string& path = torus_file();
    for (auto _ : state) {
        Movie_Objs** list = nullptr;
        int n = Movie_Read_Merge(wide(bench_dir()).c_str(), L"torus", &list);
        if (n != 1) state.SkipWithError("read failed");
        for (int k = 0; k < n; ++k) {
            Movie_Free(list[k]);
            std::free(list[k]);
        }
        std::free(list);
    }
    state.SetBytesProcessed(state.iterations() * file_size(path));
}

// ---- the references: one stdio call per number ------------------------------

int fprintf_write(Movie_Objs* obj, const char* path)
{
    FILE* f = std::fopen(path, "w");
    if (!f) return 0;
    int connect = 0;
    for (int i = 0; i < obj->Poly_Nb; ++i) connect += obj->Poly_Pt[i].Node_Id_Nb;
    std::fprintf(f, "%6d %6d %6d %6d \n", 1, obj->Node_Nb, obj->Poly_Nb, connect);
    std::fprintf(f, "%6d %6d \n", 1, obj->Poly_Nb);
    for (int i = 0; i < obj->Node_Nb; ++i) {
        const Vector_4& p = obj->Node_Pt[i].Pos;
        std::fprintf(f, "%12.5f ", p.x);
        std::fprintf(f, "%12.5f ", p.y);
        std::fprintf(f, "%12.5f ", p.z);
        std::fprintf(f, "\n");
    }
    for (int i = 0; i < obj->Poly_Nb; ++i) {
        const Movie_Poly& p = obj->Poly_Pt[i];
        for (int j = 0; j < p.Node_Id_Nb; ++j)
            std::fprintf(f, "%6d ", j == p.Node_Id_Nb - 1 ? -(p.Node_Id[j] + 1) : p.Node_Id[j] + 1);
        std::fprintf(f, "\n");
    }
    std::fclose(f);
    return 1;
}

// Reads the single-object file into the same object Movie_Read builds.
Movie_Objs* fscanf_read(const char* path)
{
    FILE* f = std::fopen(path, "r");
    if (!f) return nullptr;
    char line[80];
    int nb_obj = 0, nodes = 0, polys = 0, connect_nb = 0, start = 0, stop = 0;
    if (!std::fgets(line, sizeof line, f) ||
        std::sscanf(line, "%d %d %d %d", &nb_obj, &nodes, &polys, &connect_nb) != 4 ||
        std::fscanf(f, "%d", &start) != 1 || std::fscanf(f, "%d", &stop) != 1) {
        std::fclose(f);
        return nullptr;
    }
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Pos_Done = 1;
    obj->Matrix.init();
    obj->Node_Nb = nodes;
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(nodes, sizeof(Movie_Node)));
    for (int i = 0; i < nodes; ++i) {
        Vector_4& c = obj->Node_Pt[i].Coord;
        std::fscanf(f, "%f", &c.x);
        std::fscanf(f, "%f", &c.y);
        std::fscanf(f, "%f", &c.z);
        obj->Node_Pt[i].Pos = c;
    }
    int* connect = static_cast<int*>(std::malloc(sizeof(int) * connect_nb));
    for (int j = 0; j < connect_nb; ++j) std::fscanf(f, "%d", &connect[j]);
    std::fclose(f);
    obj->Poly_Nb = polys;
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(polys, sizeof(Movie_Poly)));
    int k = 0, n = 0;
    for (int j = 0; j < connect_nb && k < polys; ++j) {
        int v = connect[j];
        if (n < 4) obj->Poly_Pt[k].Node_Id[n] = (v < 0 ? -v : v) - 1;
        ++n;
        if (v < 0) {
            obj->Poly_Pt[k].Node_Id_Nb = n;
            obj->Flags |= n >= 3 ? GEOM_POLY : n == 2 ? GEOM_LINE : GEOM_POINT;
            ++k, n = 0;
        }
    }
    std::free(connect);
    obj->Flags |= SURFACE | FROM_MOV;
    Movie_Triangle(obj);
    return obj;
}

void BM_FprintfWrite(benchmark::State& state)
{
    Movie_Objs* obj = torus();
    if (!obj->Pos_Done) Movie_Compute_Pos(obj);
    const std::string path = bench_dir() + "fprintf.mov";
    for (auto _ : state) benchmark::DoNotOptimize(fprintf_write(obj, path.c_str()));
    state.SetBytesProcessed(state.iterations() * file_size(path));
}

void BM_FscanfRead(benchmark::State& state)
{
    const std::string& path = torus_file();
    for (auto _ : state) {
        Movie_Objs* obj = fscanf_read(path.c_str());
        if (!obj || obj->Poly_Nb != 2 * kRing * kRing) state.SkipWithError("read failed");
        Movie_Free(obj);
        std::free(obj);
    }
    state.SetBytesProcessed(state.iterations() * file_size(path));
}

// The reference writer's bytes must be the library's, or the comparison
// means nothing.
void BM_SameBytes(benchmark::State& state)
{
    const std::string a = torus_file(), b = bench_dir() + "fprintf_check.mov";
    Movie_Objs* obj = torus();
    if (!obj->Pos_Done) Movie_Compute_Pos(obj);
    fprintf_write(obj, b.c_str());
    bool same = false;
    for (auto _ : state) {
        std::string cmd = "cmp -s '" + a + "' '" + b + "'";
        same = std::system(cmd.c_str()) == 0;
    }
    if (!same) state.SkipWithError("reference writer differs");
}

} // namespace

BENCHMARK(BM_SameBytes)->Iterations(1)->Unit(benchmark::kMillisecond);
// A fixed count of iterations per repetition, so a slow reference does not
// get a single cold run against many warm ones of the library.
BENCHMARK(BM_MovieWrite)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FprintfWrite)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MovieRead)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FscanfRead)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MovieReadMerge)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
