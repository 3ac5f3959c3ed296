// Diagnostics shared by every operation: the entry/exit trace lines, user
// lines and the file-open failure blocks. Only this module and the
// allocation helper call the sink.
#pragma once

#include <initializer_list>
#include <wchar.h>

#include "polyfex.h"

namespace pfx {

// How an operation's trace lines look: the flag word, and the text between
// ">>> in  " / "<<< out " and the operation's name.
struct TraceStyle {
    unsigned int flag;
    const char* prefix;
};

// Core operations: ">>> in  Polyfex: Movie_Init_Norm()", MSG_TRACE.
extern const TraceStyle kTraceCore;
// Native readers: ">>> in  Movie_Read(dir,name)", MSG_TRACE.
extern const TraceStyle kTraceNative;
// OBJ and STL readers and the facet welding: ">>> in  STL_Read(dir,name)",
// MSG_TRACE_IO.
extern const TraceStyle kTraceIo;

// One per traced call. The constructor sends the entry line with the wide
// arguments joined by "," inside the parentheses (a null one prints as
// "(null)"); every way out says how it leaves:
//   return t.out(1, "done");     exit line with that reason
//   return t.out(0, "! obj");
//   return t.silent(0);          no exit line (after a memory-error line)
// Debug builds assert that one of them ran.
class Trace {
public:
    Trace(const TraceStyle& style, const char* name, std::initializer_list<const wchar_t*> args = {});
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    template <class R>
    R out(R result, const char* reason)
    {
        exit_line(reason);
        return result;
    }
    template <class R>
    R silent(R result)
    {
        closed_ = true;
        return result;
    }
    // A "-> ..." note between entry and exit, with the style's flag (narrow
    // or wide format, Tarnwick's printf rules).
    template <class Ch, class... A>
    void note(const Ch* format, A... args)
    {
        Error_Fct(hwnd, style_.flag, format, args...);
    }

private:
    void exit_line(const char* reason);
    const TraceStyle& style_;
    const char* name_;
    bool closed_ = false;
};

// The refusal reason for the usual entry checks, in their fixed order: null
// object, no nodes, then the geometry bit (0 = none required). Null when the
// object passes. The texts are the exit reasons: "! obj", "! Node_Nb",
// "! GEOM_POLY", "! GEOM_LINE", "! GEOM_POINT".
const char* refuse_reason(const Movie_Objs* obj, unsigned int geometry_bit);

// One MSG_USER line (Tarnwick's printf rules).
template <class Ch, class... A>
void user_line(const Ch* format, A... args)
{
    Error_Fct(hwnd, MSG_USER, format, args...);
}

// A path as user lines: one line when directory and name together have at
// most 30 characters, else the directory on one and name and extension on
// the next. A null path is an empty one.
void user_path_lines(const wchar_t* path);

// Copies Error_Perror(err) into Kren_Err_Str, within its capacity.
void copy_errno_text(int err);

// The detail lines that differ between readers' open-failure blocks.
struct OpenFailureLines {
    const wchar_t* dir;  // e.g. L"\xF1\t dir:\x01%ls"
    const wchar_t* file; // e.g. L"\xF1\t file\x01%ls"
    const wchar_t* text; // e.g. L"\xF1\t %ls" (Kren_Err_Str)
};
// The lines most readers use.
extern const OpenFailureLines kOpenFailureDefault;

// Reading: errno text into Kren_Err_Str, then the four MSG_USER lines (head
// "Unable to open file!", dir, file, system text). The caller sends its exit
// trace line after it.
void report_read_open_failure(const OpenFailureLines& lines, const wchar_t* dir,
                              const wchar_t* name, int err);

// Writing: errno text into Kren_Err_Str and the "------------- WARNING
// --------------" block with the path on one line (directory + name at most
// 30 characters) or two.
void report_write_open_failure(const wchar_t* path, int err);

} // namespace pfx
