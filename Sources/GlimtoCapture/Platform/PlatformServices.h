#pragma once

#include "Platform/AssetWriter.h"
#include "Platform/AudioConverter.h"
#include "Platform/AudioInput.h"
#include "Platform/HTTPTransport.h"
#include "Platform/ImageCodec.h"
#include "Platform/PNGCodec.h"
#include "Platform/ProcessEnvironment.h"
#include "Platform/Service.h"
#include "Platform/StopRequests.h"
#include "Platform/TextDrawing.h"
#include "Platform/TextPattern.h"
#include "Platform/TextRecognitionEngine.h"
#include "Platform/WindowSystem.h"
#include "Platform/Workspace.h"

namespace glimto {

// Everything the program asks of the system it runs on. The composition root owns the services; they
// outlive every command; those that stand in a module are opened when they are first used.
struct PlatformServices {
    ProcessEnvironment& process;
    WindowSystem& windowSystem;
    Service<VideoAssetWriterFactory> videoWriters;
    Service<AudioAssetWriterFactory> audioWriters;
    Service<AudioConverterFactory> audioConverters;
    Service<AudioInputFactory> audioInputs;
    ImageCodec& images;
    PNGCodec& pngCodec;
    Service<TextDrawing> textDrawing;
    Service<TextRecognitionEngine> textRecognition;
    Workspace& workspace;
    StopRequests& stopRequests;
    Service<HTTPTransport> http;
    Service<TextPatternCompiler> textPatterns;
};

} // namespace glimto
