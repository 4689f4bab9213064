#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <pthread.h>
#include <unistd.h>

#include "DevServer.h"
#include "DevServerOptions.h"
#include "Support/DescriptorLineOutput.h"
#include "Support/NamedThread.h"
#include "Support/StandardStreams.h"
#include "TakeTool.h"

namespace {

using namespace glimto;

constexpr std::size_t signalThreadStackBytes = 256 * 1024;

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    return signals;
}

// hls.js lies beside the program when it was fetched. The system tells where the program lies; the name that
// it was started by is whatever the caller likes.
std::optional<std::filesystem::path> webDirectoryBesideProgram()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || !std::filesystem::is_directory(program.parent_path() / "web", error))
        return std::nullopt;
    return program.parent_path() / "web";
}

int serve(const std::vector<std::string>& arguments, LineOutput& standardOutput)
{
    auto options = DevServerOptions::parse(arguments);
    if (options.showsHelp) {
        standardOutput.writeLine(devServerUsage());
        return 0;
    }
    if (!options.webDirectory)
        options.webDirectory = webDirectoryBesideProgram();
    options.takeTool = TakeTool::besideThisProgram();
    DevServer server(options, [&](const std::string& line) { standardOutput.writeLine(line); });
    const int port = server.listen();
    const bool isNumericV6 = options.address.find(':') != std::string::npos;
    const std::string host = isNumericV6 ? "[" + options.address + "]" : options.address;
    standardOutput.writeLine(
        "For development and tests only: whoever reaches this address sees all recordings.");
    standardOutput.writeLine("Recordings: http://" + host + ":" + std::to_string(port) + "/recordings");

    // Blocked in every thread, so that only this one takes them.
    const auto signals = endingSignals();
    NamedThread waiter("glimto.dev.signals", signalThreadStackBytes, [&] {
        int signal = 0;
        sigwait(&signals, &signal);
        server.stop();
    });
    server.run();
    // However the server ended, the waiter has to.
    ::kill(::getpid(), SIGTERM);
    return 0;
}

} // namespace

int main(int argumentCount, char** argumentValues)
{
    openStandardStreams();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a limit of file sizes is told like a full disk
    const auto signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    DescriptorLineOutput standardOutput(1);
    DescriptorLineOutput standardError(2);
    try {
        return serve({argumentValues + 1, argumentValues + argumentCount}, standardOutput);
    } catch (const std::exception& error) {
        standardError.writeLine(std::string("error: ") + error.what());
        return 1;
    }
}
