// DXF_Write and VRLM_Write against writers that make the same bytes with one
// fprintf per number, on a 2,000,000-triangle object.
//
// Both sides write to the same target in the same run. The default target is
// /dev/null, so the figures measure formatting, not the disk; set
// PFX_BENCH_OUT to a path (a file on tmpfs, say) to include the file system.
// Before timing, the peers' output is checked byte for byte against the
// library's on a small object, and by size on the large one.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "polyfex.h"

namespace {

// ---- the object -------------------------------------------------------------

// A grid of cells x cells quads, two triangles each, built as a host builds
// objects (calloc'ed records, positions computed, box stored).
Movie_Objs* make_grid(int cells)
{
    const int side = cells + 1;
    Movie_Objs* o = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    o->Flags = GEOM_POLY;
    o->Matrix.init();
    o->Node_Nb = side * side;
    o->Node_Pt = static_cast<Movie_Node*>(std::calloc(o->Node_Nb, sizeof(Movie_Node)));
    for (int r = 0; r < side; ++r)
        for (int c = 0; c < side; ++c) {
            // Irregular values, so the digits are not all zeros.
            const float x = c * 0.37f - 123.4f, y = r * 0.53f + 7.25f;
            const float z = 0.001f * static_cast<float>((r * 7919 + c * 104729) % 100003);
            o->Node_Pt[r * side + c].Coord = {x, y, z, 0};
        }
    o->Poly_Nb = 2 * cells * cells;
    o->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(o->Poly_Nb, sizeof(Movie_Poly)));
    int k = 0;
    for (int r = 0; r < cells; ++r)
        for (int c = 0; c < cells; ++c) {
            const int a = r * side + c, b = a + 1, d = a + side, e = d + 1;
            const int tri[2][3] = {{a, b, e}, {a, e, d}};
            for (const auto& t : tri) {
                Movie_Poly& p = o->Poly_Pt[k++];
                p.Node_Id_Nb = 3;
                std::memcpy(p.Node_Id, t, sizeof t);
            }
        }
    Movie_Init_Dim(o);
    return o;
}

void free_object(Movie_Objs* o)
{
    Movie_Free(o);
    std::free(o);
}

// ---- the peers: one fprintf per number ---------------------------------------

