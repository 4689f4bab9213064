#include "Content/CaptureSourceResolver.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

#include "Content/RegionPlacement.h"
#include "Content/ScreenCapturePayloads.h"
#include "Content/ScreenshotRegionGeometry.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::array<const char*, 1> glimtoDesktopBundleIdentifiers = {"com.glimto.desktop"};
constexpr std::array<const char*, 2> glimtoDesktopApplicationNames = {"Glimto", "Glimto Desktop"};

// Windows this small are not seen, in points.
constexpr double smallestWindowSide = 0.001;

// Applications whose process is unknown are told apart by all that is known of them.
bool isSameProcess(const Application& a, const Application& b)
{
    return a.processID == 0 ? a == b : a.processID == b.processID;
}

const Window* windowWithID(std::uint32_t windowID, const ShareableContent& content)
{
    const auto found = std::ranges::find(content.windows, windowID, &Window::windowID);
    return found == content.windows.end() ? nullptr : &*found;
}

const Window& requireWindow(std::uint32_t windowID, const ShareableContent& content)
{
    if (const Window* window = windowWithID(windowID, content))
        return *window;
    throw GlimtoCaptureLifecycleError(
        "window_not_found", screenCaptureWindowResolutionFailureMessage(windowID, content));
}

const Display& requireDisplay(std::int64_t index, const ShareableContent& content)
{
    if (index < 0 || static_cast<std::uint64_t>(index) >= content.displays.size())
        throw CLIError("No display at index " + std::to_string(index) + ". Run `glimto-capture sources`.");
    return content.displays[static_cast<std::size_t>(index)];
}

bool isSeenOnADisplay(const Window& window, const std::vector<Display>& displays)
{
    return window.windowLayer == 0 && window.isOnScreen && window.frame.isFinite()
        && window.frame.width > smallestWindowSide && window.frame.height > smallestWindowSide
        && std::ranges::any_of(displays,
            [&](const Display& display) { return !intersection(window.frame, display.frame).isEmpty(); });
}

// A stream has at least 2 pixels in each direction.
int capturePixels(double points, double scale)
{
    const double pixels = points * scale;
    return std::isfinite(pixels) ? std::max(wholePixels(pixels), 2) : 2;
}

std::string regionDescription(double width, double height)
{
    return "region:" + std::to_string(std::llround(width)) + "x" + std::to_string(std::llround(height))
        + "pt";
}

std::string windowDescription(const Window& window)
{
    std::string text = "window:" + std::to_string(window.windowID) + " "
        + (window.owningApplication ? window.owningApplication->applicationName : "window");
    if (const auto title = trimmedNonEmpty(window.title))
        text += " " + *title;
    return text;
}

double displayPixelScale(const Display& display)
{
    return pixelScale({DisplayContentFilter{display, {}, {}}, std::nullopt}, displayScale(display));
}

double windowPixelScale(const ContentFilter& filter, const Window& window, const ShareableContent& content)
{
    const Display* display = displayContainingLargestIntersection(window.frame, content.displays);
    return pixelScale(filter, display ? displayScale(*display) : 1.0);
}

ContentFilter windowFilter(const Window& window)
{
    return {WindowContentFilter{window}, std::nullopt};
}

} // namespace

CaptureSourceResolver::CaptureSourceResolver(
    ProcessEnvironment& process, ScreenAccess& screen, LineOutput& standardError)
    : process_(process)
    , screen_(screen)
    , standardError_(standardError)
{
}

ApplicationRule CaptureSourceResolver::glimtoApplications() const
{
    ApplicationRule rule;
    rule.processIDs = {process_.processID()};
    rule.bundleIdentifiers.assign(
        glimtoDesktopBundleIdentifiers.begin(), glimtoDesktopBundleIdentifiers.end());
    if (std::string own = process_.bundleIdentifier(); !own.empty())
        rule.bundleIdentifiers.push_back(std::move(own));
    rule.applicationNames.assign(glimtoDesktopApplicationNames.begin(), glimtoDesktopApplicationNames.end());
    return rule;
}

