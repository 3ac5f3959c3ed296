// The entry layer shared by the ".mov" readers: the path from directory and
// name, the open and the whole file in memory.
#pragma once

#include <wchar.h>

#include "core/file_bytes.h"

namespace pfx::mov {

// Longest path formed from directory and name, in wide characters.
constexpr int kPathChars = 770;

// dir + name + ".mov", cut at kPathChars characters; a null part counts as
// empty. out must hold kPathChars + 1 characters.
void form_path(wchar_t* out, const wchar_t* dir, const wchar_t* name);

enum class Load { Done, OpenFailed, MemoryFailed };

// Opens dir + name + ".mov" for reading in text mode and takes all its bytes;
// the file is closed again before this returns. OpenFailed has already sent
// the file-open failure block, MemoryFailed its memory-error line with the
// module tag given.
Load load_file(const wchar_t* dir, const wchar_t* name, FileBytes& bytes, const char* module);

} // namespace pfx::mov
