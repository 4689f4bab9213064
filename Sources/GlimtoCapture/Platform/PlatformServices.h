#pragma once

#include "Platform/AssetWriter.h"
#include "Platform/AudioConverter.h"
#include "Platform/AudioInput.h"
#include "Platform/CaptureStream.h"
#include "Platform/EventTap.h"
#include "Platform/HTTPTransport.h"
#include "Platform/ImageCodec.h"
#include "Platform/PNGCodec.h"
#include "Platform/Pasteboard.h"
#include "Platform/ProcessEnvironment.h"
#include "Platform/ScreenAccess.h"
#include "Platform/ShareableContent.h"
#include "Platform/StillCapture.h"
#include "Platform/StopRequests.h"
#include "Platform/TextDrawing.h"
#include "Platform/TextPattern.h"
#include "Platform/TextRecognitionEngine.h"
#include "Platform/Workspace.h"

namespace glimto {

// Everything the program asks of the system it runs on. The composition root owns the services; they
// outlive every command.
struct PlatformServices {
    ProcessEnvironment& process;
    ScreenAccess& screen;
    ShareableContentProvider& content;
    CaptureStreamFactory& captureStreams;
    AssetWriterFactory& assetWriters;
    AudioConverterFactory& audioConverters;
    AudioInputFactory& audioInputs;
    EventTapFactory& eventTaps;
    ImageCodec& images;
    StillCapture& stillCapture;
    PNGCodec& pngCodec;
    TextDrawing& textDrawing;
    Pasteboard& pasteboard;
    TextRecognitionEngine& textRecognition;
    Workspace& workspace;
    StopRequests& stopRequests;
    HTTPTransport& http;
    TextPatternCompiler& textPatterns;
};

} // namespace glimto
