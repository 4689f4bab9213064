#include "Backends/Clipboard/PasteboardOwnerProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/MemoryMapping.h"
#include "Support/NamedThread.h"
#include "Support/SpawnSettings.h"

namespace glimto {

namespace {

// The new process has a name of its own and one argument, and finds the picture and the writing end of a pipe
// at these descriptors.
constexpr const char* processName = "glimto-capture-clipboard";
constexpr int dataDescriptor = 3;
constexpr int answerDescriptor = 4;
// All that is written to the pipe once the clipboard is owned; what stands in the way when it cannot be had.
constexpr std::string_view ownedWord = "owned";
constexpr std::size_t longestAnswer = 1024;

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

pid_t startOwner(const std::string& ownerArgument, const FileDescriptor& data, const FileDescriptor& answer)
{
    std::string name = processName;
    std::string argument = ownerArgument;
    std::array<char*, 3> arguments = {name.data(), argument.data(), nullptr};
    SpawnSettings settings;
    ::posix_spawn_file_actions_adddup2(&settings.actions, data.get(), dataDescriptor);
    ::posix_spawn_file_actions_adddup2(&settings.actions, answer.get(), answerDescriptor);
    ::posix_spawn_file_actions_addclosefrom_np(&settings.actions, answerDescriptor + 1);
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
    std::array<char, longestAnswer> piece{};
    while (text.size() < longestAnswer) {
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

// The memory behind a descriptor; none when it is empty.
MemoryMapping mapped(int descriptor)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || status.st_size <= 0)
        return {};
    return {static_cast<std::size_t>(status.st_size), PROT_READ, MAP_SHARED, descriptor};
}

bool say(std::string_view text, FileDescriptor& answer)
{
    // Shorter than what a pipe takes in one piece.
    const auto said = text.substr(0, longestAnswer);
    const bool isSaid = ::write(answer.get(), said.data(), said.size()) == static_cast<ssize_t>(said.size());
    answer.close();
    return isSaid;
}

} // namespace

std::optional<std::string> startPasteboardOwner(
    const std::string& ownerArgument, std::span<const std::byte> png, const std::string& silence)
{
    const FileDescriptor memory = memoryWith(png);
    std::array<int, 2> ends{-1, -1};
    if (!memory || ::pipe2(ends.data(), O_CLOEXEC) != 0)
        return PlatformError::posix("Could not get memory for the clipboard", errno).what();
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing = moved(FileDescriptor(ends[1]));
    const pid_t owner = startOwner(ownerArgument, memory, writing);
    if (owner < 0)
        return PlatformError::posix("Could not start the clipboard's owner", errno).what();
    writing.close();
    std::string answer = answerFrom(reading.get());
    if (answer == ownedWord)
        return std::nullopt;
    // A no must stay one: without this, a slow owner could take the selection a moment later.
    endProcess(owner);
    if (answer.empty())
        answer = silence;
    return answer;
}

bool isPasteboardOwner(int argumentCount, char** argumentValues, std::string_view argument)
{
    return argumentCount == 2 && std::strcmp(argumentValues[0], processName) == 0
        && argumentValues[1] == argument;
}

int runPasteboardOwner(PasteboardOwner& owner)
{
    std::signal(SIGPIPE, SIG_IGN);
    FileDescriptor data(dataDescriptor);
    FileDescriptor answer(answerDescriptor);
    try {
        nameThisThread("glimto-clip");
        // No folder stays in use because of us.
        if (::chdir("/") != 0)
            return 1;
        const MemoryMapping picture = mapped(data.get());
        data.close();
        if (!picture)
            throw PlatformError::posix("Could not read the picture for the clipboard", errno);
        const std::span contents(picture.bytes(), picture.size());
        owner.offer(std::as_bytes(contents), [&] { return say(ownedWord, answer); });
        return 0;
    } catch (const std::exception& error) {
        // Once the clipboard was owned, the session's end is ours.
        if (!answer)
            return 0;
        say(error.what(), answer);
        return 1;
    }
}

} // namespace glimto
