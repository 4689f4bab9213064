#pragma once

#include <optional>
#include <string>

namespace glimto {

inline constexpr const char* defaultAPIBaseURL = "http://localhost:3000";
inline constexpr const char* accessKeyVariable = "GLIMTO_DESKTOP_ACCESS_KEY";

struct RecordingUploadOptions {
    std::optional<std::string> accessKey; // never printed
    std::string apiBaseURL = defaultAPIBaseURL; // http or https
    double backgroundUploadThresholdSeconds = 3.0; // 0: nothing is uploaded while recording
    std::optional<std::string> recordingId;
};

} // namespace glimto
