#include "Backends/Desktop/FileURI.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(FileURITests, PlainPathsStayAsTheyAre)
{
    EXPECT_EQ(fileURI("/tmp/take-1_2.3~/init.mp4"), "file:///tmp/take-1_2.3~/init.mp4");
}

TEST(FileURITests, EverythingElseIsPercentEncoded)
{
    EXPECT_EQ(fileURI("/a b,c'd\"e%[]$é\xFF"), "file:///a%20b%2Cc%27d%22e%25%5B%5D%24%C3%A9%FF");
}

} // namespace
} // namespace glimto
