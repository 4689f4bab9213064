#include "InputEvents/PartialEventsFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

// So many are in memory twice for a moment.
constexpr std::size_t mostEventsAtOnce = 4096;

// Writes what `encode` makes, piece by piece. Absent when the disk takes no more.
template <typename Encode> std::optional<std::size_t> writePieces(int descriptor, Encode&& encode)
{
    std::size_t bytes = 0;
    bool isWritten = true;
    encode([&](std::string_view piece) {
        isWritten = isWritten && writeAll(descriptor, std::as_bytes(std::span(piece)));
        bytes += piece.size();
    });
    return isWritten ? std::optional(bytes) : std::nullopt;
}

} // namespace

PartialEventsFile::PartialEventsFile(std::filesystem::path path)
    : path_(std::move(path))
{
}

std::filesystem::path PartialEventsFile::pathFor(const std::filesystem::path& eventsURL)
{
    return eventsURL.parent_path() / ".events.partial";
}

void PartialEventsFile::append(InputEventTrack& track)
{
    turns_.sync([&, &state = state_] {
        while (!state.isGivenUp) {
            const auto heading = track.heading();
            if (!heading)
                return;
            const auto events = track.nextEvents(mostEventsAtOnce);
            if (events.empty())
                return;
            const bool isOpen = state.descriptor || open(*heading, state);
            const auto bytes = isOpen ? writePieces(state.descriptor.get(),
                                   [&](const auto& write) { encodeEventLines(events, write); })
                                      : std::nullopt;
            if (bytes) {
                state.wholeBytes += *bytes;
                track.forgetGivenEvents();
            } else {
                state.isGivenUp = true;
                cutToWholeLines(state);
            }
        }
    });
}

// A full disk has better uses for half a line. Where it cannot be cut off, it is not read either.
void PartialEventsFile::cutToWholeLines(State& state)
{
    if (state.descriptor && ::ftruncate(state.descriptor.get(), static_cast<off_t>(state.wholeBytes)) != 0)
        return;
}

bool PartialEventsFile::open(const EventsDocument& heading, State& state) const
{
    constexpr mode_t mode = 0666;
    state.descriptor
        = FileDescriptor(::open(path_.c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!state.descriptor)
        return false;
    state.isOurs = true;
    const auto bytes = writePieces(
        state.descriptor.get(), [&](const auto& write) { encodeEventsHeading(heading, write); });
    if (!bytes) {
        state.descriptor.close();
        removeFile(state);
        return false;
    }
    state.headingBytes = *bytes;
    state.wholeBytes = *bytes;
    return true;
}

bool PartialEventsFile::readEvents(const std::function<void(std::string_view piece)>& write)
{
    return turns_.sync([&, &state = state_] {
        if (state.wholeBytes == state.headingBytes)
            return false;
        const std::size_t end = state.wholeBytes - 1; // without the last line break
        std::array<char, 65536> piece; // NOLINT(cppcoreguidelines-pro-type-member-init)
        for (std::size_t at = state.headingBytes; at < end;) {
            const auto wanted = std::min(piece.size(), end - at);
            const ssize_t count
                = ::pread(state.descriptor.get(), piece.data(), wanted, static_cast<off_t>(at));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                throw PlatformError::posix("Could not read " + path_.string(), count < 0 ? errno : EIO);
            std::replace(piece.begin(), piece.begin() + count, '\n', ',');
            write(std::string_view(piece.data(), static_cast<std::size_t>(count)));
            at += static_cast<std::size_t>(count);
        }
        return true;
    });
}

void PartialEventsFile::remove()
{
    turns_.sync([this] { removeFile(state_); });
}

void PartialEventsFile::removeFile(State& state) const
{
    std::error_code ignored;
    if (std::exchange(state.isOurs, false))
        std::filesystem::remove(path_, ignored);
}

} // namespace glimto
