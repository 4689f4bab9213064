#include "DevServerOptions.h"

#include <vector>

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

DevServerOptions parsed(const std::vector<std::string>& arguments)
{
    return DevServerOptions::parse(arguments);
}

std::string refusal(const std::vector<std::string>& arguments)
{
    try {
        parsed(arguments);
    } catch (const CLIError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(DevServerOptionsTests, DefaultsKeepToThisMachine)
{
    const auto options = parsed({});
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.port, 3000);
    EXPECT_EQ(options.directory, "glimto-dev-server");
    EXPECT_FALSE(options.accessKey.has_value());
}

TEST(DevServerOptionsTests, EveryOptionIsRead)
{
    const auto options = parsed(
        {"--port", "0", "--bind", "::1", "--dir", "store", "--access-key", " key ", "--web-dir", "web"});
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.address, "::1");
    EXPECT_EQ(options.directory, "store");
    EXPECT_EQ(options.accessKey, "key");
    EXPECT_EQ(options.webDirectory, "web");
}

TEST(DevServerOptionsTests, BadValuesAreNamed)
{
    EXPECT_EQ(refusal({"--port", "65536"}), "--port must be a number from 0 to 65535.");
    EXPECT_EQ(refusal({"--port", "80x"}), "--port must be a number from 0 to 65535.");
    EXPECT_EQ(refusal({"--port", ""}), "--port must be a number from 0 to 65535.");
    EXPECT_EQ(refusal({"--dir"}), "--dir needs a value.");
    EXPECT_EQ(refusal({"--access-key", "  "}), "--access-key must not be empty.");
    EXPECT_EQ(refusal({"bogus"}), "Unknown option 'bogus'. Run `glimto-dev-server --help`.");
}

TEST(DevServerOptionsTests, HelpNamesEveryOption)
{
    for (const char* flag : {"--port", "--bind", "--dir", "--access-key", "--web-dir"})
        EXPECT_NE(devServerUsage().find(flag), std::string::npos) << flag;
    EXPECT_TRUE(parsed({"--help", "bogus"}).showsHelp);
}

} // namespace
} // namespace glimto
