#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"

#include "Backends/FFmpeg/FFmpegVideoAssetWriter.h"
#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"

namespace glimto {

std::unique_ptr<VideoAssetWriter> FFmpegAssetWriterFactory::makeVideoWriter(
    const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    return FFmpegVideoAssetWriter::make(encoders_, settings, preferredSegmentInterval, delegate);
}

std::unique_ptr<AudioAssetWriter> FFmpegAssetWriterFactory::makeAudioWriter(
    const AudioEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    return FFmpegAudioAssetWriter::make(settings, preferredSegmentInterval, delegate);
}

} // namespace glimto
