// Whole-file reading into memory, for parsers that work on a buffer.
#pragma once

#include <cstddef>
#include <cstdio>

namespace pfx {

// The bytes of an open file from its current position to its end, in a
// buffer from the hooked allocator with one spare zero byte after the data
// (so parsers may look one past the end). On failure the memory-error line
// names "var" and data is null.
struct FileBytes {
    char* data = nullptr;
    size_t size = 0;
    FileBytes() = default;
    ~FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
};

// Returns false after a memory error (already reported with module and var)
// or a read error (nothing reported; errno is set).
bool read_file_bytes(FILE* file, FileBytes& out, int line, const char* module, const char* var);
#define PFX_READ_FILE(file, out, var) ::pfx::read_file_bytes((file), (out), __LINE__, kModule, (var))

} // namespace pfx
