// The message sink and the process-wide items hosts and the library share.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "format.h"
#include "tarnwick.h"
#include "utf.h"

HWND hwnd = nullptr;
wchar_t Kren_Err_Str[TARNWICK_ERR_STR_CAP] = {0};
void (*Util_Progress_Start)(int) = nullptr;
void (*Util_Progress_Inc)(int) = nullptr;
void (*Util_Progress_PingPong)(float) = nullptr;

namespace {

bool is_markup(wchar_t c) { return c == 0xF1 || c == 0x01 || c == 0x02 || c == 0x04 || c == 0x05; }

// User-facing lines and memory errors to stderr, without markup; the rest
// (traces, notes, progress) is dropped.
void default_handler(unsigned int flag, const wchar_t* line, void*)
{
    if (flag != 1 && flag != 2) return;
    std::wstring plain;
    for (const wchar_t* p = line; *p; ++p)
        if (!is_markup(*p)) plain.push_back(*p);
    std::string utf8;
    tarnwick::append_wide_as_utf8(utf8, plain.data(), plain.size());
    if (utf8.empty() || utf8.back() != '\n') utf8.push_back('\n');
    std::fwrite(utf8.data(), 1, utf8.size(), stderr);
}

Tarnwick_Handler g_handler = default_handler;
void* g_user = nullptr;

int deliver(unsigned int flag, const std::wstring& line)
{
    g_handler(flag, line.c_str(), g_user);
    return 1;
}

} // namespace

void Tarnwick_Set_Handler(Tarnwick_Handler handler, void* user)
{
    g_handler = handler ? handler : default_handler;
    g_user = handler ? user : nullptr;
}

int Error_Fct(HWND, unsigned int flag, const char* format, ...)
{
    va_list ap;
    va_start(ap, format);
    std::wstring line = tarnwick::vformat(format, ap);
    va_end(ap);
    return deliver(flag, line);
}

int Error_Fct(HWND, unsigned int flag, const wchar_t* format, ...)
{
    va_list ap;
    va_start(ap, format);
    std::wstring line = tarnwick::vformat(format, ap);
    va_end(ap);
    return deliver(flag, line);
}

const wchar_t* Error_Perror(int errnum)
{
    thread_local std::wstring text;
    char buf[256];
    // GNU strerror_r returns the text, possibly not in buf.
    const char* s = strerror_r(errnum, buf, sizeof buf);
    text.clear();
    tarnwick::append_utf8_as_wide(text, s, std::strlen(s));
    return text.c_str();
}
