#include "core/diag.h"

#include <cassert>
#include <cerrno>
#include <cwchar>

#include "core/alloc.h"

namespace pfx {

const TraceStyle kTraceCore = {MSG_TRACE, "Polyfex: "};
const TraceStyle kTraceNative = {MSG_TRACE, ""};
const TraceStyle kTraceIo = {MSG_TRACE_IO, ""};

const OpenFailureLines kOpenFailureDefault = {L"\xF1\t dir:\x01%ls", L"\xF1\t file\x01%ls", L"\xF1\t %ls"};

Trace::Trace(const TraceStyle& style, const char* name, std::initializer_list<const wchar_t*> args)
    : style_(style), name_(name)
{
    const wchar_t* a[3] = {nullptr, nullptr, nullptr};
    size_t n = 0;
    for (const wchar_t* s : args)
        if (n < 3) a[n++] = s;
    // One call per shape, so the line is formatted without a scratch buffer.
    switch (n) {
    case 0: Error_Fct(hwnd, style_.flag, ">>> in  %hs%hs()", style_.prefix, name_); break;
    case 1: Error_Fct(hwnd, style_.flag, L">>> in  %hs%hs(%ls)", style_.prefix, name_, a[0]); break;
    case 2: Error_Fct(hwnd, style_.flag, L">>> in  %hs%hs(%ls,%ls)", style_.prefix, name_, a[0], a[1]); break;
    default:
        Error_Fct(hwnd, style_.flag, L">>> in  %hs%hs(%ls,%ls,%ls)", style_.prefix, name_, a[0], a[1], a[2]);
        break;
    }
}

Trace::~Trace() { assert(closed_ && "every way out of a traced call says how it leaves"); }

void Trace::exit_line(const char* reason)
{
    closed_ = true;
    Error_Fct(hwnd, style_.flag, "<<< out %hs%hs(%hs)", style_.prefix, name_, reason);
}

const char* refuse_reason(const Movie_Objs* obj, unsigned int geometry_bit)
{
    if (!obj) return "! obj";
    if (obj->Node_Nb == 0) return "! Node_Nb";
    if (geometry_bit && !(obj->Flags & geometry_bit)) {
        switch (geometry_bit) {
        case GEOM_POINT: return "! GEOM_POINT";
        case GEOM_LINE: return "! GEOM_LINE";
        case GEOM_OTHER: return "! GEOM_OTHER";
        default: return "! GEOM_POLY";
        }
    }
    return nullptr;
}

void copy_errno_text(int err)
{
    const wchar_t* text = Error_Perror(err);
    size_t cap = sizeof Kren_Err_Str / sizeof Kren_Err_Str[0];
    size_t i = 0;
    for (; text && text[i] && i + 1 < cap; ++i) Kren_Err_Str[i] = text[i];
    Kren_Err_Str[i] = 0;
}

void report_read_open_failure(const OpenFailureLines& lines, const wchar_t* dir, const wchar_t* name, int err)
{
    copy_errno_text(err);
    Error_Fct(hwnd, MSG_USER, L"\xF1\x04" L"ERROR:\x02 Unable to open file!");
    Error_Fct(hwnd, MSG_USER, lines.dir, dir);
    Error_Fct(hwnd, MSG_USER, lines.file, name);
    Error_Fct(hwnd, MSG_USER, lines.text, Kren_Err_Str);
}

void user_path_lines(const wchar_t* path)
{
    if (!path) path = L"";
    // note: a path too long for the stack buffers is shown whole on one line.
    constexpr size_t kCap = 1024;
    if (wcslen(path) >= kCap) {
        user_line(L"%ls", path);
        return;
    }
    wchar_t dir[kCap], name[kCap], ext[kCap];
    Get_Generic_Name(path, dir, name, ext);
    if (wcslen(dir) + wcslen(name) <= 30) {
        user_line(L"%ls%ls%ls", dir, name, ext);
    } else {
        user_line(L"%ls", dir);
        user_line(L"%ls%ls", name, ext);
    }
}

void report_write_open_failure(const wchar_t* path, int err)
{
    copy_errno_text(err);
    Error_Fct(hwnd, MSG_USER, "");
    Error_Fct(hwnd, MSG_USER, "------------- WARNING --------------");
    Error_Fct(hwnd, MSG_USER, "Unable to write the file");
    user_path_lines(path);
    Error_Fct(hwnd, MSG_USER, L"%ls", Kren_Err_Str);
    Error_Fct(hwnd, MSG_USER, "------------------------------------");
}

} // namespace pfx
