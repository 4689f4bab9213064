#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Content/CaptureSourceResolver.h"
#include "Options/ScreenshotOptions.h"
#include "Platform/CaptureStream.h"
#include "Platform/PlatformServices.h"
#include "Platform/StillCapture.h"
#include "Stills/ScreenshotMetadataJSON.h"
#include "Stills/ScreenshotTrigger.h"
#include "Support/LineOutput.h"

namespace glimto {

// Takes one picture of a display or region and writes it as a PNG. Used by one thread, for one screenshot.
class ScreenshotCapturer {
public:
    // The services and outputs outlive it.
    ScreenshotCapturer(PlatformServices& services, Outputs outputs,
        ScreenshotTriggerSystem triggerSystem = ScreenshotTriggerSystem::real());

    // Throws GlimtoCaptureLifecycleError "screen_permission_denied" when the screen may not be captured,
    // what the wait for the trigger and the resolution of the source throw, and errors of capturing,
    // cropping and writing. No file is left behind then.
    ScreenshotMetadataJSON capture(const ScreenshotOptions& options);

    // Returns at once when no trigger is asked for.
    void waitForCaptureTriggerIfNeeded(const ScreenshotOptions& options);

    // The whole source in its pixels, without a pointer.
    static CaptureStreamConfiguration streamConfiguration(const PreparedCaptureSource& source);

    // For systems that take single pictures. Throws PlatformError.
    static PixelCanvas captureImageWithStillCapture(StillCapture& stills, const PreparedCaptureSource& source,
        const CaptureStreamConfiguration& configuration);

    // For the others: the first frame of a stream, which is waited for at most 8 seconds. Throws
    // PlatformError.
    PixelCanvas captureImageWithFirstFrameStream(
        const PreparedCaptureSource& source, const CaptureStreamConfiguration& configuration);

private:
    struct Target {
        PreparedCaptureSource source;
        std::optional<PixelRect> pixelCropRect;
        const char* captureKind = "display";
    };
    Target resolve(const ScreenshotOptions& options, const ShareableContent& content,
        const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const;
    PixelCanvas captureImage(const Target& target);

    PlatformServices& services_;
    Outputs outputs_;
    ScreenshotTriggerSystem triggerSystem_;
    CaptureSourceResolver resolver_;
};

} // namespace glimto
