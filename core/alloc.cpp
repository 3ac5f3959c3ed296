#include "core/alloc.h"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#include "polyfex.h"

namespace pfx {
namespace {

// Injection state. Tests drive it from one thread; the library itself never
// touches it, so no lock is needed.
long g_fail_at = 0;
long g_calls = 0;

bool next_call_fails()
{
    ++g_calls;
    return g_fail_at > 0 && g_calls == g_fail_at;
}

const char* kind_name(AllocKind kind)
{
    switch (kind) {
    case AllocKind::Malloc: return "malloc";
    case AllocKind::Calloc: return "calloc";
    case AllocKind::Realloc: return "realloc";
    case AllocKind::Wcsdup: return "_wcsdup";
    case AllocKind::Strdup: return "_strdup";
    }
    return "malloc";
}

} // namespace

void alloc_fail_at(long n)
{
    g_fail_at = n;
    g_calls = 0;
}

long alloc_calls() { return g_calls; }

void report_memory_error(int line, const char* module, AllocKind kind, const char* var, long long count,
                         long long size)
{
    if (kind == AllocKind::Wcsdup || kind == AllocKind::Strdup) {
        Error_Fct(hwnd, MSG_MEMORY, L"line %-4d of %hs \nmemory error in %hs (var=%hs)", line, module,
                  kind_name(kind), var);
        return;
    }
    Error_Fct(hwnd, MSG_MEMORY, L"line %-4d of %hs \nmemory error in %hs (var=%hs, dim=%dx%d)", line, module,
              kind_name(kind), var, static_cast<int>(count), static_cast<int>(size));
}

void* raw_malloc(size_t bytes)
{
    if (next_call_fails()) return nullptr;
    return std::malloc(bytes ? bytes : 1);
}

void* raw_calloc(size_t count, size_t size)
{
    if (next_call_fails()) return nullptr;
    if (count == 0 || size == 0) return std::calloc(1, 1);
    return std::calloc(count, size);
}

void* raw_realloc(void* p, size_t bytes)
{
    if (next_call_fails()) return nullptr;
    return std::realloc(p, bytes ? bytes : 1);
}

wchar_t* raw_wcsdup(const wchar_t* s)
{
    if (next_call_fails()) return nullptr;
    return wcsdup(s ? s : L"");
}

char* raw_strdup(const char* s)
{
    if (next_call_fails()) return nullptr;
    return strdup(s ? s : "");
}

bool checked_wcsdup(wchar_t*& p, const wchar_t* s, int line, const char* module, const char* var)
{
    wchar_t* q = raw_wcsdup(s);
    if (!q) {
        report_memory_error(line, module, AllocKind::Wcsdup, var, 0, 0);
        return false;
    }
    p = q;
    return true;
}

bool checked_strdup(char*& p, const char* s, int line, const char* module, const char* var)
{
    char* q = raw_strdup(s);
    if (!q) {
        report_memory_error(line, module, AllocKind::Strdup, var, 0, 0);
        return false;
    }
    p = q;
    return true;
}

void advise_huge(void* p, size_t bytes)
{
    constexpr size_t kHuge = size_t(2) << 20;
    if (!p || bytes < 2 * kHuge) return;
    // Only whole huge pages inside the block; the advice is a hint and its
    // failure changes nothing.
    uintptr_t begin = (reinterpret_cast<uintptr_t>(p) + kHuge - 1) & ~(kHuge - 1);
    uintptr_t end = (reinterpret_cast<uintptr_t>(p) + bytes) & ~(kHuge - 1);
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

} // namespace pfx
