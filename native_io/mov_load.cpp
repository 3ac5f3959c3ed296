#include "native_io/mov_load.h"

#include <cerrno>
#include <cstdio>

#include "core/diag.h"
#include "core/platform.h"

namespace pfx::mov {

namespace {

void append(wchar_t* out, int& len, const wchar_t* text)
{
    if (!text) return;
    while (*text && len < kPathChars) out[len++] = *text++;
}

struct FileCloser {
    FILE* file;
    ~FileCloser() { std::fclose(file); }
};

} // namespace

void form_path(wchar_t* out, const wchar_t* dir, const wchar_t* name)
{
    // note: a path longer than the limit is cut, as a formatted write into a
    // buffer of that size would cut it; the open then fails and says so.
    int len = 0;
    append(out, len, dir);
    append(out, len, name);
    append(out, len, L".mov");
    out[len] = L'\0';
}

Load load_file(const wchar_t* dir, const wchar_t* name, FileBytes& bytes, const char* module)
{
    wchar_t path[kPathChars + 1];
    form_path(path, dir, name);
    errno = 0;
    FILE* file = open_file(path, "r");
    if (!file) {
        report_read_open_failure(kOpenFailureDefault, dir, name, errno);
        return Load::OpenFailed;
    }
    FileCloser closer{file};
    errno = 0;
    // note: a file that opens but can't be read (a directory named like the
    // file, a read error) is reported as an open failure, with the system's
    // text for the error.
    if (!read_file_bytes(file, bytes, __LINE__, module, "buffer")) {
        if (!std::ferror(file)) return Load::MemoryFailed;
        report_read_open_failure(kOpenFailureDefault, dir, name, errno ? errno : EIO);
        return Load::OpenFailed;
    }
    return Load::Done;
}

} // namespace pfx::mov
