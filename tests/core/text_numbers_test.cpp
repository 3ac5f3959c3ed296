#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "core/text_out.h"
#include "core/text_scan.h"

namespace {

// What scanf itself makes of the text: the value and how much it consumed.
bool scanf_float(const std::string& text, float* v, int* used)
{
    return std::sscanf(text.c_str(), "%f%n", v, used) == 1;
}

TEST(TextScan, FloatsMatchTheCLibraryBitForBit)
{
    const char* cases[] = {"0",       "1.5",      "-2.25",      "+3",           ".5",          "5.",
                           "1e10",    "1E-5",     "-0",         "0.1",          "3.4028235e38", "1e39",
                           "1e-46",   "1.4e-45",  "123456789",  "0.123456",     "  \t\n 7.25",  "inf",
                           "-Infinity", "nan",    "NaN(123)",   "0x1p3",        "-0x1.8P-1",    "1.5abc",
                           "2e",      "7e+",      "16777217",   "0.30000000000000004", "9.999999e-39",
                           "1.00000005960464477539062500000000001", "-.75e2"};
    for (const char* c : cases) {
        std::string text = c;
        float want = 0, got = 0;
        int used = 0;
        bool ok = scanf_float(text, &want, &used);
        const char* end = pfx::scan_float(text.data(), text.data() + text.size(), &got);
        ASSERT_EQ(end != nullptr, ok) << c;
        if (!ok) continue;
        if (std::isnan(want)) {
            EXPECT_TRUE(std::isnan(got)) << c;
        } else {
            EXPECT_EQ(std::memcmp(&want, &got, 4), 0) << c << " " << want << " " << got;
        }
        // Trailing exponent letters: scanf's pushback is limited, ours stops
        // before them; both give the same number.
        if (text.find("2e") != 0 && text.find("7e+") != 0) {
            EXPECT_EQ(end - text.data(), used) << c;
        }
    }
}

TEST(TextScan, RandomDecimalsRoundLikeStrtof)
{
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> mag(-40, 40);
    char buf[64];
    for (int i = 0; i < 20000; ++i) {
        double v = std::pow(10.0, mag(rng)) * (rng() & 1 ? 1 : -1);
        int prec = static_cast<int>(rng() % 12);
        int n = std::snprintf(buf, sizeof buf, (rng() & 1) ? "%.*e" : "%.*f", prec, v);
        float want = 0, got = 0;
        std::sscanf(buf, "%f", &want);
        ASSERT_NE(pfx::scan_float(buf, buf + n, &got), nullptr) << buf;
        ASSERT_EQ(std::memcmp(&want, &got, 4), 0) << buf;
    }
}

TEST(TextScan, IntegersAndTheBufferEnd)
{
    struct Case {
        const char* text;
        bool ok;
        int value;
    } cases[] = {{"12", true, 12},     {"-7 ", true, -7},        {"+5", true, 5}, {"  \r\n42x", true, 42},
                 {"-", false, 0},      {"x1", false, 0},         {"", false, 0},  {"2147483647", true, 2147483647},
                 {"-2147483648", true, -2147483647 - 1}};
    for (const Case& c : cases) {
        int v = 0;
        const char* end = pfx::scan_int(c.text, c.text + std::strlen(c.text), &v);
        EXPECT_EQ(end != nullptr, c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(v, c.value) << c.text;
        }
        int want = 0;
        if (c.ok) {
            std::sscanf(c.text, "%d", &want);
            EXPECT_EQ(v, want) << c.text;
        }
    }
    // The buffer end stops a number even when more digits follow in memory.
    const char text[] = "12345";
    int v = 0;
    EXPECT_EQ(pfx::scan_int(text, text + 3, &v), text + 3);
    EXPECT_EQ(v, 123);
    float f = 0;
    EXPECT_EQ(pfx::scan_float(text, text + 2, &f), text + 2);
    EXPECT_EQ(f, 12.0f);
    EXPECT_EQ(pfx::scan_float(text, text, &f), nullptr);
}

TEST(TextOut, NumbersHavePrintfsBytes)
{
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> mag(-8, 12);
    std::string ours;
    std::string theirs;
    char buf[1024];
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    {
        pfx::OutBuf out(f, 4096); // small, so the buffer wraps many times
        ASSERT_TRUE(out.ok());
        for (int i = 0; i < 20000; ++i) {
            double v = static_cast<float>(std::pow(10.0, mag(rng)) * ((rng() & 1) ? 1 : -1));
            int w = static_cast<int>(rng() % 14), p = static_cast<int>(rng() % 8);
            out.fixed(v, w, p).put(' ');
            std::snprintf(buf, sizeof buf, "%*.*f ", w, p, v);
            theirs += buf;
            long long k = static_cast<long long>(rng()) >> (rng() % 60);
            out.integer(k, -9).put('|').integer(k % 100000, 6).put('\n');
            std::snprintf(buf, sizeof buf, "%-9lld|%6lld\n", k, k % 100000);
            theirs += buf;
        }
        const double specials[] = {0.0, -0.0, 0.5, 1.5, 2.5, 0.125, 1e300, INFINITY, -INFINITY, NAN};
        for (double v : specials) {
            out.fixed(v, 12, 5).fixed(v, 12, 2).put('\n');
            std::snprintf(buf, sizeof buf, "%12.5f%12.2f\n", v, v);
            theirs += buf;
        }
        out.padded("1//1", 4, -22).padded("0123456789012345678901234", 25, -22).put('\n');
        theirs += "1//1                  0123456789012345678901234\n";
    }
    std::rewind(f);
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) ours.append(buf, n);
    std::fclose(f);
    EXPECT_EQ(ours, theirs);
}

} // namespace
