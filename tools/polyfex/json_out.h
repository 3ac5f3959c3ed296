// A small JSON writer for the scripted forms of the reports.
#pragma once

#include <string>
#include <vector>

namespace polyfex_cli {

// Builds one JSON document, indented by two blanks. Keys are given before each
// value inside an object; the caller keeps begin and end calls paired.
class JsonOut {
public:
    JsonOut& begin_object(const char* key = nullptr);
    JsonOut& end_object();
    JsonOut& begin_array(const char* key = nullptr);
    JsonOut& end_array();
    JsonOut& value(const char* key, const std::string& text);
    JsonOut& value(const char* key, const char* text);
    JsonOut& value(const char* key, double number);
    JsonOut& value(const char* key, long long number);
    JsonOut& value(const char* key, bool flag);
    JsonOut& null(const char* key);
    // An array of numbers on one line.
    JsonOut& numbers(const char* key, std::initializer_list<double> list);
    JsonOut& strings(const char* key, const std::vector<std::string>& list);

    const std::string& text() const { return text_; }

private:
    void item(const char* key);
    std::string text_;
    std::vector<bool> first_; // per open container: no item yet
};

// A JSON string literal of UTF-8 text.
std::string json_string(const std::string& text);
// A JSON number: shortest text that reads back as the same float; NaN and
// infinities (no JSON form) as null.
std::string json_number(double number);

} // namespace polyfex_cli
