#include "RequestOrigin.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(RequestOriginTests, AHostHeaderIsANameOrAnAddressAndPerhapsAPort)
{
    EXPECT_EQ(hostNameOf("LocalHost:3000"), "localhost");
    EXPECT_EQ(hostNameOf("127.0.0.1"), "127.0.0.1");
    EXPECT_EQ(hostNameOf("[::1]:3000"), "::1");
    EXPECT_EQ(hostNameOf("[FE80::A]"), "fe80::a");
    EXPECT_EQ(hostNameOf("example:"), "example"); // an empty port is allowed
}

TEST(RequestOriginTests, WhatIsNoHostHeaderHasNoName)
{
    for (const char* header : {"", ":80", "::1", "a:b", "a:80:80", "a b", "a/b", "a@b", "a\"b", "[::1",
             "[evil]", "[127.0.0.1]", "[::1]x", "a:1234567"})
        EXPECT_EQ(hostNameOf(header), "") << header;
    EXPECT_EQ(hostNameOf(std::string(256, 'a')), "");
    using namespace std::string_view_literals;
    EXPECT_EQ(hostNameOf("[::1\0.evil.example]:80"sv), "");
    EXPECT_EQ(hostNameOf("127.0.0.1\0.evil.example"sv), "");
}

TEST(RequestOriginTests, OnlyAddressesOfThisMachineAreLoopback)
{
    for (const char* host : {"localhost", "127.0.0.1", "127.1.2.3", "::1"})
        EXPECT_TRUE(isLoopback(host)) << host;
    for (const char* host : {"127.evil.example", "127.0.0.1.evil.example", "127.1", "127.0.0.256",
             "128.0.0.1", "localhost.evil.example", "::2", "0.0.0.0", ""})
        EXPECT_FALSE(isLoopback(host)) << host;
}

TEST(RequestOriginTests, AServerOnALoopbackAddressAnswersUnderLoopbackNamesAndItsOwn)
{
    const ServedNames names("127.0.0.1", {"Devbox"});
    for (const char* host : {"localhost:3000", "127.0.0.1:3000", "127.9.9.9", "[::1]:3000", "devbox:3000"})
        EXPECT_TRUE(names.includes(host)) << host;
    for (const char* host : {"127.evil.example", "192.168.0.2", "devbox.evil.example", "evil.example", ""})
        EXPECT_FALSE(names.includes(host)) << host;
}

TEST(RequestOriginTests, AServerOnTheNetworkAnswersUnderAnyAddressButNotUnderNamesOfOthers)
{
    const ServedNames names("0.0.0.0", {"devbox"});
    for (const char* host : {"192.168.0.2:3000", "[fe80::1]", "localhost", "devbox"})
        EXPECT_TRUE(names.includes(host)) << host;
    EXPECT_FALSE(names.includes("evil.example"));
    EXPECT_TRUE(ServedNames("Box.Example", {}).includes("box.example:3000"));
}

TEST(RequestOriginTests, AnOriginIsTheServersOwnWhenItIsWhatTheClientAskedFor)
{
    EXPECT_TRUE(isOwnOrigin("http://localhost:3000", "LOCALHOST:3000"));
    for (const char* origin : {"http://evil.example", "http://localhost:3001", "https://localhost:3000",
             "null", "", "http://localhost:3000.evil.example"})
        EXPECT_FALSE(isOwnOrigin(origin, "localhost:3000")) << origin;
}

} // namespace
} // namespace glimto
