#include "Backends/X11/Clipboard/X11Pasteboard.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Backends/X11/Clipboard/X11PasteboardOwner.h"
#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/SpawnSettings.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds answerTimeout{5};
// Above the numbers that the new process finds its descriptors at.
constexpr int lowestDescriptor = 16;

// A descriptor that no number in the new process can collide with.
FileDescriptor moved(FileDescriptor descriptor)
{
    return FileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, lowestDescriptor));
}

// Memory with the data, which both processes see.
FileDescriptor memoryWith(std::span<const std::byte> data)
{
    FileDescriptor memory(::memfd_create("glimto-clipboard", MFD_CLOEXEC));
    if (!memory || !writeAll(memory.get(), data))
        return {};
    return moved(std::move(memory));
}

pid_t startOwner(const FileDescriptor& data, const FileDescriptor& answer)
{
    std::string name = pasteboardOwnerProcessName;
    std::string argument = pasteboardOwnerArgument;
    std::array<char*, 3> arguments = {name.data(), argument.data(), nullptr};
    SpawnSettings settings;
    ::posix_spawn_file_actions_adddup2(&settings.actions, data.get(), pasteboardDataDescriptor);
    ::posix_spawn_file_actions_adddup2(&settings.actions, answer.get(), pasteboardAnswerDescriptor);
    ::posix_spawn_file_actions_addclosefrom_np(&settings.actions, pasteboardAnswerDescriptor + 1);
    pid_t process = 0;
    const int error = ::posix_spawn(&process, "/proc/self/exe", &settings.actions, &settings.attributes,
        arguments.data(), settings.environment());
    errno = error;
    return error == 0 ? process : -1;
}

// What the owner said in time; empty when it said nothing.
std::string answerFrom(int answer)
{
    const auto deadline = std::chrono::steady_clock::now() + answerTimeout;
    std::string text;
    std::array<char, longestPasteboardAnswer> piece{};
    while (text.size() < longestPasteboardAnswer) {
        const auto left
            = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd entry = {.fd = answer, .events = POLLIN, .revents = 0};
        const int ready = left.count() > 0 ? ::poll(&entry, 1, static_cast<int>(left.count())) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        const ssize_t count = ready > 0 ? ::read(answer, piece.data(), piece.size()) : 0;
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

void endProcess(pid_t process)
{
    ::kill(process, SIGKILL);
    while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) { }
}

} // namespace

std::optional<std::string> X11Pasteboard::setPNG(std::span<const std::byte> data)
{
    const FileDescriptor memory = memoryWith(data);
    std::array<int, 2> ends{-1, -1};
    if (!memory || ::pipe2(ends.data(), O_CLOEXEC) != 0)
        return PlatformError::posix("Could not get memory for the clipboard", errno).what();
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing = moved(FileDescriptor(ends[1]));
    const pid_t owner = startOwner(memory, writing);
    if (owner < 0)
        return PlatformError::posix("Could not start the clipboard's owner", errno).what();
    writing.close();
    std::string answer = answerFrom(reading.get());
    if (answer == pasteboardOwnedWord)
        return std::nullopt;
    // A no must stay one: without this, a slow owner could take the selection a moment later.
    endProcess(owner);
    if (answer.empty())
        answer = "The X server does not answer.";
    return answer;
}

} // namespace glimto
