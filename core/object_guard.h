// One way to release a half-built object or object list on failure.
//
// Builders zero-fill first and fill as they go; the release functions cope
// with an object stopped at any point of construction.
//   ObjectGuard g(obj);            // any early return frees it
//   ...
//   return g.release();            // success: hand it over
#pragma once

#include "polyfex.h"

namespace pfx {

// Movie_Free (including Text_Pt and Normal_Pt) and free() of the header.
// Null is fine.
void release_object(Movie_Objs* obj);

// Releases the first n objects of list (null entries skipped) and the list.
void release_object_list(Movie_Objs** list, int n);

class ObjectGuard {
public:
    explicit ObjectGuard(Movie_Objs* obj = nullptr) : obj_(obj) {}
    ~ObjectGuard() { release_object(obj_); }
    ObjectGuard(const ObjectGuard&) = delete;
    ObjectGuard& operator=(const ObjectGuard&) = delete;

    void reset(Movie_Objs* obj)
    {
        release_object(obj_);
        obj_ = obj;
    }
    Movie_Objs* get() const { return obj_; }
    Movie_Objs* release()
    {
        Movie_Objs* o = obj_;
        obj_ = nullptr;
        return o;
    }

private:
    Movie_Objs* obj_;
};

// Owns an array of n object pointers (and each object) until released.
class ObjectListGuard {
public:
    ObjectListGuard() = default;
    ~ObjectListGuard() { release_object_list(list_, n_); }
    ObjectListGuard(const ObjectListGuard&) = delete;
    ObjectListGuard& operator=(const ObjectListGuard&) = delete;

    // Takes the array; n is how many leading entries may hold objects.
    void reset(Movie_Objs** list, int n)
    {
        release_object_list(list_, n_);
        list_ = list;
        n_ = n;
    }
    Movie_Objs** get() const { return list_; }
    Movie_Objs** release()
    {
        Movie_Objs** l = list_;
        list_ = nullptr;
        n_ = 0;
        return l;
    }

private:
    Movie_Objs** list_ = nullptr;
    int n_ = 0;
};

// A freshly allocated, zero-filled object header (through the hooked
// allocator; reports "var" on failure). Matrix is left zero.
Movie_Objs* new_object(int line, const char* module, const char* var);
#define PFX_NEW_OBJECT(var) ::pfx::new_object(__LINE__, kModule, (var))

} // namespace pfx
