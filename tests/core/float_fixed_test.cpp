// The writers' fixed-point float formatter against printf.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "core/float_fixed.h"

using pfx::format_float_fixed;

namespace {

void expect_printf_digits(float v, int precision)
{
    char want[128], got[64];
    std::snprintf(want, sizeof want, "%.*f", precision, static_cast<double>(v));
    size_t n = format_float_fixed(got, v, precision);
    ASSERT_EQ(std::string(got, n), want) << v << " " << precision;
}

float from_bits(uint32_t bits)
{
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

TEST(FloatFixed, MatchesPrintfOnRandomFloatsTiesAndEdges)
{
    std::mt19937 rng(42);
    for (int i = 0; i < 400000; ++i) {
        float v = from_bits(static_cast<uint32_t>(rng()));
        if (std::isfinite(v) && std::fabs(v) < 17179869184.0f) expect_printf_digits(v, 5); // below 2^34
    }
    for (int i = 0; i < 50000; ++i) expect_printf_digits(from_bits(rng() & 0xBFFFFFFFu), rng() % 10); // |v| < 2
    for (float v : {0.5f, 1.5f, 2.5f, 0.125f, 0.375f, -0.5f, -0.0f, 0.0f, 1e-45f, -1e-45f, 0.000005f, -0.000004f,
                    0.0000049f, 99999.99f, 1024.0f, 16777216.0f, 17179860000.0f, 0.123456f, 12345.678f, -7.25f,
                    3.14159265f, 1.17549435e-38f})
        for (int p = 0; p <= 9; ++p) expect_printf_digits(v, p);
}

TEST(FloatFixed, LeavesTheRareFormsToTheGeneralFormatter)
{
    char buf[64];
    for (float v : {std::numeric_limits<float>::infinity(), std::nanf(""), 3e38f})
        EXPECT_EQ(format_float_fixed(buf, v, 5), 0u) << v;
    EXPECT_EQ(format_float_fixed(buf, 1.0f, 10), 0u);
    EXPECT_EQ(format_float_fixed(buf, 1.0f, -1), 0u);
}

} // namespace
