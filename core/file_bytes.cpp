#include "core/file_bytes.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>

#include "core/alloc.h"

namespace pfx {

FileBytes::~FileBytes() { std::free(data); }

bool read_file_bytes(FILE* file, FileBytes& out, int line, const char* module, const char* var)
{
    std::free(out.data);
    out.data = nullptr;
    out.size = 0;
    long start = std::ftell(file);
    struct stat st;
    size_t guess = 0;
    if (start >= 0 && fstat(fileno(file), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= start)
        guess = static_cast<size_t>(st.st_size - start);
    // Regular files come in one read of their known size; anything else
    // (pipes, files that grow meanwhile) grows the buffer as it goes.
    size_t cap = guess + 1;
    char* buf = nullptr;
    if (!checked_malloc(buf, static_cast<long long>(cap), 1, line, module, var)) return false;
    advise_huge(buf, cap);
    size_t len = 0;
    for (;;) {
        if (len + 1 >= cap) {
            // A full buffer may hold the whole file: a one-byte probe tells
            // the end from more data, so a file of its announced size is
            // never copied into a bigger block just to find its end.
            char probe;
            if (std::fread(&probe, 1, 1, file) == 0) break;
            size_t ncap = cap < 65536 ? 65536 : cap * 2;
            if (!checked_realloc(buf, static_cast<long long>(ncap), 1, line, module, var)) {
                std::free(buf);
                return false;
            }
            cap = ncap;
            buf[len++] = probe;
        }
        size_t got = std::fread(buf + len, 1, cap - 1 - len, file);
        len += got;
        if (got == 0) break;
    }
    if (std::ferror(file)) {
        std::free(buf);
        errno = EIO;
        return false;
    }
    buf[len] = 0;
    out.data = buf;
    out.size = len;
    return true;
}

} // namespace pfx
