#include "Backends/X11/Windows/X11Applications.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

// No process has a number above the kernel's greatest limit of 2^22.
constexpr std::int32_t noProcess = 1 << 30;

class X11ApplicationsTests : public testing::Test {
protected:
    X11ApplicationsTests()
        : files({directory.path()})
        , applications(files)
    {
    }

    void install(const std::string& id, const std::string& name, const std::string& windowClass = "")
    {
        std::ofstream(directory.path() / (id + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=" << name << "\nStartupWMClass=" << windowClass
            << "\n";
    }

    std::optional<Application> owner(const X11OwnerClues& clues)
    {
        return applications.owners(std::vector{clues}).front();
    }

    TemporaryDirectory directory;
    DesktopFiles files;
    X11Applications applications;
};

TEST_F(X11ApplicationsTests, TheApplicationIDNamesTheDesktopFile)
{
    install("org.example.Editor", "Editor");
    EXPECT_EQ(owner({.processID = 5, .applicationIDs = {"org.example.Editor"}, .className = "Other"}),
        (Application{5, "org.example.Editor", "Editor"}));
}

TEST_F(X11ApplicationsTests, TheInstanceGoesBeforeTheClass)
{
    install("browser", "Browser");
    install("browser-mail", "Mail", "crx_mail");
    EXPECT_EQ(owner({.processID = 5, .instanceName = "crx_mail", .className = "Browser"}),
        (Application{5, "browser-mail", "Mail"}));
}

TEST_F(X11ApplicationsTests, TheClassInSmallLettersMayNameTheDesktopFile)
{
    install("browser", "Web Browser");
    EXPECT_EQ(owner({.processID = 5, .instanceName = "Navigator", .className = "Browser"}),
        (Application{5, "browser", "Web Browser"}));
}

TEST_F(X11ApplicationsTests, WithoutADesktopFileTheClassIsTheName)
{
    EXPECT_EQ(owner({.processID = 5, .instanceName = "xclock", .className = "XClock"}),
        (Application{5, "xclock", "XClock"}));
    EXPECT_EQ(owner({.processID = 0, .instanceName = "only"}), (Application{0, "only", "only"}));
}

TEST_F(X11ApplicationsTests, ADeclaredIDCountsWithoutADesktopFile)
{
    EXPECT_EQ(owner({.processID = 5,
                  .applicationIDs = {"org.example.Viewer"},
                  .instanceName = "viewer.py",
                  .className = "Viewer.py"}),
        (Application{5, "org.example.Viewer", "Viewer.py"}));
    EXPECT_EQ(owner({.processID = 5, .instanceName = "org.example.Viewer", .className = "Electron"}),
        (Application{5, "org.example.Viewer", "Electron"}));
}

TEST_F(X11ApplicationsTests, AnInstanceThatIsNoReverseDomainNameIsNoID)
{
    for (const char* instance : {"soffice.bin", "python3.11", "a..b", "7.zip.exe", "..", "org.example."}) {
        EXPECT_EQ(owner({.processID = 5, .instanceName = instance, .className = "Thing"}),
            (Application{5, "thing", "Thing"}))
            << instance;
    }
}

TEST_F(X11ApplicationsTests, AProcessHasOneIdentityWhateverTheOrderOfItsWindows)
{
    const X11OwnerClues dialog{.window = 3, .processID = 5, .instanceName = "suite", .className = "Suite"};
    const X11OwnerClues menu{.window = 9, .processID = 5, .instanceName = "menu", .className = "Menu"};
    const X11OwnerClues document{
        .window = 7, .processID = 5, .applicationIDs = {"org.example.Writer"}, .className = "Writer"};
    const X11OwnerClues other{.window = 1, .processID = 6, .className = "Other"};
    const Application writer{5, "org.example.Writer", "Writer"};
    for (const auto& windows :
        {std::vector{dialog, menu, document, other}, std::vector{other, document, menu, dialog}}) {
        for (std::size_t index = 0; const auto& owner : applications.owners(windows)) {
            const bool isOther = windows[index++].processID == 6;
            EXPECT_EQ(owner, isOther ? (Application{6, "other", "Other"}) : writer);
        }
    }
    EXPECT_EQ(applications.owners(std::vector{menu, dialog}).front(), (Application{5, "suite", "Suite"}));
}

TEST_F(X11ApplicationsTests, AWindowWithoutProcessAndClassHasNoOwner)
{
    EXPECT_EQ(owner({.window = 1}), std::nullopt);
}

TEST_F(X11ApplicationsTests, AWindowWithoutClassHasTheNameOfItsProcessesOldestWindow)
{
    const std::vector<X11OwnerClues> windows{
        {.window = 30, .processID = 5},
        {.window = 20, .processID = 5, .className = "Second"},
        {.window = 10, .processID = 5, .className = "First"},
    };
    EXPECT_EQ(applications.owners(windows).front(), (Application{5, "first", "First"}));
}

TEST_F(X11ApplicationsTests, AWindowOfAProcessWithoutAnyClassHasTheProcessesName)
{
    EXPECT_FALSE(owner({.processID = ::getpid()})->applicationName.empty());
    EXPECT_EQ(owner({.processID = noProcess}), (Application{noProcess, "", ""}));
}

TEST_F(X11ApplicationsTests, HostileClassesAreOnlyNames)
{
    EXPECT_EQ(owner({.processID = 5, .instanceName = "../../etc/passwd", .className = "../X"}),
        (Application{5, "../x", "../X"}));
}

TEST(DistinctApplicationsTests, EachProcessComesOnceAsFirstSeen)
{
    const std::vector<std::optional<Application>> owners{
        Application{2, "b", "B"}, std::nullopt, Application{1, "a", "A"}, Application{2, "c", "C"}};
    EXPECT_THAT(distinctApplications(owners),
        testing::ElementsAre(Application{2, "b", "B"}, Application{1, "a", "A"}));
}

TEST(DistinctApplicationsTests, WithoutAProcessEachIdentityComesOnce)
{
    const std::vector<std::optional<Application>> owners{
        Application{0, "b", "B"}, Application{0, "a", "A"}, Application{0, "b", "B"}};
    EXPECT_THAT(distinctApplications(owners),
        testing::ElementsAre(Application{0, "b", "B"}, Application{0, "a", "A"}));
}

} // namespace
} // namespace glimto
