#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Content/CaptureGeometry.h"
#include "Content/PreparedCaptureSource.h"
#include "Options/CaptureRegion.h"
#include "Options/RecordOptions.h"
#include "Platform/ProcessEnvironment.h"
#include "Platform/ScreenAccess.h"
#include "Platform/ShareableContent.h"
#include "Support/LineOutput.h"

namespace glimto {

struct ScreenshotRegionSource {
    PreparedCaptureSource source;
    PixelRect pixelCropRect; // the region within the captured picture
};

// Turns what the user asked for into a source to capture, and decides which of the product's own
// windows are seen in it. Every operation works on one snapshot of shareable content, which the caller
// fetched; results hold copies of its displays, windows and applications. A display index is the
// position in `content.displays`.
//
// Holds no state: safe to use from any thread. The services outlive it.
class CaptureSourceResolver {
public:
    // `standardError` receives warnings.
    CaptureSourceResolver(ProcessEnvironment& process, ScreenAccess& screen, LineOutput& standardError);

    // This program and the product's desktop application, by process, bundle identifier or name.
    ApplicationRule glimtoApplications() const;

    // Whether `application` is one of glimtoApplications().
    bool isGlimtoApplication(const Application& application) const;

    // The product's own applications, each process once: owners of windows first, then the others.
    std::vector<Application> glimtoApplicationExclusions(const ShareableContent& content) const;

    // The product's own normal windows that are seen on a display; of those only the ones in
    // `allowedIDs` when given, so that an empty list allows none.
    std::vector<Window> screenshotWindows(
        const ShareableContent& content, const std::optional<std::vector<std::uint32_t>>& allowedIDs) const;

    // The IDs of all screenshotWindows() of the foreground process; none when there is no such process.
    std::vector<std::uint32_t> screenshotWindowIDs(
        const ShareableContent& content, std::optional<std::int32_t> foregroundProcessID) const;

    // The window with that ID, whoever owns it. One that is not in the content is warned of.
    std::vector<Window> burnInWindows(
        std::optional<std::uint32_t> exceptWindowId, const ShareableContent& content) const;

    // Throws CLIError when no display shows the pointer.
    int displayIndexUnderCursor(const ShareableContent& content) const;

    // The whole display, in the size of its points. Throws CLIError when there is no such display.
    PreparedCaptureSource displaySource(std::int64_t displayIndex, const ShareableContent& content,
        std::optional<std::uint32_t> exceptWindowId,
        const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const;

    // A part of one display, in its pixels. Throws CLIError as displayContainingRegion() does.
    PreparedCaptureSource regionSource(const CaptureRegion& region, const ShareableContent& content,
        std::optional<std::uint32_t> exceptWindowId,
        const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const;

    // One window in its pixels. Throws GlimtoCaptureLifecycleError "window_not_found" when the content
    // does not have it.
    PreparedCaptureSource windowSource(std::uint32_t windowId, const ShareableContent& content) const;

    // A part of one display for a still picture. Throws as regionSource() does.
    ScreenshotRegionSource resolveScreenshotRegion(const ShareableContent& content,
        const CaptureRegion& region, const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const;

    // The source of a recording: the window, else the region, else the display of `options`.
    PreparedCaptureSource resolve(const ShareableContent& content, const RecordOptions& options) const;

    // Where that source lies. Throws as resolve() does, and warns of nothing.
    CaptureGeometry resolveGeometry(const ShareableContent& content, const RecordOptions& options,
        int capturePixelWidth, int capturePixelHeight) const;

private:
    ContentFilter displayFilter(const Display& display, const ShareableContent& content,
        std::optional<std::uint32_t> exceptWindowId,
        const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const;
    void warn(const std::string& message) const;

    ProcessEnvironment& process_;
    ScreenAccess& screen_;
    LineOutput& standardError_;
};

} // namespace glimto
