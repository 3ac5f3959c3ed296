// OBJ reading against tinyobjloader and assimp's OBJ import, and OBJ_Write
// against one fprintf per number, on a 1,000,000-face torus.
//
//   obj_bench --benchmark_repetitions=3
// PFX_BENCH_NO_THP=1 turns transparent huge pages off for the process, to
// measure what the huge-page advice on big arrays is worth.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/prctl.h>
#include <vector>

#include "polyfex.h"

#ifdef PFX_HAVE_TINYOBJ
#include <tiny_obj_loader.h>
#endif
#ifdef PFX_HAVE_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif

namespace {

constexpr int kU = 1000; // around the ring
constexpr int kV = 500;  // around the tube: 2 * kU * kV = 1,000,000 faces

std::string bench_dir()
{
    static const std::string dir = [] {
        std::string d = (std::filesystem::temp_directory_path() / "pfx_obj_bench").string() + "/";
        std::filesystem::create_directories(d);
        return d;
    }();
    return dir;
}

// The torus with "v" and "vn" lines and "f a//a b//b c//c" faces, in one
// group or split into groups of equal face counts.
std::string make_torus(int groups)
{
    const std::string name = groups <= 1 ? "torus1" : "torus" + std::to_string(groups);
    const std::string path = bench_dir() + name + ".obj";
    if (std::filesystem::exists(path)) return name;
    FILE* f = std::fopen(path.c_str(), "w");
    if (!f) std::abort();
    const double R = 1.0, r = 0.3, pi = std::acos(-1.0);
    for (int i = 0; i < kU; ++i)
        for (int j = 0; j < kV; ++j) {
            double u = 2 * pi * i / kU, v = 2 * pi * j / kV;
            std::fprintf(f, "v %.6f %.6f %.6f\n", (R + r * std::cos(v)) * std::cos(u),
                         (R + r * std::cos(v)) * std::sin(u), r * std::sin(v));
        }
    for (int i = 0; i < kU; ++i)
        for (int j = 0; j < kV; ++j) {
            double u = 2 * pi * i / kU, v = 2 * pi * j / kV;
            std::fprintf(f, "vn %.6f %.6f %.6f\n", std::cos(v) * std::cos(u), std::cos(v) * std::sin(u),
                         std::sin(v));
        }
    const int faces = 2 * kU * kV;
    int face = 0, group = 0;
    for (int i = 0; i < kU; ++i)
        for (int j = 0; j < kV; ++j) {
            int a = i * kV + j + 1, b = ((i + 1) % kU) * kV + j + 1;
            int c = ((i + 1) % kU) * kV + (j + 1) % kV + 1, d = i * kV + (j + 1) % kV + 1;
            for (int t = 0; t < 2; ++t) {
                if (groups > 1 && face == static_cast<long long>(group) * faces / groups)
                    std::fprintf(f, "g part%d\n", group++);
                if (t == 0) std::fprintf(f, "f %d//%d %d//%d %d//%d\n", a, a, b, b, c, c);
                else std::fprintf(f, "f %d//%d %d//%d %d//%d\n", a, a, c, c, d, d);
                ++face;
            }
        }
    std::fclose(f);
    return name;
}

const std::string& torus_name(int groups)
{
    static const std::string one = make_torus(1);
    static const std::string eight = make_torus(8);
    return groups == 1 ? one : eight;
}

void silence(unsigned int, const wchar_t*, void*) {}

// The bench paths are plain ASCII.
std::wstring wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }

std::string read_file(const std::string& path)
{
    std::string out;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        char buf[1 << 16];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
        std::fclose(f);
    }
    return out;
}

void free_list(Movie_Objs** list, int n)
{
    if (!list) return;
    for (int i = 0; i < n; ++i) {
        Movie_Free(list[i]);
        std::free(list[i]);
    }
    std::free(list);
}

void BM_Read_Polyfex(benchmark::State& state)
{
    const std::string name = torus_name(static_cast<int>(state.range(0)));
    const std::wstring dir = wide(bench_dir()), wname = wide(name);
    Tarnwick_Set_Handler(&silence, nullptr);
    for (auto _ : state) {
        Movie_Objs** objs = nullptr;
        int n = OBJ_Read_Merge(dir.c_str(), wname.c_str(), &objs);
        if (n != state.range(0)) state.SkipWithError("read failed");
        benchmark::DoNotOptimize(objs);
        free_list(objs, n);
    }
    Tarnwick_Set_Handler(nullptr, nullptr);
}
BENCHMARK(BM_Read_Polyfex)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);

#ifdef PFX_HAVE_TINYOBJ
void BM_Read_TinyObj(benchmark::State& state)
{
    const std::string path = bench_dir() + torus_name(static_cast<int>(state.range(0))) + ".obj";
    for (auto _ : state) {
        tinyobj::attrib_t attrib;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string warn, err;
        bool ok = tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, path.c_str(), nullptr, false);
        if (!ok) state.SkipWithError("tinyobjloader failed");
        benchmark::DoNotOptimize(attrib.vertices.data());
    }
}
BENCHMARK(BM_Read_TinyObj)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);
#endif

#ifdef PFX_HAVE_ASSIMP
void BM_Read_Assimp(benchmark::State& state)
{
    const std::string path = bench_dir() + torus_name(static_cast<int>(state.range(0))) + ".obj";
    Assimp::Importer importer;
    for (auto _ : state) {
        const aiScene* scene = importer.ReadFile(path, 0);
        if (!scene) state.SkipWithError("assimp failed");
        benchmark::DoNotOptimize(scene);
        importer.FreeScene();
    }
}
BENCHMARK(BM_Read_Assimp)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);
#endif

// ---- writing ----------------------------------------------------------------

