#pragma once

#include "Platform/AssetWriter.h"
#include "Platform/AudioConverter.h"

// What the module of the media libraries gives to the program.
extern "C" {
glimto::AssetWriterFactory* glimtoCaptureAssetWriterFactory();
glimto::AudioConverterFactory* glimtoCaptureAudioConverterFactory();
}

namespace glimto {

inline constexpr const char* ffmpegModuleFileName = "glimto-capture-ffmpeg.so";
inline constexpr const char* assetWriterFactoryEntryName = "glimtoCaptureAssetWriterFactory";
inline constexpr const char* audioConverterFactoryEntryName = "glimtoCaptureAudioConverterFactory";

} // namespace glimto
