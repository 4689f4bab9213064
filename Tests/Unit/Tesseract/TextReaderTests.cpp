#include "Backends/Tesseract/TextReader.h"

#include <string>

#include <gtest/gtest.h>

#include "Backends/Tesseract/TextPictures.h"
#include "Unit/Tesseract/DrawnText.h"

namespace glimto {
namespace {

RecognizedLine readingOf(const std::string& words)
{
    DrawnText drawn(600, 60, {1, 1, 1});
    drawn.text(20, 20, words, 16, {0, 0, 0});
    return TextReader("eng").readLine(grayPicture(*drawn.pixels(), 1'000'000).get());
}

TEST(TextReaderTests, LettersAreCountedByTheirBytes)
{
    EXPECT_EQ(lettersIn("ab 12, c."), 3);
    EXPECT_EQ(lettersIn("\xc3\xa4"), 2);
    EXPECT_EQ(lettersIn(""), 0);
}

TEST(TextReaderTests, WordsOfTheLanguageAreKnown)
{
    const RecognizedLine line = readingOf("Preferences are saved when the window closes");
    EXPECT_EQ(line.text, "Preferences are saved when the window closes");
    EXPECT_GT(line.known, 0.7F);
}

TEST(TextReaderTests, WordsOfAnotherLanguageAreMostlyUnknown)
{
    const RecognizedLine line = readingOf("Einstellungen werden beim Schliessen gespeichert");
    EXPECT_GT(line.text.size(), 40U);
    EXPECT_LT(line.known, 0.5F);
}

TEST(TextReaderTests, NothingReadHasNothingKnown)
{
    EXPECT_EQ(readingOf("").known, 0);
}

} // namespace
} // namespace glimto
