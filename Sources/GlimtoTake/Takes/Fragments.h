#pragma once

#include <cstdint>
#include <filesystem>

namespace glimto {

// How much of a media segment holds: the length up to the end of the last "mdat" box that follows its "moof"
// box, both whole, of the boxes at the file's top level (ISO/IEC 14496-12 section 4.2).
struct FragmentExtent {
    std::uint64_t wholeBytes = 0;
    int fragmentCount = 0;
    bool isWhole = false; // nothing lies behind the last fragment

    // How long the last sample lasts, in ticks of the track, as its fragment tells (section 8.8); 0 when it
    // does not. No demuxer tells it of a variable rate.
    std::uint32_t lastSampleDuration = 0;

    friend bool operator==(const FragmentExtent&, const FragmentExtent&) = default;
};

// Reads the boxes' headers and the last "moof" only. Stops at the first box that is cut off, damaged, or not
// one that a segment has. Throws PlatformError (POSIX) when the file cannot be read.
FragmentExtent fragmentExtent(const std::filesystem::path& segment);

} // namespace glimto
