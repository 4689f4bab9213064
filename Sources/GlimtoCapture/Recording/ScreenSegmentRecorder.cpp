#include "Recording/ScreenSegmentRecorder.h"

#include <chrono>

#include "Artifacts/TakeLock.h"
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

} // namespace

ScreenSegmentRecorder::ScreenSegmentRecorder(PlatformServices& services, Outputs outputs)
    : ScreenSegmentRecorder(services, outputs, systemClock_, RecordingStopLimits())
{
}

ScreenSegmentRecorder::ScreenSegmentRecorder(
    PlatformServices& services, Outputs outputs, RecordingClock& clock, const RecordingStopLimits& limits)
    : services_(services)
    , outputs_(outputs)
    , clock_(clock)
    , limits_(limits)
{
}

RecordingMetadataJSON ScreenSegmentRecorder::record(
    const RecordOptions& options, const std::function<void()>& captureStarted)
{
    RecordingProgress progress(outputs_.standardOutput, GlimtoCaptureEventEmitter::recordingId(options));
    // From here on a signal ends the recording well, even one that comes before the first frame.
    services_.stopRequests.beginListening();
    RecordingTake take;
    try {
        prepare(options, take, progress);
        start(options, take, progress);
        if (captureStarted)
            captureStarted();
        waitForEnd(options, take, progress);
        return stopRecording(options, take, limits_, progress);
    } catch (...) {
        take.abandon(!options.includeCursor);
        throw;
    }
}

void ScreenSegmentRecorder::requirePermission(std::string_view nextStage, RecordingProgress& progress)
{
    const auto obstacle = services_.screen.screenCaptureObstacle();
    progress.captureStarting(nextStage, !obstacle);
    if (!obstacle)
        return;
    outputs_.standardError.writeLine("warning: " + *obstacle);
    throw GlimtoCaptureLifecycleError(
        "screen_permission_denied", "Screen Recording permission is not granted for glimto-capture.");
}

void ScreenSegmentRecorder::prepare(
    const RecordOptions& options, RecordingTake& take, RecordingProgress& progress)
{
    requirePermission("shareable_content", progress);
    const auto content = ScreenCaptureShareableContent(services_.content).recordingSources();
    const auto microphone = prepareAudioSources(options, take);
    const TakeDirectories directories(options.outputDirectory);
    take.plan = OutputPlan::prepare(options.outputDirectory, options.overwrite);
    take.directories = directories;
    take.directoryLock = lockTake(take.plan.root);
    const CaptureSourceResolver resolver(services_.process, services_.screen, outputs_.standardError);
    take.source = resolver.resolve(content, options);
    if (options.recordEvents) {
        const auto geometry
            = resolver.resolveGeometry(content, options, take.source.width, take.source.height);
        take.eventRecorder = std::make_unique<InputEventRecorder>(take.plan.eventsURL, geometry,
            inputEventFlushInterval, services_.eventTaps, outputs_.standardError);
    }

    makeWriter(options, microphone, take);
    take.thumbnailWriter
        = std::make_shared<ThumbnailWriter>(take.plan.thumbnailURL, services_.images, outputs_.standardError);
    take.output
        = std::make_shared<ScreenCaptureOutput>(take.writer, take.thumbnailWriter, take.audioMixer, outputs_);
    take.stream = services_.captureStreams.makeCaptureStream(
        take.source.filter, streamConfiguration(options, take.source));
}

// Before anything is written: a sound server that is absent or a microphone that is not there must not cost
// an earlier take.
std::optional<AudioInputDevice> ScreenSegmentRecorder::prepareAudioSources(
    const RecordOptions& options, RecordingTake& take)
{
    std::optional<AudioInputDevice> microphone;
    if (options.microphoneDeviceID) {
        MicrophoneCapture::requireAccess(services_.audioInputs);
        microphone = MicrophoneCapture::requireDevice(
            *options.microphoneDeviceID, services_.audioInputs, outputs_.standardError);
    }
    if (options.captureSystemAudio)
        take.systemAudio = std::make_shared<SystemAudioCapture>(
            services_.audioInputs, recordingAudioSampleRate, recordingAudioChannelCount);
    return microphone;
}

// The writer, and with audio the mixer that feeds it and the microphone that feeds the mixer.
void ScreenSegmentRecorder::makeWriter(
    const RecordOptions& options, const std::optional<AudioInputDevice>& microphone, RecordingTake& take)
{
    const SegmentedMP4Writer::Settings settings = {.width = take.source.width,
        .height = take.source.height,
        .framesPerSecond = options.framesPerSecond,
        .segmentSeconds = options.segmentSeconds,
        .includeAudio = options.includesAudio(),
        .audioSampleRate = recordingAudioSampleRate,
        .audioChannelCount = recordingAudioChannelCount};
    take.writer = std::make_shared<SegmentedMP4Writer>(
        take.plan, settings, services_.assetWriters, outputs_.standardError);
    if (!options.includesAudio())
        return;
    take.audioMixer = std::make_shared<AudioMixer>(
        recordingAudioSources(options), recordingAudioSampleRate,
        [writer = take.writer](const AudioBuffer& buffer) { writer->appendAudioSampleBuffer(buffer); },
        services_.audioConverters, outputs_.standardOutput);
    if (microphone)
        take.microphone
            = std::make_unique<MicrophoneCapture>(*microphone, take.audioMixer, services_.audioInputs);
}

void ScreenSegmentRecorder::start(
    const RecordOptions& options, RecordingTake& take, RecordingProgress& progress)
{
    for (const auto& line : recordingStartLines(options, take.source, take.plan))
        progress.line(line);
    requirePermission("stream_start", progress);
    if (take.microphone)
        take.microphone->start();
    // Before the picture, so that there is sound from the first frame on.
    if (take.systemAudio)
        take.systemAudio->start(take.output->systemAudioHandlers());
    take.stream->start(take.output->handlers());
    if (take.eventRecorder)
        take.eventRecorder->start();
    progress.recording();
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
    waitUntilDurationElapsedOrStopRequested(options, watch, services_.stopRequests, clock_, progress);
}

} // namespace glimto
