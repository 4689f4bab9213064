#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"
#include "Backends/X264/X264VideoEncoder.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

// Which encoder there is: known here and nowhere else.
struct Encoders {
    X264VideoEncoderFactory encoders;
};

class ModuleAssetWriterFactory final : private Encoders, public FFmpegAssetWriterFactory {
public:
    ModuleAssetWriterFactory()
        : FFmpegAssetWriterFactory(encoders)
    {
    }
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<AssetWriterFactory, ModuleAssetWriterFactory>,
        Provided<AudioConverterFactory, SwresampleAudioConverterFactory>>();
}
