#include "Support/OthersAccess.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "Support/LoadableModule.h"

namespace glimto {
namespace {

namespace fs = std::filesystem;

class OthersAccessTests : public testing::Test {
protected:
    bool othersWithMode(mode_t mode) const
    {
        EXPECT_EQ(::chmod(directory.path().c_str(), mode), 0);
        return mayBeOthers(directory.path(), "/");
    }

    TemporaryDirectory directory;
};

TEST_F(OthersAccessTests, WhatOnlyTheOwnerMayWriteIsNobodyElses)
{
    EXPECT_FALSE(othersWithMode(0700));
    EXPECT_FALSE(othersWithMode(0755));
    EXPECT_FALSE(othersWithMode(0555));
    EXPECT_FALSE(mayBeOthers("/usr/lib", "/"));
}

TEST_F(OthersAccessTests, WhatEverybodyMayWriteIsAnybodys)
{
    EXPECT_TRUE(othersWithMode(0777));
    EXPECT_TRUE(othersWithMode(01777));
    EXPECT_TRUE(othersWithMode(0757));
    EXPECT_TRUE(mayBeOthers("/tmp", "/"));
    EXPECT_TRUE(mayBeOthers(directory.path() / "nowhere", "/"));
}

TEST_F(OthersAccessTests, AGroupOfSeveralMayChangeIt)
{
    constexpr gid_t daemons = 1;
    if (::chown(directory.path().c_str(), static_cast<uid_t>(-1), daemons) == 0) {
        EXPECT_TRUE(othersWithMode(0770));
        EXPECT_FALSE(othersWithMode(0750));
    }
}

TEST_F(OthersAccessTests, WhoOwnsTheProgramsDirectoryIsTrusted)
{
    constexpr uid_t daemon = 1;
    if (::chown(directory.path().c_str(), daemon, static_cast<gid_t>(-1)) != 0)
        return; // not root: everything here is this user's own
    EXPECT_TRUE(mayBeOthers(directory.path(), "/"));
    EXPECT_FALSE(mayBeOthers(directory.path(), directory.path()));
}

TEST_F(OthersAccessTests, AModuleThatAnybodyCouldHavePutThereIsNotOpened)
{
    const auto failure = [this] {
        LoadableModule module("module.so", {directory.path()}, "The encoder");
        try {
            module.service<int>();
        } catch (const PlatformError& error) {
            return std::string(error.what());
        }
        return std::string("opened");
    };
    std::ofstream(directory.path() / "module.so") << "no library";
    EXPECT_EQ(failure().find("The encoder is not available: other users"), std::string::npos);
    ASSERT_EQ(::chmod((directory.path() / "module.so").c_str(), 0666), 0);
    EXPECT_EQ(failure(),
        "The encoder is not available: other users may write to " + (directory.path() / "module.so").string()
            + ".");
    ASSERT_EQ(::chmod((directory.path() / "module.so").c_str(), 0600), 0);
    ASSERT_EQ(::chmod(directory.path().c_str(), 01777), 0);
    EXPECT_EQ(failure(),
        "The encoder is not available: other users may write to " + directory.path().string() + ".");
}

} // namespace
} // namespace glimto
