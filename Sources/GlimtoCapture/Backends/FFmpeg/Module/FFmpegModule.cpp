#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"
#include "Support/ModuleTable.h"

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<AssetWriterFactory, FFmpegAssetWriterFactory>,
        Provided<AudioConverterFactory, SwresampleAudioConverterFactory>>();
}
