#include "CommandLine/UploadArguments.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

std::vector<std::string> wiped(std::vector<std::string> arguments)
{
    std::vector<char*> values;
    for (auto& argument : arguments)
        values.push_back(argument.data());
    values.push_back(nullptr);
    wipeAccessKeys(static_cast<int>(arguments.size()), values.data());
    return arguments;
}

TEST(UploadArgumentsTests, EveryKeyBecomesBlank)
{
    EXPECT_EQ(wiped({"tool", "record", "--access-key", "secret", "-d", "1", "--access-key", "s"}),
        (std::vector<std::string>{
            "tool", "record", "--access-key", "      ", "-d", "1", "--access-key", " "}));
}

TEST(UploadArgumentsTests, WithoutAKeyNothingChanges)
{
    EXPECT_EQ(wiped({"tool"}), std::vector<std::string>{"tool"});
    EXPECT_EQ(wiped({"tool", "record", "--access-key"}),
        (std::vector<std::string>{"tool", "record", "--access-key"}));
}

} // namespace
} // namespace glimto
