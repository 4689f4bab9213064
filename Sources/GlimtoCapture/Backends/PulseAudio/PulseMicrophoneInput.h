#pragma once

#include <memory>
#include <string>

#include "Platform/AudioInput.h"

namespace glimto {

// One source by its name, and never another one: when it goes, or the server lets the stream record something
// else, the input has ended.
std::unique_ptr<AudioInput> makePulseMicrophoneInput(std::string sourceName);

} // namespace glimto
