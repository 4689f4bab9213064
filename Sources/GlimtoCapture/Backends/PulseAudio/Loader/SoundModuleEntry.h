#pragma once

#include "Platform/AudioInput.h"

// What the module of the sound server's library gives to the program.
extern "C" {
glimto::AudioInputFactory* glimtoCaptureAudioInputFactory();
}

namespace glimto {

inline constexpr const char* soundModuleFileName = "glimto-capture-sound.so";
inline constexpr const char* audioInputFactoryEntryName = "glimtoCaptureAudioInputFactory";

} // namespace glimto
