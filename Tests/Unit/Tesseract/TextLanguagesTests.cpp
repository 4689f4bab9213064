#include "Backends/Tesseract/TextLanguages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/AtomicFile.h"

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TextLanguagesTests : public testing::Test {
protected:
    void install(const std::string& name)
    {
        writeFileAtomically(folder.path() / name, std::string_view("data"));
    }

    TemporaryDirectory folder;
};

TEST_F(TextLanguagesTests, EnglishComesFirstThenByName)
{
    install("rus.traineddata");
    install("deu.traineddata");
    install("eng.traineddata");
    EXPECT_THAT(languagesIn(folder.path()), ElementsAre("eng", "deu", "rus"));
}

TEST_F(TextLanguagesTests, WhatIsNoLanguageOfRunningTextIsLeftOut)
{
    for (const char* name : {"osd.traineddata", "equ.traineddata", "jpn_vert.traineddata", "pdf.ttf",
             ".traineddata", "fra.traineddata", "deu.traineddata.part"})
        install(name);
    std::filesystem::create_directory(folder.path() / "ita.traineddata");
    EXPECT_THAT(languagesIn(folder.path()), ElementsAre("fra"));
}

TEST_F(TextLanguagesTests, ModelsOfScriptsStandInForLanguages)
{
    std::filesystem::create_directory(folder.path() / "script");
    install("osd.traineddata");
    install("script/Latin.traineddata");
    EXPECT_THAT(languagesIn(folder.path()), ElementsAre("script/Latin"));
    install("eng.traineddata");
    EXPECT_THAT(languagesIn(folder.path()), ElementsAre("eng"));
}

TEST_F(TextLanguagesTests, MissingFolderHasNoLanguages)
{
    EXPECT_THAT(languagesIn(folder.path() / "missing"), IsEmpty());
}

TEST_F(TextLanguagesTests, ScriptsAreKnown)
{
    EXPECT_EQ(scriptOf("eng"), "Latin");
    EXPECT_EQ(scriptOf("rus"), "Cyrillic");
    EXPECT_EQ(scriptOf("ara"), "Arabic");
    EXPECT_EQ(scriptOf("uzb_cyrl"), "Cyrillic");
    EXPECT_EQ(scriptOf("uzb"), "Latin");
    EXPECT_EQ(scriptOf("chi_sim"), scriptOf("chi_tra"));
    EXPECT_EQ(scriptOf("script/Greek"), "Greek");
}

} // namespace
} // namespace glimto
