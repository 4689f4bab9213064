#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

class FFmpegAudioAssetWriterFactory final : public AudioAssetWriterFactory {
public:
    std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        return FFmpegAudioAssetWriter::make(settings, preferredSegmentInterval, delegate);
    }
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<AudioAssetWriterFactory, FFmpegAudioAssetWriterFactory>,
        Provided<AudioConverterFactory, SwresampleAudioConverterFactory>>();
}