bool CaptureSourceResolver::isGlimtoApplication(const Application& application) const
{
    return glimtoApplications().matches(application);
}

std::vector<Application> CaptureSourceResolver::glimtoApplicationExclusions(
    const ShareableContent& content) const
{
    std::vector<Application> exclusions;
    const auto keep = [&](const Application& candidate) {
        const auto isKept = [&](const Application& kept) { return isSameProcess(candidate, kept); };
        if (isGlimtoApplication(candidate) && std::ranges::none_of(exclusions, isKept))
            exclusions.push_back(candidate);
    };
    // Owners of windows come first: the list of applications may miss one whose window is seen.
    for (const Window& window : content.windows) {
        if (window.owningApplication)
            keep(*window.owningApplication);
    }
    for (const Application& application : content.applications)
        keep(application);
    return exclusions;
}

std::vector<Window> CaptureSourceResolver::screenshotWindows(
    const ShareableContent& content, const std::optional<std::vector<std::uint32_t>>& allowedIDs) const
{
    std::vector<Window> windows;
    std::ranges::copy_if(content.windows, std::back_inserter(windows), [&](const Window& window) {
        return (!allowedIDs || std::ranges::find(*allowedIDs, window.windowID) != allowedIDs->end())
            && window.owningApplication && isGlimtoApplication(*window.owningApplication)
            && isSeenOnADisplay(window, content.displays);
    });
    return windows;
}

std::vector<std::uint32_t> CaptureSourceResolver::screenshotWindowIDs(
    const ShareableContent& content, std::optional<std::int32_t> foregroundProcessID) const
{
    std::vector<std::uint32_t> windowIDs;
    if (!foregroundProcessID)
        return windowIDs;
    for (const Window& window : screenshotWindows(content, std::nullopt)) {
        if (window.owningApplication->processID == *foregroundProcessID)
            windowIDs.push_back(window.windowID);
    }
    return windowIDs;
}

std::vector<Window> CaptureSourceResolver::burnInWindows(
    std::optional<std::uint32_t> exceptWindowId, const ShareableContent& content) const
{
    if (!exceptWindowId)
        return {};
    if (const Window* window = windowWithID(*exceptWindowId, content))
        return {*window};
    warn("Window " + std::to_string(*exceptWindowId)
        + " from --except-window-id is not in the capturable window list; recording without it.");
    return {};
}

int CaptureSourceResolver::displayIndexUnderCursor(const ShareableContent& content) const
{
    const Point cursor = screen_.cursorLocation().value_or(Point{});
    const auto& displays = content.displays;
    auto found = displays.end();
    if (const auto displayID = screen_.displayIDAt(cursor))
        found = std::ranges::find(displays, *displayID, &Display::displayID);
    if (found == displays.end())
        found = std::ranges::find_if(
            displays, [&](const Display& display) { return display.frame.contains(cursor); });
    if (found == displays.end())
        throw CLIError(
            "Could not resolve the display under the cursor. Run `glimto-capture sources` and retry with "
            "--display <index>.");
    return static_cast<int>(found - displays.begin());
}

