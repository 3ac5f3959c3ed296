#include "native_io/mov_report.h"

#include "core/diag.h"

namespace pfx::mov {

namespace {

// "\x04" and "E" are kept apart: a hex escape would swallow the letter.
constexpr wchar_t kReadHead[] = L"\xF1\x04" L"ERROR:\x02 Unable to read the file!";
constexpr wchar_t kPolygonHead[] = L"\xF1\x04" L"ERROR:\x02 Bad polygon in file!";
constexpr wchar_t kCountHead[] = L"\xF1\x04" L"ERROR:\x02 Bad polygon count in file!";
constexpr wchar_t kFileLine[] = L"\xF1\t \x01%ls.mov";

void unreadable(const wchar_t* name)
{
    user_line(kReadHead);
    user_line(kFileLine, name);
}

} // namespace

void report_not_surface(const wchar_t* name)
{
    unreadable(name);
    user_line(L"\xF1\t MOVIE file must be of type surface");
    user_line(L"\xF1\t nb_obj param. must be greater than 0");
}

void report_many_objects(const wchar_t* name)
{
    unreadable(name);
    user_line(L"\xF1\t MOVIE file must have only one object");
    user_line(L"\xF1\t nb_obj param. must be equal to 1");
}

void report_bad_polygon(const wchar_t* name, int polygon, int sides)
{
    user_line(kPolygonHead);
    user_line(kFileLine, name);
    user_line(L"\xF1\t polygon \x01%d\x02 has \x01%d\x02 sides", polygon, sides);
}

void report_bad_count(const wchar_t* name, int expected, int read)
{
    user_line(kCountHead);
    user_line(kFileLine, name);
    user_line(L"\xF1\t expecting \x01%d\x02 polygon but read \x01%d\x02", expected, read);
}

void report_bad_header(const wchar_t* name)
{
    unreadable(name);
    user_line(L"\xF1\t the first line must hold four integers");
}

void report_bad_counts(const wchar_t* name)
{
    unreadable(name);
    user_line(L"\xF1\t the counts of the first line do not fit the file");
}

void report_bad_part_line(const wchar_t* name, long long part)
{
    unreadable(name);
    user_line(L"\xF1\t part line \x01%lld\x02 is missing or unreadable", part);
}

void report_bad_part_range(const wchar_t* name, int part, int start, int stop, int poly_nb)
{
    unreadable(name);
    user_line(L"\xF1\t part \x01%d\x02 (polygons \x01%d\x02 to \x01%d\x02) lies outside the "
              L"\x01%d\x02 polygons",
              part, start, stop, poly_nb);
}

void report_bad_node_line(const wchar_t* name, long long node)
{
    unreadable(name);
    user_line(L"\xF1\t node \x01%lld\x02 is missing or unreadable", node);
}

void report_bad_connect(const wchar_t* name, long long value)
{
    unreadable(name);
    user_line(L"\xF1\t connectivity value \x01%lld\x02 is missing or unreadable", value);
}

void report_bad_node_number(const wchar_t* name, long long polygon, long long number, int node_nb)
{
    unreadable(name);
    user_line(L"\xF1\t polygon \x01%lld\x02 refers to node \x01%lld\x02 (nodes are 1 to \x01%d\x02)",
              polygon, number, node_nb);
}

void progress_note(const char* text)
{
    // note: the diagnostics module has no MSG_PROGRESS helper; these notes are
    // the readers' own and go straight to the sink.
    Error_Fct(hwnd, MSG_PROGRESS, "%s", text);
}

void progress_note_count(const char* format, long long count)
{
    char digits[32];
    Error_Fct(hwnd, MSG_PROGRESS, format, Int_2_Str(count, digits));
}

} // namespace pfx::mov
