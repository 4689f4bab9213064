#include "Recording/ScreenSegmentRecorder.h"

#include <chrono>
#include <cmath>
#include <utility>
#include <variant>

#include "Content/CaptureSourceResolver.h"
#include "Content/ScreenCaptureShareableContent.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Recording/RecordingAudio.h"
#include "Recording/RecordingSummary.h"
#include "Recording/RecordingWaitLoop.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds inputEventFlushInterval(1);

CaptureStreamConfiguration streamConfiguration(
    const RecordOptions& options, const PreparedCaptureSource& source)
{
    CaptureStreamConfiguration configuration;
    configuration.width = source.width;
    configuration.height = source.height;
    configuration.sourceRect = source.sourceRect;
    configuration.minimumFrameInterval = {1, options.framesPerSecond};
    configuration.queueDepth = 3;
    configuration.showsCursor = options.includeCursor;
    return configuration;
}

CaptureRequest captureRequest(
    const RecordOptions& options, const PreparedCaptureSource& source, const CaptureGeometry& geometry)
{
    return {.filter = source.filter,
        .configuration = streamConfiguration(options, source),
        .expected = {.width = source.width,
            .height = source.height,
            .description = source.description,
            .globalFrame = geometry.globalFrame,
            .pointScale = geometry.pointScale}};
}

// Where only the system's dialog knows the windows, every number stands for one that the user picks there.
void addWindowToBePicked(
    const RecordOptions& options, const WindowSystemCapabilities& capabilities, ShareableContent& content)
{
    if (options.captureWindowId && capabilities.asksUser && capabilities.recordsWindows
        && !capabilities.listsWindows) {
        Window window;
        window.windowID = *options.captureWindowId;
        window.isOnScreen = true;
        content.windows.push_back(window);
    }
}

// What the user picked may not be what was asked for.
std::string placeDescription(const CaptureFacts& facts)
{
    const auto number = [](double value) { return std::to_string(std::llround(value)); };
    return facts.description + ", " + number(facts.globalFrame.width) + "x" + number(facts.globalFrame.height)
        + " at " + number(facts.globalFrame.x) + "," + number(facts.globalFrame.y);
}

CaptureGeometry captureGeometry(const CaptureFacts& facts)
{
    return {.globalFrame = facts.globalFrame,
        .pointScale = facts.pointScale,
        .capturePixelWidth = facts.width,
        .capturePixelHeight = facts.height};
}

} // namespace

ScreenSegmentRecorder::ScreenSegmentRecorder(PlatformServices& services, Outputs outputs)
    : ScreenSegmentRecorder(services, outputs, systemClock_, RecordingStopLimits())
{
}

ScreenSegmentRecorder::ScreenSegmentRecorder(PlatformServices& services, Outputs outputs,
    RecordingClock& clock, const RecordingStopLimits& limits, const CaptureStartLimits& startLimits)
    : services_(services)
    , outputs_(outputs)
    , systemClock_(services.stopRequests)
    , clock_(clock)
    , limits_(limits)
    , startLimits_(startLimits)
{
}

RecordingMetadataJSON ScreenSegmentRecorder::record(
    const RecordOptions& options, const std::function<void()>& captureStarted)
{
    RecordingProgress progress(outputs_.standardOutput, GlimtoCaptureEventEmitter::recordingId(options));
    // A signal ends the recording well, even one that comes before the first frame.
    services_.stopRequests.beginListening();
    RecordingStopWishes wishes(options, services_.stopRequests, clock_, progress);
    CaptureStart captureStart(wishes, progress, startLimits_);
    RecordingTake take;
    take.cursor = options.includeCursor ? CursorInVideo::shown : CursorInVideo::hidden;
    try {
        prepare(options, take, progress, captureStart);
        start(options, take, progress, captureStart);
        if (captureStarted)
            captureStarted();
        waitForEnd(options, take, progress);
        figures_->enter(RecordingPhase::stopping);
        return stopRecording(options, take, limits_, progress);
    } catch (...) {
        take.abandon();
        throw;
    }
}

