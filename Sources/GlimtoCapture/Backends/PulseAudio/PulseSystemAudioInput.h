#pragma once

#include <cstdint>
#include <string>

#include "Backends/PulseAudio/PulseAudioInput.h"

namespace glimto {

// What is played on the default output, whichever that is at the time: recorded from its monitor.
//
// When the default output changes or goes, recording goes on from the new one; when the server goes, it is
// looked for once a second until it is back.
class PulseSystemAudioInput final : public PulseAudioInput {
public:
    PulseSystemAudioInput();
    ~PulseSystemAudioInput() override;

private:
    void run() override;
    void recordOutputs(PulseConnection& connection);
    void record(PulseConnection& connection, PulseRecordStream& stream, const std::string& sinkName);
    void lookAtStart(const PulseRecordStream& stream);
    void waitForOutputs(PulseConnection& connection);
    void interrupt(const std::string& description);
    void pause();

    std::int64_t began_ = 0;
    bool wasInterrupted_ = false;
};

} // namespace glimto
