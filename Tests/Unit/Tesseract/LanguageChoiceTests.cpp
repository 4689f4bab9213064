#include "Backends/Tesseract/LanguageChoice.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;

// Readings of a sample that are known beforehand, and which of them were asked for.
struct KnownReadings {
    std::map<std::string, double> confidences;
    std::vector<std::string> asked;

    std::vector<std::string> choose(const std::vector<std::string>& installed)
    {
        return chooseLanguages(installed, [this](const std::string& language) {
            asked.push_back(language);
            return confidences.at(language);
        });
    }
};

TEST(LanguageChoiceTests, OnlyLanguageIsTakenWithoutATrial)
{
    KnownReadings readings;
    EXPECT_THAT(readings.choose({"deu"}), ElementsAre("deu"));
    EXPECT_TRUE(readings.asked.empty());
}

TEST(LanguageChoiceTests, SureReadingEndsTheTrials)
{
    KnownReadings readings{{{"eng", 95}}, {}};
    EXPECT_THAT(readings.choose({"eng", "deu", "rus"}), ElementsAre("eng"));
    EXPECT_THAT(readings.asked, ElementsAre("eng"));
}

TEST(LanguageChoiceTests, ScriptIsFoundByOneLanguageOfEach)
{
    KnownReadings readings{{{"eng", 40}, {"jpn", 10}, {"rus", 80}, {"ukr", 91}}, {}};
    EXPECT_THAT(readings.choose({"eng", "deu", "jpn", "rus", "ukr"}), ElementsAre("ukr", "eng"));
    EXPECT_THAT(readings.asked, ElementsAre("eng", "jpn", "rus", "ukr"));
}

TEST(LanguageChoiceTests, BetterLanguageOfTheSameScriptComesBeforeEnglish)
{
    KnownReadings readings{{{"eng", 87}, {"deu", 95}, {"rus", 39}}, {}};
    EXPECT_THAT(readings.choose({"eng", "deu", "rus"}), ElementsAre("deu", "eng"));
}

TEST(LanguageChoiceTests, EnglishIsNotAddedWhereItIsMissing)
{
    KnownReadings readings{{{"fra", 50}, {"rus", 94}}, {}};
    EXPECT_THAT(readings.choose({"fra", "rus"}), ElementsAre("rus"));
}

TEST(LanguageChoiceTests, OrderDecidesBetweenEquals)
{
    KnownReadings readings{{{"eng", 60}, {"deu", 60}}, {}};
    EXPECT_THAT(readings.choose({"eng", "deu"}), ElementsAre("eng"));
}

} // namespace
} // namespace glimto
