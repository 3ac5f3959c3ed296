#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "core/text_out.h"
#include "core/text_scan.h"

// Same float bits as scanf "%f", consuming as much as "%n" says.
void expect_like_scanf(const std::string& text, bool same_length = true)
{
    float want = 0, got = 0;
    int used = 0;
    const bool ok = std::sscanf(text.c_str(), "%f%n", &want, &used) == 1;
    const char* end = pfx::scan_float(text.data(), text.data() + text.size(), &got);
    ASSERT_EQ(end != nullptr, ok) << text;
    if (!ok) return;
    EXPECT_TRUE(std::isnan(want) ? std::isnan(got) : std::memcmp(&want, &got, 4) == 0) << text << " " << got;
    if (same_length) { EXPECT_EQ(end - text.data(), used) << text; }
}

TEST(TextScan, FloatsMatchTheCLibraryBitForBit)
{
    for (const char* c : {"0", "1.5", "-2.25", "+3", ".5", "5.", "1e10", "1E-5", "-0", "0.1", "3.4028235e38", "1e39",
                          "1e-46", "1.4e-45", "123456789", "0.123456", "  \t\n 7.25", "inf", "-Infinity", "nan",
                          "NaN(123)", "0x1p3", "-0x1.8P-1", "1.5abc", "16777217", "0.30000000000000004",
                          "9.999999e-39", "1.00000005960464477539062500000000001", "-.75e2", "x", ""})
        expect_like_scanf(c);
    // A dangling exponent: scanf's pushback is limited, ours stops before it.
    expect_like_scanf("2e", false);
    expect_like_scanf("7e+", false);
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> mag(-40, 40);
    char buf[64];
    for (int i = 0; i < 20000; ++i) {
        const double v = std::pow(10.0, mag(rng)) * (rng() & 1 ? 1 : -1);
        const int prec = static_cast<int>(rng() % 12);
        std::snprintf(buf, sizeof buf, (rng() & 1) ? "%.*e" : "%.*f", prec, v);
        expect_like_scanf(buf);
        if (HasFailure()) return;
    }
}

TEST(TextScan, IntegersMatchTheCLibraryAndStopAtTheBufferEnd)
{
    for (const char* c : {"12", "-7 ", "+5", "  \r\n42x", "-", "x1", "", "2147483647", "-2147483648"}) {
        int want = 0, got = 0;
        const bool ok = std::sscanf(c, "%d", &want) == 1;
        const char* end = pfx::scan_int(c, c + std::strlen(c), &got);
        ASSERT_EQ(end != nullptr, ok) << c;
        if (ok) { EXPECT_EQ(got, want) << c; }
    }
    const char text[] = "12345";
    int v = 0;
    float f = 0;
    EXPECT_EQ(pfx::scan_int(text, text + 3, &v), text + 3);
    EXPECT_EQ(pfx::scan_float(text, text + 2, &f), text + 2);
    EXPECT_TRUE(v == 123 && f == 12.0f);
    EXPECT_EQ(pfx::scan_float(text, text, &f), nullptr);
}

TEST(TextOut, NumbersHavePrintfsBytes)
{
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> mag(-8, 12);
    std::string ours, theirs;
    char buf[1024];
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    {
        pfx::OutBuf out(f, 4096); // small, so the buffer wraps many times
        ASSERT_TRUE(out.ok());
        for (int i = 0; i < 20000; ++i) {
            const double v = static_cast<float>(std::pow(10.0, mag(rng)) * ((rng() & 1) ? 1 : -1));
            const int w = static_cast<int>(rng() % 14), p = static_cast<int>(rng() % 8);
            const long long k = static_cast<long long>(rng()) >> (rng() % 60);
            out.fixed(v, w, p).put(' ').integer(k, -9).put('|').integer(k % 100000, 6).put('\n');
            std::snprintf(buf, sizeof buf, "%*.*f %-9lld|%6lld\n", w, p, v, k, k % 100000);
            theirs += buf;
        }
        for (double v : {0.0, -0.0, 0.5, 1.5, 2.5, 0.125, 1e300, double(INFINITY), -double(INFINITY), double(NAN)}) {
            out.fixed(v, 12, 5).fixed(v, 12, 2).put('\n');
            std::snprintf(buf, sizeof buf, "%12.5f%12.2f\n", v, v);
            theirs += buf;
        }
        out.padded("1//1", 4, -22).padded("0123456789012345678901234", 25, -22).put('\n');
        theirs += "1//1                  0123456789012345678901234\n";
    }
    std::rewind(f);
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) ours.append(buf, n);
    std::fclose(f);
    EXPECT_EQ(ours, theirs);
}

