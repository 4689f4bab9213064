#include "Backends/DesktopFiles/DesktopEntry.h"

#include <string>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(DesktopEntryTests, ReadsTheKeysOfTheMainGroup)
{
    const auto entry = parseDesktopEntry("# comment\n"
                                         "[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Text Editor\n"
                                         "StartupWMClass=gedit\n");
    EXPECT_TRUE(entry.isApplication());
    EXPECT_EQ(entry.name, "Text Editor");
    EXPECT_EQ(entry.startupWMClass, "gedit");
}

TEST(DesktopEntryTests, KeysOfOtherGroupsDoNotCount)
{
    const auto entry
        = parseDesktopEntry("Name=Before\n[Other]\nName=Other\n[Desktop Entry]\nType=Application\n"
                            "[Desktop Action new]\nName=New Window\n");
    EXPECT_EQ(entry.name, "");
    EXPECT_FALSE(entry.isApplication());
}

TEST(DesktopEntryTests, TranslationsDoNotReplaceTheName)
{
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nName[de]=Rechner\nName=Calculator\n").name, "Calculator");
}

TEST(DesktopEntryTests, SpacesAroundKeysAndValuesAreDropped)
{
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\r\nName = A B \r\n").name, "A B");
}

TEST(DesktopEntryTests, EscapesStandForCharacters)
{
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nName=a\\sb\\\\c\\qd\\\n").name, "a b\\c\\qd\\");
}

TEST(DesktopEntryTests, HiddenEntriesAndOtherTypesAreNoApplications)
{
    EXPECT_FALSE(
        parseDesktopEntry("[Desktop Entry]\nType=Application\nName=A\nHidden=true\n").isApplication());
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Link\nName=A\n").isApplication());
}

TEST(DesktopEntryTests, NamesAreMadeValidUTF8)
{
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nName=a\xFF"
                                "b\n")
                  .name,
        "a\xEF\xBF\xBD"
        "b");
}

TEST(DesktopEntryTests, TextThatIsNoDesktopFileGivesAnEmptyEntry)
{
    EXPECT_EQ(parseDesktopEntry("").name, "");
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry").name, "");
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\n=\nName\n=x").name, "");
    EXPECT_EQ(parseDesktopEntry(std::string(100'000, '\\')).name, "");
}

} // namespace
} // namespace glimto
