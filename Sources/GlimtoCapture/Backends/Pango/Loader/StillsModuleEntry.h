#pragma once

#include "Platform/TextDrawing.h"

// What the module of the font libraries gives to the program.
extern "C" {
glimto::TextDrawing* glimtoCaptureTextDrawing();
}

namespace glimto {

inline constexpr const char* stillsModuleFileName = "glimto-capture-stills.so";
inline constexpr const char* textDrawingEntryName = "glimtoCaptureTextDrawing";

} // namespace glimto
