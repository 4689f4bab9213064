#include "Backends/Portal/RestoreTokens.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

class RestoreTokensTests : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::filesystem::path file = directory.path() / "state" / "tokens.json";
    RestoreTokens tokens{file};
};

TEST_F(RestoreTokensTests, ATokenIsThereForItsPurposeAlone)
{
    tokens.keep("display 1", "abc");

    EXPECT_EQ(tokens.token("display 1"), "abc");
    EXPECT_EQ(tokens.token("display 2"), "");
}

TEST_F(RestoreTokensTests, TheNextTokenReplacesTheLast)
{
    tokens.keep("display 1", "abc");
    tokens.keep("display 1", "def");

    EXPECT_EQ(tokens.token("display 1"), "def");
}

TEST_F(RestoreTokensTests, AnEmptyTokenTakesAwayWhatStandsThere)
{
    tokens.keep("display 1", "abc");
    tokens.keep("display 2", "def");
    tokens.keep("display 1", "");

    EXPECT_EQ(tokens.token("display 1"), "");
    EXPECT_EQ(tokens.token("display 2"), "def");
}

TEST_F(RestoreTokensTests, NothingToKeepMakesNoFile)
{
    tokens.keep("display 1", "");

    EXPECT_FALSE(std::filesystem::exists(file.parent_path()));
}

TEST_F(RestoreTokensTests, FileAndFolderAreForTheirOwnerAlone)
{
    tokens.keep("display 1", "abc");

    struct stat status = {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ASSERT_EQ(::stat(file.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(RestoreTokensTests, AFileThatIsNoneHoldsNothingAndIsReplaced)
{
    std::filesystem::create_directory(file.parent_path());
    for (const char* content : {"", "[]", "{", "{\"display 1\": 7}", "\xff"}) {
        std::ofstream(file) << content;
        EXPECT_EQ(tokens.token("display 1"), "") << content;
    }
    tokens.keep("display 1", "abc");
    EXPECT_EQ(tokens.token("display 1"), "abc");
}

TEST_F(RestoreTokensTests, WithoutAFileNothingIsKept)
{
    const RestoreTokens none({});
    none.keep("display 1", "abc");

    EXPECT_EQ(none.token("display 1"), "");
}

} // namespace
} // namespace glimto
