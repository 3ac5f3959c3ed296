#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/object_guard.h"
#include "support/capture.h"
#include "support/objects.h"

using namespace pfx_test;

namespace {
constexpr char kModule[] = "movie_func";

class Diag : public PfxTest {};

int traced_op(Movie_Objs* obj)
{
    pfx::Trace t(pfx::kTraceCore, "Movie_Surface");
    if (const char* why = pfx::refuse_reason(obj, GEOM_POLY)) return t.out(0, why);
    return t.out(1, "done");
}

TEST_F(Diag, TraceLinesAndRefusalOrder)
{
    EXPECT_EQ(traced_op(nullptr), 0);
    ObjectPtr empty(make_object({}, {}, 0));
    EXPECT_EQ(traced_op(empty.get()), 0);
    ObjectPtr lines(make_object({{0, 0, 0}, {1, 0, 0}}, {{0, 1}}, GEOM_LINE));
    EXPECT_EQ(traced_op(lines.get()), 0);
    lines->Flags |= GEOM_POLY;
    EXPECT_EQ(traced_op(lines.get()), 1);
    std::vector<Line> expected = {
        {MSG_TRACE, L">>> in  Polyfex: Movie_Surface()"}, {MSG_TRACE, L"<<< out Polyfex: Movie_Surface(! obj)"},
        {MSG_TRACE, L">>> in  Polyfex: Movie_Surface()"}, {MSG_TRACE, L"<<< out Polyfex: Movie_Surface(! Node_Nb)"},
        {MSG_TRACE, L">>> in  Polyfex: Movie_Surface()"}, {MSG_TRACE, L"<<< out Polyfex: Movie_Surface(! GEOM_POLY)"},
        {MSG_TRACE, L">>> in  Polyfex: Movie_Surface()"}, {MSG_TRACE, L"<<< out Polyfex: Movie_Surface(done)"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

TEST_F(Diag, EntryArgumentsAreJoinedWithCommas)
{
    {
        pfx::Trace t(pfx::kTraceIo, "STL_Read", {L"/d/", L"Grüße"});
        t.note("-> Reading %hs nodes", "1,000");
        t.silent(0);
    }
    {
        pfx::Trace t(pfx::kTraceNative, "Movie_Read", {nullptr, L"x"});
        t.out(0, "! fil_mov");
    }
    std::vector<Line> expected = {
        {MSG_TRACE_IO, L">>> in  STL_Read(/d/,Grüße)"},
        {MSG_TRACE_IO, L"-> Reading 1,000 nodes"},
        {MSG_TRACE, L">>> in  Movie_Read((null),x)"},
        {MSG_TRACE, L"<<< out Movie_Read(! fil_mov)"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

TEST_F(Diag, MemoryErrorLines)
{
    pfx::report_memory_error(42, "movie_read", pfx::AllocKind::Calloc, "obj->Node_Pt", 7, 96);
    pfx::report_memory_error(1234, "obj_read", pfx::AllocKind::Wcsdup, "(*obj)[0]->Name", 0, 0);
    std::vector<Line> expected = {
        {MSG_MEMORY, L"line 42   of movie_read \nmemory error in calloc (var=obj->Node_Pt, dim=7x96)"},
        {MSG_MEMORY, L"line 1234 of obj_read \nmemory error in _wcsdup (var=(*obj)[0]->Name)"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

TEST_F(Diag, AllocationMacrosReportTheSourceLineAndKeepTheOldBlock)
{
    int* list = nullptr;
    ASSERT_TRUE(PFX_CALLOC(list, 4, 4));
    list[3] = 9;
    pfx::alloc_fail_at(1);
    const int line = __LINE__ + 1;
    EXPECT_FALSE(PFX_REALLOC(list, 8, 4));
    ASSERT_NE(list, nullptr); // the failed grow kept the old block
    EXPECT_EQ(list[3], 9);
    std::free(list);
    wchar_t* name = nullptr;
    pfx::alloc_fail_at(1);
    EXPECT_FALSE(PFX_WCSDUP_AS(name, L"n", "(*obj)[k]->Name"));
    EXPECT_EQ(name, nullptr);
    ASSERT_EQ(sink.lines().size(), 2u);
    wchar_t expected[128];
    swprintf(expected, 128, L"line %-4d of movie_func \nmemory error in realloc (var=list, dim=8x4)", line);
    EXPECT_EQ(sink.lines()[0].text, expected);
    EXPECT_NE(sink.lines()[1].text.find(L"memory error in _wcsdup (var=(*obj)[k]->Name)"), std::wstring::npos);
    // Counts that can't be sized are failures, not wrapped allocations.
    Movie_Poly* polys = nullptr;
    EXPECT_FALSE(PFX_MALLOC(polys, -1, 120));
    EXPECT_FALSE(PFX_MALLOC(polys, (long long)1 << 62, 120));
}

TEST_F(Diag, WriteOpenFailureSplitsPathsLongerThanThirtyCharacters)
{
    // Directory plus name of 30 characters: one path line.
    pfx::report_write_open_failure(L"/nonexistent/abcdefghijklmnopq.mov", ENOENT);
    // 31 characters: directory and name on lines of their own.
    pfx::report_write_open_failure(L"/nonexistent/abcdefghijklmnopqr.mov", ENOENT);
    std::wstring err = Error_Perror(ENOENT);
    std::vector<Line> expected = {
        {MSG_USER, L""},
        {MSG_USER, L"------------- WARNING --------------"},
        {MSG_USER, L"Unable to write the file"},
        {MSG_USER, L"/nonexistent/abcdefghijklmnopq.mov"},
        {MSG_USER, err},
        {MSG_USER, L"------------------------------------"},
        {MSG_USER, L""},
        {MSG_USER, L"------------- WARNING --------------"},
        {MSG_USER, L"Unable to write the file"},
        {MSG_USER, L"/nonexistent/"},
        {MSG_USER, L"abcdefghijklmnopqr.mov"},
        {MSG_USER, err},
        {MSG_USER, L"------------------------------------"},
    };
    EXPECT_EQ(sink.lines(), expected);
    EXPECT_STREQ(Kren_Err_Str, err.c_str());
}

TEST_F(Diag, ReadOpenFailureBlock)
{
    pfx::report_read_open_failure(pfx::kOpenFailureDefault, L"/d/", L"Grüße", ENOENT);
    std::vector<Line> expected = {
        {MSG_USER, L"\xF1\x04" L"ERROR:\x02 Unable to open file!"},
        {MSG_USER, L"\xF1\t dir:\x01/d/"},
        {MSG_USER, L"\xF1\t file\x01Grüße"},
        {MSG_USER, std::wstring(L"\xF1\t ") + Error_Perror(ENOENT)},
    };
    EXPECT_EQ(sink.lines(), expected);
}

TEST_F(Diag, ObjectGuardReleasesAHalfBuiltObject)
{
    {
        pfx::ObjectGuard g(PFX_NEW_OBJECT("obj"));
        ASSERT_NE(g.get(), nullptr);
        ASSERT_TRUE(PFX_CALLOC(g.get()->Node_Pt, 3, 96));
        g.get()->Node_Nb = 3;
        ASSERT_TRUE(PFX_MALLOC(g.get()->Node_Pt[1].Poly_Id, 2, 4));
        // leaves the scope unreleased: the guard frees everything
    }
    pfx::ObjectGuard g(PFX_NEW_OBJECT("obj"));
    Movie_Objs* kept = g.release();
    EXPECT_EQ(g.get(), nullptr);
    pfx::release_object(kept);
    pfx::alloc_fail_at(1);
    EXPECT_EQ(PFX_NEW_OBJECT("*obj"), nullptr);
    ASSERT_EQ(sink.lines().size(), 1u);
    EXPECT_NE(sink.lines()[0].text.find(L"memory error in calloc (var=*obj, dim=1x288)"), std::wstring::npos);
}

} // namespace
