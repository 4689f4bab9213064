#include "Backends/X11/Windows/X11Text.h"

#include <string>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::string_literals;

TEST(X11TextTests, Latin1LettersBecomeTwoBytes)
{
    EXPECT_EQ(utf8FromLatin1("Caf\xE9 \xFF"), "Café ÿ");
}

TEST(X11TextTests, TextEndsAtTheFirstZeroByte)
{
    EXPECT_EQ(utf8FromLatin1("one\0two"s), "one");
    EXPECT_EQ(utf8FromUTF8String("one\0two"s, TextEnd::whole), "one");
    EXPECT_EQ(utf8FromCompoundText("one\0two"s), "one");
}

TEST(X11TextTests, BytesThatAreNotUTF8AreReplaced)
{
    EXPECT_EQ(utf8FromUTF8String("a\xFFz \xE2\x82\xAC", TextEnd::whole), "a\xEF\xBF\xBDz €");
}

TEST(X11TextTests, ACharacterCutAtTheEndIsLeftOut)
{
    EXPECT_EQ(utf8FromUTF8String("a\xE2\x82", TextEnd::cut), "a");
    EXPECT_EQ(utf8FromUTF8String("a\xF0\x9F\x98", TextEnd::cut), "a");
    EXPECT_EQ(utf8FromUTF8String("a\xC3", TextEnd::cut), "a");
}

TEST(X11TextTests, AWholeCharacterAtTheCutStays)
{
    EXPECT_EQ(utf8FromUTF8String("a\xE2\x82\xAC", TextEnd::cut), "a€");
    EXPECT_EQ(utf8FromUTF8String("abc", TextEnd::cut), "abc");
    EXPECT_EQ(utf8FromUTF8String("", TextEnd::cut), "");
}

TEST(X11TextTests, CompoundTextBeginsAsLatin1)
{
    EXPECT_EQ(utf8FromCompoundText("Caf\xE9 bar"), "Café bar");
}

TEST(X11TextTests, CompoundTextSwitchesToOtherISO8859Sets)
{
    EXPECT_EQ(utf8FromCompoundText("\x1B-B\xB1 \x1B-A\xE9"), "ą é");
}

TEST(X11TextTests, CompoundTextHoldsJapaneseInTheLeftHalf)
{
    EXPECT_EQ(utf8FromCompoundText("\x1B$(B\x46\x7C\x4B\x5C\x1B(B abc"), "日本 abc");
}

TEST(X11TextTests, CompoundTextHoldsKoreanInTheRightHalf)
{
    EXPECT_EQ(utf8FromCompoundText("\x1B$)C\xB0\xA1"), "가");
}

TEST(X11TextTests, CompoundTextHoldsUTF8)
{
    EXPECT_EQ(utf8FromCompoundText("\x1B%G\xE2\x82\xAC\x1B%@ \xE9"), "€ é");
}

TEST(X11TextTests, CompoundTextHoldsSegmentsInNamedEncodings)
{
    EXPECT_EQ(utf8FromCompoundText("<\x1B%/1\x80\x89koi8-r\x02\xC1\xC2>"), "<аб>");
}

TEST(X11TextTests, CharactersOfUnknownSetsAreReplacedOneByOne)
{
    EXPECT_EQ(utf8FromCompoundText("\x1B$(Zabcd\x1B(Bx"), "\xEF\xBF\xBD\xEF\xBF\xBDx");
    EXPECT_EQ(utf8FromCompoundText("\x1B%/2\x80\x8Ano-such\x02zz"), "\xEF\xBF\xBD");
}

TEST(X11TextTests, DirectionMarksAreLeftOut)
{
    EXPECT_EQ(utf8FromCompoundText("a\x9B"
                                   "2]b"),
        "ab");
}

TEST(X11TextTests, SequencesThatEndTooEarlyGiveWhatIsThere)
{
    EXPECT_EQ(utf8FromCompoundText("a\x1B"), "a");
    EXPECT_EQ(utf8FromCompoundText("a\x1B$("), "a");
    EXPECT_EQ(utf8FromCompoundText("a\x1B%/1"), "a");
    EXPECT_EQ(utf8FromCompoundText("a\x1B%/1\xFF\xFFx"), "a");
    EXPECT_EQ(utf8FromCompoundText("a\x1B%G\xE2"), "a\xEF\xBF\xBD");
    EXPECT_EQ(utf8FromCompoundText("a\x9B"), "a");
}

} // namespace
} // namespace glimto
