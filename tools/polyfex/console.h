// What the command shows, and where: its own lines and the library's.
//
// The command installs one handler in Tarnwick. The library's user blocks and
// memory errors always reach stderr; trace lines, notes and progress notes
// only with --verbose. A subcommand may hold user lines back while a file is
// read or written (MessageHold), to fold them into its own one-line error when
// the operation fails, and may collect the integrity findings (NoteCollector).
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "markup.h"

namespace polyfex_cli {

enum class When { Auto, Always, Never };

struct ConsoleSettings {
    bool verbose = false;
    When colour = When::Auto;
    When progress = When::Auto;
};

// Flag word the dump passes with its lines: they go to stdout.
constexpr int kDumpFlag = 0;

// Decides colour and progress per stream and installs the handler.
void console_start(const ConsoleSettings& settings);
// Restores Tarnwick's own handler and clears the progress pointers.
void console_stop();

bool verbose();
bool colour_out(); // stdout takes ANSI styles
bool colour_err(); // stderr takes ANSI styles

// "polyfex: error: <text>" on stderr.
void error_line(const std::string& text);
// "polyfex: warning: <text>" on stderr.
void warning_line(const std::string& text);
// A line of the command's own report on stdout.
void out_line(const std::string& text);

// While one exists, the library's user and memory lines are kept instead of
// shown (with --verbose: kept and shown). Its destructor shows what is still
// held and was not shown yet.
class MessageHold {
public:
    MessageHold();
    ~MessageHold();
    MessageHold(const MessageHold&) = delete;
    MessageHold& operator=(const MessageHold&) = delete;

    // The held lines as one line of text ("Unable to open file!; dir: ..."),
    // then forgotten; empty when nothing was held.
    std::string fold();

private:
    std::vector<std::wstring>* previous_;
    std::vector<std::wstring> lines_;
};

// While one exists, notes (integrity findings) are collected as plain text.
class NoteCollector {
public:
    NoteCollector();
    ~NoteCollector();
    NoteCollector(const NoteCollector&) = delete;
    NoteCollector& operator=(const NoteCollector&) = delete;

    // The notes collected so far, then forgotten.
    std::vector<std::string> take();

private:
    std::vector<std::string>* previous_;
    std::vector<std::string> notes_;
};

} // namespace polyfex_cli
