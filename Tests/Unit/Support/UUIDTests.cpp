#include "Support/UUID.h"

#include <regex>
#include <set>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(UUIDTests, IsARandomUUID)
{
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    for (int count = 0; count < 100; ++count) {
        const auto text = makeUUID();
        EXPECT_TRUE(std::regex_match(text, form)) << text;
    }
}

TEST(UUIDTests, IsFreshEachTime)
{
    std::set<std::string> seen;
    for (int count = 0; count < 1000; ++count)
        seen.insert(makeUUID());
    EXPECT_EQ(seen.size(), 1000U);
}

} // namespace
} // namespace glimto
