#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

struct AVPacket;
struct AVStream;

namespace glimto {

// The media libraries write no messages of their own from here on; what matters is thrown.
void silenceMediaLibraries();

// One file of those that make a track, as far as it is to be read.
struct MediaPiece {
    std::filesystem::path path;
    std::uint64_t bytes = 0;
};

// Reads the packets of one track as a player gets them: an initialization segment and media segments, one
// behind the other, by libavformat. Any run of segments can be read alone, as each begins with a keyframe.
class TrackReader {
public:
    // What lasts longer was not recorded.
    static constexpr double longestTake = 1000.0 * 3600; // seconds

    // Throws PlatformError when a file cannot be read, and CLIError when the initialization segment is none
    // or describes more than one track.
    TrackReader(const std::filesystem::path& initializationSegment, std::vector<MediaPiece> pieces);
    ~TrackReader();
    TrackReader(const TrackReader&) = delete;
    TrackReader& operator=(const TrackReader&) = delete;

    // The track's codec parameters and time base.
    const AVStream& stream() const;

    // The next packet, which keeps its data; false at the end. A packet has a time, and a duration of at
    // least 0. Throws CLIError when times are endless, and PlatformError when the media cannot be read on.
    bool read(AVPacket& packet);

    // Which piece the last packet came from.
    std::size_t piece() const { return piece_; }

private:
    class Input;

    std::unique_ptr<Input> input_;
    std::size_t piece_ = 0;
};

} // namespace glimto
