#pragma once

#include "Platform/PNGCodec.h"
#include "Platform/TextRecognitionEngine.h"

// What the module of the text recognition libraries gives to the program: an engine that the caller
// deletes. The codec outlives it.
extern "C" glimto::TextRecognitionEngine* glimtoCaptureMakeTextRecognitionEngine(glimto::PNGCodec* codec);

namespace glimto {

inline constexpr const char* textModuleFileName = "glimto-capture-text.so";
inline constexpr const char* textRecognitionEngineEntryName = "glimtoCaptureMakeTextRecognitionEngine";

} // namespace glimto
