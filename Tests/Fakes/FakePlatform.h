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
            .screen = screen,
            .content = content,
            .captureStreams = captureStreams,
            .assetWriters = assetWriters,
            .audioConverters = audioConverters,
            .audioInputs = audioInputs,
            .eventTaps = eventTaps,
            .images = imageCodec,
            .stillCapture = stills.capture,
            .pngCodec = stills.png,
            .textDrawing = stills.textDrawing,
            .pasteboard = stills.pasteboard,
            .textRecognition = stills.textRecognition,
            .workspace = workspace,
            .stopRequests = stopRequests,
            .http = network.http,
            .textPatterns = network.textPatterns};
    }

    FakeProcessEnvironment process;
    FakeScreenAccess screen;
    FakeShareableContentProvider content;
    FakeCaptureStreamFactory captureStreams;
    FakeAssetWriterFactory assetWriters;
    FakeAudioConverterFactory audioConverters;
    FakeAudioInputFactory audioInputs;
    FakeEventTapFactory eventTaps;
    FakeImageCodec images;
    FakeStillServices stills;
    FakeWorkspace workspace;
    FakeStopRequests stopRequests;
    FakeNetwork network;
    PlatformServices services = servicesWith(images); // after what it names
};

} // namespace glimto