Movie_Objs** torus_object()
{
    static Movie_Objs** objs = [] {
        Movie_Objs** o = nullptr;
        Tarnwick_Set_Handler(&silence, nullptr);
        OBJ_Read_Merge(wide(bench_dir()).c_str(), wide(torus_name(1)).c_str(), &o);
        Tarnwick_Set_Handler(nullptr, nullptr);
        Movie_Compute_Pos(o[0]);
        return o;
    }();
    return objs;
}

// The same file as OBJ_Write, one fprintf per number or reference.
void write_fprintf(Movie_Objs** objs, const char* path)
{
    FILE* f = std::fopen(path, "w");
    char date[80];
    time_t now = time(nullptr);
    tm local;
    localtime_r(&now, &local);
    strftime(date, sizeof date, "%d %b %Y %H:%M", &local);
    std::fprintf(f, "#\n# Wavefront OBJ file\n# Created by Krendalith libraries\n# created: %s\n \n", date);
    long long V = 0, T = 0, N = 0;
    std::vector<long long> bv, bt, bn;
    int count = 0;
    for (; objs[count]; ++count) {
        const Movie_Objs* o = objs[count];
        bv.push_back(V);
        bt.push_back(T);
        bn.push_back(N);
        std::fprintf(f, "# ==============================================================\n");
        std::fprintf(f, "# =================== Data for group \"%ls\" ========\n", o->Name);
        std::fprintf(f, "# ==============================================================\n");
        std::fprintf(f, "# --- vertex list ---\n");
        for (int i = 0; i < o->Node_Nb; ++i) {
            std::fprintf(f, "v  %12.6f", o->Node_Pt[i].Pos.x);
            std::fprintf(f, " %12.6f", o->Node_Pt[i].Pos.y);
            std::fprintf(f, " %12.6f \n", o->Node_Pt[i].Pos.z);
        }
        if (o->Text_Nb) {
            std::fprintf(f, "# --- vertex textures ---\n");
            for (int i = 0; i < o->Text_Nb; ++i) {
                std::fprintf(f, "vt  %12.6f", o->Text_Pt[2 * i]);
                std::fprintf(f, " %12.6f \n", o->Text_Pt[2 * i + 1]);
            }
        }
        std::fprintf(f, "# --- vertex normals ---\n");
        for (int i = 0; i < (o->Normal_Nb ? o->Normal_Nb : o->Node_Nb); ++i) {
            const float* n = o->Normal_Nb ? o->Normal_Pt + 3 * i : &o->Node_Pt[i].Normal.x;
            std::fprintf(f, "vn  %12.6f", n[0]);
            std::fprintf(f, " %12.6f", n[1]);
            std::fprintf(f, " %12.6f \n", n[2]);
        }
        V += o->Node_Nb;
        T += o->Text_Nb;
        N += o->Normal_Nb ? o->Normal_Nb : o->Node_Nb;
    }
    for (int k = 0; k < count; ++k) {
        const Movie_Objs* o = objs[k];
        std::fprintf(f, "# ======================================================================\n");
        std::fprintf(f, "# =================== Connectivity for group \"%ls\" ========\n", o->Name);
        std::fprintf(f, "# ======================================================================\n");
        std::fprintf(f, "g %ls \n", o->Name);
        std::fprintf(f, "# --- face connectivity ---\n");
        for (int p = 0; p < o->Poly_Nb; ++p) {
            const Movie_Poly& poly = o->Poly_Pt[p];
            std::fprintf(f, "f  ");
            for (int i = 0; i < poly.Node_Id_Nb; ++i) {
                char ref[64];
                long long n = poly.Node_Id[i] + 1 + bv[k];
                long long m = (o->Normal_Nb ? poly.Normal_Id[i] : poly.Node_Id[i]) + 1 + bn[k];
                if (o->Text_Nb)
                    std::snprintf(ref, sizeof ref, "%lld/%lld/%lld", n, poly.Text_Id[i] + 1 + bt[k], m);
                else
                    std::snprintf(ref, sizeof ref, "%lld//%lld", n, m);
                std::fprintf(f, i + 1 < poly.Node_Id_Nb ? "%-22s" : "%s", ref);
            }
            std::fprintf(f, "\n");
        }
    }
    std::fclose(f);
}

bool same_but_date(const std::string& a, const std::string& b)
{
    auto strip = [](const std::string& s) {
        size_t l3 = 0;
        for (int i = 0; i < 3; ++i) l3 = s.find('\n', l3) + 1;
        return s.substr(0, l3) + s.substr(s.find('\n', l3));
    };
    return strip(a) == strip(b);
}

void BM_Write_Polyfex(benchmark::State& state)
{
    Movie_Objs** objs = torus_object();
    const std::string path = bench_dir() + "written_polyfex.obj";
    for (auto _ : state) {
        if (OBJ_Write(objs, wide(path).c_str(), nullptr, nullptr) != 1) state.SkipWithError("write failed");
    }
    write_fprintf(objs, (bench_dir() + "written_fprintf.obj").c_str());
    if (!same_but_date(read_file(path), read_file(bench_dir() + "written_fprintf.obj")))
        state.SkipWithError("bytes differ from fprintf's");
}
BENCHMARK(BM_Write_Polyfex)->Unit(benchmark::kMillisecond);

void BM_Write_Fprintf(benchmark::State& state)
{
    Movie_Objs** objs = torus_object();
    const std::string path = bench_dir() + "written_fprintf.obj";
    for (auto _ : state) write_fprintf(objs, path.c_str());
}
BENCHMARK(BM_Write_Fprintf)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (const char* v = std::getenv("PFX_BENCH_NO_THP"); v && *v == '1') prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
