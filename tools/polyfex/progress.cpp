#include "progress.h"

#include <chrono>
#include <cstdio>

namespace polyfex_cli {
namespace {

struct Bar {
    bool enabled = false;
    bool drawn = false;
    long long total = 0; // 0: no known total, a spinner instead of a bar
    long long done = 0;
    unsigned spin = 0;
    std::string label;
    std::chrono::steady_clock::time_point last{};
};
Bar g_bar;

constexpr int kWidth = 30;

void draw(bool force)
{
    if (!g_bar.enabled)
        return;
    auto now = std::chrono::steady_clock::now();
    // note: the pace holds across erasures too: a reader that ends a stage
    // every few records would otherwise redraw the bar on every record.
    if (!force && now - g_bar.last < std::chrono::milliseconds(50))
        return;
    g_bar.last = now;
    char line[160];
    if (g_bar.total > 0) {
        long long done = g_bar.done < g_bar.total ? g_bar.done : g_bar.total;
        int filled = static_cast<int>(done * kWidth / g_bar.total);
        char bar[kWidth + 1];
        for (int i = 0; i < kWidth; ++i)
            bar[i] = i < filled ? '#' : '.';
        bar[kWidth] = 0;
        std::snprintf(line, sizeof line, "\r[%s] %3d%% %.60s\033[K", bar,
                      static_cast<int>(done * 100 / g_bar.total), g_bar.label.c_str());
    } else {
        static const char kSpin[] = "|/-\\";
        std::snprintf(line, sizeof line, "\r[%c] %.60s\033[K", kSpin[g_bar.spin % 4],
                      g_bar.label.c_str());
    }
    std::fputs(line, stderr);
    std::fflush(stderr);
    g_bar.drawn = true;
}

void on_start(int total)
{
    g_bar.total = total > 0 ? total : 0;
    g_bar.done = 0;
    draw(true);
}

void on_inc(int amount)
{
    g_bar.done += amount;
    draw(false);
}

void on_ping_pong(float working)
{
    if (working == 0.0f) {
        // the end of a reader's stage: the next stage starts its own count
        g_bar.total = 0;
        g_bar.done = 0;
        progress_clear();
        return;
    }
    ++g_bar.spin;
    draw(false);
}

void on_writer(int amount) { on_inc(amount); }

} // namespace

void progress_start(bool enabled)
{
    g_bar = Bar{};
    g_bar.enabled = enabled;
    Util_Progress_Start = enabled ? on_start : nullptr;
    Util_Progress_Inc = enabled ? on_inc : nullptr;
    Util_Progress_PingPong = enabled ? on_ping_pong : nullptr;
}

void progress_stop()
{
    progress_clear();
    Util_Progress_Start = nullptr;
    Util_Progress_Inc = nullptr;
    Util_Progress_PingPong = nullptr;
    g_bar.enabled = false;
}

void progress_label(const std::string& label)
{
    g_bar.label = label;
    g_bar.total = 0;
    g_bar.done = 0;
}

Pfx_Progress progress_for_writer(long long total)
{
    if (!g_bar.enabled)
        return nullptr;
    g_bar.total = total > 0 ? total : 0;
    g_bar.done = 0;
    return on_writer;
}

void progress_clear()
{
    if (!g_bar.drawn)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    g_bar.drawn = false;
}

} // namespace polyfex_cli
