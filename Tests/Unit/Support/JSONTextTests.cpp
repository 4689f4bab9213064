#include "Support/JSONText.h"

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(JSONTextTests, IsOneLineWithSortedKeysAndPlainSlashes)
{
    EXPECT_EQ(encodeScreenCaptureJSON({{"b", "http://host/x"}, {"a", 1}, {"B", true}}),
        R"({"B":true,"a":1,"b":"http://host/x"})");
}

TEST(JSONTextTests, PrettyTextIsIndentedByTwoSpaces)
{
    EXPECT_EQ(encodePrettyJSON({{"b", {1, 2}}, {"a", nullptr}}),
        "{\n"
        "  \"a\": null,\n"
        "  \"b\": [\n"
        "    1,\n"
        "    2\n"
        "  ]\n"
        "}");
}

TEST(JSONTextTests, ControlCharactersAreEscaped)
{
    const nlohmann::json value = {{"a", "\x1B[2J\u009B2J\x7F\u0080\u00A0\u00E9\n\u2029\u202E\u2066"}};
    const std::string text = encodeScreenCaptureJSON(value);
    EXPECT_EQ(text, "{\"a\":\"\\u001b[2J\\u009b2J\\u007f\\u0080\u00A0\u00E9\\n\\u2029\\u202e\\u2066\"}");
    EXPECT_EQ(nlohmann::json::parse(text), value);
}

TEST(JSONTextTests, TextThatIsNotUTF8CannotBeEncoded)
{
    try {
        encodeScreenCaptureJSON({{"a", "\xFF"}});
        FAIL() << "encoded a byte that is no text";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "Could not encode ScreenCaptureKit JSON as UTF-8.");
    }
}

} // namespace
} // namespace glimto
