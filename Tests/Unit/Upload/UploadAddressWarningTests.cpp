#include "Upload/RecordingUploadReport.h"

#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"

namespace glimto {
namespace {

std::string warningOf(const std::string& address)
{
    FakeLineOutput output;
    warnOfPlainHTTP({.accessKey = "key", .apiBaseURL = address, .recordingId = std::nullopt}, output);
    return output.text();
}

TEST(UploadAddressWarningTests, AnotherHostInTheClearIsWarnedOf)
{
    for (const std::string host : {"api.example", "10.0.0.1", "127.evil.example", "localhost.evil.example"})
        EXPECT_EQ(warningOf("http://" + host + ":3000/x"),
            "warning: the access key is sent to " + host + " without encryption. Use an https address.\n");
    EXPECT_NE(warningOf("http://localhost@evil.example/"), "");
}

TEST(UploadAddressWarningTests, ThisMachineAndEncryptionAreFine)
{
    for (const char* address : {"http://localhost:3000", "http://LOCALHOST", "http://api.localhost/x",
             "http://127.0.0.1:1", "http://127.8.9.10", "http://[::1]:80", "https://api.example"})
        EXPECT_EQ(warningOf(address), "") << address;
}

} // namespace
} // namespace glimto
