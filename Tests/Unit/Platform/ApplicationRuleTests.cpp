#include "Platform/ApplicationRule.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(ApplicationRuleTests, OneOfProcessIdentifierAndNameIsEnough)
{
    const ApplicationRule rule{{7}, {"org.example.Own"}, {"Own Name"}};
    EXPECT_TRUE(rule.matches({7, "", ""}));
    EXPECT_TRUE(rule.matches({1, "org.example.Own", "x"}));
    EXPECT_TRUE(rule.matches({1, "x", "oWN nAME"}));
    EXPECT_FALSE(rule.matches({1, "org.example.own", "Own"}));
    EXPECT_FALSE(rule.matches({0, "", ""}));
}

TEST(ApplicationRuleTests, ARuleThatNamesNothingIsEmptyAndMatchesNothing)
{
    EXPECT_TRUE(ApplicationRule().isEmpty());
    EXPECT_FALSE(ApplicationRule().matches({0, "", ""}));
    EXPECT_FALSE((ApplicationRule{{}, {}, {"a"}}).isEmpty());
}

} // namespace
} // namespace glimto
