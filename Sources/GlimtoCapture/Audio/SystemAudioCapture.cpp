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

void SystemAudioCapture::start(AudioInput::Handlers handlers)
{
    const auto outcome = input_->start(std::move(handlers));
    if (outcome != AudioInputStart::running) {
        input_->stop();
        throw CLIError(outcome == AudioInputStart::noClock ? "The system audio clock is unavailable."
                                                           : "System audio did not start.");
    }
    hasStarted_ = true;
}

void SystemAudioCapture::stop()
{
    if (!isStopped_.exchange(true) && hasStarted_)
        input_->stop();
}

} // namespace glimto
