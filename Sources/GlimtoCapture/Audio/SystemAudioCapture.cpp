#include "Audio/SystemAudioCapture.h"

#include <utility>

#include "Support/Errors.h"

namespace glimto {

SystemAudioCapture::SystemAudioCapture(AudioInputFactory& inputs, int sampleRate, int channelCount)
    : input_(inputs.makeSystemAudioInput(
        {.excludesCurrentProcessAudio = false, .sampleRate = sampleRate, .channelCount = channelCount}))
{
}

SystemAudioCapture::~SystemAudioCapture()
{
    stop();
}

void SystemAudioCapture::begin(AudioInput::Handlers handlers)
{
    input_->begin(std::move(handlers));
    hasBegun_ = true;
}

bool SystemAudioCapture::isReadyWithin(std::chrono::nanoseconds limit)
{
    return input_->isStartKnownWithin(limit);
}

void SystemAudioCapture::awaitStart()
{
    const auto outcome = input_->awaitStart();
    if (outcome != AudioInputStart::running) {
        stop();
        throw CLIError(outcome == AudioInputStart::noClock ? "The system audio clock is unavailable."
                                                           : "System audio did not start.");
    }
}

void SystemAudioCapture::stop()
{
    if (!isStopped_.exchange(true) && hasBegun_)
        input_->stop();
}

} // namespace glimto
