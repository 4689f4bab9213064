#include "Support/Errors.h"

#include <cerrno>
#include <stdexcept>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(ErrorsTests, ACommandLineErrorIsItsMessage)
{
    const CLIError error("screenshot requires --output <png>.");
    EXPECT_STREQ(error.what(), "screenshot requires --output <png>.");
    EXPECT_EQ(errorFacts(error).message, "screenshot requires --output <png>.");
    EXPECT_EQ(errorFacts(error).type, "CLIError");
}

TEST(ErrorsTests, APlatformErrorKeepsDomainAndCode)
{
    const auto facts = errorFacts(PlatformError("X11", 8, "BadMatch"));
    EXPECT_EQ(facts.message, "BadMatch");
    EXPECT_EQ(facts.type, "PlatformError");
    EXPECT_EQ(facts.domain, "X11");
    EXPECT_EQ(facts.code, 8);
}

TEST(ErrorsTests, APOSIXErrorTellsTheSystemsReason)
{
    const auto facts = errorFacts(PlatformError::posix("Could not write file", ENOENT));
    EXPECT_EQ(facts.message, "Could not write file: No such file or directory");
    EXPECT_EQ(facts.domain, "POSIX");
    EXPECT_EQ(facts.code, ENOENT);
}

TEST(ErrorsTests, AnyOtherExceptionHasItsTypeName)
{
    const auto facts = errorFacts(std::make_exception_ptr(std::runtime_error("other")));
    EXPECT_EQ(facts.message, "other");
    EXPECT_EQ(facts.type, "std::runtime_error");
    EXPECT_EQ(facts.domain, "std");
}

TEST(ErrorsTests, AnythingElseThatIsThrownIsUnknown)
{
    EXPECT_EQ(errorFacts(std::make_exception_ptr(7)).message, "unknown error");
}

} // namespace
} // namespace glimto
