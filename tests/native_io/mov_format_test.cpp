// The float fixed-point formatter of the ".mov" writer against printf.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "native_io/mov_format.h"

using pfx::mov::format_float_fixed;

namespace {

std::string printf_text(float v, int precision)
{
    char buf[128];
    std::snprintf(buf, sizeof buf, "%.*f", precision, static_cast<double>(v));
    return buf;
}

std::string fast_text(float v, int precision)
{
    char buf[64];
    size_t n = format_float_fixed(buf, v, precision);
    return std::string(buf, n);
}

float from_bits(uint32_t bits)
{
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

TEST(MovFormat, MatchesPrintfOnRandomFloats)
{
    std::mt19937 rng(42);
    int checked = 0;
    for (int i = 0; i < 400000; ++i) {
        float v = from_bits(static_cast<uint32_t>(rng()));
        if (!std::isfinite(v) || std::fabs(v) >= 17179869184.0f) continue; // 2^34
        ASSERT_EQ(fast_text(v, 5), printf_text(v, 5)) << v;
        ++checked;
    }
    EXPECT_GT(checked, 100000);
    for (int i = 0; i < 50000; ++i) {
        float v = from_bits(static_cast<uint32_t>(rng()) & 0xBFFFFFFFu); // |v| < 2
        int p = static_cast<int>(rng() % 10);
        ASSERT_EQ(fast_text(v, p), printf_text(v, p)) << v << " " << p;
    }
}

TEST(MovFormat, MatchesPrintfOnTiesAndEdges)
{
    const float values[] = {0.5f,      1.5f,       2.5f,     0.125f,   0.375f,     -0.5f,
                            -0.0f,     0.0f,       1e-45f,   -1e-45f,  0.000005f,  -0.000004f,
                            0.0000049f, 99999.99f, 1024.0f,  16777216.0f, 17179860000.0f,
                            0.123456f, 12345.678f, -7.25f,   3.14159265f, 1.17549435e-38f};
    for (float v : values)
        for (int p = 0; p <= 9; ++p) EXPECT_EQ(fast_text(v, p), printf_text(v, p)) << v << " " << p;
}

TEST(MovFormat, LeavesTheRareFormsToTheGeneralFormatter)
{
    char buf[64];
    EXPECT_EQ(format_float_fixed(buf, std::numeric_limits<float>::infinity(), 5), 0u);
    EXPECT_EQ(format_float_fixed(buf, std::nanf(""), 5), 0u);
    EXPECT_EQ(format_float_fixed(buf, 3e38f, 5), 0u);
    EXPECT_EQ(format_float_fixed(buf, 1.0f, 10), 0u);
    EXPECT_EQ(format_float_fixed(buf, 1.0f, -1), 0u);
}

} // namespace
