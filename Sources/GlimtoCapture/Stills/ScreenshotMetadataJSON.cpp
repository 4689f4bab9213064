#include "Stills/ScreenshotMetadataJSON.h"

#include "Support/Text.h"

namespace glimto {

nlohmann::json toJSON(const ScreenshotMetadataJSON& metadata)
{
    return {
        {"path", validUTF8(metadata.path)},
        {"width", metadata.width},
        {"height", metadata.height},
        {"byteSize", metadata.byteSize},
        {"format", metadata.format},
        {"captureKind", metadata.captureKind},
    };
}

} // namespace glimto
