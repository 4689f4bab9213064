#include "Backends/MP4/MP4VideoAssetWriter.h"
#include "Backends/X264/X264VideoEncoder.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

class MP4VideoAssetWriterFactory final : public VideoAssetWriterFactory {
public:
    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        return MP4VideoAssetWriter::make(encoders_, settings, preferredSegmentInterval, delegate);
    }

private:
    X264VideoEncoderFactory encoders_; // which encoder there is: known here and nowhere else
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<VideoAssetWriterFactory, MP4VideoAssetWriterFactory>>();
}
