#include "Support/JSONFields.h"

#include <functional>

#include <gtest/gtest.h>

#include "Fakes/MemoryLimit.h"
#include "Support/Errors.h"
#include "Support/JSONObject.h"
#include "Support/Text.h"

namespace glimto {
namespace {

std::string failureOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "JSON");
        return error.what();
    }
    return "no failure";
}

std::string parsingFailure(const std::string& text)
{
    return failureOf([&] { parseJSON(text, "the answer"); });
}

class JSONFieldsTests : public testing::Test {
protected:
    nlohmann::json json = nlohmann::json::parse(R"({"text": "t", "flag": true, "whole": 3, "round": 3.0,
        "part": 3.5, "negative": -1, "large": 18446744073709551615, "null": null, "list": ["a", 1],
        "objects": [{"x": "y"}, 2], "object": {"inner": {"x": 1}}})");
    JSONFields fields{json, "the answer"};

    template <typename Value> Value readAs(const char* key)
    {
        Value value = {};
        fields.read(key, value);
        return value;
    }
};

TEST(JSONParsingTests, ATextThatWouldTakeMuchMemoryIsRefusedWithoutTakingIt)
{
    std::string text = "[{}";
    while (text.size() < (16U << 20U))
        text += ",{}";
    text += "]";
    const MemoryLimit limit(32 << 20);
    try {
        parseJSON(text, "manifest.json");
        FAIL() << "was read";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "Could not read manifest.json: its JSON holds too many values.");
    }
}

