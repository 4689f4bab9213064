#pragma once

#include "Platform/HTTPTransport.h"
#include "Platform/TextPattern.h"

// What the module of the network libraries gives to the program.
extern "C" {
glimto::HTTPTransport* glimtoCaptureHTTPTransport();
glimto::TextPatternCompiler* glimtoCaptureTextPatternCompiler();
}

namespace glimto {

inline constexpr const char* networkModuleFileName = "glimto-capture-network.so";
inline constexpr const char* httpTransportEntryName = "glimtoCaptureHTTPTransport";
inline constexpr const char* textPatternCompilerEntryName = "glimtoCaptureTextPatternCompiler";

} // namespace glimto
