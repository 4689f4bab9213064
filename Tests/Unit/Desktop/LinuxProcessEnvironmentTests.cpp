#include "Backends/Desktop/LinuxProcessEnvironment.h"

#include <cstdlib>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace glimto {
namespace {

TEST(LinuxProcessEnvironmentTests, TellsThisProcess)
{
    const LinuxProcessEnvironment process;
    EXPECT_EQ(process.processID(), ::getpid());
    EXPECT_EQ(process.bundleIdentifier(), "com.glimto.capture");
    EXPECT_EQ(process.executablePath()->filename(), "BackendDesktopTests");
}

TEST(LinuxProcessEnvironmentTests, CachesAreWhereTheVariableSays)
{
    ::setenv("XDG_CACHE_HOME", "/var/my cache", 1);
    EXPECT_EQ(LinuxProcessEnvironment().cachesDirectory(), "/var/my cache");
}

TEST(LinuxProcessEnvironmentTests, AnEmptyOrRelativeCacheVariableDoesNotCount)
{
    ::setenv("HOME", "/home/ada", 1);
    for (const char* value : {"", "relative"}) {
        ::setenv("XDG_CACHE_HOME", value, 1);
        EXPECT_EQ(LinuxProcessEnvironment().cachesDirectory(), "/home/ada/.cache");
    }
}

TEST(LinuxProcessEnvironmentTests, WithoutHomeTheUserDatabaseTellsIt)
{
    ::unsetenv("XDG_CACHE_HOME");
    ::unsetenv("HOME");
    const passwd* user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    EXPECT_EQ(LinuxProcessEnvironment().cachesDirectory(), std::filesystem::path(user->pw_dir) / ".cache");
}

TEST(LinuxProcessEnvironmentTests, AVariableMayBeAbsentOrEmpty)
{
    const LinuxProcessEnvironment process;
    ::unsetenv("GLIMTO_TEST_VARIABLE");
    EXPECT_EQ(process.variable("GLIMTO_TEST_VARIABLE"), std::nullopt);
    ::setenv("GLIMTO_TEST_VARIABLE", "", 1);
    EXPECT_EQ(process.variable("GLIMTO_TEST_VARIABLE"), "");
    ::setenv("GLIMTO_TEST_VARIABLE", "a b", 1);
    EXPECT_EQ(process.variable("GLIMTO_TEST_VARIABLE"), "a b");
}

} // namespace
} // namespace glimto
