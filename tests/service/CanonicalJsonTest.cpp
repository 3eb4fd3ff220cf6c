#include "CanonicalJson.h"

#include <bit>
#include <cstdint>
#include <gtest/gtest.h>

using namespace teskal::service;

TEST(CanonicalJson, NumbersAreWrittenAsEcmaScriptDoes) {
    // RFC 8785 appendix B.
    const std::pair<std::uint64_t, const char*> samples[] = {
        {0x0000000000000000, "0"},
        {0x8000000000000000, "0"},
        {0x0000000000000001, "5e-324"},
        {0x8000000000000001, "-5e-324"},
        {0x7fefffffffffffff, "1.7976931348623157e+308"},
        {0xffefffffffffffff, "-1.7976931348623157e+308"},
        {0x4340000000000000, "9007199254740992"},
        {0xc340000000000000, "-9007199254740992"},
        {0x4430000000000000, "295147905179352830000"},
        {0x44b52d02c7e14af5, "9.999999999999997e+22"},
        {0x44b52d02c7e14af6, "1e+23"},
        {0x44b52d02c7e14af7, "1.0000000000000001e+23"},
        {0x444b1ae4d6e2ef4e, "999999999999999700000"},
        {0x444b1ae4d6e2ef4f, "999999999999999900000"},
        {0x444b1ae4d6e2ef50, "1e+21"},
        {0x3eb0c6f7a0b5ed8c, "9.999999999999997e-7"},
        {0x3eb0c6f7a0b5ed8d, "0.000001"},
        {0x41b3de4355555553, "333333333.3333332"},
        {0x41b3de4355555554, "333333333.33333325"},
        {0x41b3de4355555555, "333333333.3333333"},
        {0x41b3de4355555556, "333333333.3333334"},
        {0x41b3de4355555557, "333333333.33333343"},
        {0xbecbf647612f3696, "-0.0000033333333333333333"},
        {0x43143ff3c1cb0959, "1424953923781206.2"},
    };
    for (const auto& [bits, text] : samples)
        EXPECT_EQ(numberText(std::bit_cast<double>(bits)), text);
    EXPECT_EQ(numberText(1'700'000'000'000), "1700000000000");
    EXPECT_EQ(numberText(100), "100");
    EXPECT_EQ(numberText(-0.5), "-0.5");
}

TEST(CanonicalJson, StringsAreEscapedNoMoreThanNeeded) {
    // The sample of RFC 8785 section 3.2.2.2, and the characters around the limits.
    EXPECT_EQ(stringText("\xE2\x82\xAC$\x0F\nA'B\"\\\\\"/"),
              "\"\xE2\x82\xAC$\\u000f\\nA'B\\\"\\\\\\\\\\\"/\"");
    EXPECT_EQ(stringText("\b\t\f\r\x1F\x7F"), "\"\\b\\t\\f\\r\\u001f\x7F\"");
}

TEST(CanonicalJson, TextsCompareByUtf16CodeUnits) {
    // In this order; the last but one is beyond U+FFFF, whose surrogates come before U+E000.
    const char* const order[] = {
        "", "A", "AA", "a", "\xC3\xB6", "\xED\x9F\xBF", "\xF0\x9F\x98\x80", "\xEE\x80\x80", "\xEF\xBF\xBD"};
    for (std::size_t i = 0; i < std::size(order); ++i) {
        for (std::size_t j = 0; j < std::size(order); ++j)
            EXPECT_EQ(lessUtf16(order[i], order[j]), i < j) << i << ' ' << j;
    }
}
