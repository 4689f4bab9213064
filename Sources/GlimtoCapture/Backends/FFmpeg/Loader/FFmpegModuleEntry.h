#pragma once

#include "Platform/AssetWriter.h"

// The one function that the encoder's module gives to the program.
extern "C" {
glimto::AssetWriterFactory* glimtoCaptureAssetWriterFactory();
}

namespace glimto {

inline constexpr const char* ffmpegModuleEntryName = "glimtoCaptureAssetWriterFactory";
inline constexpr const char* ffmpegModuleFileName = "glimto-capture-ffmpeg.so";

} // namespace glimto
