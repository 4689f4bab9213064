#include "Support/Text.h"

#include <limits>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(TextTests, SingleLineKeepsTextAndTabsAndReplacesOtherControlCharacters)
{
    EXPECT_EQ(singleLine("a\nb\r\tc\x7F\xC3\xA9"), "a b \tc \xC3\xA9");
    EXPECT_EQ(singleLine("a\u202Ab\u202Ec\u2066d\u2069e\u200Ef\u2027g"), "a b c d e\u200Ef\u2027g");
    EXPECT_EQ(singleLine("a\u0085b\u009Bc\u2028d\u2029e\xFF"), "a b c d e\xFF");
}

TEST(TextTests, AnExcerptIsOneLineOfBoundedLength)
{
    EXPECT_EQ(excerpt("a\nb"), "a b");
    std::string text;
    for (int count = 0; count < 5000; ++count)
        text += "\xC3\xA9";
    EXPECT_EQ(excerpt(text).size(), 4000U);
}

TEST(TextTests, TrimsSpacesTabsAndLineBreaksAtBothEnds)
{
    EXPECT_EQ(trimmed(" \t\r\n a b \v\f\n"), "a b");
    EXPECT_EQ(trimmed("abc"), "abc");
}

TEST(TextTests, TrimsUnicodeWhiteSpace)
{
    EXPECT_EQ(trimmed("\u00A0\u2003x\u3000\u0085\u2028"), "x");
}

TEST(TextTests, TrimsNothingButWhiteSpaceToNothing)
{
    EXPECT_EQ(trimmed(" \n\u00A0"), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(TextTests, KeepsBytesThatAreNoCharacterWhenTrimming)
{
    EXPECT_EQ(trimmed(" \xFF "), "\xFF");
}

TEST(TextTests, TrimmedNonEmptyIsAbsentWhenNothingRemains)
{
    EXPECT_EQ(trimmedNonEmpty(std::nullopt), std::nullopt);
    EXPECT_EQ(trimmedNonEmpty(" \n"), std::nullopt);
    EXPECT_EQ(trimmedNonEmpty("  abc \n"), "abc");
}

TEST(TextTests, ValidTextIsUnchangedAsUTF8)
{
    EXPECT_EQ(validUTF8("a\u00E9\u20AC\U0001F600"), "a\u00E9\u20AC\U0001F600");
}

TEST(TextTests, EveryByteOutsideAWellFormedSequenceIsReplaced)
{
    EXPECT_EQ(validUTF8("a\xFFz"), "a\uFFFDz");
    EXPECT_EQ(validUTF8("\xE2\x82"), "\uFFFD\uFFFD");
}

TEST(TextTests, OverlongFormsAndSurrogatesAreNotWellFormed)
{
    EXPECT_EQ(validUTF8("\xC0\x80"), "\uFFFD\uFFFD");
    EXPECT_EQ(validUTF8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(validUTF8("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(TextTests, DecimalsAreTheShortestThatReadBackTheSame)
{
    EXPECT_EQ(shortestDecimal(5), "5.0");
    EXPECT_EQ(shortestDecimal(0.1), "0.1");
    EXPECT_EQ(shortestDecimal(-2.25), "-2.25");
    EXPECT_EQ(shortestDecimal(1e20), "1e+20");
}

TEST(TextTests, NumbersThatAreNotFiniteHaveNames)
{
    EXPECT_EQ(shortestDecimal(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(shortestDecimal(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(shortestDecimal(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(TextTests, APrefixCountsCodePointsNotBytes)
{
    EXPECT_EQ(prefixOfCodePoints("\u20AC\u20ACx", 2), "\u20AC\u20AC");
    EXPECT_EQ(prefixOfCodePoints("ab", 5), "ab");
    EXPECT_EQ(prefixOfCodePoints("ab", 0), "");
}

TEST(TextTests, CodePointsAreTakenOneByOneAndIllFormedBytesAlone)
{
    std::string_view text = "a\xC3\xA9\xE2\x82";
    const CodePoint letter = takeCodePoint(text);
    const CodePoint accented = takeCodePoint(text);
    const CodePoint torn = takeCodePoint(text);

    EXPECT_EQ(letter.value, U'a');
    EXPECT_EQ(accented.value, U'\u00E9');
    EXPECT_EQ(accented.bytes, "\xC3\xA9");
    EXPECT_FALSE(torn.isWellFormed);
    EXPECT_EQ(torn.bytes, "\xE2");
    EXPECT_EQ(text, "\x82");
}

TEST(TextTests, WhatIsPutInIsNotReplacedAgain)
{
    EXPECT_EQ(replacingAll("{{id}}/{{id}}", "{{id}}", "a{{id}}"), "a{{id}}/a{{id}}");
    EXPECT_EQ(replacingAll("segments/a/segments/b", "segments/", ""), "a/b");
    EXPECT_EQ(replacingAll("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replacingAll("", "a", "b"), "");
}

TEST(TextTests, PiecesAreOneMoreThanSeparators)
{
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(pieces("a/b//c/", '/'), (Pieces{"a", "b", "", "c", ""}));
    EXPECT_EQ(pieces("", '/'), Pieces{""});
}

TEST(TextTests, LettersAndDigitsAreThoseOfASCII)
{
    for (const char character : std::string_view("azAZ09"))
        EXPECT_TRUE(isAlphanumeric(character)) << character;
    for (const char character : std::string_view("@[`{/:\xE9"))
        EXPECT_FALSE(isAlphanumeric(character)) << character;
}

TEST(TextTests, HexadecimalDigitsAreLowerCaseAndTwoAByte)
{
    const unsigned char bytes[] = {0x00, 0x0F, 0xA5};
    EXPECT_EQ(hexadecimal(bytes), "000fa5");
}

TEST(TextTests, OnlyLettersOfASCIIAreLowered)
{
    EXPECT_EQ(lowercased("AZ[\xC3\x84"), "az[\xC3\x84");
}

} // namespace
} // namespace glimto
