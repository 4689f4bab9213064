#include "Backends/PulseAudio/PulseAudioInput.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <span>
#include <utility>
#include <vector>

#include <pulse/context.h>
#include <pulse/subscribe.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr std::size_t threadStackBytes = 512 * 1024;
// Above everything that the thread itself waits for.
constexpr std::chrono::seconds startTimeout{20};

} // namespace

PulseAudioInput::PulseAudioInput(const char* threadLabel)
    : threadLabel_(threadLabel)
{
}

PulseAudioInput::~PulseAudioInput() = default;

void PulseAudioInput::begin(Handlers handlers)
{
    handlers_ = std::move(handlers);
    thread_ = std::make_unique<NamedThread>(threadLabel_, threadStackBytes, [this] { runGuarded(); });
}

bool PulseAudioInput::isStartKnownWithin(std::chrono::nanoseconds limit)
{
    return started_.waitFor(limit);
}

AudioInputStart PulseAudioInput::awaitStart()
{
    const auto outcome
        = started_.waitFor(startTimeout) ? started_.firstResult() : AudioInputStart::notRunning;
    if (outcome != AudioInputStart::running)
        stop();
    return outcome;
}

void PulseAudioInput::stop()
{
    if (!thread_)
        return;
    loop_.end();
    thread_.reset();
}

void PulseAudioInput::runGuarded()
{
    std::string failure;
    try {
        run();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (!failure.empty() && hasStarted_ && !loop_.mustEnd() && handlers_.onFailed)
        handlers_.onFailed(failure);
    didStart(AudioInputStart::notRunning);
}

void PulseAudioInput::didStart(AudioInputStart outcome)
{
    if (!std::exchange(hasStarted_, true))
        started_.settle(outcome);
}

std::unique_ptr<PulseRecordStream> PulseAudioInput::openStream(
    PulseConnection& connection, const PulseSource& source)
{
    watchedSource_ = source.index;
    if (!listensSince_)
        listensSince_ = HostClock::now();
    return std::make_unique<PulseRecordStream>(
        connection, source, pulseServerTiming(connection), [this](const AudioBuffer& buffer) {
            hasDelivered_ = true;
            handlers_.onBuffer(buffer);
        });
}

void PulseAudioInput::deliverSilenceIfNothingCame()
{
    if (!hasStarted_ || hasDelivered_ || !listensSince_)
        return;
    constexpr int sampleRate = 48000;
    constexpr std::chrono::milliseconds piece(100);
    // What is older has been taken for silence already.
    constexpr std::chrono::seconds longest(15);
    const auto end = HostClock::now();
    const std::vector<float> silence(2 * sampleRate / 10);
    for (HostTime at = std::max(*listensSince_, end - longest); at < end; at += piece)
        handlers_.onBuffer({.format = {.sampleRate = sampleRate,
                                .channelCount = 2,
                                .sampleType = AudioSampleType::float32,
                                .layout = AudioLayout::interleaved},
            .frameCount = silence.size() / 2,
            .presentationTime = MediaTime::at(at),
            .bytes = std::as_bytes(std::span(silence)),
            .isReady = true});
}

HostTime PulseAudioInput::work(PulseRecordStream& stream)
{
    if (std::exchange(streamsChanged_, false))
        stream.verifySource();
    return stream.work();
}

void PulseAudioInput::watchDevices(PulseConnection& connection)
{
    outputsChanged_ = false;
    removedSource_.reset();
    pa_context_set_subscribe_callback(
        connection.get(),
        [](pa_context* context, pa_subscription_event_type_t event, std::uint32_t index, void* self) {
            onDeviceEvent(context, static_cast<int>(event), index, self);
        },
        this);
    const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER
        | PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT);
    connection.finish(pa_context_subscribe(
                          connection.get(), mask, [](pa_context*, int, void*) {}, nullptr),
        "The sound server does not tell of its devices");
}

void PulseAudioInput::onDeviceEvent(pa_context*, int event, std::uint32_t index, void* self)
{
    auto& input = *static_cast<PulseAudioInput*>(self);
    const int facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const bool isRemoval = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE;
    const bool isChange = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
    // The volume of an output changes often, and is none of these.
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER || (facility == PA_SUBSCRIPTION_EVENT_SINK && !isChange))
        input.outputsChanged_ = true;
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE_OUTPUT && !isRemoval)
        input.streamsChanged_ = true;
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE && isRemoval && input.watchedSource_ == index)
        input.removedSource_ = index;
}

} // namespace glimto
