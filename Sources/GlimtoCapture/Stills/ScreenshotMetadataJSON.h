#pragma once

#include <cstdint>
#include <string>

#include "Support/JSONObject.h"

namespace glimto {

// What a screenshot became. The JSON keys equal the field names.
struct ScreenshotMetadataJSON {
    std::string path; // of the PNG
    int width = 0; // pixels of the picture as written
    int height = 0;
    std::int64_t byteSize = 0; // of the file
    std::string format = "png";
    std::string captureKind; // "display" or "region"
};

GLIMTO_JSON_OBJECT(ScreenshotMetadataJSON, path, width, height, byteSize, format, captureKind)

} // namespace glimto
