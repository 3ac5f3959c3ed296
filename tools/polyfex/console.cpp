#include "console.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "polyfex.h"
#include "progress.h"

namespace polyfex_cli {
namespace {

struct ConsoleState {
    bool verbose = false;
    bool colour_out = false;
    bool colour_err = false;
    std::vector<std::wstring>* held = nullptr; // MessageHold
    std::vector<std::string>* notes = nullptr; // NoteCollector
};
ConsoleState g_console;

bool is_terminal(FILE* stream)
{
    if (!isatty(fileno(stream)))
        return false;
    const char* term = std::getenv("TERM");
    return !(term && std::strcmp(term, "dumb") == 0);
}

bool decide(When when, FILE* stream)
{
    switch (when) {
    case When::Always: return true;
    case When::Never: return false;
    case When::Auto: break;
    }
    return is_terminal(stream);
}

void put(FILE* stream, const std::string& text)
{
    if (stream == stderr)
        progress_clear();
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fputc('\n', stream);
    if (stream == stderr)
        std::fflush(stderr);
}

enum class Kind { User, Note, Dump, Trace };

Kind kind_of(unsigned int flag)
{
    switch (flag) {
    case MSG_USER:
    case MSG_MEMORY: return Kind::User;
    case MSG_NOTE: return Kind::Note;
    case static_cast<unsigned int>(kDumpFlag): return Kind::Dump;
    default: return Kind::Trace; // MSG_TRACE, MSG_TRACE_IO, MSG_ENTRY, MSG_PROGRESS
    }
}

void on_library_line(unsigned int flag, const wchar_t* line, void*)
{
    switch (kind_of(flag)) {
    case Kind::User:
        // With --verbose the block is shown as it comes and also kept for the
        // one-line error that may follow it.
        if (g_console.held)
            g_console.held->emplace_back(line ? line : L"");
        if (!g_console.held || g_console.verbose)
            put(stderr, render_markup(line, g_console.colour_err));
        return;
    case Kind::Note:
        if (g_console.notes)
            g_console.notes->push_back(render_markup(line, false));
        else if (g_console.verbose)
            put(stderr, render_markup(line, g_console.colour_err));
        return;
    case Kind::Dump: put(stdout, render_markup(line, false)); return;
    case Kind::Trace:
        if (g_console.verbose)
            put(stderr, styled(render_markup(line, false), Style::Dim, g_console.colour_err));
        return;
    }
}

// The words of a held block that say something: labels, rulers and blank
// lines dropped, blanks trimmed.
std::string meaningful(const std::string& line)
{
    size_t b = line.find_first_not_of(" -\t\n");
    size_t e = line.find_last_not_of(" -\t\n");
    if (b == std::string::npos)
        return "";
    std::string text = line.substr(b, e - b + 1);
    for (const char* label : {"ERROR:", "WARNING:", "WARNING", "ERROR"}) {
        size_t n = std::strlen(label);
        if (text.compare(0, n, label) == 0) {
            text.erase(0, n);
            size_t s = text.find_first_not_of(' ');
            text.erase(0, s == std::string::npos ? text.size() : s);
            break;
        }
    }
    // memory-error lines hold "line N of module \nmemory error ...": keep both.
    for (size_t i; (i = text.find('\n')) != std::string::npos;)
        text.replace(i, 1, "; ");
    return text;
}

} // namespace

void console_start(const ConsoleSettings& settings)
{
    g_console.verbose = settings.verbose;
    g_console.colour_out = decide(settings.colour, stdout);
    g_console.colour_err = decide(settings.colour, stderr);
    progress_start(decide(settings.progress, stderr));
    Tarnwick_Set_Handler(on_library_line, nullptr);
}

void console_stop()
{
    progress_stop();
    Tarnwick_Set_Handler(nullptr, nullptr);
}

bool verbose() { return g_console.verbose; }
bool colour_out() { return g_console.colour_out; }
bool colour_err() { return g_console.colour_err; }

void error_line(const std::string& text)
{
    put(stderr, styled("polyfex: error:", Style::Error, g_console.colour_err) + " " + text);
}

void warning_line(const std::string& text)
{
    put(stderr, styled("polyfex: warning:", Style::Warning, g_console.colour_err) + " " + text);
}

void out_line(const std::string& text) { put(stdout, text); }

MessageHold::MessageHold() : previous_(g_console.held) { g_console.held = &lines_; }

MessageHold::~MessageHold()
{
    g_console.held = previous_;
    if (g_console.verbose)
        return; // shown as they came
    // Lines of an operation that went well (a warning of a reader) are shown
    // as the library wrote them.
    for (const std::wstring& line : lines_)
        put(stderr, render_markup(line.c_str(), g_console.colour_err));
}

std::string MessageHold::fold()
{
    std::string text;
    for (const std::wstring& line : lines_) {
        std::string part = meaningful(render_markup(line.c_str(), false));
        if (part.empty())
            continue;
        if (!text.empty())
            text += "; ";
        text += part;
    }
    lines_.clear();
    return text;
}

NoteCollector::NoteCollector() : previous_(g_console.notes) { g_console.notes = &notes_; }

NoteCollector::~NoteCollector() { g_console.notes = previous_; }

std::vector<std::string> NoteCollector::take()
{
    std::vector<std::string> out;
    out.swap(notes_);
    return out;
}

} // namespace polyfex_cli
