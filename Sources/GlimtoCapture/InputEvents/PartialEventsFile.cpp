#include "InputEvents/PartialEventsFile.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace glimto {

namespace {

// So many are in memory twice for a moment.
constexpr std::size_t mostEventsAtOnce = 4096;

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
    while (!isGivenUp_) {
        const auto heading = track.heading();
        if (!heading)
            return;
        const auto events = track.nextEvents(mostEventsAtOnce);
        if (events.empty())
            return;
        const auto writePiece = [this](std::string_view piece) { write(piece); };
        if (!descriptor_) {
            constexpr mode_t mode = 0644;
            ::unlink(path_.c_str()); // nothing is followed, opened or waited for that lies there
            descriptor_
                = FileDescriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
            if (!descriptor_)
                return giveUp();
            encodeEventsHeading(*heading, writePiece);
        }
        encodeEventLines(events, writePiece);
    }
}

void PartialEventsFile::write(std::string_view text)
{
    while (!text.empty() && !isGivenUp_) {
        const ssize_t count = ::write(descriptor_.get(), text.data(), text.size());
        if (count >= 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            giveUp();
    }
}

// A full disk has better uses for the room.
void PartialEventsFile::giveUp()
{
    isGivenUp_ = true;
    if (!descriptor_)
        return;
    descriptor_.close();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

} // namespace glimto
