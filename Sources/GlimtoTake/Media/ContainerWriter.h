#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "GlimtoTake/Media/TakeMediaHandles.h"

struct AVCodecParameters;
struct AVPacket;
struct AVStream;
struct AVRational;

namespace glimto {

// A file in one of libavformat's containers. Throws PlatformError; a full disk is told as such.
class ContainerWriter {
public:
    // `format` by libavformat's name, such as "mp4". The file exists and is empty.
    ContainerWriter(const std::filesystem::path& path, const std::string& format);
    ~ContainerWriter();
    ContainerWriter(const ContainerWriter&) = delete;
    ContainerWriter& operator=(const ContainerWriter&) = delete;

    // Adds a track and returns its index. Times of its packets are in `timeBase`.
    int addTrack(const AVCodecParameters& parameters, AVRational timeBase);

    void writeHeader(const std::map<std::string, std::string>& options);

    // Takes what the packet holds; packets of all tracks come in about the order of their times.
    void write(AVPacket& packet, int track);

    // What makes the file whole.
    void finish();

private:
    FormatContextHandle format_;
    std::map<int, std::pair<int, int>> timeBases_; // by track
};

} // namespace glimto
