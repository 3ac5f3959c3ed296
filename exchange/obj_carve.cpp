// OBJ lists to objects: groups carved out of the file-wide lists, or the
// lists handed over whole to the single object of a file without groups.
#include "exchange/obj_carve.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/alloc.h"
#include "core/object_guard.h"

namespace pfx {
namespace {

constexpr char kModule[] = "obj_read";
constexpr unsigned int kObjFlags = GEOM_POLY | FROM_OBJ | SURFACE; // 0x4101

// A scratch block released when its scope ends.
template <class T>
struct Scratch {
    T* p = nullptr;
    Scratch() = default;
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { std::free(p); }
};

// Float arrays of 2 or 3 floats per entry, reported as entries times the
// entry size.
bool calloc_floats(float*& p, int entries, int per_entry, int line, const char* var)
{
    void* q = raw_calloc(static_cast<size_t>(entries), per_entry * sizeof(float));
    if (!q) {
        report_memory_error(line, kModule, AllocKind::Calloc, var, entries, per_entry * 4LL);
        return false;
    }
    p = static_cast<float*>(q);
    obj_prepare_block(p, static_cast<size_t>(entries) * per_entry * sizeof(float));
    return true;
}

// Calls f(i) for every set flag, in order; runs of clear flags are skipped a
// word at a time, since a group uses a small part of a big file's lists.
template <class F>
void for_flagged(const unsigned char* flag, int n, F f)
{
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, flag + i, 8);
        if (!w) continue;
        for (int b = 0; b < 8; ++b)
            if (flag[i + b]) f(i + b);
    }
    for (; i < n; ++i)
        if (flag[i]) f(i);
}

// The flag and map of one kind of entry for one group, over the range of
// entries the group's faces name.
// note: the flags and maps of a group cover only the entries from its lowest
// to its highest reference instead of the whole file's list, so a file of
// many groups does not cost a pass over every list per group; the objects
// are the same.
struct KindMap {
    Scratch<unsigned char> flag;
    Scratch<int> map;
    int lo = 0;
    int size = 0;
    int used = 0;
    bool exists() const { return flag.p != nullptr; }
    void mark(int i)
    {
        unsigned char& f = flag.p[i - lo];
        used += f == 0;
        f = 1;
    }
    int& at(int i) { return map.p[i - lo]; }
    // Calls fn(i) for every flagged entry i, in file order.
    template <class F>
    void each(F fn)
    {
        for_flagged(flag.p, size, [&](int r) { fn(lo + r); });
    }
};

// The lowest and highest index a group's faces name, per kind.
struct Range {
    int lo = INT_MAX, hi = -1;
    void add(int i)
    {
        lo = i < lo ? i : lo;
        hi = i > hi ? i : hi;
    }
    void set(KindMap& m) const
    {
        m.lo = hi < 0 ? 0 : lo;
        m.size = hi < 0 ? 0 : hi - lo + 1;
    }
};

bool carve_one(const ObjLists& L, int k, Movie_Objs* o)
{
    if (L.group_name[k][0] && !PFX_WCSDUP_AS(o->Name, Char_2_Wchar(L.group_name[k]), "(*obj)[k]->Name"))
        return false;

    // References were checked against the lists once the file was read, so
    // every index used here lies inside its list.
    const int first = L.group_start[k];
    const int stop = L.group_stop[k];
    const bool texts = L.text_nb > 0;
    const bool normals = L.nrml_nb > 0;
    Range rn, rt, rl;
    for (int i = first; i < stop; ++i) {
        const ObjFaceView f = obj_face(L, i);
        for (int j = 0; j < f.nb; ++j) {
            rn.add(f.v[j]);
            if (texts) rt.add(f.t[j]);
            if (normals) rl.add(f.n[j]);
        }
    }

    KindMap n, t, l;
    rn.set(n);
    rt.set(t);
    rl.set(l);
    if (L.node_nb > 0) {
        unsigned char*& n_flag = n.flag.p;
        int*& n_map = n.map.p;
        if (!PFX_CALLOC(n_flag, n.size, 1) || !PFX_MALLOC(n_map, n.size, 4)) return false;
    }
    if (texts) {
        unsigned char*& t_flag = t.flag.p;
        int*& t_map = t.map.p;
        if (!PFX_CALLOC(t_flag, t.size, 1) || !PFX_MALLOC(t_map, t.size, 4)) return false;
    }
    if (normals) {
        unsigned char*& l_flag = l.flag.p;
        int*& l_map = l.map.p;
        if (!PFX_CALLOC(l_flag, l.size, 1) || !PFX_MALLOC(l_map, l.size, 4)) return false;
    }

    for (int i = first; i < stop; ++i) {
        const ObjFaceView f = obj_face(L, i);
        for (int j = 0; j < f.nb; ++j) {
            n.mark(f.v[j]);
            if (t.exists()) t.mark(f.t[j]);
            if (l.exists()) l.mark(f.n[j]);
        }
    }

    if (n.used > 0) {
        if (!PFX_CALLOC_AS(o->Node_Pt, n.used, 96, "(*obj)[k]->Node_Pt")) return false;
        obj_prepare_block(o->Node_Pt, static_cast<size_t>(n.used) * sizeof(Movie_Node));
        o->Node_Nb = n.used;
        int next = 0;
        // The records were zero-filled by calloc; a node read from the file
        // has its Coord and nothing else.
        n.each([&](int i) {
            n.at(i) = next;
            o->Node_Pt[next++].Coord = obj_coord(L, i);
        });
    }
    if (t.used > 0) {
        if (!calloc_floats(o->Text_Pt, t.used, 2, __LINE__, "(*obj)[k]->Text_Pt")) return false;
        o->Text_Nb = t.used;
        int next = 0;
        t.each([&](int i) {
            t.at(i) = next;
            std::memcpy(o->Text_Pt + 2 * static_cast<size_t>(next++), L.text_pt + 2 * static_cast<size_t>(i),
                        2 * sizeof(float));
        });
    }
    if (l.used > 0) {
        if (!calloc_floats(o->Normal_Pt, l.used, 3, __LINE__, "(*obj)[k]->Normal_Pt")) return false;
        o->Normal_Nb = l.used;
        int next = 0;
        l.each([&](int i) {
            l.at(i) = next;
            std::memcpy(o->Normal_Pt + 3 * static_cast<size_t>(next++), L.nrml_pt + 3 * static_cast<size_t>(i),
                        3 * sizeof(float));
        });
    }
    if (stop > first) {
        if (!PFX_CALLOC_AS(o->Poly_Pt, stop - first, 120, "(*obj)[k]->Poly_Pt")) return false;
        obj_prepare_block(o->Poly_Pt, static_cast<size_t>(stop - first) * sizeof(Movie_Poly));
        o->Poly_Nb = stop - first;
        for (int i = first; i < stop; ++i) {
            const ObjFaceView f = obj_face(L, i);
            Movie_Poly& d = o->Poly_Pt[i - first];
            d.Node_Id_Nb = f.nb;
            for (int j = 0; j < f.nb; ++j) {
                d.Node_Id[j] = n.at(f.v[j]);
                if (t.exists()) d.Text_Id[j] = t.at(f.t[j]);
                if (l.exists()) d.Normal_Id[j] = l.at(f.n[j]);
            }
        }
    }
    o->Flags = kObjFlags;
    return true;
}

