#pragma once

#include "Fakes/FakePNGCodec.h"
#include "Fakes/FakePasteboard.h"
#include "Fakes/FakeStillCapture.h"
#include "Fakes/FakeTextDrawing.h"
#include "Fakes/FakeTextRecognitionEngine.h"

namespace glimto {

// What the commands for still pictures ask of the system.
struct FakeStillServices {
    FakeStillCapture capture;
    FakePNGCodec png;
    FakeTextDrawing textDrawing;
    FakePasteboard pasteboard;
    FakeTextRecognitionEngine textRecognition;
};

} // namespace glimto
