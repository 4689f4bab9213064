#include "Backends/Tesseract/TesseractTextRecognitionEngine.h"

#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Unit/Tesseract/DrawnText.h"

namespace glimto {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr DrawnText::Color black = {0, 0, 0};
constexpr DrawnText::Color white = {1, 1, 1};

// Sets or clears a variable of the environment, and puts back what was there.
class VariableGuard {
public:
    VariableGuard(const char* name, const std::string& value)
        : name_(name)
    {
        if (const char* before = std::getenv(name))
            before_ = before;
        ::setenv(name, value.c_str(), 1);
    }
    ~VariableGuard()
    {
        if (before_)
            ::setenv(name_, before_->c_str(), 1);
        else
            ::unsetenv(name_);
    }

private:
    const char* name_;
    std::optional<std::string> before_;
};

class TesseractTextRecognitionEngineTests : public testing::Test {
protected:
    std::vector<std::string> linesIn(const DrawnText& drawn)
    {
        writeFileAtomically(file, OnePicturePNGCodec::header(10, 10));
        OnePicturePNGCodec codec(drawn.pixels());
        std::vector<std::string> lines;
        for (const auto& observation : TesseractTextRecognitionEngine(codec).recognizeText(file))
            lines.push_back(observation.topCandidate.value_or("(none)"));
        return lines;
    }

    std::string failureFor(const std::filesystem::path& path)
    {
        try {
            TesseractTextRecognitionEngine(noPicture).recognizeText(path);
        } catch (const PlatformError& error) {
            return error.what();
        }
        return "no failure";
    }

    TemporaryDirectory folder;
    std::filesystem::path file = folder.path() / "picture.png";
    OnePicturePNGCodec noPicture{nullptr};
};

TEST_F(TesseractTextRecognitionEngineTests, ReadsALine)
{
    DrawnText drawn(300, 60, white);
    drawn.text(20, 20, "Hello World 123", 16, black);
    EXPECT_THAT(linesIn(drawn), ElementsAre("Hello World 123"));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsSmallText)
{
    DrawnText drawn(400, 60, white);
    drawn.text(20, 10, "Preferences are saved when the window closes.", 9, black);
    drawn.text(20, 30, "To restore the defaults, choose Reset.", 9, black);
    EXPECT_THAT(linesIn(drawn),
        ElementsAre(
            "Preferences are saved when the window closes.", "To restore the defaults, choose Reset."));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsLightTextOnDark)
{
    DrawnText drawn(400, 80, {0.1, 0.1, 0.12});
    drawn.text(20, 10, "The build finished without errors", 13, {0.85, 0.85, 0.85});
    drawn.text(20, 40, "All tests have passed", 13, {0.4, 0.9, 0.4});
    EXPECT_THAT(linesIn(drawn), ElementsAre("The build finished without errors", "All tests have passed"));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsFaintText)
{
    DrawnText drawn(400, 60, {0.15, 0.15, 0.17});
    drawn.text(20, 20, "This button is not available", 13, {0.3, 0.3, 0.33});
    EXPECT_THAT(linesIn(drawn), ElementsAre("This button is not available"));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsLightTextOnAGrainyDarkGround)
{
    std::minstd_rand random(3);
    DrawnText drawn(300, 60, black);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 300; ++x) {
            const double gray = static_cast<double>(random() % 30) / 255;
            drawn.rectangle(x, y, 1, 1, {gray, gray, gray});
        }
    }
    drawn.text(20, 20, "Hello World 123", 16, white);
    EXPECT_THAT(linesIn(drawn), ElementsAre("Hello World 123"));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsColumnByColumn)
{
    DrawnText drawn(640, 140, white);
    const std::vector<std::string> left
        = {"Version four brings faster", "search and better control", "of all the windows"};
    const std::vector<std::string> right
        = {"Printing to the network may", "take up to twenty seconds", "on the first morning"};
    for (int line = 0; line < 3; ++line) {
        drawn.text(20, 20 + 30 * line, left[static_cast<std::size_t>(line)], 15, black);
        drawn.text(340, 20 + 30 * line, right[static_cast<std::size_t>(line)], 15, black);
    }
    EXPECT_THAT(linesIn(drawn), ElementsAre(left[0], left[1], left[2], right[0], right[1], right[2]));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsAListBesideAPageBeforeThePage)
{
    DrawnText drawn(640, 300, white);
    drawn.rectangle(0, 0, 180, 300, {0.15, 0.2, 0.25});
    drawn.text(20, 20, "Inbox", 14, white);
    drawn.text(20, 50, "Drafts", 14, white);
    drawn.text(200, 20, "Meeting moved to Thursday", 14, black);
    drawn.text(200, 50, "Invoice for April is ready", 14, black);
    EXPECT_THAT(linesIn(drawn),
        ElementsAre("Inbox", "Drafts", "Meeting moved to Thursday", "Invoice for April is ready"));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsATableInBoxesRowByRow)
{
    DrawnText drawn(560, 140, {0.12, 0.12, 0.12});
    const std::vector<std::string> table
        = {"┌──────────────┬────────────────────┬───────┐", "│ Tom Baker    │ Show hidden files  │ 806   │",
            "│ Maria Keller │ Send statistics    │ 403   │", "└──────────────┴────────────────────┴───────┘"};
    for (int line = 0; line < 4; ++line)
        drawn.text(20, 20 + 19 * line, table[static_cast<std::size_t>(line)], 16, white, "DejaVu Sans Mono");
    EXPECT_THAT(
        linesIn(drawn), ElementsAre("Tom Baker Show hidden files 806", "Maria Keller Send statistics 403"));
}