void fprintf_dxf(Movie_Objs** objs, const char* path)
{
    float lo[3] = {0, 0, 0}, hi[3] = {0, 0, 0};
    if (objs[0]) {
        lo[0] = objs[0]->Box_Min.x, lo[1] = objs[0]->Box_Min.y, lo[2] = objs[0]->Box_Min.z;
        hi[0] = objs[0]->Box_Max.x, hi[1] = objs[0]->Box_Max.y, hi[2] = objs[0]->Box_Max.z;
    }
    for (int k = 1; objs[k]; ++k) {
        const float l[3] = {objs[k]->Box_Min.x, objs[k]->Box_Min.y, objs[k]->Box_Min.z};
        const float h[3] = {objs[k]->Box_Max.x, objs[k]->Box_Max.y, objs[k]->Box_Max.z};
        for (int a = 0; a < 3; ++a) {
            if (l[a] < lo[a]) lo[a] = l[a];
            if (h[a] > hi[a]) hi[a] = h[a];
        }
    }
    FILE* f = std::fopen(path, "w");
    if (!f) return;
    std::fputs("  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1008\n  9\n$TILEMODE\n 70\n1\n"
               "  9\n$UCSORG\n 10\n0.0\n 20\n0.0\n 30\n0.0\n"
               "  9\n$UCSXDIR\n 10\n1.0\n 20\n0.0\n 30\n0.0\n"
               "  9\n$UCSYDIR\n 10\n0.0\n 20\n1.0\n 30\n0.0\n",
               f);
    std::fprintf(f, "  9\n$EXTMIN\n");
    std::fprintf(f, " 10\n%f\n", lo[0]);
    std::fprintf(f, " 20\n%f\n", lo[1]);
    std::fprintf(f, " 30\n%f\n", lo[2]);
    std::fprintf(f, "  9\n$EXTMAX\n");
    std::fprintf(f, " 10\n%f\n", hi[0]);
    std::fprintf(f, " 20\n%f\n", hi[1]);
    std::fprintf(f, " 30\n%f\n", hi[2]);
    std::fputs("  0\nENDSEC\n", f);
    std::fputs("  0\nSECTION\n  2\nTABLES\n"
               "  0\nTABLE\n  2\nLTYPE\n 70\n1\n  0\nLTYPE\n  2\nCONTINUOUS\n 70\n64\n"
               "  3\nSolid line\n 72\n65\n 73\n0\n 40\n0.0\n  0\nENDTAB\n"
               "  0\nTABLE\n  2\nLAYER\n 70\n1\n  0\nLAYER\n  2\n0\n 70\n0\n 62\n7\n 6\nCONTINUOUS\n"
               "  0\nENDTAB\n"
               "  0\nTABLE\n  2\nSTYLE\n 70\n1\n  0\nSTYLE\n  2\nSTANDARD\n 70\n0\n 40\n0.0\n"
               " 41\n1.0\n 50\n0.0\n 71\n0\n 42\n0.2\n 3\ntxt\n 4\n\n  0\nENDTAB\n  0\nENDSEC\n",
               f);
    std::fputs("  0\nSECTION\n  2\nENTITIES\n", f);
    for (int k = 0; objs[k]; ++k) {
        Movie_Objs* o = objs[k];
        if (!o->Pos_Done) Movie_Compute_Pos(o);
        if (!(o->Flags & GEOM_POLY)) continue; // the benchmark object is a polygon mesh
        int faces = 0;
        for (int i = 0; i < o->Poly_Nb; ++i) faces += o->Poly_Pt[i].Node_Id_Nb == 4 ? 2 : 1;
        std::fprintf(f, "  0\nPOLYLINE\n  8\n0\n 66\n1\n 70\n64\n");
        std::fprintf(f, " 71\n%d\n", o->Node_Nb);
        std::fprintf(f, " 72\n%d\n", faces);
        for (int i = 0; i < o->Node_Nb; ++i) {
            const Vector_4& p = o->Node_Pt[i].Pos;
            std::fprintf(f, "  0\nVERTEX\n  8\n0\n");
            std::fprintf(f, " 10\n%f\n", p.x);
            std::fprintf(f, " 20\n%f\n", p.y);
            std::fprintf(f, " 30\n%f\n", p.z);
            std::fprintf(f, " 70\n%d\n", 192);
        }
        for (int i = 0; i < o->Poly_Nb; ++i) {
            const Movie_Poly& p = o->Poly_Pt[i];
            std::fprintf(f, "  0\nVERTEX\n  8\n0\n 10\n0\n 20\n0\n 30\n0\n");
            std::fprintf(f, " 70\n%d\n", 128);
            std::fprintf(f, " 71\n%d\n", p.Node_Id[0] + 1);
            std::fprintf(f, " 72\n%d\n", p.Node_Id[1] + 1);
            std::fprintf(f, " 73\n%d\n", p.Node_Id[2] + 1);
            if (p.Node_Id_Nb == 4) {
                std::fprintf(f, "  0\nVERTEX\n  8\n0\n 10\n0\n 20\n0\n 30\n0\n");
                std::fprintf(f, " 70\n%d\n", 128);
                std::fprintf(f, " 71\n%d\n", p.Node_Id[0] + 1);
                std::fprintf(f, " 72\n%d\n", p.Node_Id[2] + 1);
                std::fprintf(f, " 73\n%d\n", p.Node_Id[3] + 1);
            }
        }
        std::fprintf(f, "  0\nSEQEND\n  8\n0\n");
    }
    std::fputs("  0\nENDSEC\n  0\nEOF\n", f);
    std::fclose(f);
}

void fprintf_vrml(Movie_Objs** objs, const char* path)
{
    FILE* f = std::fopen(path, "w");
    if (!f) return;
    std::fprintf(f, "#VRML V2.0 utf8\n\n");
    for (int k = 0; objs[k]; ++k) {
        Movie_Objs* o = objs[k];
        if (!o->Pos_Done) Movie_Compute_Pos(o);
        if ((o->Flags & (GEOM_POINT | GEOM_LINE | GEOM_POLY)) != GEOM_POLY) continue; // a polygon mesh
        std::fprintf(f, "Group {\n    children [\n\tShape {\n\t    appearance Appearance {\n\t    }\n");
        std::fprintf(f, "\t    geometry IndexedFaceSet {\n\t\tsolid TRUE\n\t\tcoordIndex [\t");
        for (int i = 0; i < o->Poly_Nb; ++i) {
            const Movie_Poly& p = o->Poly_Pt[i];
            for (int c = 0; c < p.Node_Id_Nb; ++c) std::fprintf(f, c ? ", %d" : "%d", p.Node_Id[c]);
            std::fprintf(f, i + 1 < o->Poly_Nb ? ", -1,\n\t\t\t\t" : " ]\n");
        }
        if (o->Poly_Nb == 0) std::fprintf(f, " ]\n");
        std::fprintf(f, "\t\tcoord Coordinate {\n\t\t    point [\t");
        for (int i = 0; i < o->Node_Nb; ++i) {
            const Vector_4& p = o->Node_Pt[i].Pos;
            if (i) std::fprintf(f, "\t\t\t\t");
            std::fprintf(f, "%.3f", p.x);
            std::fprintf(f, " %.3f", p.y);
            std::fprintf(f, " %.3f", p.z);
            if (i + 1 < o->Node_Nb) std::fprintf(f, ",\n");
        }
        std::fprintf(f, " ]\n\t\t}\n\t    }\n\t}\n    ]\n}\n");
    }
    std::fclose(f);
}

