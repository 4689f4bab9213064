#include "Support/DescriptorLineOutput.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/NonBlockingWriter.h"

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
    DescriptorLineOutput(writingEnd.get()).writeDocument(document);
    writingEnd.close();
    EXPECT_EQ(received.get(), document + "\n");
}

TEST_F(DescriptorLineOutputTests, ADocumentThatCannotBeWrittenIsAnError)
{
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    DescriptorLineOutput output(full.get());
    try {
        output.writeDocument("{}");
        FAIL() << "wrote onto a full disk";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "Could not write the output: No space left on device");
    }
    EXPECT_NO_THROW(output.writeLine("lost"));
}

TEST_F(DescriptorLineOutputTests, AReaderOfADocumentMayGoAway)
{
    readingEnd.close();
    EXPECT_NO_THROW(DescriptorLineOutput(writingEnd.get()).writeDocument(std::string(1'000'000, 'x')));
}

// Nobody reads, and still no line waits: with any wait of the patience the writer would never be done.
// `stopReading` makes the descriptor's writes fail.
void expectNoWait(int descriptor, const std::string& line, const std::function<void()>& stopReading)
{
    DescriptorLineOutput output(descriptor, std::chrono::hours(1));
    auto done = std::async(std::launch::async, [&] {
        for (int count = 0; count < 200; ++count)
            output.writeLine(line);
    });
    EXPECT_EQ(done.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    stopReading();
}

TEST_F(DescriptorLineOutputTests, APipeThatIsNotReadHoldsNobodyUp)
{
    expectNoWait(writingEnd.get(), std::string(60'000, 'x'), [this] { readingEnd.close(); });
}

// Both ends of a terminal.
struct Terminal {
    Terminal()
        : far(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (::grantpt(far.get()) != 0 || ::unlockpt(far.get()) != 0)
            throw std::runtime_error("pty");
        near = FileDescriptor(::open(::ptsname(far.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    }
    FileDescriptor far;
    FileDescriptor near;
};

// As long as it lives the process may open nothing that only its user may.
class AnotherUser {
public:
    AnotherUser() { EXPECT_TRUE(own_ != 0 || ::seteuid(65534) == 0); }
    ~AnotherUser() { EXPECT_EQ(::seteuid(own_), 0); }
    AnotherUser(const AnotherUser&) = delete;
    AnotherUser& operator=(const AnotherUser&) = delete;

private:
    const uid_t own_ = ::geteuid();
};

TEST_F(DescriptorLineOutputTests, ATerminalThatIsNotReadHoldsNobodyUp)
{
    Terminal terminal;
    expectNoWait(terminal.near.get(), std::string(3'000, 'x'), [&] { terminal.far.close(); });
}

TEST_F(DescriptorLineOutputTests, ATerminalOfAnotherUserThatIsNotReadHoldsNobodyUp)
{
    Terminal terminal;
    ASSERT_EQ(::fchmod(terminal.near.get(), 0), 0);
    const AnotherUser user;
    ASSERT_FALSE(NonBlockingWriter(terminal.near.get()).neverBlocks());
    expectNoWait(terminal.near.get(), std::string(3'000, 'x'), [&] { terminal.far.close(); });
}

TEST_F(DescriptorLineOutputTests, ATerminalOfAnotherUserGetsTheLines)
{
    const Terminal terminal;
    ASSERT_EQ(::fchmod(terminal.near.get(), 0), 0);
    const AnotherUser user;
    DescriptorLineOutput(terminal.near.get()).writeLine("line");
    std::array<char, 64> text = {};
    ASSERT_EQ(::read(terminal.far.get(), text.data(), text.size()), 6);
    EXPECT_STREQ(text.data(), "line\r\n");
}

TEST_F(DescriptorLineOutputTests, ASocketThatIsNotReadHoldsNobodyUp)
{
    std::array<int, 2> ends = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    const FileDescriptor near(ends[0]);
    FileDescriptor far(ends[1]);
    expectNoWait(near.get(), std::string(10'000, 'x'), [&] { far.close(); });
}

TEST_F(DescriptorLineOutputTests, ALongLineIsWholeWhenItIsReadLate)
{
    std::optional<DescriptorLineOutput> output(std::in_place, writingEnd.get(), std::chrono::hours(1));
    output->writeLine(std::string(100'000, 'x'));
    output->writeLine("next");
    auto received = std::async(std::launch::async, [this] { return readAll(); });
    output.reset();
    writingEnd.close();
    EXPECT_EQ(received.get(), std::string(100'000, 'x') + "\nnext\n");
}

TEST_F(DescriptorLineOutputTests, LinesThatAreTooManyToBeKeptAreDroppedWhole)
{
    std::optional<DescriptorLineOutput> output(std::in_place, writingEnd.get(), std::chrono::hours(1));
    const std::string line(9'999, 'x');
    for (int count = 0; count < 1'000; ++count)
        output->writeLine(line);
    auto received = std::async(std::launch::async, [this] { return readAll(); });
    output.reset();
    writingEnd.close();
    const auto text = received.get();
    EXPECT_GT(text.size(), DescriptorLineOutput::mostWaitingBytes / 2);
    EXPECT_LT(text.size(), DescriptorLineOutput::mostWaitingBytes * 2);
    ASSERT_EQ(text.size() % 10'000, 0U);
    for (std::size_t at = 0; at < text.size(); at += 10'000)
        EXPECT_EQ(text.substr(at, 10'000), line + "\n");
}

TEST_F(DescriptorLineOutputTests, TheDescriptorOfOthersGoesOnBlocking)
{
    DescriptorLineOutput(writingEnd.get()).writeLine("line");
    EXPECT_EQ(::fcntl(writingEnd.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(DescriptorLineOutputTests, NothingInALineMakesAnotherOrSpeaksToTheTerminal)
{
    DescriptorLineOutput(writingEnd.get())
        .writeLine("a\nGLIMTO\x1b[2J\xC2\x9B"
                   "2J\xE2\x80\xA8\r\x7F\tb \xC3\xA4\xFF");
    writingEnd.close();
    EXPECT_EQ(readAll(), "a GLIMTO [2J 2J   \tb \xC3\xA4\xFF\n");
}

TEST_F(DescriptorLineOutputTests, LinesOfSeveralThreadsNeverMix)
{
    auto received = std::async(std::launch::async, [this] { return readAll(); });
    std::optional<DescriptorLineOutput> output(std::in_place, writingEnd.get());
    const auto writeMany = [&output](char character) {
        for (int round = 0; round < 500; ++round)
            output->writeLine(std::string(99, character));
    };
    std::thread other(writeMany, 'a');
    writeMany('b');
    other.join();
    output.reset();
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

TEST_F(DescriptorLineOutputTests, AReaderThatReadsAgainGetsWhatWasKept)
{
    const std::size_t filled = fillPipe();
    DescriptorLineOutput output(writingEnd.get(), std::chrono::hours(1));
    output.writeLine("kept");
    std::string text(filled, ' ');
    ASSERT_EQ(::read(readingEnd.get(), text.data(), text.size()), static_cast<ssize_t>(filled));
    ASSERT_EQ(::read(readingEnd.get(), text.data(), text.size()), 5); // waits for it
    EXPECT_EQ(text.substr(0, 5), "kept\n");
}

TEST_F(DescriptorLineOutputTests, TheEndWaitsForAReaderOnlyForItsPatience)
{
    fillPipe();
    auto done = std::async(std::launch::async, [this] {
        DescriptorLineOutput(writingEnd.get(), std::chrono::milliseconds(10)).writeLine("dropped");
    });
    EXPECT_EQ(done.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    readingEnd.close();
}

TEST_F(DescriptorLineOutputTests, ADocumentComesAfterTheLinesBeforeIt)
{
    const std::string filled(fillPipe(), '\0');
    std::optional<DescriptorLineOutput> output(std::in_place, writingEnd.get());
    output->writeLine("line");
    auto received = std::async(std::launch::async, [this] { return readAll(); });
    output->writeDocument("document");
    output.reset();
    writingEnd.close();
    EXPECT_EQ(received.get(), filled + "line\ndocument\n");
}

TEST_F(DescriptorLineOutputTests, AClosedDescriptorIsNoError)
{
    const int closed = writingEnd.get();
    writingEnd.close();
    DescriptorLineOutput output(closed);
    EXPECT_NO_THROW(output.writeLine("lost"));
    EXPECT_EQ(readAll(), "");
}

} // namespace
} // namespace glimto