TEST_F(TesseractTextRecognitionEngineTests, ReadsButtonsAndCheckBoxesWithoutTheirFrames)
{
    DrawnText drawn(400, 140, white);
    const auto frame = [&drawn](int x, int y, int width, int height) {
        drawn.rectangle(x, y, width, height, black);
        drawn.rectangle(x + 1, y + 1, width - 2, height - 2, white);
    };
    frame(20, 24, 15, 15);
    drawn.text(44, 22, "Show hidden files", 15, black);
    frame(20, 70, 90, 32);
    drawn.text(40, 76, "Apply", 15, black);
    frame(130, 70, 90, 32);
    drawn.text(150, 76, "Cancel", 15, black);
    EXPECT_THAT(linesIn(drawn), ElementsAre("Show hidden files", "Apply Cancel"));
}

TEST_F(TesseractTextRecognitionEngineTests, SelectedWordsStayInTheirLine)
{
    DrawnText drawn(560, 60, white);
    drawn.rectangle(156, 18, 110, 24, {0.2, 0.4, 0.65});
    drawn.text(20, 20, "Please open the", 16, black);
    drawn.text(160, 20, "second door", 16, white);
    drawn.text(272, 20, "on the left side", 16, black);
    EXPECT_THAT(linesIn(drawn), ElementsAre("Please open the second door on the left side"));
}

// Tesseract is not sure at all whether words end at the points, and says so of the words on both sides.
TEST_F(TesseractTextRecognitionEngineTests, ProgramTextWithPointsInItIsRead)
{
    DrawnText drawn(500, 120, white);
    drawn.text(12, 12, "lines.append(indent)", 14, black, "DejaVu Sans Mono");
    drawn.text(12, 62, "self._fix_sentence_endings(chunks)", 13, black, "DejaVu Sans Mono");
    EXPECT_THAT(linesIn(drawn),
        ElementsAre(AllOf(HasSubstr("append"), HasSubstr("(indent)")),
            AllOf(HasSubstr("sentence"), HasSubstr("chunks"))));
}

TEST_F(TesseractTextRecognitionEngineTests, WhatBecameOfTheTextIsToldWhenAskedFor)
{
    const VariableGuard guard("GLIMTO_CAPTURE_TEXT_DEBUG", "1");
    DrawnText drawn(300, 60, white);
    drawn.text(20, 20, "Hello World 123", 16, black);
    testing::internal::CaptureStderr();
    linesIn(drawn);
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(), StartsWith("text: 1 rows, 0 of them not read; 0 graphics"));
}

TEST_F(TesseractTextRecognitionEngineTests, EmptyPictureHasNoText)
{
    EXPECT_THAT(linesIn(DrawnText(300, 200, white)), IsEmpty());
}