// ---- the run ----------------------------------------------------------------

std::string target()
{
    const char* env = std::getenv("PFX_BENCH_OUT");
    return env && *env ? env : "/dev/null";
}

std::wstring widen(const std::string& s) { return std::wstring(s.begin(), s.end()); }

std::string slurp(const std::string& path)
{
    std::string bytes;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        char buf[1 << 16];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, n);
        std::fclose(f);
    }
    return bytes;
}

struct Fixture {
    Movie_Objs* big = nullptr;
    Movie_Objs* list[2] = {nullptr, nullptr};
    size_t dxf_bytes = 0, vrml_bytes = 0;
};

long long file_size(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : -1;
}

// Same bytes from both sides: in full on a small object, by size on the big
// one (whose size is then the bytes counted per iteration).
bool check_peers(Movie_Objs** list, size_t* dxf, size_t* vrml, bool full)
{
    const std::string a = "/tmp/pfx_bench_lib", b = "/tmp/pfx_bench_peer";
    bool ok = true;
    DXF_Write(list, widen(a + ".dxf").c_str(), L"", nullptr);
    fprintf_dxf(list, (b + ".dxf").c_str());
    VRLM_Write(list, nullptr, nullptr, widen(a + ".wrl").c_str(), L"", nullptr);
    fprintf_vrml(list, (b + ".wrl").c_str());
    for (const char* ext : {".dxf", ".wrl"}) {
        const bool same = full ? slurp(a + ext) == slurp(b + ext) : file_size(a + ext) == file_size(b + ext);
        if (!same) std::fprintf(stderr, "peer output differs from the library's (%s)\n", ext);
        ok = ok && same;
    }
    *dxf = static_cast<size_t>(file_size(a + ".dxf"));
    *vrml = static_cast<size_t>(file_size(a + ".wrl"));
    for (const char* ext : {".dxf", ".wrl"}) {
        std::remove((a + ext).c_str());
        std::remove((b + ext).c_str());
    }
    return ok;
}

Fixture& fixture()
{
    static Fixture fx = [] {
        Fixture f;
        Movie_Objs* small = make_grid(7);
        Movie_Objs* small_list[2] = {small, nullptr};
        size_t d, v;
        if (!check_peers(small_list, &d, &v, true)) std::exit(1);
        free_object(small);
        f.big = make_grid(1000); // 1000 x 1000 cells: 2,000,000 triangles
        f.list[0] = f.big;
        if (!check_peers(f.list, &f.dxf_bytes, &f.vrml_bytes, false)) std::exit(1);
        return f;
    }();
    return fx;
}

void BM_DXF_Write(benchmark::State& state)
{
    Fixture& fx = fixture();
    const std::wstring path = widen(target());
    for (auto _ : state) benchmark::DoNotOptimize(DXF_Write(fx.list, path.c_str(), L"", nullptr));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fx.dxf_bytes));
    state.counters["triangles"] = fx.big->Poly_Nb;
}

void BM_DXF_FprintfPerNumber(benchmark::State& state)
{
    Fixture& fx = fixture();
    const std::string path = target();
    for (auto _ : state) fprintf_dxf(fx.list, path.c_str());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fx.dxf_bytes));
    state.counters["triangles"] = fx.big->Poly_Nb;
}

void BM_VRLM_Write(benchmark::State& state)
{
    Fixture& fx = fixture();
    const std::wstring path = widen(target());
    for (auto _ : state) benchmark::DoNotOptimize(VRLM_Write(fx.list, nullptr, nullptr, path.c_str(), L"", nullptr));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fx.vrml_bytes));
    state.counters["triangles"] = fx.big->Poly_Nb;
}

void BM_VRML_FprintfPerNumber(benchmark::State& state)
{
    Fixture& fx = fixture();
    const std::string path = target();
    for (auto _ : state) fprintf_vrml(fx.list, path.c_str());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fx.vrml_bytes));
    state.counters["triangles"] = fx.big->Poly_Nb;
}

BENCHMARK(BM_DXF_Write)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_DXF_FprintfPerNumber)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_VRLM_Write)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_VRML_FprintfPerNumber)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

BENCHMARK_MAIN();
