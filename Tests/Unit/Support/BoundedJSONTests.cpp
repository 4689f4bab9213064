#include "Support/JSONFields.h"

#include <string>

#include <gtest/gtest.h>

namespace glimto {
namespace {

std::string nested(int levels)
{
    return std::string(static_cast<std::size_t>(levels), '[')
        + std::string(static_cast<std::size_t>(levels), ']');
}

TEST(BoundedJSONTests, NestingEndsAtAHundredLevels)
{
    EXPECT_TRUE(parseBoundedJSON(nested(100), 1000).is_array());
    EXPECT_TRUE(parseBoundedJSON(nested(101), 1000).is_discarded());
}

TEST(BoundedJSONTests, BracketsAndCommasInTextsAreNone)
{
    EXPECT_TRUE(parseBoundedJSON("[\"" + std::string(200, '[') + "\\\"" + std::string(200, ',') + "\"]", 2)
                    .is_array());
}

TEST(BoundedJSONTests, ValuesAreCounted)
{
    EXPECT_TRUE(parseBoundedJSON("[1,2,3]", 4).is_array());
    EXPECT_TRUE(parseBoundedJSON("[1,2,3]", 3).is_discarded());
    EXPECT_TRUE(parseBoundedJSON("{\"a\":{},\"b\":[]}", 5).is_object());
    EXPECT_TRUE(parseBoundedJSON("{\"a\":{},\"b\":[]}", 4).is_discarded());
}

TEST(BoundedJSONTests, WhatIsNoJSONIsDiscarded)
{
    for (const char* text : {"", "{", "nul", "\"\\", "[1]x", "\xff"})
        EXPECT_TRUE(parseBoundedJSON(text, 10).is_discarded()) << text;
}

} // namespace
} // namespace glimto
