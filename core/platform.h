// The few operating-system services the library needs, behind one seam.
#pragma once

#include <cstddef>
#include <cstdio>
#include <wchar.h>

namespace pfx {

// Opens a file by wide path; the path is encoded as UTF-8 for the system.
// mode is a stdio mode ("r", "rb", "w", "wb"). errno is set on failure.
FILE* open_file(const wchar_t* path, const char* mode);

// The full path of the library's own module file into buf (always
// terminated). Returns false when the system can't tell.
bool module_path(char* buf, size_t cap);

// Local date and time with a strftime format into buf (always terminated).
void local_time_text(char* buf, size_t cap, const char* format);

} // namespace pfx
