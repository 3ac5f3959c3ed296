// What the ".mov" readers tell the user and the progress display.
//
// Each block is sent as MSG_USER lines, one call per line; the caller sends
// its exit trace line after it.
#pragma once

#include <wchar.h>

#include "polyfex.h"

namespace pfx::mov {

// "Unable to read the file!" with "MOVIE file must be of type surface".
void report_not_surface(const wchar_t* name);
// "Unable to read the file!" with "MOVIE file must have only one object".
void report_many_objects(const wchar_t* name);
// "Bad polygon in file!": polygon (1-based) has `sides` nodes.
void report_bad_polygon(const wchar_t* name, int polygon, int sides);
// "Bad polygon count in file!": the header's count and the count read.
void report_bad_count(const wchar_t* name, int expected, int read);

// The malformed-file cases, all under "Unable to read the file!".
void report_bad_header(const wchar_t* name);
void report_bad_counts(const wchar_t* name);
void report_bad_part_line(const wchar_t* name, long long part);
void report_bad_part_range(const wchar_t* name, int part, int start, int stop, int poly_nb);
void report_bad_node_line(const wchar_t* name, long long node);
void report_bad_connect(const wchar_t* name, long long value);
void report_bad_node_number(const wchar_t* name, long long polygon, long long number, int node_nb);

// A MSG_PROGRESS note, "-> Reading %hs nodes" with the grouped count, say.
void progress_note(const char* text);
void progress_note_count(const char* format, long long count);

// The utility library's progress pointers, each called only when set.
inline void progress_start(int total)
{
    if (Util_Progress_Start) Util_Progress_Start(total);
}
inline void progress_inc(int amount)
{
    if (Util_Progress_Inc) Util_Progress_Inc(amount);
}
inline void progress_ping(float working)
{
    if (Util_Progress_PingPong) Util_Progress_PingPong(working);
}

} // namespace pfx::mov
