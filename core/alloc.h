// The one way the library takes heap memory.
//
// Every malloc, calloc, realloc and string copy goes through these helpers:
// they report a failure once, with the memory-error line (source line, module
// tag, variable text, count x element size), and a test can make the N-th
// call fail to prove that each site reports and leaks nothing.
//
// Use the macros; each source file declares its module tag once:
//   namespace { constexpr char kModule[] = "movie_func"; }
//   if (!PFX_CALLOC(obj->Node_Pt, n, 96)) return t.silent(0);
// The block is sized by the pointer's type (n * sizeof(Movie_Node)); 96 is
// only the element size the memory-error line reports.
// On failure the pointer is left as it was (a failed grow keeps the old
// block), the line is sent, and the macro yields false.
#pragma once

#include <cstddef>
#include <cstdint>
#include <wchar.h>

namespace pfx {

enum class AllocKind { Malloc, Calloc, Realloc, Wcsdup, Strdup };

// Sends the MSG_MEMORY line for a failed allocation.
void report_memory_error(int line, const char* module, AllocKind kind, const char* var,
                         long long count, long long size);

// Raw hooked allocations: null on failure (injected or real), nothing sent.
// A request for 0 bytes asks the heap for 1, so null always means failure and
// realloc never frees.
void* raw_malloc(size_t bytes);
void* raw_calloc(size_t count, size_t size);
void* raw_realloc(void* p, size_t bytes);
wchar_t* raw_wcsdup(const wchar_t* s);
char* raw_strdup(const char* s);

// Tells large fresh buffers to use transparent huge pages: on big meshes the
// page faults of fresh arrays cost more than the parsing that fills them.
void advise_huge(void* p, size_t bytes);

// Test hook: the n-th hooked allocation from now fails (1 = the next one);
// 0 turns injection off. alloc_calls() counts hooked allocations since the
// last alloc_fail_at call.
void alloc_fail_at(long n);
long alloc_calls();

// Checked forms behind the macros. The block holds count elements of the
// pointer's own type (sizeof(T) each); count and size are what the
// memory-error line reports, size being the record's nominal size (96 for a
// node, 120 for a polygon, 288 for a header, 4 for an int). A negative count
// or a byte count that overflows size_t is a failure too.
template <class T>
constexpr size_t elem_size()
{
    return sizeof(T);
}

inline bool bytes_for(long long count, size_t elem, size_t* bytes)
{
    if (count < 0) return false;
    if (elem && static_cast<unsigned long long>(count) > SIZE_MAX / elem) return false;
    *bytes = static_cast<size_t>(count) * elem;
    return true;
}
template <class T>
bool checked_malloc(T*& p, long long count, long long size, int line, const char* module,
                    const char* var)
{
    size_t bytes = 0;
    void* q = bytes_for(count, elem_size<T>(), &bytes) ? raw_malloc(bytes) : nullptr;
    if (!q) {
        report_memory_error(line, module, AllocKind::Malloc, var, count, size);
        return false;
    }
    p = static_cast<T*>(q);
    return true;
}

template <class T>
bool checked_calloc(T*& p, long long count, long long size, int line, const char* module,
                    const char* var)
{
    size_t bytes = 0;
    void* q = bytes_for(count, elem_size<T>(), &bytes)
                  ? raw_calloc(static_cast<size_t>(count), elem_size<T>())
                  : nullptr;
    if (!q) {
        report_memory_error(line, module, AllocKind::Calloc, var, count, size);
        return false;
    }
    p = static_cast<T*>(q);
    return true;
}

template <class T>
bool checked_realloc(T*& p, long long count, long long size, int line, const char* module,
                     const char* var)
{
    size_t bytes = 0;
    void* q = bytes_for(count, elem_size<T>(), &bytes) ? raw_realloc(p, bytes) : nullptr;
    if (!q) {
        report_memory_error(line, module, AllocKind::Realloc, var, count, size);
        return false;
    }
    p = static_cast<T*>(q);
    return true;
}

bool checked_wcsdup(wchar_t*& p, const wchar_t* s, int line, const char* module, const char* var);
bool checked_strdup(char*& p, const char* s, int line, const char* module, const char* var);

} // namespace pfx

// The variable text of the memory-error line is the first argument as written.
#define PFX_MALLOC(ptr, count, size) \
    ::pfx::checked_malloc((ptr), (count), (size), __LINE__, kModule, #ptr)
#define PFX_CALLOC(ptr, count, size) \
    ::pfx::checked_calloc((ptr), (count), (size), __LINE__, kModule, #ptr)
#define PFX_REALLOC(ptr, count, size) \
    ::pfx::checked_realloc((ptr), (count), (size), __LINE__, kModule, #ptr)
#define PFX_WCSDUP(ptr, src) ::pfx::checked_wcsdup((ptr), (src), __LINE__, kModule, #ptr)
#define PFX_STRDUP(ptr, src) ::pfx::checked_strdup((ptr), (src), __LINE__, kModule, #ptr)

// The same where the reported variable text differs from the expression used
// (a local alias of "((*obj)[k]->Node_Pt)[jj].Poly_Id", say).
#define PFX_MALLOC_AS(ptr, count, size, var) \
    ::pfx::checked_malloc((ptr), (count), (size), __LINE__, kModule, (var))
#define PFX_CALLOC_AS(ptr, count, size, var) \
    ::pfx::checked_calloc((ptr), (count), (size), __LINE__, kModule, (var))
#define PFX_REALLOC_AS(ptr, count, size, var) \
    ::pfx::checked_realloc((ptr), (count), (size), __LINE__, kModule, (var))
#define PFX_WCSDUP_AS(ptr, src, var) ::pfx::checked_wcsdup((ptr), (src), __LINE__, kModule, (var))
