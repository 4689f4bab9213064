#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "Backends/FFmpeg/FFmpegHandles.h"
#include "GlimtoTake/Media/TakeExamination.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// Decodes one track of a take from one of its segments on. Every frame of the output has its time in
// seconds and lasts until the next one's.
class TrackDecoder {
public:
    // `first` is the index of the piece to begin with. `track` outlives the decoder. Throws like TrackReader.
    TrackDecoder(const ExaminedTrack& track, std::size_t first, int threadCount);

    // The next frame; false at the end. Pictures that are damaged are passed over.
    bool next(AVFrame& frame);

    // Of the track that is read.
    const AVStream& stream() const { return reader_.stream(); }

private:
    TrackReader reader_;
    CodecContextHandle decoder_;
    PacketHandle packet_;
    bool isDraining_ = false;
};

// The piece that is seen, or heard, at `time` (seconds): the last one that begins at or before it.
std::size_t pieceAt(const ExaminedTrack& track, double time);

// The picture that is seen at `time` (seconds from the track's zero), at most `width` x `height` of it: the
// encoder's padding is left out. Throws CLIError when none can be decoded.
PixelBuffer pictureAt(const ExaminedTrack& video, double time, int width, int height);

// Width and height of a JPEG file; absent when it is none.
std::optional<std::pair<int, int>> jpegSize(const std::filesystem::path& path);

// Memory for a decoded frame, as the libraries write it: they go a little beyond what is seen.
PixelCanvas makeCanvasFor(const AVFrame& frame);

// A decoded frame's pixels.
PixelBuffer pixelsOf(const AVFrame& frame, int width, int height);

} // namespace glimto
