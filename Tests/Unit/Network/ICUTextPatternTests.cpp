#include "Backends/Network/ICUTextPattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

bool isFound(const std::string& pattern, const std::string& text)
{
    return ICUTextPatternCompiler().compile(pattern)->isFoundIn(text);
}

std::string failureOf(const std::string& pattern, const std::string& text = "")
{
    try {
        isFound(pattern, text);
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "ICU");
        return error.what();
    }
    return "no failure";
}

TEST(ICUTextPatternTests, SearchesAnywhereUnlessThePatternIsAnchored)
{
    EXPECT_TRUE(isFound("segment_[0-9]{3,}", "org/rec/segment_000.m4s"));
    EXPECT_FALSE(isFound("^segment_", "org/segment_000.m4s"));
    EXPECT_TRUE(isFound("^org/.+\\.m4s$", "org/segment_000.m4s"));
}

TEST(ICUTextPatternTests, ReadsWhatOnlyICUReads)
{
    EXPECT_TRUE(isFound("^\\p{Lu}[[a-z]&&[^aeiou]]++(?<digits>\\d)\\z", "Xyz7"));
    EXPECT_TRUE(isFound("(?i)^\\Q.\\EM4S$", ".m4s"));
}

TEST(ICUTextPatternTests, OnePatternServesManyTexts)
{
    const auto pattern = ICUTextPatternCompiler().compile("^a+$");
    EXPECT_TRUE(pattern->isFoundIn("aaa"));
    EXPECT_FALSE(pattern->isFoundIn("aab"));
    EXPECT_FALSE(pattern->isFoundIn(""));
    EXPECT_TRUE(pattern->isFoundIn("a"));
}

TEST(ICUTextPatternTests, AFaultyPatternIsToldWithItsPlace)
{
    EXPECT_EQ(failureOf("ab(c"),
        "The pattern is not a usable regular expression: U_REGEX_MISMATCHED_PAREN at character 4.");
    EXPECT_THAT(failureOf(""), testing::StartsWith("The pattern is not a usable regular expression: "));
    EXPECT_THAT(failureOf(std::string(9000, 'a')), testing::StartsWith("The pattern is not a usable"));
    EXPECT_EQ(failureOf("\xFF"), "The text is not valid UTF-8: U_INVALID_CHAR_FOUND.");
}

TEST(ICUTextPatternTests, ASearchWithoutEndIsGivenUp)
{
    EXPECT_EQ(failureOf("^(a+)+$", std::string(60, 'a') + "b"),
        "The search for a pattern was given up: U_REGEX_TIME_OUT.");
    EXPECT_EQ(failureOf("(a|aa)+$", std::string(5000, 'a') + "b").substr(0, 41),
        "The search for a pattern was given up: U_");
}

TEST(ICUTextPatternTests, ASearchThatWouldTakeAllMemoryIsGivenUp)
{
    EXPECT_EQ(failureOf("^(?:(x)|(y))*z", std::string(60000, 'x')),
        "The search for a pattern was given up: U_REGEX_STACK_OVERFLOW.");
}

TEST(ICUTextPatternTests, RepetitionsInRepetitionsCompileOrAreRefusedAtOnce)
{
    EXPECT_NE(failureOf("(((((a{0,1000}){0,1000}){0,1000}){0,1000}){0,1000}){0,1000}b", "aaaa"), "");
}

TEST(ICUTextPatternTests, ATextThatIsTooLongOrNoTextIsRefused)
{
    EXPECT_EQ(failureOf("a", std::string(100000, 'b')),
        "The text is too long for a pattern: U_INPUT_TOO_LONG_ERROR.");
    EXPECT_EQ(failureOf("a", "\xC3"), "The text is not valid UTF-8: U_INVALID_CHAR_FOUND.");
}

} // namespace
} // namespace glimto
