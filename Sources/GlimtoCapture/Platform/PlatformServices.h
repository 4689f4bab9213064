#pragma once

#include "Platform/AssetWriter.h"
#include "Platform/CaptureStream.h"
#include "Platform/EventTap.h"
#include "Platform/ImageCodec.h"
#include "Platform/ProcessEnvironment.h"
#include "Platform/ScreenAccess.h"
#include "Platform/ShareableContent.h"
#include "Platform/StopRequests.h"
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
    EventTapFactory& eventTaps;
    ImageCodec& images;
    Workspace& workspace;
    StopRequests& stopRequests;
};

} // namespace glimto
