// Reading and writing surface objects by file extension.
#pragma once

#include <string>
#include <vector>

#include "polyfex.h"

namespace polyfex_cli {

enum class Format { Mov, Obj, Stl, Dxf, Wrl, Unknown };

// By extension, case ignored.
Format format_of(const std::string& path);
const char* extension_of(Format format); // ".mov", ...
bool readable(Format format);
bool writable(Format format);

// Objects this command owns: released with Movie_Free and free().
class ObjectList {
public:
    ObjectList() = default;
    ~ObjectList();
    ObjectList(const ObjectList&) = delete;
    ObjectList& operator=(const ObjectList&) = delete;
    ObjectList(ObjectList&& other) noexcept;
    ObjectList& operator=(ObjectList&& other) noexcept;

    // Takes ownership of obj (null is ignored).
    void add(Movie_Objs* obj);
    size_t size() const { return objs_.size(); }
    bool empty() const { return objs_.empty(); }
    Movie_Objs* operator[](size_t i) const { return objs_[i]; }
    const std::vector<Movie_Objs*>& all() const { return objs_; }
    // The objects ended by a null entry, as the writers take them. Valid until
    // the list changes.
    Movie_Objs** terminated();
    // Merges every object into the first one (Movie_Merge); false when memory
    // ran out, the list then being as the library left it.
    bool merge_all();

private:
    void release();
    std::vector<Movie_Objs*> objs_;
    std::vector<Movie_Objs*> terminated_;
};

// False, with the one-line error, when `path` names no writable format.
bool check_output_path(const std::string& path, std::string& error);

// Reads every object of `path`. On failure `error` holds one line of text
// (without the "polyfex: error:" prefix) and the result is false.
bool read_objects(const std::string& path, ObjectList& out, std::string& error);

struct WriteOptions {
    bool stl_ascii = false; // STL: text instead of binary
    bool merge = false;     // .mov: one merged object instead of one per object
};

// Writes the objects into `path` in the format of its extension. STL holds one
// object: several are merged first. Polygon normals are computed first when
// the objects have none. On failure `error` holds one line of text.
bool write_objects(ObjectList& objs, const std::string& path, const WriteOptions& options,
                   std::string& error);

// Node links and normals for every object of triangles and quads that has
// none yet (Movie_Init_Norm); the objects of other kinds keep theirs.
void ensure_normals(ObjectList& objs);

// The object's name as UTF-8, "(unnamed)" when it has none.
std::string object_name(const Movie_Objs* obj);

// A path as the user wrote it, for messages: 'samples/cube.stl'.
std::string quoted(const std::string& path);

} // namespace polyfex_cli
