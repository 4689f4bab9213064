#include "Support/RemovedOnSignal.h"

#include <csignal>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

class RemovedOnSignalTests : public testing::Test {
protected:
    RemovedOnSignalTests() { std::ofstream(file) << "half"; }

    // How a process ended that got `signal` while it ran `action`.
    template <typename Action> static int statusOfChild(Action action)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            action();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    TemporaryDirectory directory;
    std::filesystem::path file = directory.path() / "shot.tmp";
};

TEST_F(RemovedOnSignalTests, ASignalRemovesTheFileAndEndsTheProcess)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::ofstream(file) << "half";
        const int status = statusOfChild([&] {
            const RemovedOnSignal guard(file);
            ::raise(signal);
        });
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

TEST_F(RemovedOnSignalTests, AnIgnoredSignalStaysIgnored)
{
    const int status = statusOfChild([&] {
        std::signal(SIGHUP, SIG_IGN);
        const RemovedOnSignal guard(file);
        ::raise(SIGHUP);
    });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(RemovedOnSignalTests, AfterwardsSignalsDoWhatTheyDidBefore)
{
    const int status = statusOfChild([&] {
        {
            const RemovedOnSignal guard(file);
        }
        ::raise(SIGTERM);
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_TRUE(std::filesystem::exists(file));
}

} // namespace
} // namespace glimto
