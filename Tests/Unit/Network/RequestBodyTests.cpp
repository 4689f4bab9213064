#include "Backends/Network/RequestBody.h"

#include <array>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using Source = std::variant<std::monostate, std::string, HTTPBodyFile>;

std::string readAll(RequestBody& body)
{
    std::string content;
    std::array<char, 3> buffer = {};
    while (const std::size_t count = body.read(buffer.data(), buffer.size()))
        content.append(buffer.data(), count);
    return content;
}

TEST(RequestBodyTests, BytesAreReadInPiecesAndAgain)
{
    const Source source = std::string("0123456789");
    RequestBody body(source);
    EXPECT_EQ(body.size(), 10);
    EXPECT_EQ(readAll(body), "0123456789");
    EXPECT_TRUE(body.seek(7));
    EXPECT_EQ(readAll(body), "789");
    EXPECT_FALSE(body.seek(11));
    EXPECT_FALSE(body.seek(-1));
}

TEST(RequestBodyTests, AFileIsAsLongAsItWasWhenItWasOpened)
{
    const TemporaryDirectory directory;
    const auto path = directory.path() / "x";
    std::ofstream(path) << "0123456789";
    const Source source = std::make_shared<RegularFile>(RegularFile::open(FileBelow::of(path)));
    RequestBody body(source);
    std::ofstream(path, std::ios::app) << "more";
    EXPECT_EQ(readAll(body), "0123456789");
}

TEST(RequestBodyTests, AFileThatBecomesShorterIsAnError)
{
    const TemporaryDirectory directory;
    const auto path = directory.path() / "x";
    std::ofstream(path) << "0123456789";
    const Source source = std::make_shared<RegularFile>(RegularFile::open(FileBelow::of(path)));
    RequestBody body(source);
    std::filesystem::resize_file(path, 4);
    EXPECT_THROW(readAll(body), PlatformError);
}

TEST(RequestBodyTests, NothingIsNothing)
{
    const Source source;
    RequestBody body(source);
    EXPECT_EQ(body.size(), 0);
    EXPECT_EQ(readAll(body), "");
}

} // namespace
} // namespace glimto
