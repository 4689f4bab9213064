#include "Progress/ProgressChannel.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

class ProgressChannelTests : public ::testing::Test {
protected:
    ProgressChannelTests()
        : previousHandler(std::signal(SIGPIPE, SIG_IGN))
    {
        std::array<int, 2> ends = {-1, -1};
        if (::pipe(ends.data()) != 0)
            throw std::runtime_error("pipe");
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }
    ~ProgressChannelTests() override { std::signal(SIGPIPE, previousHandler); }

    void useSocketPair()
    {
        std::array<int, 2> ends = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0)
            throw std::runtime_error("socketpair");
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }

    ProgressDescriptor take(const std::string& value) const
    {
        FakeProcessEnvironment process;
        process.variables[ProgressDescriptor::variable] = value;
        return ProgressDescriptor::take(process);
    }

    std::string problemOf(int descriptor) const { return take(std::to_string(descriptor)).problem; }

    static std::string problem(const std::string& value, const std::string& what)
    {
        return "GLIMTO_CAPTURE_PROGRESS_FD: \"" + value + "\" " + what;
    }

    // Everything that can be read without waiting.
    std::string readNow() const
    {
        ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
        std::string text;
        std::array<char, 4096> piece = {};
        for (ssize_t count = 0; (count = ::read(reading.get(), piece.data(), piece.size())) > 0;)
            text.append(piece.data(), static_cast<std::size_t>(count));
        return text;
    }

    // The number of lines, each of which must be whole JSON.
    static std::size_t wholeLines(const std::string& text)
    {
        std::size_t count = 0;
        for (std::size_t begin = 0; begin < text.size(); ++count) {
            const auto end = text.find('\n', begin);
            if (!nlohmann::json::accept(text.substr(begin, end - begin)))
                throw std::runtime_error("a torn line: " + text.substr(begin, end - begin));
            begin = end + 1;
        }
        return count;
    }

    void (*previousHandler)(int);
    FileDescriptor reading;
    FileDescriptor writing;
};

TEST_F(ProgressChannelTests, IsOffWithoutTheVariable)
{
    const auto taken = ProgressDescriptor::take(FakeProcessEnvironment());
    EXPECT_FALSE(taken.descriptor);
    EXPECT_EQ(taken.problem, "");
    EXPECT_EQ(take("").problem, "");
}

TEST_F(ProgressChannelTests, ADescriptorThatIsTakenIsOfNoChild)
{
    const int number = ::dup(writing.get());
    const auto taken = take(std::to_string(number));
    EXPECT_EQ(taken.problem, "");
    EXPECT_EQ(taken.descriptor.get(), number);
    EXPECT_EQ(::fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(ProgressChannelTests, WhatIsNoNumberIsRefused)
{
    for (const std::string value : {"x", "3x", " 3", "-1", "+3", "99999999999999", "3,4"})
        EXPECT_EQ(take(value).problem, problem(value, "is no number of a descriptor"));
}

TEST_F(ProgressChannelTests, StandardStreamsAreRefused)
{
    for (const int number : {0, 1, 2})
        EXPECT_EQ(problemOf(number), problem(std::to_string(number), "is a standard stream"));
}

TEST_F(ProgressChannelTests, WhatCannotBeWrittenIsRefused)
{
    EXPECT_EQ(problemOf(reading.get()), problem(std::to_string(reading.get()), "is not open for writing"));
    EXPECT_EQ(problemOf(999), problem("999", "is not open"));
    const FileDescriptor null(::open("/dev/null", O_WRONLY));
    EXPECT_EQ(problemOf(null.get()),
        problem(std::to_string(null.get()), "is neither a pipe nor a socket nor a file"));
    EXPECT_EQ(::fcntl(null.get(), F_GETFD), 0); // left as it is
}

TEST_F(ProgressChannelTests, WritesALineASnapshot)
{
    ProgressChannel channel(std::move(writing));
    channel.show({.phase = RecordingPhase::recording, .frames = 7});
    const std::string first
        = R"({"version":1,"phase":"recording","elapsed":0.0,"frames":7,"dropped":0,"bytes":0})"
          "\n";
    EXPECT_EQ(readNow(), first);
    channel.show({.phase = RecordingPhase::ended, .frames = 8});
    EXPECT_EQ(wholeLines(readNow()), 1U);
}

TEST_F(ProgressChannelTests, ASlowReaderOfAPipeLosesWholeLines)
{
    ProgressChannel channel(std::move(writing));
    for (int count = 0; count < 5000; ++count)
        channel.show({.frames = count});
    const auto lines = wholeLines(readNow());
    EXPECT_GT(lines, 100U);
    EXPECT_LT(lines, 5000U);
    channel.show({.frames = 5000});
    EXPECT_EQ(wholeLines(readNow()), 1U);
}

TEST_F(ProgressChannelTests, ASlowReaderOfASocketLosesWholeLines)
{
    useSocketPair();
    ProgressChannel channel(std::move(writing));
    std::string text;
    for (int round = 0; round < 3; ++round) {
        for (int count = 0; count < 5000; ++count)
            channel.show({.frames = count});
        text += readNow();
    }
    for (int count = 0; count < 2; ++count)
        channel.show({.frames = count});
    text += readNow();
    const auto lines = wholeLines(text);
    EXPECT_GT(lines, 100U);
    EXPECT_LT(lines, 15000U);
}

TEST_F(ProgressChannelTests, TheWriterOfTheParentIsNotMadeNonBlocking)
{
    const FileDescriptor parents(::dup(writing.get()));
    ProgressChannel channel(std::move(writing));
    channel.show({});
    EXPECT_EQ(::fcntl(parents.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(ProgressChannelTests, AReaderThatHasGoneEndsIt)
{
    ProgressChannel channel(std::move(writing));
    reading.close();
    channel.show({});
    channel.show({});
    SUCCEED(); // neither a signal nor an error
}

TEST_F(ProgressChannelTests, WritesIntoAFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "progress";
    reading = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    ProgressChannel channel(FileDescriptor(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC)));
    channel.show({.frames = 1});
    channel.show({.frames = 2});
    EXPECT_EQ(wholeLines(readNow()), 2U);
}

} // namespace
} // namespace glimto
