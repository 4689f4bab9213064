#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <variant>
#include <vector>

#include "Options/CaptureRegion.h"

namespace glimto {

// Drawn into screenshots unless it is switched off.
inline constexpr const char* watermarkText = "glimto.com";

struct DisplayTarget {
    std::int64_t index = 0; // position in the system's display list

    friend bool operator==(const DisplayTarget&, const DisplayTarget&) = default;
};

using ScreenshotTarget = std::variant<DisplayTarget, CaptureRegion>;

enum class ScreenshotDisplayStrategy { cursor };

struct ScreenshotOptions {
    std::optional<std::filesystem::path> outputURL;
    bool stdoutJSON = false;
    std::optional<ScreenshotDisplayStrategy> displayStrategy;
    std::optional<ScreenshotTarget> target;
    bool waitForCaptureTrigger = false;
    std::optional<std::vector<std::uint32_t>> includedGlimtoWindowIDs;
    bool copyImage = false;
    bool openOutput = false;
    bool revealOutput = false;
    bool applyWatermark = true;
};

} // namespace glimto
