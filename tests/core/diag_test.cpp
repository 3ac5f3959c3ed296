#include "core/alloc.h"
#include "core/core_lines.h"
#include "core/diag.h"

using namespace pfx_test;

constexpr char kModule[] = "movie_func";

using Diag = PfxTest;

template <auto F>
double call(Movie_Objs* obj)
{
    return F(obj);
}

TEST_F(Diag, EveryOperationRefusesInTheSameOrderAndSaysWhy)
{
    ObjectPtr empty(make_object({}, {}));
    ObjectPtr lines(make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, GEOM_LINE | NORMALS_DONE));
    ObjectPtr tris(make_tetrahedron());
    ObjectPtr done(make_tetrahedron());
    done->Flags |= NORMALS_DONE;
    const struct {
        const wchar_t* name;
        double (*op)(Movie_Objs*);
        Movie_Objs* last;
        double last_result;
        const wchar_t* why;
    } rows[] = {
        {L"Movie_Init_Norm", call<Movie_Init_Norm>, lines.get(), 0, L"! GEOM_POLY"},
        {L"Movie_Init_Norm", call<Movie_Init_Norm>, done.get(), 0, L"already done"},
        {L"Movie_Normal_Flip", call<Movie_Normal_Flip>, lines.get(), 0, L"! GEOM_POLY"},
        {L"Movie_Cleanup_Poly", call<Movie_Cleanup_Poly>, lines.get(), 0, L"! GEOM_POLY"},
        {L"Movie_Cleanup_Node", call<Movie_Cleanup_Node>, lines.get(), 1, L"done"}, // needs no geometry bit
        {L"Movie_Volume", call<Movie_Volume>, lines.get(), 0, L"! GEOM_POLY"},
        {L"Movie_Surface", call<Movie_Surface>, lines.get(), 0, L"! GEOM_POLY"},
        {L"Movie_Perimeter", call<Movie_Perimeter>, tris.get(), 0, L"! GEOM_LINE"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(printable(row.name));
        sink.clear();
        EXPECT_EQ(row.op(nullptr), 0.0);
        EXPECT_EQ(row.op(empty.get()), 0.0);
        EXPECT_EQ(row.op(row.last), row.last_result);
        EXPECT_EQ(sink.lines(), traced(row.name, {L"! obj", L"! Node_Nb", row.why}));
    }
    EXPECT_EQ(done->Node_Pt[0].Poly_Id_Nb, 0);
    EXPECT_EQ(polys_of(*lines), (Polys{{0, 1}}));
}

TEST_F(Diag, MemoryErrorLinesPadTheLineNumberAndKeepTheOldBlock)
{
    pfx::report_memory_error(42, "movie_read", pfx::AllocKind::Calloc, "obj->Node_Pt", 7, 96);
    pfx::report_memory_error(1234, "obj_read", pfx::AllocKind::Wcsdup, "(*obj)[0]->Name", 0, 0);
    auto at = [](int line, const wchar_t* rest) {
        wchar_t text[128];
        swprintf(text, 128, L"line %-4d of movie_func \nmemory error in %ls", line, rest);
        return Line{MSG_MEMORY, text};
    };
    int* list = nullptr;
    ASSERT_TRUE(PFX_CALLOC(list, 4, 4));
    list[3] = 9;
    pfx::alloc_fail_at(1);
    const int realloc_line = __LINE__ + 1;
    EXPECT_FALSE(PFX_REALLOC(list, 8, 4));
    EXPECT_EQ(list[3], 9); // the failed grow kept the old block
    std::free(list);
    wchar_t* name = nullptr;
    pfx::alloc_fail_at(1);
    const int wcsdup_line = __LINE__ + 1;
    EXPECT_FALSE(PFX_WCSDUP_AS(name, L"n", "(*obj)[k]->Name"));
    EXPECT_EQ(name, nullptr);
    const Lines want = {{MSG_MEMORY, L"line 42   of movie_read \nmemory error in calloc (var=obj->Node_Pt, dim=7x96)"},
                        {MSG_MEMORY, L"line 1234 of obj_read \nmemory error in _wcsdup (var=(*obj)[0]->Name)"},
                        at(realloc_line, L"realloc (var=list, dim=8x4)"),
                        at(wcsdup_line, L"_wcsdup (var=(*obj)[k]->Name)")};
    EXPECT_EQ(sink.lines(), want);
    // Counts that can't be sized are failures, not wrapped allocations.
    Movie_Poly* polys = nullptr;
    EXPECT_FALSE(PFX_MALLOC(polys, -1, 120));
    EXPECT_FALSE(PFX_MALLOC(polys, (long long)1 << 62, 120));
}