void ScreenSegmentRecorder::requirePermission(std::string_view nextStage, RecordingProgress& progress)
{
    const auto access = services_.windowSystem.access().preflightScreenCaptureAccess();
    progress.captureStarting(nextStage, access);
    requireScreenCaptureAccess(access, outputs_.standardError);
}

// Everything that can be refused is resolved here, and nothing on the disk changes.
void ScreenSegmentRecorder::prepare(const RecordOptions& options, RecordingTake& take,
    RecordingProgress& progress, CaptureStart& captureStart)
{
    WindowSystem& system = services_.windowSystem;
    // Takes as long to load as the screen takes to be looked at: side by side.
    if (options.includesAudio())
        services_.audioInputs.beginLoading();
    requirePermission("shareable_content", progress);
    auto content = ScreenCaptureShareableContent(system.content()).recordingSources();
    addWindowToBePicked(options, system.capabilities(), content);
    take.plan = OutputPlan::check(options.outputDirectory, OutputPlan::earlierTake(options.overwrite));
    const CaptureSourceResolver resolver(services_.process, system.access(), outputs_.standardError);
    const auto source = resolver.resolve(content, options);
    const auto geometry = resolver.resolveGeometry(content, options, source.width, source.height);
    prepareAudioSources(options, take, captureStart);
    // Its first sound takes as long as everything that follows, unless the user is asked now.
    const bool asksUser = system.capabilities().asksUser;
    if (take.microphone && !asksUser)
        take.microphone->begin();
    // The system starts no thread while it loads libraries, and these are many: the microphone's has to run
    // by now.
    if (options.includesAudio())
        services_.audioWriters.beginLoading();
    openCapture(options, captureRequest(options, source, geometry), take, captureStart);
    if (take.microphone && asksUser)
        take.microphone->begin();
    if (options.recordEvents)
        take.eventRecorder = std::make_unique<InputEventRecorder>(take.plan.eventsURL,
            captureGeometry(take.facts), inputEventFlushInterval, system.eventTaps(), outputs_.standardError);

    makeWriter(options, take);
    take.thumbnailWriter
        = std::make_shared<ThumbnailWriter>(take.plan.thumbnailURL, services_.images, outputs_.standardError);
    take.output
        = std::make_shared<ScreenCaptureOutput>(take.writer, take.thumbnailWriter, take.audioMixer, outputs_);
}

// A window system may ask the user now, and may open something else than what was asked for.
void ScreenSegmentRecorder::openCapture(const RecordOptions& options, const CaptureRequest& request,
    RecordingTake& take, CaptureStart& captureStart)
{
    WindowSystem& system = services_.windowSystem;
    const auto opening = system.capture().makeOpening(request);
    using Question = CaptureStart::Question;
    const auto opened = captureStart.run(
        system.capabilities().asksUser ? Question::possible : Question::none,
        [opening] { return opening->open(); }, [&] { opening->giveUp(); });
    take.stream = opened.stream;
    take.facts = opened.facts;
    if (system.capabilities().asksUser)
        outputs_.standardError.writeLine("Shared: " + placeDescription(opened.facts));
    const auto* display = std::get_if<DisplayContentFilter>(&request.filter.content);
    if (display && !display->excludedApplications.empty() && !opened.hidesApplications)
        warn("This system cannot leave the windows of Glimto out of a recording.");
    if (!options.includeCursor && !opened.obeysCursorWish)
        warn("This system shows the pointer in every recording.");
}

// The sound server may hang while it is asked, and systems may ask the user about microphones.
void ScreenSegmentRecorder::prepareAudioSources(
    const RecordOptions& options, RecordingTake& take, CaptureStart& captureStart)
{
    if (!options.includesAudio())
        return;
    struct Sources {
        std::unique_ptr<MicrophoneCapture> microphone;
        std::shared_ptr<SystemAudioCapture> systemAudio;
    };
    auto sources = captureStart.run(
        CaptureStart::Question::possible,
        [inputs = services_.audioInputs, &standardError = outputs_.standardError,
            deviceID = options.microphoneDeviceID, withSystemAudio = options.captureSystemAudio] {
            Sources found;
            if (deviceID) {
                MicrophoneCapture::requireAccess(inputs);
                const auto device = MicrophoneCapture::requireDevice(*deviceID, inputs, standardError);
                found.microphone = std::make_unique<MicrophoneCapture>(device, inputs);
            }
            if (withSystemAudio)
                found.systemAudio = std::make_shared<SystemAudioCapture>(
                    inputs, recordingAudioSampleRate, recordingAudioChannelCount);
            return found;
        },
        [] {});
    take.microphone = std::move(sources.microphone);
    take.systemAudio = std::move(sources.systemAudio);
}