TEST(JSONParsingTests, AKeyOfTheServerMakesNoLineAndNoBook)
{
    const nlohmann::json object = {{"\x1B[2J\n" + std::string(100'000, 'x'), 1}};
    try {
        JSONFields(object, "the answer").allTexts();
        FAIL() << "was read";
    } catch (const PlatformError& error) {
        EXPECT_LT(std::string(error.what()).size(), 2100U);
        EXPECT_EQ(singleLine(error.what()), error.what());
    }
}

TEST(JSONParsingTests, SaysWhereTextIsNoJSONAndNothingOfIt)
{
    EXPECT_EQ(parsingFailure("{\"url\": \"secret\", oops}"),
        "Could not read the answer: no valid JSON at byte 19.");
    EXPECT_EQ(parsingFailure(""), "Could not read the answer: no valid JSON at byte 1.");
    EXPECT_EQ(parsingFailure("{\"a\": \"secr"), "Could not read the answer: no valid JSON at byte 12.");
}

TEST(JSONParsingTests, InvalidUTF8IsRefused)
{
    EXPECT_EQ(parsingFailure("\"\xFF\""), "Could not read the answer: no valid JSON at byte 2.");
    EXPECT_EQ(parsingFailure("\"\xED\xA0\x80\""), "Could not read the answer: no valid JSON at byte 3.");
}

TEST(JSONParsingTests, NumbersOutOfRangeAreRefused)
{
    EXPECT_EQ(parsingFailure("[1e999]"), "Could not read the answer: a number in its JSON is out of range.");
}

TEST(JSONParsingTests, DeepNestingIsRefusedBeforeItIsParsed)
{
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(parsingFailure(nested(100)), "no failure");
    EXPECT_EQ(parsingFailure(nested(101)), "Could not read the answer: its JSON is nested too deeply.");
    EXPECT_EQ(parsingFailure(std::string(5'000'000, '[')),
        "Could not read the answer: its JSON is nested too deeply.");
}

TEST(JSONParsingTests, BracketsInStringsAreNoNesting)
{
    EXPECT_EQ(
        parseJSON("\"\\\"" + std::string(500, '[') + "\"", "the answer").get<std::string>().size(), 501U);
}

TEST_F(JSONFieldsTests, ReadsWhatIsThere)
{
    EXPECT_EQ(fields.text("text"), "t");
    EXPECT_TRUE(fields.flag("flag"));
    EXPECT_EQ(fields.integer<int>("whole"), 3);
    EXPECT_EQ(fields.integer<int>("round"), 3);
    EXPECT_EQ(fields.integer<int>("negative"), -1);
    EXPECT_EQ(fields.number("part"), 3.5);
    EXPECT_EQ(fields.unsignedInteger("large"), 18446744073709551615U);
    EXPECT_EQ(fields.object("object").object("inner").integer<int>("x"), 1);
}

TEST_F(JSONFieldsTests, NullIsAsGoodAsMissing)
{
    EXPECT_EQ(readAs<std::optional<std::string>>("null"), std::nullopt);
    EXPECT_EQ(readAs<std::optional<std::string>>("absent"), std::nullopt);
    EXPECT_EQ(readAs<std::optional<double>>("null"), std::nullopt);
    EXPECT_EQ(readAs<std::optional<std::string>>("text"), "t");
    EXPECT_FALSE(fields.has("null"));
}

struct Inner {
    int x = 0;
};
GLIMTO_JSON_OBJECT(Inner, x)

struct Outer {
    Inner inner;
    std::optional<Inner> absent;
    std::vector<Inner> list;
};
GLIMTO_JSON_OBJECT(Outer, inner, absent, list)

TEST_F(JSONFieldsTests, AStructIsReadAsItIsWritten)
{
    const std::string text = R"({"inner":{"x":1},"list":[{"x":2},{"x":3}]})";
    const auto outer = readJSON<Outer>(text, "the answer");
    EXPECT_EQ(outer.list.size(), 2U);
    EXPECT_EQ(outer.absent.has_value(), false);
    EXPECT_EQ(toJSON(outer).dump(), text);
    EXPECT_EQ(failureOf([] { readJSON<Outer>(R"({"inner":{"x":1},"list":[{"y":2}]})", "the answer"); }),
        "Could not read the answer: list[0].x is missing.");
}

TEST_F(JSONFieldsTests, TellsWhatIsWrong)
{
    EXPECT_EQ(failureOf([&] { fields.text("absent"); }), "Could not read the answer: absent is missing.");
    EXPECT_EQ(failureOf([&] { fields.text("flag"); }), "Could not read the answer: flag is no text.");
    EXPECT_EQ(failureOf([&] { fields.text("null"); }), "Could not read the answer: null is no text.");
    EXPECT_EQ(failureOf([&] { fields.flag("text"); }),
        "Could not read the answer: text is neither true nor false.");
    EXPECT_EQ(failureOf([&] { fields.number("text"); }), "Could not read the answer: text is no number.");
    EXPECT_EQ(
        failureOf([&] { fields.texts("list"); }), "Could not read the answer: list holds what is no text.");
    EXPECT_EQ(failureOf([&] { fields.texts("text"); }), "Could not read the answer: text is no list.");
    EXPECT_EQ(failureOf([&] { fields.object("list"); }), "Could not read the answer: list is no object.");
    EXPECT_EQ(
        failureOf([&] { fields.objects("objects"); }), "Could not read the answer: objects[1] is no object.");
    EXPECT_EQ(failureOf([&] { fields.object("object").object("inner").text("x"); }),
        "Could not read the answer: object.inner.x is no text.");
    EXPECT_EQ(failureOf([&] { fields.object("object").allTexts(); }),
        "Could not read the answer: object.inner is no text.");
    EXPECT_EQ(failureOf([&] { JSONFields(json["list"], "the answer"); }),
        "Could not read the answer: its JSON is no object.");
}

TEST_F(JSONFieldsTests, NumbersThatDoNotFitAreRefused)
{
    const std::string range = " is no whole number within its range.";
    EXPECT_EQ(failureOf([&] { fields.integer<int>("large"); }), "Could not read the answer: large" + range);
    EXPECT_EQ(failureOf([&] { fields.integer<int>("part"); }), "Could not read the answer: part" + range);
    EXPECT_EQ(failureOf([&] { fields.integer<int>("text"); }), "Could not read the answer: text" + range);
    EXPECT_EQ(failureOf([&] { fields.unsignedInteger("negative"); }),
        "Could not read the answer: negative" + range);
}

} // namespace
} // namespace glimto
