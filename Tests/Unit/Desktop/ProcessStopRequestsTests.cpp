#include "Backends/Desktop/ProcessStopRequests.h"

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/FileDescriptor.h"

namespace glimto {
namespace {

TEST(ProcessStopRequestsTests, ThereIsNoWishAtFirst)
{
    ProcessStopRequests requests;
    EXPECT_EQ(requests.pendingRequest(), std::nullopt);
    requests.beginListening();
    EXPECT_EQ(requests.pendingRequest(), std::nullopt);
}

TEST(ProcessStopRequestsTests, AnInterruptIsAWish)
{
    ProcessStopRequests requests;
    requests.beginListening();
    ::raise(SIGINT);
    EXPECT_EQ(requests.pendingRequest(), "Interrupt received; finishing recording");
}

TEST(ProcessStopRequestsTests, ATerminationSignalIsAWish)
{
    ProcessStopRequests requests;
    requests.beginListening();
    ::raise(SIGTERM);
    EXPECT_EQ(requests.pendingRequest(), "Termination signal received; finishing recording");
}

TEST(ProcessStopRequestsTests, AHangupIsAWish)
{
    ::signal(SIGHUP, SIG_DFL);
    ProcessStopRequests requests;
    requests.beginListening();
    ::raise(SIGHUP);
    EXPECT_EQ(requests.pendingRequest(), "Hangup received; finishing recording");
}

TEST(ProcessStopRequestsTests, AHangupStaysIgnoredWhereItWas)
{
    ::signal(SIGHUP, SIG_IGN);
    ProcessStopRequests requests;
    requests.beginListening();
    ::raise(SIGHUP);
    EXPECT_EQ(requests.pendingRequest(), std::nullopt);
    ::signal(SIGHUP, SIG_DFL);
}

TEST(ProcessStopRequestsTests, TheFirstWishIsKept)
{
    ProcessStopRequests requests;
    requests.beginListening();
    ::raise(SIGTERM);
    ::raise(SIGINT);
    ::raise(SIGINT);
    EXPECT_EQ(requests.pendingRequest(), "Termination signal received; finishing recording");
    EXPECT_EQ(requests.pendingRequest(), "Termination signal received; finishing recording");
}

TEST(ProcessStopRequestsTests, AWishOfAnEarlierListenerIsForgotten)
{
    {
        ProcessStopRequests earlier;
        earlier.beginListening();
        ::raise(SIGTERM);
    }
    ProcessStopRequests requests;
    requests.beginListening();
    EXPECT_EQ(requests.pendingRequest(), std::nullopt);
}

// The process may take some time to end.
TEST(ProcessStopRequestsTests, ASignalAfterTheEndChangesNothing)
{
    {
        ProcessStopRequests requests;
        requests.beginListening();
    }
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::raise(signal);
}

TEST(ProcessStopRequestsTests, OnceAcknowledgedOnlyALaterSignalCounts)
{
    ProcessStopRequests requests;
    requests.beginListening();
    ::raise(SIGTERM);
    EXPECT_NE(requests.pendingRequest(), std::nullopt);
    requests.acknowledge();
    EXPECT_EQ(requests.pendingRequest(), std::nullopt);
    ::raise(SIGINT);
    EXPECT_EQ(requests.pendingRequest(), "Interrupt received; finishing recording");
}

TEST(ProcessStopRequestsTests, ARequestThatIsPassedOnEndsTheProcessBySignal)
{
    ProcessStopRequests requests;
    requests.beginListening();
    requests.passOn(); // none so far
    ::raise(SIGTERM);
    EXPECT_EXIT(requests.passOn(), testing::KilledBySignal(SIGTERM), "");
}

TEST(ProcessStopRequestsTests, AnIgnoredSignalStaysIgnored)
{
    for (const int signal : {SIGINT, SIGHUP, SIGTERM}) {
        const auto previous = std::signal(signal, SIG_IGN);
        {
            ProcessStopRequests requests;
            requests.beginListening();
            ::raise(signal);
            EXPECT_EQ(requests.pendingRequest(), std::nullopt) << signal;
        }
        std::signal(signal, previous);
    }
}

// The descriptors of a pipe, reading end first.
std::array<FileDescriptor, 2> makePipe()
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0)
        return {};
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

// What a process with `output` as its standard output says, at most 10 seconds long, after its parent
// has ended. Runs in a forked process that does not return.
[[noreturn]] void listenAfterTheParentEnded(int output, int parentIsListening, int report)
{
    ::dup2(output, STDOUT_FILENO);
    ProcessStopRequests requests;
    requests.beginListening();
    std::string line = requests.pendingRequest().value_or("none;");
    line += ' ';
    const pid_t parent = ::getppid();
    ::close(parentIsListening);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (::getppid() == parent && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    line += requests.pendingRequest().value_or("none");
    const auto written = ::write(report, line.data(), line.size());
    ::_exit(written == static_cast<ssize_t>(line.size()) ? 0 : 1);
}

// What that process reports when `output` is its standard output.
std::string reportAfterTheParentEnded(int output)
{
    auto report = makePipe();
    auto ready = makePipe();
    const pid_t parent = ::fork();
    if (parent == 0) {
        if (::fork() == 0)
            listenAfterTheParentEnded(output, ready[1].get(), report[1].get());
        ready[1].close();
        char nothing = 0;
        ::_exit(::read(ready[0].get(), &nothing, 1) == 0 ? 0 : 1);
    }
    report[1].close();
    ready[1].close();
    std::string text;
    std::array<char, 256> piece{};
    for (pollfd entry{report[0].get(), POLLIN, 0}; ::poll(&entry, 1, 15'000) == 1;) {
        const auto count = ::read(report[0].get(), piece.data(), piece.size());
        if (count <= 0)
            break;
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    ::waitpid(parent, nullptr, 0);
    return text;
}

TEST(ProcessStopRequestsTests, TheEndOfTheParentThatReadsOurOutputIsAWish)
{
    const auto output = makePipe();
    EXPECT_EQ(reportAfterTheParentEnded(output[1].get()), "none; Parent process ended; finishing recording");
}

TEST(ProcessStopRequestsTests, TheParentsEndIsNoWishWhenOurOutputIsNoPipe)
{
    const FileDescriptor file(::fileno(std::tmpfile()));
    EXPECT_EQ(reportAfterTheParentEnded(file.get()), "none; none");
}

// What is waited for comes while it is waited for, or before; an hour is longer than this test may take.
TEST(ProcessStopRequestsTests, ASignalEndsTheWait)
{
    ProcessStopRequests requests;
    requests.beginListening();
    std::thread sender([process = ::getpid()] { ::kill(process, SIGTERM); });
    requests.wait(std::chrono::hours(1));
    sender.join();
    EXPECT_EQ(requests.pendingRequest(), "Termination signal received; finishing recording");
}

TEST(ProcessStopRequestsTests, AFileThatAppearsEndsTheWait)
{
    const TemporaryDirectory directory;
    const auto file = directory.path() / "stop";
    const auto other = directory.path() / "other";
    for (const bool isMoved : {false, true}) {
        std::filesystem::remove(file);
        std::ofstream(other) << "x";
        ProcessStopRequests requests;
        requests.watch(file);
        std::thread maker([&] {
            if (isMoved)
                std::filesystem::rename(other, file);
            else
                std::ofstream(file) << "x";
        });
        while (!std::filesystem::exists(file))
            requests.wait(std::chrono::hours(1));
        maker.join();
    }
}

// The directory may be a busy one.
TEST(ProcessStopRequestsTests, OtherFilesAndNoDirectoryDoNotEndTheWait)
{
    const TemporaryDirectory directory;
    for (const char* place : {"stop", "nowhere/stop"}) {
        ProcessStopRequests requests;
        requests.watch(directory.path() / place);
        std::ofstream(directory.path() / "other") << "x";
        const auto began = std::chrono::steady_clock::now();
        requests.wait(std::chrono::milliseconds(30));
        EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(30));
    }
}

} // namespace
} // namespace glimto
