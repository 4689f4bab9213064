#pragma once

#include "Fakes/FakeAssetWriter.h"
#include "Fakes/FakeAudioConverter.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeEventTap.h"
#include "Fakes/FakeImageCodec.h"
#include "Fakes/FakeNetwork.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeScreenAccess.h"
#include "Fakes/FakeShareableContentProvider.h"
#include "Fakes/FakeStillServices.h"
#include "Fakes/FakeStopRequests.h"
#include "Fakes/FakeWindowSystem.h"
#include "Fakes/FakeWorkspace.h"
#include "Platform/PlatformServices.h"

namespace glimto {

// A whole system of fakes. A fixture that derives from it has each of them at hand under its own name.
struct FakePlatform {
    FakePlatform() = default;
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    // The fakes, with another image codec among them.
    PlatformServices servicesWith(ImageCodec& imageCodec)
    {
        return {.process = process,
            .windowSystem = windowSystem,
            .videoWriters = assetWriters,
            .audioWriters = assetWriters,
            .audioConverters = audioConverters,
            .audioInputs = audioInputs,
            .images = imageCodec,
            .pngCodec = stills.png,
            .textDrawing = stills.textDrawing,
            .textRecognition = stills.textRecognition,
            .workspace = workspace,
            .stopRequests = stopRequests,
            .http = network.http,
            .textPatterns = network.textPatterns};
    }

    FakeProcessEnvironment process;
    FakeScreenAccess screen;
    FakeShareableContentProvider content;
    FakeScreenCapture captureStreams;
    FakeAssetWriterFactory assetWriters;
    FakeAudioConverterFactory audioConverters;
    FakeAudioInputFactory audioInputs;
    FakeEventTapFactory eventTaps;
    FakeImageCodec images;
    FakeStillServices stills;
    FakeWindowSystem windowSystem{
        screen, content, captureStreams, eventTaps, stills.pasteboard, stills.capture};
    FakeWorkspace workspace;
    FakeStopRequests stopRequests;
    FakeNetwork network;
    PlatformServices services = servicesWith(images); // after what it names
};

} // namespace glimto
