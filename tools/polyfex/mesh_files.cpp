#include "mesh_files.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "console.h"
#include "markup.h"
#include "progress.h"

namespace polyfex_cli {
namespace {

std::string lower(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// Directory (with its separator, possibly empty), base name and extension.
struct PathParts {
    std::string dir, name, ext;
};

PathParts split(const std::string& path)
{
    PathParts parts;
    size_t slash = path.find_last_of('/');
    size_t base = slash == std::string::npos ? 0 : slash + 1;
    parts.dir = path.substr(0, base);
    size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || dot < base)
        dot = path.size();
    parts.name = path.substr(base, dot - base);
    parts.ext = path.substr(dot);
    return parts;
}

std::wstring wide(const std::string& text)
{
    const wchar_t* w = Char_2_Wchar(text.c_str());
    return w ? std::wstring(w) : std::wstring();
}

long long polygon_total(const ObjectList& objs)
{
    long long total = 0;
    for (Movie_Objs* obj : objs.all())
        total += obj->Poly_Nb > 0 ? obj->Poly_Nb : 0;
    return total;
}

// Takes the reader's array: `count` pointers (the OBJ reader adds a null
// entry after them) that now belong to `out`.
void adopt(Movie_Objs** array, int count, ObjectList& out)
{
    if (!array)
        return;
    for (int i = 0; i < count; ++i)
        out.add(array[i]);
    std::free(array);
}

// The existence checks that need no library: a missing file, a directory, an
// empty file. Their errno text is clearer than a reader's block.
bool check_input_file(const std::string& path, std::string& error)
{
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) {
        error = "cannot read " + quoted(path) + ": " + std::strerror(errno);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        error = "cannot read " + quoted(path) + ": it is a directory";
        return false;
    }
    if (st.st_size == 0) {
        error = "cannot read " + quoted(path) + ": the file is empty";
        return false;
    }
    return true;
}

} // namespace

Format format_of(const std::string& path)
{
    const std::string ext = lower(split(path).ext);
    if (ext == ".mov")
        return Format::Mov;
    if (ext == ".obj")
        return Format::Obj;
    if (ext == ".stl")
        return Format::Stl;
    if (ext == ".dxf")
        return Format::Dxf;
    if (ext == ".wrl")
        return Format::Wrl;
    return Format::Unknown;
}

const char* extension_of(Format format)
{
    switch (format) {
    case Format::Mov: return ".mov";
    case Format::Obj: return ".obj";
    case Format::Stl: return ".stl";
    case Format::Dxf: return ".dxf";
    case Format::Wrl: return ".wrl";
    case Format::Unknown: break;
    }
    return "";
}

bool readable(Format format)
{
    return format == Format::Mov || format == Format::Obj || format == Format::Stl;
}

bool writable(Format format) { return format != Format::Unknown; }

ObjectList::~ObjectList() { release(); }

ObjectList::ObjectList(ObjectList&& other) noexcept : objs_(std::move(other.objs_))
{
    other.objs_.clear();
}

ObjectList& ObjectList::operator=(ObjectList&& other) noexcept
{
    if (this != &other) {
        release();
        objs_ = std::move(other.objs_);
        other.objs_.clear();
    }
    return *this;
}

void ObjectList::add(Movie_Objs* obj)
{
    if (obj)
        objs_.push_back(obj);
}

Movie_Objs** ObjectList::terminated()
{
    terminated_ = objs_;
    terminated_.push_back(nullptr);
    return terminated_.data();
}

bool ObjectList::merge_all()
{
    while (objs_.size() > 1) {
        Movie_Objs* b = objs_[1];
        Movie_Objs* kept = Movie_Merge(objs_[0], b);
        if (!kept)
            return false;
        // The survivor takes the first place; the emptied header is ours to free.
        Movie_Objs* gone = kept == b ? objs_[0] : b;
        objs_[0] = kept;
        objs_.erase(objs_.begin() + 1);
        Movie_Free(gone);
        std::free(gone);
    }
    return true;
}

void ObjectList::release()
{
    for (Movie_Objs* obj : objs_) {
        Movie_Free(obj);
        std::free(obj);
    }
    objs_.clear();
}

