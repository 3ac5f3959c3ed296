// The hull engine against qhull on 1,000,000 points: uniform in a cube, on a
// sphere surface (every point on the hull) and gaussian. Same points, same
// run. Run with --benchmark_repetitions=3 and compare medians.
#include <benchmark/benchmark.h>

#include <map>
#include <vector>

#include "hull/clouds.h"
#include "hull/quickhull.h"
#include "polyfex.h"
#include <cstdlib>
#include <memory>
#if PFX_HAVE_QHULL
#include "hull/qhull_peer.h"
#endif

namespace {

using pfx_test::Shape;

constexpr size_t kPoints = 1000000;

const std::vector<double>& cloud(Shape shape)
{
    static std::map<Shape, std::vector<double>> clouds;
    auto it = clouds.find(shape);
    if (it == clouds.end()) it = clouds.emplace(shape, pfx_test::make_cloud(shape, kPoints, 2024)).first;
    return it->second;
}

template <class T>
const std::vector<T>& cloud_as(Shape shape)
{
    static std::map<Shape, std::vector<T>> clouds;
    auto it = clouds.find(shape);
    if (it == clouds.end()) it = clouds.emplace(shape, pfx_test::converted<T>(cloud(shape))).first;
    return it->second;
}

// A fresh engine per build, as Movie_Convex_Hull makes one per call.
template <class T>
void BM_QuickHull(benchmark::State& state, Shape shape)
{
    const std::vector<T>& points = cloud_as<T>(shape);
    size_t vertices = 0, triangles = 0;
    for (auto _ : state) {
        pfx::QuickHull<T> engine;
        auto r = engine.build_hull(points.data(), points.size() / 3, false, false);
        vertices = r.Vertices.Count;
        triangles = r.Indices.size() / 3;
        benchmark::DoNotOptimize(r.Indices.data());
    }
    state.counters["vertices"] = double(vertices);
    state.counters["triangles"] = double(triangles);
}

struct ObjectDeleter {
    void operator()(Movie_Objs* obj) const
    {
        Movie_Free(obj);
        std::free(obj);
    }
};
using ObjectPtr = std::unique_ptr<Movie_Objs, ObjectDeleter>;

// The library's own road: an object's nodes in, a new triangle object out.
void BM_MovieConvexHull(benchmark::State& state, Shape shape)
{
    const std::vector<float>& points = cloud_as<float>(shape);
    const int n = static_cast<int>(points.size() / 3);
    ObjectPtr src(static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs))));
    src->Flags = GEOM_POINT;
    src->Node_Nb = n;
    src->Node_Pt = static_cast<Movie_Node*>(std::calloc(n, sizeof(Movie_Node)));
    for (int i = 0; i < n; ++i) src->Node_Pt[i].Coord = {points[3 * i], points[3 * i + 1], points[3 * i + 2], 0};
    int vertices = 0;
    for (auto _ : state) {
        ObjectPtr hull(Movie_Convex_Hull(src.get(), nullptr));
        vertices = hull ? hull->Node_Nb : -1;
    }
    state.counters["vertices"] = vertices;
}

#if PFX_HAVE_QHULL
// qhull with its default options (facets merged, not triangulated): its
// least work for the same hull.
void BM_Qhull(benchmark::State& state, Shape shape)
{
    const std::vector<double>& points = cloud(shape);
    size_t facets = 0;
    for (auto _ : state) {
        auto r = pfx_test::qhull_hull(points, "qhull", false);
        if (r.exit_code != 0) state.SkipWithError("qhull failed");
        facets = r.facets;
    }
    state.counters["facets"] = double(facets);
}
#endif

void register_all()
{
    for (Shape shape : {Shape::Cube, Shape::Sphere, Shape::Gaussian}) {
        const std::string name = pfx_test::shape_name(shape);
        benchmark::RegisterBenchmark(("quickhull_float/" + name).c_str(), BM_QuickHull<float>, shape)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("quickhull_double/" + name).c_str(), BM_QuickHull<double>, shape)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Movie_Convex_Hull/" + name).c_str(), BM_MovieConvexHull, shape)
            ->Unit(benchmark::kMillisecond);
#if PFX_HAVE_QHULL
        benchmark::RegisterBenchmark(("qhull/" + name).c_str(), BM_Qhull, shape)->Unit(benchmark::kMillisecond);
#endif
    }
}

} // namespace

int main(int argc, char** argv)
{
    register_all();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
