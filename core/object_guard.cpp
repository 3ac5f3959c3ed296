#include "core/object_guard.h"

#include <cstdlib>

#include "core/alloc.h"

namespace pfx {

void release_object(Movie_Objs* obj)
{
    if (!obj) return;
    Movie_Free(obj);
    std::free(obj);
}

void release_object_list(Movie_Objs** list, int n)
{
    if (!list) return;
    for (int i = 0; i < n; ++i) release_object(list[i]);
    std::free(list);
}

Movie_Objs* new_object(int line, const char* module, const char* var)
{
    Movie_Objs* obj = nullptr;
    if (!checked_calloc(obj, 1, 288, line, module, var)) return nullptr;
    return obj;
}

} // namespace pfx
