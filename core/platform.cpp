// Linux versions of the system services: wide paths are opened by their
// UTF-8 encoding, the module's own file comes from dladdr.
#include "core/platform.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <string>

#include "polyfex.h"

namespace pfx {

FILE* open_file(const wchar_t* path, const char* mode)
{
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    const char* utf8 = Wchar_2_Char(path);
    if (!utf8) {
        errno = EINVAL;
        return nullptr;
    }
    // Tarnwick's conversion buffer is reused by its next call: open at once.
    return std::fopen(utf8, mode);
}

bool module_path(char* buf, size_t cap)
{
    if (!buf || cap == 0) return false;
    buf[0] = 0;
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&module_path), &info) || !info.dli_fname) return false;
    std::strncpy(buf, info.dli_fname, cap - 1);
    buf[cap - 1] = 0;
    return true;
}

void local_time_text(char* buf, size_t cap, const char* format)
{
    if (!buf || cap == 0) return;
    std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    if (std::strftime(buf, cap, format, &local) == 0) buf[0] = 0;
}

} // namespace pfx