bool read_objects(const std::string& path, ObjectList& out, std::string& error)
{
    const Format format = format_of(path);
    const PathParts parts = split(path);
    if (!readable(format)) {
        error = "cannot read " + quoted(path) + ": unknown extension '" + parts.ext +
                "' (readable: .mov .obj .stl)";
        return false;
    }
    // note: the readers append the extension themselves, in lower case, so a
    // file named in capitals cannot be opened through them.
    if (parts.ext != extension_of(format)) {
        error = "cannot read " + quoted(path) + ": the library reads '" +
                extension_of(format) + "' files, write the extension in lower case";
        return false;
    }
    if (!check_input_file(path, error))
        return false;

    const std::wstring dir = wide(parts.dir);
    const std::wstring name = wide(parts.name);
    progress_label("reading " + parts.name + parts.ext);
    MessageHold hold;
    Movie_Objs** array = nullptr;
    int count = 0;
    switch (format) {
    case Format::Mov: count = Movie_Read_Merge(dir.c_str(), name.c_str(), &array); break;
    case Format::Obj: count = OBJ_Read_Merge(dir.c_str(), name.c_str(), &array); break;
    default: count = STL_Read_Merge(dir.c_str(), name.c_str(), &array); break;
    }
    progress_clear();
    if (count <= 0) {
        adopt(array, 0, out);
        std::string why = hold.fold();
        error = "cannot read " + quoted(path) + ": " +
                (why.empty() ? std::string("not a readable ") + extension_of(format) + " file" : why);
        return false;
    }
    adopt(array, count, out);
    return true;
}

void ensure_normals(ObjectList& objs)
{
    for (Movie_Objs* obj : objs.all())
        if (obj->Node_Nb > 0 && (obj->Flags & GEOM_POLY) && !(obj->Flags & NORMALS_DONE))
            Movie_Init_Norm(obj);
}

bool check_output_path(const std::string& path, std::string& error)
{
    if (writable(format_of(path)))
        return true;
    error = "cannot write " + quoted(path) + ": unknown extension '" + split(path).ext +
            "' (writable: .mov .obj .stl .dxf .wrl)";
    return false;
}

bool write_objects(ObjectList& objs, const std::string& path, const WriteOptions& options,
                   std::string& error)
{
    const Format format = format_of(path);
    const PathParts parts = split(path);
    if (!check_output_path(path, error))
        return false;
    if (objs.empty()) {
        error = "cannot write " + quoted(path) + ": nothing to write";
        return false;
    }
    if (format == Format::Stl && !objs.merge_all()) {
        error = "cannot write " + quoted(path) + ": out of memory while merging the objects";
        return false;
    }
    // The STL writers store polygon normals and the OBJ writer node normals.
    ensure_normals(objs);

    const std::wstring wpath = wide(path);
    const std::wstring wname = wide(parts.name);
    progress_label("writing " + parts.name + parts.ext);
    const Pfx_Progress progress = progress_for_writer(polygon_total(objs));
    MessageHold hold;
    int written = 0;
    switch (format) {
    case Format::Mov:
        written = options.merge ? Movie_Write_Merge(objs.terminated(), wpath.c_str(), progress)
                                : Movie_Write(objs.terminated(), wpath.c_str(), progress);
        break;
    case Format::Obj:
        written = OBJ_Write(objs.terminated(), wpath.c_str(), wname.c_str(), progress);
        break;
    case Format::Stl:
        written = options.stl_ascii
                      ? STL_ASCII_Write(objs[0], 0, wpath.c_str(), wname.c_str(), progress)
                      : STL_BINARY_Write(objs[0], 0, wpath.c_str(), wname.c_str(), progress);
        break;
    case Format::Dxf:
        written = DXF_Write(objs.terminated(), wpath.c_str(), wname.c_str(), progress);
        break;
    default:
        written = VRLM_Write(objs.terminated(), nullptr, nullptr, wpath.c_str(), wname.c_str(),
                             progress);
        break;
    }
    progress_clear();
    if (written <= 0) {
        std::string why = hold.fold();
        error = "cannot write " + quoted(path) + ": " + (why.empty() ? "the writer refused the objects" : why);
        return false;
    }
    return true;
}

std::string object_name(const Movie_Objs* obj)
{
    if (!obj || !obj->Name || !*obj->Name)
        return "(unnamed)";
    return to_utf8(obj->Name);
}

std::string quoted(const std::string& path) { return "'" + path + "'"; }

} // namespace polyfex_cli
