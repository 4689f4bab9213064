#include "Stills/TextRecognizer.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fakes/FakeTextRecognitionEngine.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/JSONText.h"

namespace glimto {
namespace {

class TextRecognizerTests : public testing::Test {
protected:
    TextRecognizerTests() { std::ofstream(path) << "picture"; }

    std::string textOf(const std::vector<std::optional<std::string>>& lines)
    {
        engine.observations.clear();
        for (const auto& line : lines)
            engine.observations.push_back({line});
        return TextRecognizer(engine).recognize({path}).text;
    }

    ErrorFacts errorOf(const TextRecognitionOptions& options)
    {
        try {
            TextRecognizer(engine).recognize(options);
        } catch (const std::exception& error) {
            return errorFacts(error);
        }
        return {};
    }

    TemporaryDirectory directory;
    std::filesystem::path path = directory.path() / "text.png";
    FakeTextRecognitionEngine engine;
};

TEST_F(TextRecognizerTests, JoinsTheLinesInTheEnginesOrder)
{
    EXPECT_EQ(textOf({"Hello", "World"}), "Hello\nWorld");
    EXPECT_EQ(engine.images, std::vector<std::filesystem::path>{path});
}

TEST_F(TextRecognizerTests, NoTextIsTheEmptyString)
{
    EXPECT_EQ(textOf({}), "");
    EXPECT_EQ(encodeScreenCaptureJSON(toJSON(TextRecognizer(engine).recognize({path}))), R"({"text":""})");
}

TEST_F(TextRecognizerTests, PlacesWithoutACandidateAreSkipped)
{
    EXPECT_EQ(textOf({"a", std::nullopt, "b", std::nullopt}), "a\nb");
}

TEST_F(TextRecognizerTests, EmptyLinesAreKept)
{
    EXPECT_EQ(textOf({"", "a", "", "b"}), "\na\n\nb");
}

TEST_F(TextRecognizerTests, LinesThatAreOnlyTheWatermarkAreDropped)
{
    EXPECT_EQ(textOf({"glimto.com"}), "");
    EXPECT_EQ(
        textOf({"a", "  Glimto . COM ", "glimto\u00B7com", "GLIMTO\u2014COM", "\u00A9 glimto,com", "b"}),
        "a\nb");
}

TEST_F(TextRecognizerTests, LinesWithMoreThanTheWatermarkAreKept)
{
    EXPECT_EQ(textOf({"glimto.com/a"}), "glimto.com/a");
    EXPECT_EQ(textOf({"www.glimto.com", "glimto.co"}), "www.glimto.com\nglimto.co");
    EXPECT_EQ(textOf({"glimto.com \u00E9", "\u4E2D glimto.com"}), "glimto.com \u00E9\n\u4E2D glimto.com");
    EXPECT_EQ(textOf({"..."}), "...");
}

TEST_F(TextRecognizerTests, TextThatIsNoUTF8IsMadeValid)
{
    EXPECT_EQ(textOf({"a\xff", "b\xe4"}), "a\uFFFD\nb\uFFFD");
}

TEST_F(TextRecognizerTests, TheResultIsOneLineOfJSON)
{
    EXPECT_EQ(encodeScreenCaptureJSON(toJSON(TextRecognitionResult{"Hello\nW/orld \"x\""})),
        R"({"text":"Hello\nW/orld \"x\""})");
}

TEST_F(TextRecognizerTests, APathIsNeeded)
{
    const auto facts = errorOf({});
    EXPECT_EQ(facts.message, "recognize-text requires --path <png>.");
    EXPECT_EQ(facts.type, "TextRecognizerError");
}

TEST_F(TextRecognizerTests, AMissingFileIsToldByItsPath)
{
    const auto none = directory.path() / "none.png";
    const auto facts = errorOf({none});
    EXPECT_EQ(facts.message, "No image found at " + none.string() + ".");
    EXPECT_EQ(facts.type, "TextRecognizerError");
    EXPECT_TRUE(engine.images.empty());
}

TEST_F(TextRecognizerTests, WhatIsNoFileIsNeverGivenToTheEngine)
{
    const auto pipe = directory.path() / "pipe.png";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& strange : {pipe, directory.path()})
        EXPECT_EQ(errorOf({strange}).message,
            "Could not read the image at " + strange.string() + ": it is not a regular file.");
    EXPECT_TRUE(engine.images.empty());
}

TEST_F(TextRecognizerTests, TheEnginesErrorIsThrownAsItStands)
{
    engine.error = std::make_exception_ptr(PlatformError("Tesseract", 3, "No language is installed."));
    const auto facts = errorOf({path});
    EXPECT_EQ(facts.message, "No language is installed.");
    EXPECT_EQ(facts.domain, "Tesseract");
}

} // namespace
} // namespace glimto