ContentFilter CaptureSourceResolver::displayFilter(const Display& display, const ShareableContent& content,
    std::optional<std::uint32_t> exceptWindowId,
    const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const
{
    auto exceptingWindows = burnInWindows(exceptWindowId, content);
    std::ranges::move(
        screenshotWindows(content, includedGlimtoWindowIDs), std::back_inserter(exceptingWindows));
    return {DisplayContentFilter{display, glimtoApplicationExclusions(content), std::move(exceptingWindows),
                glimtoApplications()},
        std::nullopt};
}

PreparedCaptureSource CaptureSourceResolver::displaySource(std::int64_t displayIndex,
    const ShareableContent& content, std::optional<std::uint32_t> exceptWindowId,
    const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const
{
    const Display& display = requireDisplay(displayIndex, content);
    return {displayFilter(display, content, exceptWindowId, includedGlimtoWindowIDs),
        std::max(display.width, 2), std::max(display.height, 2), "screen:" + std::to_string(displayIndex),
        std::nullopt};
}

PreparedCaptureSource CaptureSourceResolver::regionSource(const CaptureRegion& region,
    const ShareableContent& content, std::optional<std::uint32_t> exceptWindowId,
    const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const
{
    const Display& display = displayContainingRegion(region, content.displays);
    const Rect local = {region.x - display.frame.x, region.y - display.frame.y, region.width, region.height};
    auto filter = displayFilter(display, content, exceptWindowId, includedGlimtoWindowIDs);
    const double scale = pixelScale(filter, displayScale(display));
    return {std::move(filter), capturePixels(region.width, scale), capturePixels(region.height, scale),
        regionDescription(local.width, local.height), local};
}

PreparedCaptureSource CaptureSourceResolver::windowSource(
    std::uint32_t windowId, const ShareableContent& content) const
{
    const Window& window = requireWindow(windowId, content);
    auto filter = windowFilter(window);
    const double scale = windowPixelScale(filter, window, content);
    return {std::move(filter), capturePixels(window.frame.width, scale),
        capturePixels(window.frame.height, scale), windowDescription(window), std::nullopt};
}

ScreenshotRegionSource CaptureSourceResolver::resolveScreenshotRegion(const ShareableContent& content,
    const CaptureRegion& region, const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const
{
    const Display& display = displayContainingRegion(region, content.displays);
    auto filter = displayFilter(display, content, std::nullopt, includedGlimtoWindowIDs);
    Rect local = intersection(region, display.frame);
    local.x -= display.frame.x;
    local.y -= display.frame.y;
    const ScreenshotRegionGeometry geometry(local, pixelScale(filter, displayScale(display)));
    return {{std::move(filter), geometry.pixelWidth, geometry.pixelHeight,
                regionDescription(region.width, region.height), geometry.sourceRect},
        geometry.pixelCropRect};
}

PreparedCaptureSource CaptureSourceResolver::resolve(
    const ShareableContent& content, const RecordOptions& options) const
{
    if (options.captureWindowId) {
        if (options.exceptWindowId)
            warn("--except-window-id is ignored for --window-id captures: a single-window recording contains "
                 "only "
                 "that window.");
        const Window* window = windowWithID(*options.captureWindowId, content);
        if (window && !window->isOnScreen)
            warn("Window " + std::to_string(window->windowID)
                + " is not on the screen now. What it shows is recorded from when it is shown.");
        return windowSource(*options.captureWindowId, content);
    }
    if (options.captureRegion)
        return regionSource(*options.captureRegion, content, options.exceptWindowId, {});
    return displaySource(options.displayIndex, content, options.exceptWindowId, {});
}

CaptureGeometry CaptureSourceResolver::resolveGeometry(const ShareableContent& content,
    const RecordOptions& options, int capturePixelWidth, int capturePixelHeight) const
{
    CaptureGeometry geometry;
    geometry.capturePixelWidth = capturePixelWidth;
    geometry.capturePixelHeight = capturePixelHeight;
    if (options.captureWindowId) {
        const Window& window = requireWindow(*options.captureWindowId, content);
        geometry.globalFrame = window.frame;
        geometry.pointScale = windowPixelScale(windowFilter(window), window, content);
    } else if (options.captureRegion) {
        geometry.globalFrame = *options.captureRegion;
        geometry.pointScale
            = displayPixelScale(displayContainingRegion(*options.captureRegion, content.displays));
    } else {
        const Display& display = requireDisplay(options.displayIndex, content);
        geometry.globalFrame = display.frame;
        geometry.pointScale = displayPixelScale(display);
    }
    return geometry;
}

void CaptureSourceResolver::warn(const std::string& message) const
{
    standardError_.writeLine("Warning: " + message);
}

} // namespace glimto