// The writer, and with audio the mixer that feeds it.
void ScreenSegmentRecorder::makeWriter(const RecordOptions& options, RecordingTake& take)
{
    const SegmentedMP4Writer::Settings settings = {.width = take.facts.width,
        .height = take.facts.height,
        .framesPerSecond = options.framesPerSecond,
        .segmentSeconds = Seconds(options.segmentSeconds),
        .includeAudio = options.includesAudio(),
        .audioSampleRate = recordingAudioSampleRate,
        .audioChannelCount = recordingAudioChannelCount,
        .figures = figures_};
    take.writer = std::make_shared<SegmentedMP4Writer>(
        take.plan, settings, services_.videoWriters, services_.audioWriters, outputs_.standardError);
    if (!options.includesAudio())
        return;
    take.audioMixer = std::make_shared<AudioMixer>(
        recordingAudioSources(options), recordingAudioSampleRate,
        [writer = take.writer](const AudioBuffer& buffer) { writer->appendAudioSampleBuffer(buffer); },
        services_.audioConverters, outputs_.standardOutput, recordingSoundMeter(figures_));
}

void ScreenSegmentRecorder::start(const RecordOptions& options, RecordingTake& take,
    RecordingProgress& progress, CaptureStart& captureStart)
{
    for (const auto& line : recordingStartLines(options, take.facts, take.plan))
        progress.line(line);
    requirePermission("stream_start", progress);
    // Before the picture, so that there is sound from the first frame on.
    startSound(take, captureStart);
    TakeDirectories directories(options.outputDirectory);
    directories.claim();
    take.directories = std::move(directories);
    take.plan = OutputPlan::prepare(options.outputDirectory, OutputPlan::earlierTake(options.overwrite));
    captureStart.run(
        CaptureStart::Question::none,
        [stream = take.stream, handlers = take.output->handlers()]() mutable {
            stream->start(std::move(handlers));
        },
        [&] { take.stream->removeOutputs(); });
    if (take.eventRecorder)
        startEventTrack(*take.eventRecorder);
    figures_->enter(RecordingPhase::recording);
    progress.recording();
}

void ScreenSegmentRecorder::startSound(RecordingTake& take, CaptureStart& captureStart)
{
    if (take.microphone) {
        captureStart.await([&](auto limit) { return take.microphone->isReadyWithin(limit); });
        take.microphone->start(take.audioMixer);
    }
    if (take.systemAudio) {
        take.systemAudio->begin(take.output->systemAudioHandlers());
        captureStart.await([&](auto limit) { return take.systemAudio->isReadyWithin(limit); });
        take.systemAudio->awaitStart();
    }
}

void ScreenSegmentRecorder::startEventTrack(InputEventRecorder& recorder)
{
    recorder.start();
    if (!services_.windowSystem.capabilities().hearsClicks)
        warn("The event track has no clicks and scrolls: this system does not tell them.");
}

void ScreenSegmentRecorder::warn(const std::string& message)
{
    outputs_.standardError.writeLine("Warning: " + message);
}

void ScreenSegmentRecorder::waitForEnd(
    const RecordOptions& options, const RecordingTake& take, RecordingProgress& progress)
{
    const RecordingWatch watch = {
        .streamFailure = [&] { return take.output->stoppedWithError(); },
        .writerFailure =
            [&] {
                take.anchorInputEvents();
                return take.writer->failure();
            },
        .microphoneFailure = [&] { return take.microphone ? take.microphone->failure() : std::nullopt; },
    };
    try {
        waitUntilDurationElapsedOrStopRequested(options, watch, services_.stopRequests, clock_, progress);
    } catch (...) {
        if (take.output->stoppedWithError())
            finishLastSegment(take, limits_);
        throw;
    }
}

} // namespace glimto
