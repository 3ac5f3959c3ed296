#include "json_out.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace polyfex_cli {

std::string json_string(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        default:
            if (c < 0x20) {
                char esc[8];
                std::snprintf(esc, sizeof esc, "\\u%04x", c);
                out += esc;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out + "\"";
}

std::string json_number(double number)
{
    if (!std::isfinite(number))
        return "null";
    // note: the values are single-precision results; their shortest float
    // text is what the library computed, without double noise digits.
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, static_cast<float>(number));
    return std::string(buf, res.ptr);
}

void JsonOut::item(const char* key)
{
    if (!first_.empty()) {
        text_ += first_.back() ? "\n" : ",\n";
        first_.back() = false;
        text_.append(2 * first_.size(), ' ');
    }
    if (key)
        text_ += json_string(key) + ": ";
}

JsonOut& JsonOut::begin_object(const char* key)
{
    item(key);
    text_ += "{";
    first_.push_back(true);
    return *this;
}

JsonOut& JsonOut::end_object()
{
    bool empty = first_.back();
    first_.pop_back();
    if (!empty) {
        text_ += "\n";
        text_.append(2 * first_.size(), ' ');
    }
    text_ += "}";
    return *this;
}

JsonOut& JsonOut::begin_array(const char* key)
{
    item(key);
    text_ += "[";
    first_.push_back(true);
    return *this;
}

JsonOut& JsonOut::end_array()
{
    bool empty = first_.back();
    first_.pop_back();
    if (!empty) {
        text_ += "\n";
        text_.append(2 * first_.size(), ' ');
    }
    text_ += "]";
    return *this;
}

JsonOut& JsonOut::value(const char* key, const std::string& text)
{
    item(key);
    text_ += json_string(text);
    return *this;
}

JsonOut& JsonOut::value(const char* key, const char* text) { return value(key, std::string(text)); }

JsonOut& JsonOut::value(const char* key, double number)
{
    item(key);
    text_ += json_number(number);
    return *this;
}

JsonOut& JsonOut::value(const char* key, long long number)
{
    item(key);
    text_ += std::to_string(number);
    return *this;
}

JsonOut& JsonOut::value(const char* key, bool flag)
{
    item(key);
    text_ += flag ? "true" : "false";
    return *this;
}

JsonOut& JsonOut::null(const char* key)
{
    item(key);
    text_ += "null";
    return *this;
}

JsonOut& JsonOut::numbers(const char* key, std::initializer_list<double> list)
{
    item(key);
    text_ += "[";
    bool first = true;
    for (double v : list) {
        if (!first)
            text_ += ", ";
        first = false;
        text_ += json_number(v);
    }
    text_ += "]";
    return *this;
}

JsonOut& JsonOut::strings(const char* key, const std::vector<std::string>& list)
{
    item(key);
    text_ += "[";
    for (size_t i = 0; i < list.size(); ++i)
        text_ += (i ? ", " : "") + json_string(list[i]);
    text_ += "]";
    return *this;
}

} // namespace polyfex_cli
