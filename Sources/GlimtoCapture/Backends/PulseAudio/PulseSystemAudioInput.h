#pragma once

#include <memory>

#include "Platform/AudioInput.h"

namespace glimto {

// What is played on the default output, whichever that is at the time: recorded from its monitor.
//
// When the default output changes or goes, recording goes on from the new one; when the server goes, it is
// looked for once a second until it is back.
std::unique_ptr<AudioInput> makePulseSystemAudioInput();

} // namespace glimto