// A handed-over list keeps only the room it uses; the shrink is a courtesy,
// and a failed one keeps the larger block.
template <class T>
T* fit(T* p, size_t bytes)
{
    if (!p || bytes == 0) return p;
    void* q = raw_realloc(p, bytes);
    return q ? static_cast<T*>(q) : p;
}

} // namespace

bool obj_carve_groups(const ObjLists& lists, Movie_Objs*** out)
{
    Movie_Objs** list = nullptr;
    if (!PFX_CALLOC_AS(list, lists.group_nb + 1LL, 8, "*obj")) return false;
    ObjectListGuard guard;
    guard.reset(list, lists.group_nb);
    for (int k = 0; k < lists.group_nb; ++k) {
        Movie_Objs* o = PFX_NEW_OBJECT("(*obj)[k]");
        if (!o) return false;
        list[k] = o;
        if (!carve_one(lists, k, o)) return false;
    }
    *out = guard.release();
    return true;
}

bool obj_single_object(ObjLists& lists, const wchar_t* dir, const wchar_t* name, Movie_Objs*** out)
{
    Movie_Objs** list = nullptr;
    if (!PFX_CALLOC_AS(list, 2, 8, "*obj")) return false;
    ObjectListGuard guard;
    guard.reset(list, 1);
    Movie_Objs* o = PFX_NEW_OBJECT("(*obj)[k]");
    if (!o) return false;
    list[0] = o;
    if (dir && dir[0] && !PFX_WCSDUP_AS(o->Path, dir, "(*obj)[0]->Path")) return false;
    if (name && name[0] && !PFX_WCSDUP_AS(o->Name, name, "(*obj)[0]->Name")) return false;

    o->Node_Nb = lists.node_nb;
    o->Node_Pt = lists.node_nb ? fit(lists.node_pt, lists.node_nb * sizeof(Movie_Node)) : nullptr;
    if (!lists.node_nb) std::free(lists.node_pt);
    o->Text_Nb = lists.text_nb;
    o->Text_Pt = lists.text_nb ? fit(lists.text_pt, lists.text_nb * 2 * sizeof(float)) : nullptr;
    if (!lists.text_nb) std::free(lists.text_pt);
    o->Normal_Nb = lists.nrml_nb;
    o->Normal_Pt = lists.nrml_nb ? fit(lists.nrml_pt, lists.nrml_nb * 3 * sizeof(float)) : nullptr;
    if (!lists.nrml_nb) std::free(lists.nrml_pt);
    o->Poly_Nb = lists.poly_nb;
    o->Poly_Pt = lists.poly_nb ? fit(lists.poly_pt, lists.poly_nb * sizeof(Movie_Poly)) : nullptr;
    if (!lists.poly_nb) std::free(lists.poly_pt);
    lists.node_pt = nullptr;
    lists.text_pt = nullptr;
    lists.nrml_pt = nullptr;
    lists.poly_pt = nullptr;
    o->Flags = kObjFlags;
    *out = guard.release();
    return true;
}

} // namespace pfx
