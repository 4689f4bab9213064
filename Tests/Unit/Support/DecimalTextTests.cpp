#include "Support/DecimalText.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(DecimalTextTests, AWholeNumberIsTheWholeText)
{
    EXPECT_EQ(wholeNumber<int>("-12"), -12);
    EXPECT_EQ(wholeNumber<unsigned>("fF", 16), 255U);
    for (const char* text : {"", "-", "+1", " 1", "1 ", "1.0", "0x10"})
        EXPECT_EQ(wholeNumber<int>(text), std::nullopt) << text;
}

TEST(DecimalTextTests, AWholeNumberFitsItsType)
{
    EXPECT_EQ(wholeNumber<std::uint16_t>("65535"), 65535);
    EXPECT_EQ(wholeNumber<std::uint16_t>("65536"), std::nullopt);
    EXPECT_EQ(wholeNumber<unsigned>("-1"), std::nullopt);
}

TEST(DecimalTextTests, AnIntegerMayHaveOneSign)
{
    EXPECT_EQ(decimalInteger("+7"), 7);
    EXPECT_EQ(decimalInteger("-7"), -7);
    for (const char* text : {"+-7", "-+7", "++7", "+", "9223372036854775808"})
        EXPECT_EQ(decimalInteger(text), std::nullopt) << text;
}

} // namespace
} // namespace glimto
