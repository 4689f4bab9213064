#pragma once

#include <string>

#include "Backends/PulseAudio/PulseAudioInput.h"

namespace glimto {

// One source by its name, and never another one: when it goes, or the server lets the stream record something
// else, the input has ended.
class PulseMicrophoneInput final : public PulseAudioInput {
public:
    explicit PulseMicrophoneInput(std::string sourceName);
    ~PulseMicrophoneInput() override;

private:
    enum class End { removed, failed };

    void run() override;
    void record(PulseConnection& connection, PulseRecordStream& stream, bool isMonitor);
    bool lookAtStart(const PulseRecordStream& stream, bool isMonitor, std::int64_t began);
    std::optional<std::string> whyItEnded(PulseConnection& connection, const PulseRecordStream& stream) const;

    const std::string sourceName_;
};

} // namespace glimto
