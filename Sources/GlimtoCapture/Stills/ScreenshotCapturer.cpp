#include "Stills/ScreenshotCapturer.h"

#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "Content/ScreenCaptureShareableContent.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Stills/ScreenshotFailure.h"
#include "Stills/ScreenshotFile.h"
#include "Stills/ScreenshotFirstFrameOutput.h"
#include "Stills/ScreenshotImage.h"
#include "Stills/ScreenshotWatermark.h"
#include "Support/Errors.h"
#include "Support/SerialQueue.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds firstFrameTimeout(8);

// Fonts that have to be loaded take as long as the screen takes to be looked at, so the watermark has a thread
// of its own.
class WatermarkQueue {
public:
    WatermarkQueue(const Service<TextDrawing>& textDrawing, const ProcessEnvironment& process)
        : watermark_(textDrawing, WatermarkCache(process))
        , queue_("glimto.capture.screenshot.watermark")
    {
    }

    void prepare(int width, int height)
    {
        queue_.post([this, width, height] { watermark_.prepare(width, height); });
    }

    void apply(PixelCanvas& image)
    {
        queue_.sync([&] { watermark_.apply(image); });
    }

private:
    ScreenshotWatermark watermark_;
    SerialQueue queue_; // uses the watermark, so it ends first
};

// Stops the stream however the wait for its frame ends.
ScreenshotFrame firstFrame(CaptureStream& stream, ScreenshotFirstFrameOutput& output)
{
    try {
        auto frame = output.waitForFirstFrame(firstFrameTimeout);
        stream.stop();
        stream.removeOutputs();
        return frame;
    } catch (...) {
        stream.removeOutputs();
        throw;
    }
}

} // namespace

ScreenshotCapturer::ScreenshotCapturer(
    PlatformServices& services, Outputs outputs, ScreenshotTriggerSystem triggerSystem)
    : services_(services)
    , outputs_(outputs)
    , triggerSystem_(std::move(triggerSystem))
    , resolver_(services.process, services.windowSystem.access(), outputs.standardError)
{
}

ScreenshotMetadataJSON ScreenshotCapturer::capture(const ScreenshotOptions& options)
{
    if (!options.outputURL)
        throw CLIError("screenshot requires --output <png>.");
    ScreenAccess& access = services_.windowSystem.access();
    const auto foregroundProcessID = access.frontmostProcessID();
    requireScreenCaptureAccess(access.preflightScreenCaptureAccess(), outputs_.standardError);
    const ScreenCaptureShareableContent sources(services_.windowSystem.content());
    const auto content = sources.recordingSources();
    const auto includedGlimtoWindowIDs = options.includedGlimtoWindowIDs
        ? *options.includedGlimtoWindowIDs
        : resolver_.screenshotWindowIDs(content, foregroundProcessID);
    Target target = resolve(options, content, includedGlimtoWindowIDs);

    std::optional<WatermarkQueue> watermark;
    if (options.applyWatermark) {
        const auto& crop = target.pixelCropRect;
        watermark.emplace(services_.textDrawing, services_.process);
        watermark->prepare(
            crop ? crop->width : target.source.width, crop ? crop->height : target.source.height);
    }
    if (options.waitForCaptureTrigger) {
        if (StillCapture* stills = services_.windowSystem.stills())
            stills->prepare(target.source.filter, streamConfiguration(target.source));
        waitForCaptureTriggerIfNeeded(options);
        target = resolve(options, sources.recordingSources(), includedGlimtoWindowIDs);
    }

    auto image = captureImage(target);
    if (watermark)
        watermark->apply(image);
    ScreenshotFile(services_.pngCodec, outputs_.standardError).writePNG(image, *options.outputURL);
    return {.path = options.outputURL->string(),
        .width = image.width,
        .height = image.height,
        .byteSize = fileSize(*options.outputURL),
        .captureKind = target.captureKind};
}

void ScreenshotCapturer::waitForCaptureTriggerIfNeeded(const ScreenshotOptions& options)
{
    if (options.waitForCaptureTrigger)
        waitForScreenshotTrigger(outputs_.standardError, triggerSystem_);
}

CaptureStreamConfiguration ScreenshotCapturer::streamConfiguration(const PreparedCaptureSource& source)
{
    CaptureStreamConfiguration configuration;
    configuration.width = source.width;
    configuration.height = source.height;
    configuration.sourceRect = source.sourceRect;
    configuration.minimumFrameInterval = {1, 60};
    configuration.queueDepth = 1;
    configuration.showsCursor = false;
    return configuration;
}

PixelCanvas ScreenshotCapturer::captureImageWithStillCapture(StillCapture& stills,
    const PreparedCaptureSource& source, const CaptureStreamConfiguration& configuration)
{
    auto image = stills.captureImage(source.filter, configuration);
    if (!image)
        throw screenshotError(
            ScreenshotFailure::noImage, "ScreenCaptureKit did not return a screenshot image.");
    return *image;
}

PixelCanvas ScreenshotCapturer::captureImageWithFirstFrameStream(
    const PreparedCaptureSource& source, const CaptureStreamConfiguration& configuration)
{
    const auto output = std::make_shared<ScreenshotFirstFrameOutput>();
    const auto opening = services_.windowSystem.capture().makeOpening({.filter = source.filter,
        .configuration = configuration,
        .expected = {.width = source.width,
            .height = source.height,
            .description = source.description,
            .globalFrame = {}}});
    const OpenedCapture opened = opening->open();
    const auto* display = std::get_if<DisplayContentFilter>(&source.filter.content);
    if (display && !display->excludedApplications.empty() && !opened.hidesApplications)
        outputs_.standardError.writeLine(
            "Warning: This system cannot leave the windows of Glimto out of a screenshot.");
    const auto& stream = opened.stream;
    stream->start(output->handlers());
    return imageOfFrame(firstFrame(*stream, *output).pixelBuffer->pixels());
}

ScreenshotCapturer::Target ScreenshotCapturer::resolve(const ScreenshotOptions& options,
    const ShareableContent& content, const std::vector<std::uint32_t>& includedGlimtoWindowIDs) const
{
    if (const auto* region = options.target ? std::get_if<CaptureRegion>(&*options.target) : nullptr) {
        auto resolved = resolver_.resolveScreenshotRegion(content, *region, includedGlimtoWindowIDs);
        return {.source = std::move(resolved.source),
            .pixelCropRect = resolved.pixelCropRect,
            .captureKind = "region"};
    }
    const auto* display = options.target ? std::get_if<DisplayTarget>(&*options.target) : nullptr;
    const std::int64_t index = display ? display->index : resolver_.displayIndexUnderCursor(content);
    return {.source = resolver_.displaySource(index, content, std::nullopt, includedGlimtoWindowIDs),
        .pixelCropRect = std::nullopt};
}

PixelCanvas ScreenshotCapturer::captureImage(const Target& target)
{
    const auto configuration = streamConfiguration(target.source);
    StillCapture* stills = services_.windowSystem.stills();
    const auto image = stills ? captureImageWithStillCapture(*stills, target.source, configuration)
                              : captureImageWithFirstFrameStream(target.source, configuration);
    // Only what is kept is converted.
    return inFormat(
        target.pixelCropRect ? croppedImage(image, *target.pixelCropRect) : image, PixelFormat::xrgb8888);
}

} // namespace glimto
