// STL reading: the entry points open the file, tell text from binary, run
// the matching parser and complete the welded object.
#include <cerrno>
#include <cstdio>
#include <memory>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/file_bytes.h"
#include "core/object_guard.h"
#include "core/platform.h"
#include "exchange/stl_parse.h"
#include "exchange/stl_weld.h"
#include "polyfex.h"

namespace {
constexpr char kModule[] = "stl_read";

using namespace pfx;

constexpr unsigned int kStlFlags = GEOM_POLY | FROM_STL | SURFACE; // 0x4041
constexpr size_t kPathCap = 771;

struct FileCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

void open_failure(const wchar_t* dir, const wchar_t* name, int err)
{
    copy_errno_text(err);
    user_line(L"\xF1\x04" L"ERROR:\x02\t Unable to open file!");
    user_line(L"\xF1\t dir:\x01%ls", dir);
    user_line(L"\xF1\t file\x01%ls", name);
    user_line(L"\xF1\t %ls", Kren_Err_Str);
}

// dir + name + ".stl", opened for reading; the failure block when it won't.
FilePtr open_stl(const wchar_t* dir, const wchar_t* name)
{
    // note: a null directory or name counts as empty, and a path beyond 770
    // characters is cut there (the open then fails and says so).
    wchar_t path[kPathCap];
    size_t n = 0;
    for (const wchar_t* part : {dir, name, L".stl"})
        for (const wchar_t* s = part; s && *s && n < kPathCap - 1; ++s) path[n++] = *s;
    path[n] = L'\0';
    FilePtr file(open_file(path, "r"));
    if (!file) open_failure(dir, name, errno);
    return file;
}

enum class Load { Ok, Failed, NoMemory };

// The whole file in memory: both the format test and the parser read it
// from there, so the file is read once and closed before parsing.
// note: a file that opens but cannot be read (a directory, say) is reported
// like one that does not open.
Load load(FilePtr& file, FileBytes& bytes, const wchar_t* dir, const wchar_t* name)
{
    errno = 0;
    const bool ok = PFX_READ_FILE(file.get(), bytes, "bytes");
    const bool read_error = !ok && std::ferror(file.get());
    const int err = errno;
    file.reset();
    if (ok) return Load::Ok;
    if (!read_error) return Load::NoMemory;
    open_failure(dir, name, err);
    return Load::Failed;
}

Movie_Objs* STL_ASCII_Read(const char* data, size_t size, const wchar_t* name)
{
    Trace t(kTraceIo, "STL_ASCII_Read", {name});
    StlFacets facets;
    const StlParseResult r = stl_parse_text(data, size, name, facets);
    if (r.status == StlStatus::NoMemory) return t.silent(nullptr);
    if (r.status == StlStatus::Refused) return t.out(nullptr, r.reason);
    ObjectGuard g(STL_to_Movie(facets.nb_poly, facets.poly));
    if (Movie_Objs* obj = g.get()) {
        const wchar_t* text = Char_2_Wchar(facets.obj_name);
        if (text && *text && !PFX_WCSDUP(obj->Name, text)) return t.silent(nullptr);
    }
    return t.out(g.release(), "done");
}

Movie_Objs* STL_BINARY_Read(const char* data, size_t size, const wchar_t* name)
{
    Trace t(kTraceIo, "STL_BINARY_Read", {name});
    StlFacets facets;
    const StlParseResult r = stl_parse_binary(data, size, name, facets);
    if (r.status == StlStatus::NoMemory) return t.silent(nullptr);
    if (r.status == StlStatus::Refused) return t.out(nullptr, r.reason);
    ObjectGuard g(STL_to_Movie(facets.nb_poly, facets.poly));
    if (Movie_Objs* obj = g.get()) {
        if (name && *name && !PFX_WCSDUP(obj->Name, name)) return t.silent(nullptr);
    }
    return t.out(g.release(), "done");
}

Movie_Objs* parse_stl(const FileBytes& bytes, const wchar_t* name, bool announce_binary)
{
    if (stl_is_text(bytes.data, bytes.size)) return STL_ASCII_Read(bytes.data, bytes.size, name);
    if (announce_binary) Error_Fct(hwnd, MSG_PROGRESS, L"It is a binary STL file");
    return STL_BINARY_Read(bytes.data, bytes.size, name);
}

} // namespace

extern "C" {

PFX_API Movie_Objs* STL_Read(const wchar_t* dir, const wchar_t* name)
{
    Trace t(kTraceIo, "STL_Read", {dir, name});
    FilePtr file = open_stl(dir, name);
    if (!file) return t.out(nullptr, "! f_in");
    FileBytes bytes;
    const Load loaded = load(file, bytes, dir, name);
    if (loaded == Load::NoMemory) return t.silent(nullptr);
    if (loaded == Load::Failed) return t.out(nullptr, "! f_in");

    ObjectGuard g(parse_stl(bytes, name, true));
    Movie_Objs* obj = g.get();
    if (!obj) return t.out(nullptr, "! obj");
    if (!obj->Name && name && *name && !PFX_WCSDUP(obj->Name, name)) return t.silent(nullptr);
    if (dir && *dir && !PFX_WCSDUP(obj->Path, dir)) return t.silent(nullptr);
    obj->Flags = kStlFlags;
    return t.out(g.release(), "done");
}

PFX_API int STL_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out)
{
    Trace t(kTraceIo, "STL_Read_Merge", {dir, name});
    // note: without a place for the result there is nothing to read into.
    if (!out) return t.out(0, "! obj");
    FilePtr file = open_stl(dir, name);
    if (!file) return t.out(0, "! f_in");

    Movie_Objs** list = nullptr;
    // note: when the result array cannot be allocated, *out is set to null,
    // as it is whenever no object comes back from an opened file.
    if (!PFX_MALLOC_AS(list, 1, sizeof(Movie_Objs*), "(*obj)")) {
        *out = nullptr;
        return t.silent(0);
    }
    list[0] = nullptr;
    ObjectListGuard result;
    result.reset(list, 1);
    *out = list;

    FileBytes bytes;
    const Load loaded = load(file, bytes, dir, name);
    if (loaded != Load::Ok) *out = nullptr;
    if (loaded == Load::NoMemory) return t.silent(0);
    if (loaded == Load::Failed) return t.out(0, "! f_in");

    list[0] = parse_stl(bytes, name, false);
    if (!list[0]) {
        *out = nullptr;
        return t.out(0, "! (*obj)[0]");
    }
    if (dir && *dir && !PFX_WCSDUP_AS(list[0]->Path, dir, "(*obj)[0]->Path")) {
        *out = nullptr;
        return t.silent(0);
    }
    list[0]->Flags = kStlFlags;
    result.release();
    return t.out(1, "done");
}

} // extern "C"