TEST_F(TesseractTextRecognitionEngineTests, PicturesOfAFewPixelsHaveNoText)
{
    EXPECT_THAT(linesIn(DrawnText(1, 1, black)), IsEmpty());
    EXPECT_THAT(linesIn(DrawnText(1, 900, black)), IsEmpty());
    EXPECT_THAT(linesIn(DrawnText(900, 1, white)), IsEmpty());
    EXPECT_THAT(linesIn(DrawnText(3, 3, white)), IsEmpty());
}

TEST_F(TesseractTextRecognitionEngineTests, NoiseIsReadWithoutTrouble)
{
    std::minstd_rand random(7);
    DrawnText drawn(300, 200, white);
    const auto part = [&random] { return static_cast<double>(random() % 256) / 255; };
    for (int y = 0; y < 200; y += 2) {
        for (int x = 0; x < 300; x += 2)
            drawn.rectangle(x, y, 2, 2, {part(), part(), part()});
    }
    EXPECT_NO_THROW(linesIn(drawn));
}

TEST_F(TesseractTextRecognitionEngineTests, NothingIsWrittenToTheStandardStreams)
{
    DrawnText drawn(300, 60, white);
    drawn.text(20, 20, "Hello World 123", 16, black);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    linesIn(drawn);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(TesseractTextRecognitionEngineTests, MissingLanguageDataIsSaidPlainly)
{
    const VariableGuard guard("TESSDATA_PREFIX", folder.path().string());
    writeFileAtomically(file, OnePicturePNGCodec::header(10, 10));
    DrawnText drawn(300, 60, white);
    drawn.text(20, 20, "Hello World 123", 16, black);
    OnePicturePNGCodec codec(drawn.pixels());
    try {
        TesseractTextRecognitionEngine(codec).recognizeText(file);
        FAIL() << "recognized without any language";
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.what(), StartsWith("No language is installed for text recognition"));
        EXPECT_THAT(error.what(), HasSubstr(folder.path().string()));
    }
}

TEST_F(TesseractTextRecognitionEngineTests, BrokenLanguageDataIsNamedAndNothingElseIsWritten)
{
    const VariableGuard guard("TESSDATA_PREFIX", folder.path().string());
    writeFileAtomically(folder.path() / "eng.traineddata", std::string_view("no language"));
    DrawnText drawn(300, 60, white);
    drawn.text(20, 20, "Hello World 123", 16, black);
    testing::internal::CaptureStderr();
    EXPECT_THROW(linesIn(drawn), PlatformError);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(TesseractTextRecognitionEngineTests, MissingFileIsReportedWithTheSystemsWords)
{
    EXPECT_EQ(
        failureFor(file), "Could not read the image at " + file.string() + ": No such file or directory");
}

TEST_F(TesseractTextRecognitionEngineTests, DirectoryIsRefused)
{
    EXPECT_EQ(failureFor(folder.path()),
        "Could not read the image at " + folder.path().string() + ": it is not a regular file.");
}

TEST_F(TesseractTextRecognitionEngineTests, PipeIsRefusedWithoutWaiting)
{
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(
        failureFor(file), "Could not read the image at " + file.string() + ": it is not a regular file.");
}

TEST_F(TesseractTextRecognitionEngineTests, EmptyFileIsNoPNG)
{
    writeFileAtomically(file, std::string_view());
    EXPECT_EQ(failureFor(file), "The image at " + file.string() + " is not a PNG.");
}

TEST_F(TesseractTextRecognitionEngineTests, OtherFileIsNoPNG)
{
    writeFileAtomically(file, std::string_view("\xff\xd8\xff\xe0 a picture of another kind"));
    EXPECT_EQ(failureFor(file), "The image at " + file.string() + " is not a PNG.");
}

TEST_F(TesseractTextRecognitionEngineTests, DamagedFileIsRefused)
{
    writeFileAtomically(file, OnePicturePNGCodec::header(10, 10));
    EXPECT_EQ(failureFor(file), "The image at " + file.string() + " is damaged or incomplete.");
}

TEST_F(TesseractTextRecognitionEngineTests, HugePictureIsRefusedBeforeItIsDecoded)
{
    writeFileAtomically(file, OnePicturePNGCodec::header(60000, 60000));
    EXPECT_EQ(
        failureFor(file), "The image at " + file.string() + " is too large to be read: 60000x60000 pixels.");
    EXPECT_EQ(noPicture.decodings, 0);
}

} // namespace
} // namespace glimto
