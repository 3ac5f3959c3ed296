// OBJ_Read_Merge: path, open, whole-file read, then the parser
// (obj_parse.cpp) and the builder (obj_carve.cpp).
#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "core/alloc.h"
#include "core/diag.h"
#include "core/file_bytes.h"
#include "core/platform.h"
#include "exchange/obj_carve.h"
#include "exchange/obj_parse.h"
#include "polyfex.h"

namespace {

constexpr char kModule[] = "obj_read";

// The longest path the reader forms, in characters.
constexpr size_t kMaxPath = 770;

const pfx::OpenFailureLines kObjOpenLines = {L"\xF1\t dir: \x01%ls", L"\xF1\t file \x01%ls", L"\xF1\t\x02%ls"};

// Releases the lists on every way out; a builder nulls what it took over.
struct ListsGuard {
    pfx::ObjLists& lists;
    ~ListsGuard() { pfx::obj_free_lists(lists); }
};

// dir + name + ".obj" into path. A missing dir or name counts as empty.
// note: a path longer than 770 characters is not cut short (that could open
// another file); it fails like a name the system refuses.
bool form_path(const wchar_t* dir, const wchar_t* name, wchar_t (&path)[kMaxPath + 1])
{
    const wchar_t* d = dir ? dir : L"";
    const wchar_t* n = name ? name : L"";
    size_t dl = std::wcslen(d);
    size_t nl = std::wcslen(n);
    if (dl + nl + 4 > kMaxPath) return false;
    std::wmemcpy(path, d, dl);
    std::wmemcpy(path + dl, n, nl);
    std::wmemcpy(path + dl + nl, L".obj", 5);
    return true;
}

int read_obj(pfx::Trace& t, const wchar_t* dir, const wchar_t* name, Movie_Objs*** out)
{
    wchar_t path[kMaxPath + 1];
    FILE* f = nullptr;
    if (form_path(dir, name, path)) f = pfx::open_file(path, "r");
    else errno = ENAMETOOLONG;
    if (!f) {
        pfx::report_read_open_failure(kObjOpenLines, dir, name, errno);
        return t.out(0, "! f_in");
    }

    pfx::ObjLists lists;
    ListsGuard release_lists{lists};
    {
        // The whole file is parsed from memory; its buffer is the one
        // allocation the line-by-line reading did not have, named "buffer".
        pfx::FileBytes bytes;
        errno = 0;
        bool got = PFX_READ_FILE(f, bytes, "buffer");
        int err = errno;
        std::fclose(f);
        if (!got) {
            // note: a file that opens but cannot be read (a directory, an I/O
            // error) is reported like one that does not open.
            if (err == EIO) {
                pfx::report_read_open_failure(kObjOpenLines, dir, name, err);
                return t.out(0, "! f_in");
            }
            return t.silent(0);
        }
        if (pfx::obj_parse(bytes.data, bytes.data + bytes.size, name, lists) != pfx::ObjParse::Done)
            return t.silent(0);
    }
    t.note("-> Polyfex:OBJ_Read_Merge() \x02\xF1------ ------ End of file ------ ------");
    t.note("-> Polyfex:OBJ_Read_Merge() read: %d nodes, %d textures, %d normals, %d polygons", lists.node_nb,
           lists.text_nb, lists.nrml_nb, lists.poly_nb);

    // note: a file with a face reference outside its lists is rejected with
    // an error block naming the file and a line holding such a reference
    // (the reasons are with obj_check_references).
    if (!pfx::obj_check_references(lists)) {
        pfx::user_line(L"\xF1\x04" L"ERROR:\x02 Bad reference in face!");
        pfx::user_line(L"\xF1\t File: \x01%ls", name);
        pfx::user_line(L"\xF1\t Line: \x01%d", lists.bad_line);
        return t.out(0, "bad reference");
    }

    if (lists.group_nb == 0) {
        if (!pfx::obj_single_object(lists, dir, name, out)) return t.silent(0);
        return t.out(1, "! group_nb");
    }
    if (!pfx::obj_carve_groups(lists, out)) return t.silent(0);
    int n = lists.group_nb;
    pfx::obj_free_lists(lists);
    return t.out(n, "done");
}

} // namespace

int OBJ_Read_Merge(const wchar_t* dir, const wchar_t* name, Movie_Objs*** out)
{
    pfx::Trace t(pfx::kTraceIo, "OBJ_Read_Merge", {dir, name});
    // note: without a place for the result nothing is read.
    if (!out) return t.out(0, "! out");
    *out = nullptr;
    return read_obj(t, dir, name, out);
}
