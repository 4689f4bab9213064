#include "Support/DescriptorLineOutput.h"

#include <array>
#include <chrono>
#include <csignal>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Support/FileDescriptor.h"

namespace glimto {
namespace {

class DescriptorLineOutputTests : public testing::Test {
protected:
    DescriptorLineOutputTests()
        : previousHandler(std::signal(SIGPIPE, SIG_IGN))
    {
        std::array<int, 2> ends = {-1, -1};
        if (::pipe(ends.data()) != 0)
            throw std::runtime_error("pipe");
        readingEnd = FileDescriptor(ends[0]);
        writingEnd = FileDescriptor(ends[1]);
    }
    ~DescriptorLineOutputTests() override { std::signal(SIGPIPE, previousHandler); }

    // Everything up to the end of the stream.
    std::string readAll() const
    {
        std::string text;
        std::array<char, 4096> piece = {};
        for (ssize_t count = 0; (count = ::read(readingEnd.get(), piece.data(), piece.size())) > 0;)
            text.append(piece.data(), static_cast<std::size_t>(count));
        return text;
    }

    // Leaves no room in the pipe; how many bytes it holds.
    std::size_t fillPipe() const
    {
        const int flags = ::fcntl(writingEnd.get(), F_GETFL);
        ::fcntl(writingEnd.get(), F_SETFL, flags | O_NONBLOCK);
        const std::array<char, 4096> piece = {};
        std::size_t filled = 0;
        for (ssize_t count = 0; (count = ::write(writingEnd.get(), piece.data(), piece.size())) > 0;)
            filled += static_cast<std::size_t>(count);
        ::fcntl(writingEnd.get(), F_SETFL, flags);
        return filled;
    }

    void (*previousHandler)(int);
    FileDescriptor readingEnd;
    FileDescriptor writingEnd;
};

TEST_F(DescriptorLineOutputTests, WritesALineAtOnce)
{
    DescriptorLineOutput output(writingEnd.get());
    output.writeLine("GLIMTO_RECORDING_STATUS=recording");
    std::array<char, 64> text = {};
    const ssize_t count = ::read(readingEnd.get(), text.data(), text.size());
    EXPECT_EQ(
        std::string(text.data(), static_cast<std::size_t>(count)), "GLIMTO_RECORDING_STATUS=recording\n");
}

TEST_F(DescriptorLineOutputTests, WritesAnEmptyLine)
{
    DescriptorLineOutput(writingEnd.get()).writeLine("");
    writingEnd.close();
    EXPECT_EQ(readAll(), "\n");
}

TEST_F(DescriptorLineOutputTests, WritesADocumentThatIsLongerThanThePipe)
{
    const std::string document(1'000'000, 'x');
    auto received = std::async(std::launch::async, [this] { return readAll(); });
    DescriptorLineOutput(writingEnd.get()).writeLine(document);
    writingEnd.close();
    EXPECT_EQ(received.get(), document + "\n");
}

TEST_F(DescriptorLineOutputTests, LinesOfSeveralThreadsNeverMix)
{
    DescriptorLineOutput output(writingEnd.get());
    auto received = std::async(std::launch::async, [this] { return readAll(); });
    const auto writeMany = [&output](char character) {
        for (int round = 0; round < 500; ++round)
            output.writeLine(std::string(99, character));
    };
    std::thread other(writeMany, 'a');
    writeMany('b');
    other.join();
    writingEnd.close();

    const std::string text = received.get();
    ASSERT_EQ(text.size(), 100'000U);
    for (std::size_t at = 0; at < text.size(); at += 100)
        EXPECT_EQ(text.substr(at, 100), std::string(99, text[at]) + "\n");
}

TEST_F(DescriptorLineOutputTests, AReaderThatWentAwayIsNoError)
{
    readingEnd.close();
    DescriptorLineOutput output(writingEnd.get());
    EXPECT_NO_THROW(output.writeLine("nobody reads this"));
}

TEST_F(DescriptorLineOutputTests, AReaderThatStoppedHoldsUpOneLineOnly)
{
    constexpr std::chrono::milliseconds patience{100};
    fillPipe();
    DescriptorLineOutput output(writingEnd.get(), patience);
    const auto begin = std::chrono::steady_clock::now();
    for (int line = 0; line < 1000; ++line)
        output.writeLine("dropped");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, patience * 100);
}

TEST_F(DescriptorLineOutputTests, AReaderThatReadsAgainGetsTheNextLine)
{
    const std::size_t filled = fillPipe();
    DescriptorLineOutput output(writingEnd.get(), std::chrono::milliseconds{1});
    output.writeLine("dropped");
    std::string text(filled, ' ');
    ASSERT_EQ(::read(readingEnd.get(), text.data(), text.size()), static_cast<ssize_t>(filled));
    output.writeLine("seen");
    writingEnd.close();
    EXPECT_EQ(readAll(), "seen\n");
}

TEST_F(DescriptorLineOutputTests, AClosedDescriptorIsNoError)
{
    DescriptorLineOutput output(writingEnd.get());
    writingEnd.close();
    EXPECT_NO_THROW(output.writeLine("lost"));
    EXPECT_EQ(readAll(), "");
}

} // namespace
} // namespace glimto
