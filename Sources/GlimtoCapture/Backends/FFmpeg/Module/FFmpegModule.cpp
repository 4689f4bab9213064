#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"
#include "Backends/FFmpeg/FFmpegVideoAssetWriter.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"
#include "Backends/X264/X264VideoEncoder.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

class FFmpegAssetWriterFactory final : public AssetWriterFactory {
public:
    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        return FFmpegVideoAssetWriter::make(encoders_, settings, preferredSegmentInterval, delegate);
    }

    std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        return FFmpegAudioAssetWriter::make(settings, preferredSegmentInterval, delegate);
    }

private:
    X264VideoEncoderFactory encoders_; // which encoder there is: known here and nowhere else
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<AssetWriterFactory, FFmpegAssetWriterFactory>,
        Provided<AudioConverterFactory, SwresampleAudioConverterFactory>>();
}
